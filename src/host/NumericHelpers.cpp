#include "host/NumericHelpers.h"

#include <QLocale>
#include <array>
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
