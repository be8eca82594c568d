#pragma once
// The losses measured feeder by feeder in the feeder editor ("LVPResultsA"), summed over the hierarchy: one
// sample per LV feeder (its main sample of the year, or one of the dates the user picks), totals per node with
// the power factor weighted by the apparent power of each phase. Plain classes: no SQL, no widgets.
#include <QDate>
#include <QString>
#include <array>
#include <memory>
#include <vector>

class ToznListItemCommon;

// One calculated sample of an LV feeder with its feeder's design cos φ ("LVFidersA"."CosFi").
struct TMeasuredSample {
    int Feeder = 0;
    QDate Date;
    std::array<double, 3> U, I;   // head voltages (V) and currents (A) per phase
    double CosFi, P, Wa, dP, dW;  // cos φ; kW; thousand kWh; kW; thousand kWh
    TMeasuredSample();
};

// The totals of a node over the samples of its feeders. Energies, powers, currents and losses add up; the
// voltage of a phase is the mean over the feeders that have it; cos φ of a phase is Σ(U·I·cos φ) / Σ(U·I) over
// the feeders that have all three; the losses are also in per cent of P and Wa. Empty (NaN) where no feeder
// gives a value.
struct TMeasuredTotals {
    double P, Wa, dP, dW;
    std::array<double, 3> U, I, CosFi;
    int Measured = 0, NotMeasured = 0;
    double dPPercent() const;
    double dWPercent() const;
    TMeasuredTotals();
};

// Sums samples into totals; sums of two nodes add up.
class TMeasuredAccumulator {
public:
    TMeasuredAccumulator();
    // A feeder's sample; a sample not yet calculated ("dP" empty) counts the feeder as not measured.
    void Add(const TMeasuredSample& sample);
    void AddNotMeasured() { ++notMeasured_; }
    void Add(const TMeasuredAccumulator& other);
    TMeasuredTotals Totals() const;

private:
    double p_, wa_, dP_, dW_;
    std::array<double, 3> uSum_, iSum_, uiCos_, ui_;
    std::array<int, 3> uCount_{};
    int measured_ = 0, notMeasured_ = 0;
};

// A node of the hierarchy (levels 0 utility … 7 LV feeder) with its totals.
struct TMeasuredNode {
    int Level = 0, GUID = 0;
    QString Text;
    TMeasuredNode* Parent = nullptr;
    std::vector<std::unique_ptr<TMeasuredNode>> Children;
    TMeasuredTotals Totals;
    int Row = 0;  // the worksheet row, set by the workbook
    // The node and every node below it, parents first.
    template <class F> void ForEach(F&& f) const
    {
        f(*this);
        for (const auto& c : Children)
            static_cast<const TMeasuredNode&>(*c).ForEach(f);
    }
    template <class F> void ForEach(F&& f)
    {
        f(*this);
        for (auto& c : Children)
            c->ForEach(f);
    }
};

// The LV feeders under an item of the host's tree (links left out: a substation shown twice counts once).
std::vector<int> FeedersUnder(ToznListItemCommon* item);
// The tree of an item with the totals of every node from the samples of its feeders (one per feeder; a
// feeder without one is not measured).
std::unique_ptr<TMeasuredNode> BuildMeasuredTree(ToznListItemCommon* item, const std::vector<TMeasuredSample>& samples);
