#pragma once
#include <QString>
#include <array>
#include <functional>
#include <initializer_list>

#include "host/SamplePeriods.h"

// Losses of active energy in a 0.38 kV network estimated from generalised data about its scheme
// and loads, for one network element and one sampling period.
//
// Inside the model a value below zero means "not given" (-1); the cached loss uses -2 for
// "recompute". Energies are in thousand kWh, lengths in km, the cross-section in mm².
class TLVNormativSample0 {
public:
    // The fifteen length inputs: main line, two/three-phase branches and their building inputs,
    // single-phase branches and their building inputs; a aluminium, s steel, m copper.
    enum Length { Lma, Lms, Lmm, L23a, L23s, L23m, L23ia, L23is, L23im, L1a, L1s, L1m, L1ia, L1is, L1im, LengthCount };
    enum class Group { MainLine, Branches23, Branches1 };
    enum class Outcome { Saved, Over100, NoSupply, NotEnoughData };
    enum Material { Aluminium, Steel, Copper };
    static constexpr int LengthIndexCount = 31;
    static const char* const LengthNames[LengthCount];

    TLVNormativSample0();
    virtual ~TLVNormativSample0();

    TSamplePeriodInfo Period;  // set by the caller before Clear
    int Ident = 0;             // the network element being calculated
    int Info = 0;              // its stored scheme record ("LVFidersB"), 0 when none

    // Every field back to its default; T from the period.
    virtual void Clear();

    double GetWa() const { return wa_; }
    double GetWa_bus() const { return waBus_; }
    int GetT() const { return t_; }
    int GetUnom() const { return unom_; }
    double GetCosFi() const { return cosFi_; }
    double GetF() const { return f_; }
    int GetNLines() const { return nLines_; }
    double Getdp() const { return dp_; }
    double Getdn() const { return dn_; }
    double Getkzap() const { return kzap_; }
    double GetLength(Length which) const { return lengths_[which]; }

    // Setters store a value unless it equals the stored one; out of range is stored as -1.
    void SetWa(double value);
    void SetWa_bus(double value);
    void SetT(int value);
    void SetUnom(int code);
    void SetCosFi(double value);
    void SetF(double value);
    void SetNLines(int value);
    void Setdp(double value);
    void Setdn(double value);
    void Setkzap(double value);
    void SetLength(Length which, double value);

    // Group clears: the aluminium line field gets -2, the others -1.
    void ClearMainLine();
    void ClearBranches23();
    void ClearBranches1();

    // Called after any change of an input.
    std::function<void()> OnChange;
    // Counts the changes of inputs since creation; tells a loader whether inputs were edited.
    int ChangeCount() const { return changes_; }

    // Results, computed from the current inputs.
    double WaNet() const;
    double Lm() const;
    double L23() const;
    double L1() const;
    double Lekv() const;
    double ku() const;
    double k038() const;
    double deltaWa();
    double deltaWaPercent();
    double CurrentDensity() const;
    double TotalLength() const;
    double AverageLength() const;
    // One of the 31 length values shown by the forms and the result tree.
    double GetLengths(int index) const;
    // Aluminium, steel or copper length across the main line and both kinds of branches.
    double MaterialTotal(Material material) const;

    Outcome Classify();
    static QString OutcomeMessage(Outcome outcome);

    // The model's building blocks.
    static double KindTotal(double line, double input);
    static double MaterialEquivalent(double aluminium, double steel, double copper);

protected:
    virtual void DoChange();
    // Fired by the dp setter before the loss cache is reset.
    virtual void DoDpChange() {}
    virtual void DoGroupChange(Group) {}

private:
    template <class T> void Store(T& field, T value);
    void ClearGroup(Group group, std::initializer_list<Length> fields);
    double LengthTotal(Length line, Length input) const;

    double wa_, waBus_;
    int t_, unom_;
    double cosFi_, f_;
    int nLines_;
    double dp_, dn_, kzap_;
    std::array<double, LengthCount> lengths_;
    double deltaWaCache_ = -2;
    int changes_ = 0;
};
