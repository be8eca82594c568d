#pragma once
#include <array>
#include <functional>

#include "host/HostApi.h"
#include "host/HostObjects.h"

// The levels whose values the regime dialogs show, in the order of their tabs.
enum class TLVCalcLevel { Current = 0, Line = 1, TPGiven = 2, TPCalc = 3 };
constexpr int LVCalcLevelCount = 4;

// The values a regime dialog edits, one box each.
enum class TParamField {
    UA,
    UB,
    UC,
    ImaxA,
    ImaxB,
    ImaxC,
    CosA,
    CosB,
    CosC,
    IA,
    IB,
    IC,
    Kdp,
    Temperature,
    T,
    Wa,
    Wa_bus,
    Wa_tr,
    Kzap,
    SqrKfg,
    Tmax,
    Tau,
    Count
};

// Values of one level of the regime parameters; empty floats where nothing is set.
struct OZN3HOST_API TLVCalcValues {
    TLVCalcValues();
    std::array<double, 3> U, Imax, Cos, I;
    double Kdp, Temperature, T, Wa, Wa_bus, Wa_tr, Kzap, SqrKfg, Tmax, Tau;
    bool operator==(const TLVCalcValues& other) const;
    double& Field(TParamField field);
    double Field(TParamField field) const;
};

// Parameters of a regime calculation of one LV feeder: values per level, the calculation mode
// and the sample period. The dialogs edit the current level.
class OZN3HOST_API TFiderHHCalcParamsCommon : public TObject {
public:
    QString ClassName() const override { return QStringLiteral("TFiderHHCalcParamsCommon"); }
    const TLVCalcValues& Values(TLVCalcLevel level) const { return levels_[static_cast<int>(level)]; }
    TLVCalcValues& Values(TLVCalcLevel level) { return levels_[static_cast<int>(level)]; }
    const TLVCalcValues& Current() const { return Values(TLVCalcLevel::Current); }

    int GetSampleType() const { return sampleType_; }
    int GetSamplePeriod() const { return samplePeriod_; }
    void SetSamplePeriod(int ident);
    int GetFiderGUID() const { return fiderGuid_; }
    void SetFiderGUID(int guid) { fiderGuid_ = guid; }

    double Get(TParamField field, TLVCalcLevel level = TLVCalcLevel::Current) const
    {
        return Values(level).Field(field);
    }
    // The load-curve values, given or derived from one another:
    // Kzap = 1 / (3 sqrKfg - 2), sqrKfg = (1 / Kzap + 2) / 3, tau = (Kzap + 2 Kzap²) / 3, Tmax = Kzap T.
    double GetKzapCalc(TLVCalcLevel level = TLVCalcLevel::Current) const;
    double GetSqrKfgCalc(TLVCalcLevel level = TLVCalcLevel::Current) const;
    double GetTauCalc(TLVCalcLevel level = TLVCalcLevel::Current) const;
    double GetTmaxCalc(TLVCalcLevel level = TLVCalcLevel::Current) const;
    // The relations of the load curve, one function each (empty in, empty out).
    static double TauOfKzap(double kzap);       // (Kzap + 2 Kzap²) / 3, relative
    static double KzapOfSqrKfg(double sqrKfg);  // 1 / (3 sqrKfg − 2); empty for sqrKfg = 2/3
    static double KzapOfTau(double tauRel);     // the fill factor whose relative τ is the given one
    // The energy is found by the calculation rather than given (the dialogs show "Расчет").
    virtual bool isWaCalc() const { return false; }

    // Called after every change (the dialog refreshes its boxes).
    void SetOnChange(std::function<void()> onChange) { onChange_ = std::move(onChange); }

protected:
    void Changed();
    std::array<TLVCalcValues, LVCalcLevelCount> levels_;
    int sampleType_ = 0;
    int samplePeriod_ = 0;
    int fiderGuid_ = 0;
    std::function<void()> onChange_;
};

