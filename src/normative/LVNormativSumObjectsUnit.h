#pragma once
#include <QString>
#include <array>
#include <memory>
#include <vector>

class TLVNormativSample0;

// A range of a value over aggregated elements; -1 bounds mean unset.
struct TRange {
    double lower = -1;
    double upper = -1;
    bool isSet() const { return upper >= 0 || lower >= 0; }
    bool isSingle() const { return lower == upper; }
};

// Length ranges indexed like TLVNormativSample0::GetLengths; indexes 31 to 33 hold the aluminium,
// steel and copper totals across kinds.
class TLengthValues {
public:
    static constexpr int Count = 34;
    TRange& operator[](int index) { return ranges_.at(index); }
    const TRange& operator[](int index) const { return ranges_.at(index); }
    // The display of a range: empty unless its upper bound is positive; one number when both bounds
    // are equal, else lower "-" upper, in the three-decimal format.
    QString GetLengths(int index) const;

private:
    std::array<TRange, Count> ranges_{};
};

// A node of aggregated normative results over the utility hierarchy.
class TLVBResultsCommon {
public:
    enum Param { CosFi, F, Dp, Dn, Kzap, Ku, K038, ParamCount };
    static constexpr int Voltage400 = 1, Voltage220 = 2;

    // A root: nothing of its own until the children are summed.
    explicit TLVBResultsCommon(const QString& name = {});
    // A child holding one element's stored result.
    TLVBResultsCommon(const QString& name, TLVNormativSample0& element);

    QString Name() const { return name_; }
    TLVBResultsCommon* AddChild(std::unique_ptr<TLVBResultsCommon> child);
    int ChildCount() const { return static_cast<int>(children_.size()); }
    TLVBResultsCommon* Child(int index) const { return children_.at(index).get(); }
    // A flagged child is the same element over several periods: its hours add up, its lines do not.
    void SetFlag(bool flag) { flag_ = flag; }
    bool Flag() const { return flag_; }

    // Sums the children into this node, depth first.
    void CalcSums();
    // Shows the aggregate in a calculation object: single-valued ranges only, energies when positive.
    void SetSample(TLVNormativSample0& target) const;
    // Makes the aggregate the inputs of one element: the energies, the summed lines and the fifteen summed
    // lengths (so its equivalent lengths are the aggregate's), each parameter its single value or, where the
    // children differ, its mean (Mean). Hours and voltage that differ keep the element's own.
    void RewriteSample(TLVNormativSample0& target) const;
    // The mean of a parameter over the elements summed: cos φ and the shares weighted by each element's net
    // supply, the head cross-section by its lines; the plain mean where no weight is known; -1 when none is
    // given. A single value is itself.
    double Mean(Param p) const;
    QString VoltageText() const;

    double Wa = -1, Wa_bus = -1, DeltaWa = -1;
    int Voltages = 0;
    TRange T, NLines;
    std::array<TRange, ParamCount> Params{};
    TLengthValues Lengths;

private:
    // Sums behind Mean: value·weight and weight, and the plain sum and count of the values given.
    struct TParamSums {
        double Weighted = 0, Weight = 0, Plain = 0;
        int Count = 0;
    };
    std::array<TParamSums, ParamCount> sums_{};
    void Add(const TLVBResultsCommon& child);
    QString name_;
    bool flag_ = false;
    std::vector<std::unique_ptr<TLVBResultsCommon>> children_;
};
