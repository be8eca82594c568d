#include "host/NumericHelpers.h"

#include <QLocale>
#include <QRegularExpression>
#include <QStringList>
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

double EmptyFloat() { return std::numeric_limits<double>::quiet_NaN(); }

bool isEmptyFloat(double value) { return std::isnan(value); }

int CompareFloat(double a, double b)
{
    const bool ea = isEmptyFloat(a), eb = isEmptyFloat(b);
    if (ea || eb)
        return ea == eb ? 0 : (ea ? -1 : 1);
    // Values typed in forms go through text; a relative tolerance keeps them equal after a round trip.
    const double tolerance = 1e-12 * std::max({1.0, std::fabs(a), std::fabs(b)});
    if (std::fabs(a - b) <= tolerance)
        return 0;
    return a < b ? -1 : 1;
}

double AC_SumFloat(double a, double b)
{
    if (isEmptyFloat(a))
        return b;
    if (isEmptyFloat(b))
        return a;
    return a + b;
}

double AC_DifferenceFloat(double a, double b)
{
    if (isEmptyFloat(b))
        return a;
    if (isEmptyFloat(a))
        return -b;
    return a - b;
}

double RoundUnom(double kv)
{
    static constexpr std::array<double, 14> standard{0.22, 0.4, 0.69, 3, 6, 10, 20, 35, 110, 150, 220, 330, 500, 750};
    if (isEmptyFloat(kv) || kv <= 0)
        return kv;
    for (double u : standard)
        if (std::fabs(kv - u) <= 0.1 * u)
            return u;
    return std::round(kv * 1000.0) / 1000.0;
}

QString dotFloatToStr(double value)
{
    if (isEmptyFloat(value))
        return {};
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

int KestCompareText(const QString& a, const QString& b)
{
    return QString::localeAwareCompare(a.toLower(), b.toLower());
}

QString GetNameCell(int col, int row)
{
    QString name;
    for (int c = col; c > 0; c = (c - 1) / 26)
        name.prepend(QChar('A' + (c - 1) % 26));
    return name + QString::number(row);
}

int GetNumCol(const QString& name)
{
    int col = 0;
    for (QChar ch : name.trimmed().toUpper()) {
        if (ch < 'A' || ch > 'Z')
            return 0;
        col = col * 26 + (ch.unicode() - 'A' + 1);
    }
    return col;
}

QChar DecimalSeparator() { return QLatin1Char(','); }

QChar ThousandSeparator() { return QChar(0x00A0); }

namespace {
QString formatSection(const QString& section, double value)
{
    const int dot = section.indexOf(QLatin1Char('.'));
    QString intPart = dot >= 0 ? section.left(dot) : section;
    const QString fracPart = dot >= 0 ? section.mid(dot + 1) : QString();
    const bool grouping = intPart.contains(QLatin1Char(','));
    // Text around the digits (a minus sign, a unit) is kept as it stands.
    static const QRegularExpression digitMark(QStringLiteral("[0#]"));
    const int firstDigit = intPart.indexOf(digitMark);
    const QString prefix = firstDigit > 0 ? intPart.left(firstDigit) : QString();
    int maxDecimals = 0, minDecimals = 0;
    for (QChar ch : fracPart) {
        if (ch == QLatin1Char('0'))
            minDecimals = ++maxDecimals;
        else if (ch == QLatin1Char('#'))
            ++maxDecimals;
    }
    const int minIntDigits = static_cast<int>(intPart.count(QLatin1Char('0')));
    QString digits = QString::number(std::fabs(value), 'f', maxDecimals);
    QString intDigits = digits.section(QLatin1Char('.'), 0, 0);
    QString frac = digits.section(QLatin1Char('.'), 1, 1);
    while (frac.size() > minDecimals && frac.endsWith(QLatin1Char('0')))
        frac.chop(1);
    if (intDigits == QLatin1String("0") && minIntDigits == 0)
        intDigits.clear();
    while (intDigits.size() < minIntDigits)
        intDigits.prepend(QLatin1Char('0'));
    if (grouping)
        for (int i = static_cast<int>(intDigits.size()) - 3; i > 0; i -= 3)
            intDigits.insert(i, ThousandSeparator());
    QString text = prefix + intDigits;
    if (!frac.isEmpty())
        text += DecimalSeparator() + frac;
    return text;
}
}  // namespace

QString FormatFloat(const QString& pattern, double value)
{
    if (isEmptyFloat(value))
        return {};
    const QStringList sections = pattern.split(QLatin1Char(';'));
    const double eps = 0.5 * std::pow(10.0, -15);
    if (std::fabs(value) < eps && sections.size() >= 3)
        return formatSection(sections[2], 0);
    if (value < 0 && sections.size() >= 2)
        return formatSection(sections[1], value);
    const QString text = formatSection(sections[0], value);
    // A negative number that rounds to zero is written without its sign.
    static const QRegularExpression nonZero(QStringLiteral("[1-9]"));
    const bool allZero = !text.contains(nonZero);
    return value < 0 && !allZero ? QLatin1Char('-') + text : text;
}

QString FormatFloat3(double value) { return FormatFloat(QStringLiteral("#,##0.000"), value); }

bool ParseFloat(const QString& text, double& value)
{
    QString t = text.trimmed();
    t.remove(ThousandSeparator());
    t.remove(QLatin1Char(' '));
    t.replace(DecimalSeparator(), QLatin1Char('.'));
    bool ok = false;
    const double v = t.toDouble(&ok);
    if (ok)
        value = v;
    return ok;
}

namespace {
// Writes the number's JSON text into a buffer of at least 32 characters; returns its end.
char* WriteJsonNumber(char* buffer, double value)
{
    if (!std::isfinite(value))
        return std::copy_n("null", 4, buffer);
    return std::to_chars(buffer, buffer + 32, value).ptr;
}
}  // namespace

QByteArray JsonNumber(double value)
{
    char buffer[32];
    return QByteArray(buffer, static_cast<qsizetype>(WriteJsonNumber(buffer, value) - buffer));
}

void AppendJsonNumber(std::string& out, double value)
{
    char buffer[32];
    out.append(buffer, WriteJsonNumber(buffer, value));
}