// Setters of the current level.
class OZN3HOST_API TFiderHHCalcParamsRW : public TFiderHHCalcParamsCommon {
public:
    // Sets one value of the current level. A load-curve value replaces the others it would contradict.
    void Set(TParamField field, double value);
    void SetSampleType(int type);
    void SetT(double v) { Set(TParamField::T, v); }
    void SetTau(double v) { Set(TParamField::Tau, v); }
    void SetTmax(double v) { Set(TParamField::Tmax, v); }
    void SetWa(double v) { Set(TParamField::Wa, v); }
    void SetWa_bus(double v) { Set(TParamField::Wa_bus, v); }
    void SetWa_tr(double v) { Set(TParamField::Wa_tr, v); }
    void SetTemperature(double v) { Set(TParamField::Temperature, v); }
    void SetKdp(double v) { Set(TParamField::Kdp, v); }
    void SetKzap(double v) { Set(TParamField::Kzap, v); }
    void SetSqrKfg(double v) { Set(TParamField::SqrKfg, v); }
    double GetWa() const { return Current().Wa; }
};

class OZN3HOST_API TFiderHHCalcParams : public TFiderHHCalcParamsRW {
public:
    TFiderHHCalcParams() = default;
    TFiderHHCalcParams(const TFiderHHCalcParams& other);
    TFiderHHCalcParams& operator=(const TFiderHHCalcParams&) = delete;
    QString ClassName() const override { return QStringLiteral("TFiderHHCalcParams"); }

    // The current values become those of another level.
    void CopyFrom(TLVCalcLevel level);
    // The current values are kept as the line's.
    void CopyCurrentToLine();
    // Takes every value, the mode and the period of another object (the change callback stays).
    void Assign(const TFiderHHCalcParams& other);
};

// Regime by mean loads.
class OZN3HOST_API TWCalcHHParams : public TFiderHHCalcParams {
public:
    using TFiderHHCalcParams::TFiderHHCalcParams;
    QString ClassName() const override { return QStringLiteral("TWCalcHHParams"); }
    // By given loads (mode 1) the energy comes from the loads; by metering profiles (mode 2) from them and the
    // head meter.
    bool isWaCalc() const override { return GetSampleType() == 1 || GetSampleType() == 2; }
};

// Regime by maximum load.
class OZN3HOST_API TWCalcTmaxHHParams : public TFiderHHCalcParams {
public:
    using TFiderHHCalcParams::TFiderHHCalcParams;
    QString ClassName() const override { return QStringLiteral("TWCalcTmaxHHParams"); }
    // By the head currents (mode 0) the energy comes from the maximum load and Tmax; by metering profiles (mode 2)
    // from them and the head meter.
    bool isWaCalc() const override { return GetSampleType() == 0 || GetSampleType() == 2; }
};

class ToznFDConnection;
// The column of a value in "LVCalcParams" and in the measurement tables ("UA", "CosFiA", "sqrKfg", …).
OZN3HOST_API QString ParamColumnName(TParamField field);
// Regime parameters in the database: the current and line values stored for the feeder, regime and
// period ("LVCalcParams", one row per level and period), the line's measurement of the period
// ("LVWSamples"), the substation's given values ("LVWTPInfo", "WLoads") and its calculated values (the
// sums over its LV feeders). Stored line values stand for the measurement of their own period only; a
// period without stored values shows its measurement. Save keeps the current and line values of the
// period of the parameters.
OZN3HOST_API void LoadWCalcParamsHH(ToznFDConnection& connection, TWCalcHHParams& params);
OZN3HOST_API void SaveWCalcParamsHH(ToznFDConnection& connection, const TWCalcHHParams& params);
OZN3HOST_API void LoadTmaxCalcParamsHH(ToznFDConnection& connection, TWCalcTmaxHHParams& params);
OZN3HOST_API void SaveTmaxCalcParamsHH(ToznFDConnection& connection, const TWCalcTmaxHHParams& params);
