#include "normative/NormativeJson.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QSet>
#include <cmath>

#include "host/JsonLines.h"
#include "host/NumericHelpers.h"
#include "normative/LVNormativUnit.h"

namespace normative {

namespace {
using S = TLVNormativSample0;

QByteArray errorLine(const QString& text) { return host::JsonErrorLine(text); }

// Reads an integer field; false (with a reason) when it is not a whole number.
bool readInt(const QJsonValue& v, const QString& name, int& out, QString& error)
{
    const double d = v.toDouble();
    if (!v.isDouble() || d != std::floor(d) || std::fabs(d) > 2147483647.0) {
        error = QStringLiteral("Поле %1 должно быть целым числом").arg(name);
        return false;
    }
    out = static_cast<int>(d);
    return true;
}

bool readDouble(const QJsonValue& v, const QString& name, double& out, QString& error)
{
    if (!v.isDouble()) {
        error = QStringLiteral("Поле %1 должно быть числом").arg(name);
        return false;
    }
    out = v.toDouble();
    if (!std::isfinite(out)) {
        error = QStringLiteral("Поле %1 должно быть конечным числом").arg(name);
        return false;
    }
    return true;
}

// Puts the given fields through the setters, in the order of the model's fields.
bool apply(const QJsonObject& o, S& s, QString& error)
{
    static const QSet<QString> known = [] {
        QSet<QString> k{"Wa", "Wa_bus", "T", "Unom", "CosFi", "F", "NLines", "dp", "dn", "kzap", "Info", "Ident"};
        for (const char* name : S::LengthNames)
            k.insert(QString::fromLatin1(name));
        return k;
    }();
    for (auto it = o.begin(); it != o.end(); ++it)
        if (!known.contains(it.key())) {
            error = QStringLiteral("Неизвестное поле: %1").arg(it.key());
            return false;
        }
    auto has = [&](const char* name) {
        return o.contains(QLatin1String(name)) && !o.value(QLatin1String(name)).isNull();
    };
    auto value = [&](const char* name) { return o.value(QLatin1String(name)); };
    double d = 0;
    int i = 0;
    struct FloatField {
        const char* name;
        void (S::*set)(double);
    };
    struct IntField {
        const char* name;
        void (S::*set)(int);
    };
    const FloatField floats1[] = {{"Wa", &S::SetWa}, {"Wa_bus", &S::SetWa_bus}};
    const IntField ints1[] = {{"T", &S::SetT}, {"Unom", &S::SetUnom}};
    const FloatField floats2[] = {{"CosFi", &S::SetCosFi}, {"F", &S::SetF}};
    const IntField ints2[] = {{"NLines", &S::SetNLines}};
    const FloatField floats3[] = {{"dp", &S::Setdp}, {"dn", &S::Setdn}, {"kzap", &S::Setkzap}};
    auto setFloats = [&](const auto& fields) {
        for (const FloatField& f : fields)
            if (has(f.name)) {
                if (!readDouble(value(f.name), QString::fromLatin1(f.name), d, error))
                    return false;
                (s.*f.set)(d);
            }
        return true;
    };
    auto setInts = [&](const auto& fields) {
        for (const IntField& f : fields)
            if (has(f.name)) {
                if (!readInt(value(f.name), QString::fromLatin1(f.name), i, error))
                    return false;
                (s.*f.set)(i);
            }
        return true;
    };
    if (!setFloats(floats1) || !setInts(ints1) || !setFloats(floats2) || !setInts(ints2) || !setFloats(floats3))
        return false;
    for (int l = 0; l < S::LengthCount; ++l)
        if (has(S::LengthNames[l])) {
            if (!readDouble(value(S::LengthNames[l]), QString::fromLatin1(S::LengthNames[l]), d, error))
                return false;
            s.SetLength(static_cast<S::Length>(l), d);
        }
    if (has("Info")) {
        if (!readInt(value("Info"), QStringLiteral("Info"), i, error))
            return false;
        s.Info = i;
    }
    if (has("Ident")) {
        if (!readInt(value("Ident"), QStringLiteral("Ident"), i, error))
            return false;
        s.Ident = i;
    }
    return true;
}
}  // namespace

QByteArray CalculateJsonLine(const QByteArray& line)
{
    QJsonObject input;
    QByteArray failure;
    if (!host::ParseJsonObjectLine(line, QStringLiteral("с исходными данными элемента"), input, failure))
        return failure;
    S sample;  // an empty period: T defaults to 8760 hours
    QString error;
    if (!apply(input, sample, error))
        return errorLine(error);

    // Inputs each within its range can still overflow together (an enormous energy or length); such an
    // element has no losses to report. A fill factor of 0 divides by zero by design and is left to the
    // outcome's message.
    if (sample.Getkzap() != 0)
        for (double v : {sample.Lekv(), sample.deltaWa(), sample.deltaWaPercent(), sample.CurrentDensity()})
            if (std::isinf(v))
                return errorLine(QStringLiteral("Расчет невозможен: исходные данные вне допустимого диапазона"));

    host::JsonObjectWriter out;
    out.Number("WaNet", sample.WaNet())
        .Number("Lm", sample.Lm())
        .Number("L23", sample.L23())
        .Number("L1", sample.L1())
        .Number("Lekv", sample.Lekv())
        .Number("ku", sample.ku())
        .Number("k038", sample.k038())
        .Number("deltaWa", sample.deltaWa())
        .Number("deltaWaPercent", sample.deltaWaPercent())
        .Number("CurrentDensity", sample.CurrentDensity())
        .Number("TotalLength", sample.TotalLength())
        .Number("AverageLength", sample.AverageLength());
    QByteArray lengths = "[";
    for (int i = 0; i < S::LengthIndexCount; ++i) {
        if (i)
            lengths += ',';
        lengths += JsonNumber(sample.GetLengths(i));
    }
    out.Raw("Lengths", lengths + ']');
    out.Raw("Message", host::JsonString(S::OutcomeMessage(sample.Classify())));
    return out.Finish();
}

}  // namespace normative
