#pragma once
#include <array>
#include <functional>

#include "host/HostApi.h"
#include "host/HostObjects.h"

// The levels whose values the regime dialogs show, in the order of their tabs.
enum class TLVCalcLevel { Current = 0, Line = 1, TPGiven = 2, TPCalc = 3 };
constexpr int LVCalcLevelCount = 4;

// Values of one level of the regime parameters; empty floats where nothing is set.
struct OZN3HOST_API TLVCalcValues {
    TLVCalcValues();
    std::array<double, 3> U, Imax, Cos, I;
    double Kdp, Temperature, T, Wa, Wa_bus, Wa_tr, Kzap, SqrKfg, Tmax, Tau;
    bool operator==(const TLVCalcValues& other) const;
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
    void SetSampleType(int type);
    void SetT(double v) { Set(&TLVCalcValues::T, v); }
    void SetTau(double v) { Set(&TLVCalcValues::Tau, v); }
    void SetTmax(double v) { Set(&TLVCalcValues::Tmax, v); }
    void SetWa(double v) { Set(&TLVCalcValues::Wa, v); }
    void SetWa_bus(double v) { Set(&TLVCalcValues::Wa_bus, v); }
    void SetWa_tr(double v) { Set(&TLVCalcValues::Wa_tr, v); }
    void SetTemperature(double v) { Set(&TLVCalcValues::Temperature, v); }
    void SetKdp(double v) { Set(&TLVCalcValues::Kdp, v); }
    void SetKzap(double v) { Set(&TLVCalcValues::Kzap, v); }
    void SetSqrKfg(double v) { Set(&TLVCalcValues::SqrKfg, v); }
    double GetWa() const { return Current().Wa; }

private:
    void Set(double TLVCalcValues::*field, double value);
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
};

// Regime by maximum load.
class OZN3HOST_API TWCalcTmaxHHParams : public TFiderHHCalcParams {
public:
    using TFiderHHCalcParams::TFiderHHCalcParams;
    QString ClassName() const override { return QStringLiteral("TWCalcTmaxHHParams"); }
};
