#pragma once
#include <array>
#include <cstdint>

class QWidget;

// Length-weighted average cross-section of the head section, from the lengths (metres) of overhead
// (ВЛ) and cable (КЛ) lines laid with each standard cross-section.
class TAverageCrossSectionCommon {
public:
    static constexpr int RowCount = 11;
    struct Row {
        int32_t VL = 0;
        int32_t KL = 0;
    };

    TAverageCrossSectionCommon() = default;
    virtual ~TAverageCrossSectionCommon() = default;

    // The cross-section of a row (mm²); -1 outside rows 0 to 10.
    static double GetF(int index);
    Row GetItem(int index) const { return rows_.at(index); }
    void SetItem(int index, Row row);
    void Assign(const TAverageCrossSectionCommon& source);
    bool isEqual(const TAverageCrossSectionCommon& other) const;
    virtual void Clear();

    double AverageF() const { return averageF_; }
    int32_t TotalVL() const { return totalVL_; }
    int32_t TotalKL() const { return totalKL_; }
    bool Modified() const { return modified_; }
    void SetModified(bool modified) { modified_ = modified; }
    bool Empty() const { return empty_; }

protected:
    void Recalculate();

private:
    std::array<Row, RowCount> rows_{};
    double averageF_ = 0;
    int32_t totalVL_ = 0, totalKL_ = 0;
    bool modified_ = false;
    bool empty_ = true;
};

// The calculator with its editing dialog.
class TAverageCrossSection : public TAverageCrossSectionCommon {
public:
    // Edits a copy in the dialog; true (and the edits taken) when the user saved. Defined with the dialog
    // (AverageCrossSectionF.cpp): only the windows link it.
    bool Edit(QWidget* owner);
    void Clear() override;
};
