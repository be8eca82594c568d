#include "feeders/SampleCalcJson.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <cmath>

#include "feeders/LVFiderSampleCalc.h"
#include "host/JsonLines.h"
#include "host/NumericHelpers.h"

namespace feeders {

namespace {
QByteArray object(const QJsonObject& o) { return QJsonDocument(o).toJson(QJsonDocument::Compact); }
QByteArray errorLine(const QString& text) { return host::JsonErrorLine(text); }

const char* const kFields[] = {"Ia",  "Ib",    "Ic", "Ua", "Ub", "Uc",   "U2a",   "U2b",
                               "U2c", "CosFi", "Rf", "Xf", "Rn", "Tmax", "Krazv", "Knm"};
constexpr size_t kCosFi = 9, kTmax = 13;
// The hours of the longest year: the number of hours of use of the maximum load cannot exceed it.
constexpr double kYearHours = 8784;

// The ranges the editor's fields take: currents, voltages, resistances and coefficients not negative,
// the power factor in (0, 1], the hours of use of the maximum within a year. Empty when all is well.
QString RangeProblem(size_t field, double value)
{
    const QString name = QLatin1String(kFields[field]);
    if (isEmptyFloat(value))
        return {};
    if (!std::isfinite(value))
        return QStringLiteral("Поле %1 должно быть конечным числом").arg(name);
    if (field == kCosFi && !(value > 0 && value <= 1))
        return QStringLiteral("Коэффициент мощности CosFi должен быть больше 0 и не больше 1");
    if (field == kTmax && !(value >= 0 && value <= kYearHours))
        return QStringLiteral("Число часов Tmax должно быть от 0 до %1").arg(kYearHours);
    if (value < 0)
        return QStringLiteral("Поле %1 не может быть отрицательным").arg(name);
    return {};
}
}  // namespace

QByteArray CalculateSampleJsonLine(const QByteArray& line)
{
    QJsonObject o;
    QByteArray failure;
    if (!host::ParseJsonObjectLine(line, QStringLiteral("с замером"), o, failure))
        return failure;
    static const QSet<QString> known = [] {
        QSet<QString> k;
        for (const char* f : kFields)
            k.insert(QString::fromLatin1(f));
        return k;
    }();
    double values[std::size(kFields)];
    for (auto it = o.begin(); it != o.end(); ++it)
        if (!known.contains(it.key()))
            return errorLine(QStringLiteral("Неизвестное поле: %1").arg(it.key()));
    for (size_t i = 0; i < std::size(kFields); ++i) {
        const QJsonValue v = o.value(QLatin1String(kFields[i]));
        if (v.isNull() || v.isUndefined())
            values[i] = EmptyFloat();
        else if (v.isDouble())
            values[i] = v.toDouble();
        else
            return errorLine(QStringLiteral("Поле %1 должно быть числом").arg(QLatin1String(kFields[i])));
        if (const QString problem = RangeProblem(i, values[i]); !problem.isEmpty())
            return errorLine(problem);
    }
    TLVFiderSampleCalc::Input in;
    for (int p = 0; p < 3; ++p) {
        in.I[p] = values[p];
        in.U[p] = values[3 + p];
        in.U2[p] = values[6 + p];
    }
    in.CosFi = values[9];
    in.Rf = values[10];
    in.Xf = values[11];
    in.Rn = values[12];
    in.Tmax = values[13];
    in.Krazv = values[14];
    in.Knm = values[15];
    in.P = in.DP = EmptyFloat();
    // A fresh calculation: the currents and voltages were just entered, the load kind is unchanged.
    TLVFiderSampleCalc::Flags flags;
    flags.currentsChanged = true;
    const auto r = TLVFiderSampleCalc().Calculate(in, flags);
    switch (r.status) {
    case TLVFiderSampleCalc::Status::Incomplete:
        return errorLine(QStringLiteral("Не заданы токи, напряжения, сопротивления или коэффициент мощности"));
    case TLVFiderSampleCalc::Status::InvalidData: return errorLine(QStringLiteral("Неверные данные"));
    case TLVFiderSampleCalc::Status::Stopped: return object({{QStringLiteral("Stopped"), true}});
    case TLVFiderSampleCalc::Status::Done: break;
    }
    host::JsonObjectWriter out;
    out.Number("P", r.P)
        .Number("Wa", r.Wa)
        .Number("tau", r.Tau)
        .Number("Kdp", r.Kdp)
        .Number("dU", r.DU)
        .Number("Knm", r.Knm)
        .Number("KnmRef", r.KnmRef)
        .Raw("KnmWarning", r.knmWarning ? "true" : "false")
        .Number("dPpct", r.DPpct)
        .Number("dP", r.DP)
        .Number("dW", r.DW)
        .Number("dWpct", r.DWpct)
        .Number("Umean", r.Umean)
        .Number("U2mean", r.U2mean)
        .Number("Krazv", r.Krazv);
    return out.Finish();
}

}  // namespace feeders
