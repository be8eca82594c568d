#include "results/LVMeasuredStore.h"

#include <QHash>
#include <QSet>
#include <algorithm>

#include "host/Connection.h"
#include "host/FastQuery.h"

namespace {
const char* const kYears = R"(select "GUID", extract(year from "SampleDate") from "LVPResultsA" group by 1, 2)";
const char* const kSamplesOfYear =
    R"(select r."GUID", r."SampleDate", r."IsMain", r."UA", r."UB", r."UC", r."IA", r."IB", r."IC", r."P", r."Wa",
    r."dP", r."dW", a."CosFi" from "LVPResultsA" r left join "LVFidersA" a on a.guid=r.guid
    where r."SampleDate">=:d1 and r."SampleDate"<:d2)";

QSet<int> setOf(const std::vector<int>& feeders) { return QSet<int>(feeders.begin(), feeders.end()); }

QDate dateOf(const TRows& q, int column) { return QDate::fromString(q.Str(column).left(10), Qt::ISODate); }

}  // namespace

QList<int> MeasuredYears(ToznFDConnection& connection, const std::vector<int>& feeders)
{
    const QSet<int> under = setOf(feeders);
    QSet<int> years;
    TRows q(connection, QString::fromUtf8(kYears));
    for (q.Open(); q.Next();)
        if (under.contains(q.Int(0)))
            years.insert(q.Int(1));
    QList<int> list(years.begin(), years.end());
    std::sort(list.begin(), list.end());
    return list;
}

namespace {
// Every sample of the feeders within a year.
std::vector<TMeasuredSample> samplesOfYear(ToznFDConnection& connection, const std::vector<int>& feeders, int year,
                                           std::vector<bool>* main = nullptr)
{
    const QSet<int> under = setOf(feeders);
    std::vector<TMeasuredSample> samples;
    TRows q(connection, QString::fromUtf8(kSamplesOfYear));
    q.Param(QStringLiteral("d1"), QDateTime(QDate(year, 1, 1), QTime(0, 0)));
    q.Param(QStringLiteral("d2"), QDateTime(QDate(year + 1, 1, 1), QTime(0, 0)));
    for (q.Open(); q.Next();) {
        if (!under.contains(q.Int(0)))
            continue;
        TMeasuredSample s;
        s.Feeder = q.Int(0);
        s.Date = dateOf(q, 1);
        for (int k = 0; k < 3; ++k) {
            s.U[k] = q.Float(3 + k);
            s.I[k] = q.Float(6 + k);
        }
        s.P = q.Float(9);
        s.Wa = q.Float(10);
        s.dP = q.Float(11);
        s.dW = q.Float(12);
        s.CosFi = q.Float(13);
        samples.push_back(s);
        if (main)
            main->push_back(q.Int(2) == 1);
    }
    return samples;
}
}  // namespace

QList<QDate> MeasuredDates(ToznFDConnection& connection, const std::vector<int>& feeders, int year)
{
    QSet<QDate> dates;
    for (const TMeasuredSample& s : samplesOfYear(connection, feeders, year))
        dates.insert(s.Date);
    QList<QDate> list(dates.begin(), dates.end());
    std::sort(list.begin(), list.end());
    return list;
}

std::vector<TMeasuredSample> MeasuredSamples(ToznFDConnection& connection, const std::vector<int>& feeders, int year,
                                             const QList<QDate>& dates)
{
    std::vector<bool> main;
    const std::vector<TMeasuredSample> all = samplesOfYear(connection, feeders, year, &main);
    QHash<int, size_t> chosen;  // feeder -> sample
    for (size_t i = 0; i < all.size(); ++i) {
        const TMeasuredSample& s = all[i];
        const bool wanted = dates.isEmpty() ? bool(main[i]) : dates.contains(s.Date);
        if (!wanted)
            continue;
        const auto it = chosen.constFind(s.Feeder);
        if (it == chosen.cend() || all[*it].Date < s.Date)
            chosen.insert(s.Feeder, i);
    }
    std::vector<TMeasuredSample> samples;
    for (size_t i : chosen)
        samples.push_back(all[i]);
    std::sort(samples.begin(), samples.end(),
              [](const TMeasuredSample& a, const TMeasuredSample& b) { return a.Feeder < b.Feeder; });
    return samples;
}
