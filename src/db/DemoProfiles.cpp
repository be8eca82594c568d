#include "db/DemoProfiles.h"

#include <QDate>
#include <QHash>
#include <algorithm>
#include <cmath>
#include <vector>

#include "db/DemoRandom.h"
#include "host/Connection.h"
#include "host/profiles/ProfileStore.h"

namespace db {

namespace {
using namespace profiles;
using demo::Random;

constexpr double kPi = 3.14159265358979323846;
constexpr int kPercentProfiled = 30;  // of the consumers of the feeders with schemes
constexpr int kHeadEveryScheme = 3, kHeadEveryPlain = 8;
constexpr size_t kSaveEvery = 400;  // profiles held before they are written

enum class Shape { Household, School, Shop, Production, Rural };

double bell(double h, double centre, double width) { return std::exp(-(h - centre) * (h - centre) / width); }

// Relative load of an hour of a day: weekday 1-7, day of the year from 1.
double shapeAt(Shape shape, int hour, int weekday, int dayOfYear, int month)
{
    const double winter = std::cos(2 * kPi * (dayOfYear - 15) / 365.0);  // 1 in January, -1 in July
    const bool weekend = weekday >= 6;
    const double h = hour + 0.5;
    switch (shape) {
    case Shape::Household: {
        const double morning = weekend ? bell(h, 10, 6) * 0.4 : bell(h, 7.5, 2) * 0.45;
        const double day = weekend ? 0.3 : 0.12;
        return (0.45 + morning + day * bell(h, 14, 12) + 0.65 * bell(h, 20, 5)) * (1 + 0.2 * winter);
    }
    case Shape::School: {
        const bool holidays = month >= 6 && month <= 8;
        const bool lessons = !weekend && !holidays && hour >= 8 && hour < 16;
        return (lessons ? 1.0 : 0.25) * (1 + 0.2 * winter);
    }
    case Shape::Shop: {
        const double open = hour >= 9 && hour < 21 ? 1.0 + 0.3 * bell(h, 18.5, 4) : 0.3;  // refrigeration at night
        return open * (1 - 0.15 * winter);                                                // cooling in summer
    }
    case Shape::Production: return (!weekend && hour >= 7 && hour < 17 ? 1.0 : 0.2) * (1 + 0.1 * winter);
    case Shape::Rural: return (0.3 + bell(h, 6, 3) + 0.8 * bell(h, 19, 4)) * (1 - 0.3 * winter);
    }
    return 1;
}

// The load kinds of the demo: 1 households, 2 public and domestic, 3 production, 4 rural, 5 mixed.
double kindShapeAt(int kind, int hour, int weekday, int day, int month)
{
    switch (kind) {
    case 1: return shapeAt(Shape::Household, hour, weekday, day, month);
    case 2:
        return 0.5 * shapeAt(Shape::Shop, hour, weekday, day, month) +
               0.5 * shapeAt(Shape::School, hour, weekday, day, month);
    case 3: return shapeAt(Shape::Production, hour, weekday, day, month);
    case 4: return shapeAt(Shape::Rural, hour, weekday, day, month);
    default:
        return 0.6 * shapeAt(Shape::Household, hour, weekday, day, month) +
               0.4 * shapeAt(Shape::Shop, hour, weekday, day, month);
    }
}

struct Year {
    int ident = 0;
    QDate first;
    int hours = 0;
    TProfileInterval interval;
};

// A shape over the year, hour by hour.
std::vector<double> overYear(const Year& y, const std::function<double(int, int, int, int)>& shape)
{
    std::vector<double> v(y.hours);
    for (int day = 0; day * 24 < y.hours; ++day) {
        const QDate d = y.first.addDays(day);
        for (int h = 0; h < 24 && day * 24 + h < y.hours; ++h)
            v[day * 24 + h] = shape(h, d.dayOfWeek(), d.dayOfYear(), d.month());
    }
    return v;
}

// A shape with hour-to-hour noise, scaled to an energy (kWh) and kept in Wh.
std::vector<double> series(const std::vector<double>& shape, Random& r, double noise, double energy)
{
    std::vector<double> v(shape.size());
    double sum = 0;
    for (size_t t = 0; t < shape.size(); ++t) {
        v[t] = shape[t] * (noise > 0 ? r.Uniform(1 - noise, 1 + noise) : 1);
        sum += v[t];
    }
    for (double& x : v)
        x = std::round(x * energy / sum * 1000) / 1000;
    return v;
}

TStoredProfile profile(const Year& y, TProfileKind kind, int guid, int fider, std::vector<double> values)
{
    TStoredProfile p;
    p.Kind = kind;
    p.Guid = guid;
    p.FiderGuid = fider;
    p.Series.Start = y.interval.Start;
    p.Series.StepMinutes = 60;
    p.Series.Active = std::move(values);
    p.Series.Decimals = 3;
    return p;
}

struct Consumer {
    int node, fider, kind;
    double wa;  // kWh of the year
};
}  // namespace

int GenerateDemoProfiles(ToznFDConnection& connection, const std::function<void(int, const QString&)>& progress)
{
    Year year;
    auto q = connection.NewQuery();
    q->SetSQLText(QStringLiteral(R"(select first 1 "Ident", "Name", "SampleDate1", "SampleDate2" from "SamplesDates"
        where "Period"=1 order by "SampleDate1" desc)"));
    q->Open();
    if (q->Eof())
        return 0;
    year.ident = q->Int(QStringLiteral("Ident"));
    year.first = q->Value(QStringLiteral("SampleDate1")).toDate();
    const QDate end = q->Value(QStringLiteral("SampleDate2")).toDate();
    year.hours = static_cast<int>(year.first.daysTo(end)) * 24;
    year.interval = {year.ident, q->Str(QStringLiteral("Name")), MinuteOf(QDateTime(year.first, QTime(0, 0))),
                     MinuteOf(QDateTime(end, QTime(0, 0)))};
    // The consumers of the schemes with their energies of the year, by feeder.
    std::vector<Consumer> consumers;
    q->SetSQLText(QStringLiteral(R"(select n."GUID", n."OwnerGUID", lf."TypeLoad", w."Wa" from "LVNodes" n
        join "LVFiders" lf on lf."GUID"=n."OwnerGUID"
        left join "LVWLoads" w on w."GUID"=n."GUID" and w."SampleIdent"=:Sample
        where n."Kind"=2 order by n."OwnerGUID", n."GUID")"));
    q->ParamByName(QStringLiteral("Sample"), year.ident);
    for (q->Open(); !q->Eof(); q->Next())
        consumers.push_back({q->Int(QStringLiteral("GUID")), q->Int(QStringLiteral("OwnerGUID")),
                             q->Int(QStringLiteral("TypeLoad"), 5), q->Float(QStringLiteral("Wa")) * 1000});
    // Feeders without a scheme, with the energy measured at their head.
    std::vector<Consumer> plain;
    q->SetSQLText(QStringLiteral(R"(select lf."GUID", lf."TypeLoad", s."Wa" from "LVFiders" lf
        join "LVWSamples" s on s."GUID"=lf."GUID" and s."SampleIdent"=:Sample
        where not exists (select 1 from "LVNodes" n where n."OwnerGUID"=lf."GUID") order by lf."GUID")"));
    q->ParamByName(QStringLiteral("Sample"), year.ident);
    for (q->Open(); !q->Eof(); q->Next())
        plain.push_back({0, q->Int(QStringLiteral("GUID")), q->Int(QStringLiteral("TypeLoad"), 5),
                         q->Float(QStringLiteral("Wa")) * 1000});
    q.reset();

    Random r(20250101);
    TProfileStore store(connection);
    std::vector<TStoredProfile> batch;
    int rows = 0;
    auto flush = [&](bool last) {
        if (batch.size() < kSaveEvery && !(last && !batch.empty()))
            return;
        store.Save(year.ident, batch);
        rows += static_cast<int>(batch.size());
        batch.clear();
        if (progress)
            progress(rows, QStringLiteral("Графики нагрузки: %1").arg(rows));
    };
    // The shapes are the same for every consumer that follows them: made once.
    std::vector<std::vector<double>> kinds(6), own(3);
    for (int kind = 1; kind <= 5; ++kind) {
        kinds[kind] = overYear(year, [kind](int h, int w, int d, int m) { return kindShapeAt(kind, h, w, d, m); });
        batch.push_back(profile(year, TProfileKind::Typical, kind, 0, series(kinds[kind], r, 0, 1000.0)));
    }
    for (Shape shape : {Shape::Household, Shape::School, Shape::Shop})
        own[static_cast<int>(shape)] =
            overYear(year, [shape](int h, int w, int d, int m) { return shapeAt(shape, h, w, d, m); });
    auto kindShape = [&](int kind) -> const std::vector<double>& { return kinds[std::clamp(kind, 1, 5)]; };
    int feeders = 0;
    for (size_t i = 0; i < consumers.size();) {
        const int fider = consumers[i].fider;
        std::vector<double> head(year.hours, 0.0);
        const bool meter = ++feeders % kHeadEveryScheme == 0;
        for (; i < consumers.size() && consumers[i].fider == fider; ++i) {
            const Consumer& c = consumers[i];
            if (!(c.wa > 0))
                continue;
            const int pick = r.Int(1, 100);
            const Shape shape = pick <= 80 ? Shape::Household : pick <= 90 ? Shape::School : Shape::Shop;
            const bool profiled = r.Chance(kPercentProfiled);
            // What the consumer takes: its own curve and noise when metered, its kind's otherwise.
            std::vector<double> v =
                series(profiled ? own[static_cast<int>(shape)] : kindShape(c.kind), r, profiled ? 0.15 : 0, c.wa);
            if (meter)
                for (int t = 0; t < year.hours; ++t)
                    head[t] += v[t];
            if (profiled) {
                batch.push_back(profile(year, TProfileKind::Consumer, c.node, fider, std::move(v)));
                flush(false);
            }
        }
        if (meter) {
            // The head meter also sees the losses and what the consumers' meters miss.
            const double extra = r.Uniform(1.04, 1.09);
            for (double& x : head)
                x = std::round(x * extra * r.Uniform(0.99, 1.01) * 1000) / 1000;
            batch.push_back(profile(year, TProfileKind::Head, fider, fider, std::move(head)));
            flush(false);
        }
    }
    for (size_t i = 0; i < plain.size(); ++i) {
        const Consumer& c = plain[i];
        if ((i + 1) % kHeadEveryPlain != 0 || !(c.wa > 0))
            continue;
        batch.push_back(profile(year, TProfileKind::Head, c.fider, c.fider, series(kindShape(c.kind), r, 0.15, c.wa)));
        flush(false);
    }
    flush(true);
    return rows;
}

}  // namespace db
