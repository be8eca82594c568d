#include "db/DemoGenerator.h"

#include <QDate>
#include <QDateTime>
#include <QStringList>
#include <QVariant>
#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "db/DemoNames.h"
#include "host/Connection.h"

namespace db {

DemoShape DemoShape::For(DemoSize size)
{
    if (size == DemoSize::Large)
        return {5, 5, 8, 2, 5, 10, 2023, 3, 10};
    return {2, 2, 2, 2, 2, 6, 2023, 3, 1};
}

bool ParseDemoSize(const QString& text, DemoSize& size)
{
    if (text == QLatin1String("small"))
        size = DemoSize::Small;
    else if (text == QLatin1String("large"))
        size = DemoSize::Large;
    else
        return false;
    return true;
}

namespace {

// A small deterministic generator, the same on every platform.
class Random {
public:
    explicit Random(quint64 seed) : state_(seed ? seed : 0x9E3779B97F4A7C15ull) {}
    quint64 Next()
    {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }
    double Uniform(double lo, double hi) { return lo + (hi - lo) * (Next() % 1000000) / 1000000.0; }
    int Int(int lo, int hi) { return lo + static_cast<int>(Next() % quint64(hi - lo + 1)); }
    bool Chance(int percent) { return Int(1, 100) <= percent; }

private:
    quint64 state_;
};

double round3(double v) { return std::round(v * 1000.0) / 1000.0; }

// Writes rows of one table through one prepared statement; commits (retaining) every few thousand rows.
class Writer {
public:
    Writer(ToznFDConnection& connection, int& rows, const QString& table, const QStringList& columns)
        : connection_(connection), rows_(rows), query_(connection.NewQuery())
    {
        QStringList quoted, marks;
        for (const QString& c : columns) {
            quoted << QLatin1Char('"') + c + QLatin1Char('"');
            marks << QStringLiteral("?");
        }
        query_->SetSQLText(QStringLiteral("insert into \"%1\" (%2) values (%3)")
                               .arg(table, quoted.join(QLatin1Char(',')), marks.join(QLatin1Char(','))));
    }
    void Row(std::initializer_list<QVariant> values)
    {
        int i = 0;
        for (const QVariant& v : values)
            query_->ParamByIndex(i++, v);
        query_->ExecSQL();
        if (++rows_ % 20000 == 0)
            connection_.CommitRetaining();
    }

private:
    ToznFDConnection& connection_;
    int& rows_;
    std::unique_ptr<TFDQuery> query_;
};

struct Transformer {
    int ident;
    bool lowSide;  // low side below 1 kV
};

struct NodeInfo {
    int guid, fider, res, typeLoad;
    bool lowSide;
};

struct LVInfo {
    int guid, node, res, typeLoad, provod;
    double i, cos, length;
};

class Builder {
public:
    Builder(ToznFDConnection& c, const DemoShape& s, const std::function<void(int, const QString&)>& p)
        : conn_(c), shape_(s), progress_(p), rnd_(20240601)
    {
    }

    DemoCounts Run()
    {
        Stage(QStringLiteral("Справочники"));
        Catalogues();
        Stage(QStringLiteral("Периоды"));
        Periods();
        Stage(QStringLiteral("Иерархия сети"));
        Hierarchy();
        Stage(QStringLiteral("Линии 0,4 кВ"));
        LVFeeders();
        Stage(QStringLiteral("Замеры"));
        Measurements();
        Stage(QStringLiteral("Результаты 6-10 кВ"));
        MVResults();
        Stage(QStringLiteral("Нормативный метод"));
        Normative();
        Stage(QStringLiteral("Результаты расчета 0,4 кВ"));
        LVResults();
        Stage(QStringLiteral("Права пользователей"));
        Rights();
        return {static_cast<int>(nodes_.size()), static_cast<int>(lvs_.size()), rows_};
    }

private:
    void Stage(const QString& name)
    {
        if (progress_)
            progress_(rows_, name);
    }
    Writer W(const QString& table, const QStringList& columns) { return Writer(conn_, rows_, table, columns); }
    int NewGuid() { return ++lastGuid_; }
    // The district after this one, for balances shared with a neighbour.
    int NextRes(int res) const
    {
        const auto it = std::find(resGuids_.begin(), resGuids_.end(), res);
        const size_t i = it == resGuids_.end() ? 0 : size_t(it - resGuids_.begin());
        return resGuids_[(i + 1) % resGuids_.size()];
    }
    void SetGenerator(const char* name, int value)
    {
        auto q = conn_.NewQuery();
        q->SetSQLText(QStringLiteral("select gen_id(\"%1\", %2 - gen_id(\"%1\", 0)) from rdb$database")
                          .arg(QString::fromLatin1(name))
                          .arg(value));
        q->Open();
    }

    void Catalogues()
    {
        auto t2 = W(QStringLiteral("Transforms2"), {"Ident", "TypeTR", "Snom", "UnomH", "AddStr"});
        struct T2 {
            int id;
            const char* type;
            double snom, unomH;
            const char* add;
        };
        const T2 types[] = {{1, "ТМ", 63, 0.23, "10/0,23"}, {2, "ТМ", 100, 0.4, "10/0,4"},
                            {3, "ТМ", 160, 0.4, "10/0,4"},  {4, "ТМГ", 250, 0.4, "10/0,4"},
                            {5, "ТМГ", 400, 0.4, "10/0,4"}, {6, "ТМ", 630, 0.4, "6/0,4"},
                            {7, "ТМ", 1000, 1.0, "10/1"},   {8, "ТМН", 2500, 6.3, "35/6,3"}};
        for (const T2& t : types) {
            t2.Row({t.id, QString::fromUtf8(t.type), t.snom, t.unomH, QString::fromUtf8(t.add)});
            transformers_.push_back({t.id, t.unomH < 1});
        }
        auto ts = W(QStringLiteral("TransformsSS"), {"Ident", "TypeTR", "Snom", "UnomH1", "UnomH2", "AddStr"});
        ts.Row({101, QStringLiteral("ТСЗП"), 1000.0, 0.4, 0.69, QStringLiteral("10/0,4/0,69")});
        ts.Row({102, QStringLiteral("ТРДН"), 25000.0, 10.5, 10.5, QStringLiteral("110/10,5/10,5")});

        auto pt = W(QStringLiteral("ProvodTypes"), {"Ident", "Unom", "Name", "CableFlags"});
        pt.Row({1, 0.380, QStringLiteral("Провод неизолированный 0,38 кВ"), 0});
        pt.Row({2, 0.380, QStringLiteral("Провод самонесущий изолированный 0,38 кВ"), 0});
        pt.Row({3, 0.380, QStringLiteral("Кабель 0,38 кВ"), 1});
        pt.Row({4, 10.0, QStringLiteral("Провод неизолированный 6-10 кВ"), 0});

        auto pr = W(QStringLiteral("Provods"), {"Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag"});
        auto cb = W(QStringLiteral("Cables"), {"Ident", "PhaseNull_R0"});
        struct P {
            int id;
            const char* marka;
            double f, r0, x0;
            int type;
            const char* add;
            int ownNull;
        };
        const P provods[] = {{640, "А", 16, 1.98, 0.358, 1, "", 0},
                             {641, "А", 25, 1.28, 0.345, 1, "", 0},
                             {642, "А", 35, 0.92, 0.336, 1, "", 0},
                             {644, "А", 50, 0.64, 0.325, 1, "", 0},
                             {645, "А", 70, 0.46, 0.315, 1, "", 0},
                             {646, "А", 95, 0.34, 0.303, 1, "", 0},
                             {647, "АС", 50, 0.603, 0.325, 1, "", 0},
                             {650, "СИП-2", 50, 0.641, 0.0794, 2, "3х50+1х54,6", 1},
                             {651, "СИП-2", 70, 0.443, 0.0789, 2, "3х70+1х54,6", 1},
                             {660, "АВБбШв", 95, 0.32, 0.0602, 3, "4х95", 1},
                             {661, "АВБбШв", 120, 0.253, 0.0602, 3, "4х120", 1},
                             {670, "АС", 70, 0.428, 0.392, 4, "", 0}};
        for (const P& p : provods) {
            pr.Row({p.id, QString::fromUtf8(p.marka), p.f, p.r0, p.x0, p.type, QString::fromUtf8(p.add), p.ownNull});
            if (p.type == 3)
                cb.Row({p.id, round3(p.r0 * 2.1)});
            if (p.type != 4)
                lvProvods_.push_back(p.id);
        }

        auto tl = W(QStringLiteral("TypeLoads"), {"Ident", "Name", "CosFi"});
        const std::pair<const char*, double> loads[] = {{"Бытовая", 0.96},
                                                        {"Коммунально-бытовая", 0.92},
                                                        {"Производственная", 0.85},
                                                        {"Сельскохозяйственная", 0.8},
                                                        {"Смешанная", 0.9}};
        auto tm = W(QStringLiteral("LVTmxRef"), {"TypeLoad", "Pmin", "Tmax"});
        const int baseTmax[] = {1800, 2400, 3200, 2000, 2600};
        int id = 1;
        for (const auto& [name, cos] : loads) {
            tl.Row({id, QString::fromUtf8(name), cos});
            cosByType_.push_back(cos);
            const double thresholds[] = {0, 10, 30, 60, 100};
            for (int k = 0; k < 5; ++k)
                tm.Row({id, thresholds[k], baseTmax[id - 1] + 300 * k});
            ++id;
        }
        tmaxByType_.assign(std::begin(baseTmax), std::end(baseTmax));
    }

    void Periods()
    {
        auto sd = W(QStringLiteral("SamplesDates"), {"Ident", "Name", "Period", "SampleDate1", "SampleDate2"});
        static const char* months[] = {"Январь", "Февраль", "Март",     "Апрель",  "Май",    "Июнь",
                                       "Июль",   "Август",  "Сентябрь", "Октябрь", "Ноябрь", "Декабрь"};
        int ident = 0;
        for (int y = 0; y < shape_.years; ++y) {
            const int year = shape_.firstYear + y;
            const QDate start(year, 1, 1);
            sd.Row({++ident, QStringLiteral("%1г.").arg(year), 1, QDateTime(start, QTime(0, 0)),
                    QDateTime(start.addYears(1), QTime(0, 0))});
            yearIdents_.push_back(ident);
            for (int m = 0; m < 12; ++m) {
                const QDate ms(year, m + 1, 1);
                sd.Row({++ident, QStringLiteral("%1 %2").arg(QString::fromUtf8(months[m])).arg(year), 4,
                        QDateTime(ms, QTime(0, 0)), QDateTime(ms.addMonths(1), QTime(0, 0))});
            }
        }
        SetGenerator("IdentGen", 1000);  // keys of later rows start after the fixed ones
    }

    int PickTransformer()
    {
        const int r = rnd_.Int(1, 100);
        if (r <= 2)
            return 7;  // low side exactly 1 kV
        if (r <= 4)
            return 8;  // distribution point, no LV side
        if (r <= 5)
            return 101;  // split low winding
        if (r <= 6)
            return 1;
        return rnd_.Int(2, 6);
    }

    void Hierarchy()
    {
        auto ao = W(QStringLiteral("AOEnergo"), {"GUID", "Name", "OwnerGUID"});
        auto pes = W(QStringLiteral("PES"), {"GUID", "Name", "OwnerGUID"});
        auto res = W(QStringLiteral("RES"), {"GUID", "Name", "OwnerGUID"});
        auto cen = W(QStringLiteral("Centers"), {"GUID", "Name", "OwnerGUID"});
        auto sec = W(QStringLiteral("Sections"), {"GUID", "Name", "OwnerGUID", "Unom"});
        auto fid = W(QStringLiteral("Fiders"), {"GUID", "Name", "OwnerGUID"});
        auto nod = W(QStringLiteral("Nodes"), {"GUID", "Name", "Info", "OwnerGUID", "Transf", "RES"});
        auto lnk = W(QStringLiteral("NodeLinks"), {"GUID", "OwnerGUID", "LinkGUID"});

        const int aoGuid = NewGuid();
        ao.Row({aoGuid, QStringLiteral("АО «Облэнерго»"), QVariant()});
        int resIndex = 0, centerIndex = 0, tpNumber = 100, fiderNumber = 0;
        for (int p = 0; p < shape_.pes; ++p) {
            const int pesGuid = NewGuid();
            pes.Row({pesGuid, demo::PesName(p), aoGuid});
            for (int r = 0; r < shape_.resPerPes; ++r) {
                const int resGuid = NewGuid();
                res.Row({resGuid, demo::ResName(resIndex++), pesGuid});
                resGuids_.push_back(resGuid);
                for (int c = 0; c < shape_.centersPerRes; ++c) {
                    const int cGuid = NewGuid();
                    cen.Row({cGuid, demo::CenterName(centerIndex++), resGuid});
                    for (int s = 0; s < shape_.sectionsPerCenter; ++s) {
                        const int sGuid = NewGuid();
                        sec.Row({sGuid, QStringLiteral("СШ-%1 10 кВ").arg(s + 1), cGuid, 10.0});
                        for (int f = 0; f < shape_.fidersPerSection; ++f) {
                            const int fGuid = NewGuid();
                            fid.Row({fGuid, QStringLiteral("Ф-%1").arg(100 + ++fiderNumber % 900), sGuid});
                            fiderRes_.push_back({fGuid, resGuid});
                            for (int n = 0; n < shape_.nodesPerFider; ++n) {
                                const int guid = NewGuid();
                                const int transf = PickTransformer();
                                // Some substations stand on another district's balance.
                                const int balanceRes = rnd_.Chance(3) ? NextRes(resGuid) : resGuid;
                                const QString info = QStringLiteral("ТП-%1").arg(++tpNumber);
                                nod.Row({guid, info + QLatin1Char(' ') + demo::SettlementName(tpNumber), info, fGuid,
                                         transf, balanceRes});
                                const bool low = transf == 101 || transf <= 6;
                                nodes_.push_back({guid, fGuid, balanceRes, rnd_.Int(1, 5), low});
                            }
                        }
                    }
                }
            }
        }
        // Distribution points that own themselves: never under a feeder.
        for (int k = 0; k < 3; ++k) {
            const int guid = NewGuid();
            nod.Row({guid, QStringLiteral("РП-%1").arg(k + 1), QStringLiteral("РП-%1").arg(k + 1), guid, 8,
                     resGuids_.front()});
        }
        // Every fiftieth substation is also fed from the next feeder: a link item there.
        for (size_t i = 0; i + shape_.nodesPerFider < nodes_.size(); i += 50)
            lnk.Row({NewGuid(), nodes_[i + shape_.nodesPerFider].fider, nodes_[i].guid});
    }

    void LVFeeders()
    {
        auto lf = W(QStringLiteral("LVFiders"), {"GUID", "Name", "OwnerGUID", "TypeLoad", "Unom"});
        auto la = W(QStringLiteral("LVFidersA"),
                    {"GUID", "CosFi", "ProvodPhase", "ProvodNull", "LineLength", "ConsumerName", "SwitchGName"});
        auto ln = W(QStringLiteral("LVNodes"), {"GUID", "Name", "OwnerGUID", "TabOrder"});
        auto ll = W(QStringLiteral("LVLines"), {"GUID", "OwnerGUID", "Node1", "Node2", "Info", "LineLength", "Kpl",
                                                "Phase", "ProvodPhase", "TabOrder"});
        int street = 0, count = 0;
        for (const NodeInfo& node : nodes_) {
            if (!node.lowSide)
                continue;
            const int feeders = 1 + static_cast<int>(rnd_.Next() % 5);  // 1..5, three on average
            for (int k = 0; k < feeders; ++k) {
                const int guid = NewGuid();
                const int provod = lvProvods_[rnd_.Next() % lvProvods_.size()];
                const double length = round3(rnd_.Uniform(0.15, 1.4));
                const double cos = cosByType_[node.typeLoad - 1];
                lf.Row({guid, QStringLiteral("Л-%1 %2").arg(k + 1).arg(demo::StreetName(street++)), node.guid,
                        node.typeLoad, node.guid % 7 == 0 && k == 0 ? 0.22 : 0.38});
                la.Row({guid, cos, provod, provod, length, QStringLiteral("Жилые дома"),
                        QStringLiteral("Р-%1").arg(k + 1)});
                lvs_.push_back({guid, node.guid, node.res, node.typeLoad, provod, rnd_.Uniform(15, 140), cos, length});
                if (++count % shape_.schemeEvery == 0) {
                    // A radial scheme: the feeder's head, then four poles in a row.
                    int prev = guid;
                    for (int n = 1; n <= 4; ++n) {
                        const int ng = NewGuid();
                        ln.Row({ng, QStringLiteral("Опора %1").arg(n), guid, n});
                        ll.Row({NewGuid(), guid, prev, ng, QStringLiteral("Участок %1").arg(n), round3(length / 4), 1.0,
                                3, provod, n});
                        prev = ng;
                    }
                }
            }
        }
    }

    QDate MeasureDay(int year, bool winter) const { return winter ? QDate(year, 12, 17) : QDate(year, 6, 18); }

    void Measurements()
    {
        auto pa =
            W(QStringLiteral("LVPResultsA"), {"GUID", "SampleDate", "IsMain", "UA", "UB", "UC", "U2A", "U2B", "U2C",
                                              "IA", "IB", "IC", "Tmax", "Krazv", "Knm", "P", "Wa", "dP", "dW"});
        auto ps = W(QStringLiteral("LVPSamples"), {"SampleIdent", "GUID", "UA", "UB", "UC", "IA", "IB", "IC", "U2A",
                                                   "U2B", "U2C", "CosFiA", "CosFiB", "CosFiC", "Wa"});
        auto ws = W(QStringLiteral("LVWSamples"),
                    {"SampleIdent", "GUID",   "TypeCalc", "Wa",  "T",     "UA",     "UB",
                     "UC",          "IA",     "IB",       "IC",  "ImaxA", "ImaxB",  "ImaxC",
                     "CosFiA",      "CosFiB", "CosFiC",   "Kdp", "Kzap",  "sqrKfg", "Temperature"});
        const int lastYear = shape_.firstYear + shape_.years - 1;
        const int lastYearIdent = yearIdents_.back();
        int index = 0;
        for (const LVInfo& lv : lvs_) {
            const bool second = index++ % 3 == 0;
            for (bool winter : {false, true}) {
                if (winter && !second)
                    continue;
                const double k = winter ? 1.3 : 1.0;
                const double u[3] = {rnd_.Uniform(226, 236), rnd_.Uniform(226, 236), rnd_.Uniform(226, 236)};
                const double drop = rnd_.Uniform(0.02, 0.07);
                const double i[3] = {lv.i * k * rnd_.Uniform(0.8, 1.2), lv.i * k * rnd_.Uniform(0.8, 1.2),
                                     lv.i * k * rnd_.Uniform(0.8, 1.2)};
                const double p = lv.cos * (u[0] * i[0] + u[1] * i[1] + u[2] * i[2]) / 1000;
                const int tmax = tmaxByType_[lv.typeLoad - 1] + (p >= 30 ? 600 : 0);
                const double wa = p * tmax / 1000;
                const double dpPct = 1.05 * 1.1 * drop * 100;
                const double dp = round3(p * dpPct / 100);
                const double tau = std::pow(0.124 + tmax * 1e-4, 2) * 8760;
                const QVariant main = winter ? 0 : 1;
                pa.Row({lv.guid, MeasureDay(lastYear, winter), main, u[0], u[1], u[2], u[0] * (1 - drop),
                        u[1] * (1 - drop), u[2] * (1 - drop), i[0], i[1], i[2], tmax, 0.8, 1.1, p, wa, dp,
                        tau * dp / 1000});
                if (!winter)
                    ps.Row({lastYearIdent, lv.guid, u[0], u[1], u[2], i[0], i[1], i[2], u[0] * (1 - drop),
                            u[1] * (1 - drop), u[2] * (1 - drop), lv.cos, lv.cos, lv.cos, wa});
            }
            for (int y = 0; y < shape_.years; ++y) {
                const double wa = lv.i * 0.66 * lv.cos * rnd_.Uniform(1.5, 2.5);  // thousand kWh a year
                ws.Row({yearIdents_[y],
                        lv.guid,
                        rnd_.Chance(2) ? 1 : 0,
                        wa,
                        8760,
                        230.0,
                        230.0,
                        230.0,
                        lv.i,
                        lv.i,
                        lv.i,
                        lv.i * 1.6,
                        lv.i * 1.6,
                        lv.i * 1.6,
                        lv.cos,
                        lv.cos,
                        lv.cos,
                        1.05,
                        0.45,
                        1.35,
                        -5.0});
                lvEnergy_.push_back(wa);
            }
        }
        auto ti = W(QStringLiteral("LVWTPInfo"),
                    {"SampleIdent", "GUID", "TypeCalc", "Wa_bus", "UA", "UB", "UC", "IA", "IB", "IC", "ImaxA", "ImaxB",
                     "ImaxC", "CosFiA", "CosFiB", "CosFiC", "Kdp", "Temperature"});
        auto wl = W(QStringLiteral("WLoads"), {"SampleIdent", "GUID", "SampleType", "Wa", "T", "Kzap", "sqrKfg"});
        for (const NodeInfo& node : nodes_) {
            for (int y = 0; y < shape_.years; ++y) {
                const double wa = rnd_.Uniform(80, 900);
                wl.Row({yearIdents_[y], node.guid, 0, wa, 8760, 0.5, 1.3});
                if (node.lowSide && y == shape_.years - 1)
                    ti.Row({yearIdents_[y], node.guid, 0, round3(wa * 0.05), 231.0, 231.0, 231.0, 120.0, 110.0, 115.0,
                            190.0, 180.0, 185.0, 0.92, 0.92, 0.92, 1.04, -4.0});
            }
        }
    }

    void MVResults()
    {
        auto mv = W(QStringLiteral("MVResults"), {"Ident", "GUID", "SampleIdent", "CalcType"});
        auto wn = W(QStringLiteral("WResultsN"), {"Ident", "GUID", "Wa"});
        auto tr = W(QStringLiteral("Transformation"), {"Ident", "RES", "UnomCH", "Wa"});
        size_t n = 0;
        int ident = 100000;
        for (const auto& [fider, res] : fiderRes_) {
            const size_t first = n;
            while (n < nodes_.size() && nodes_[n].fider == fider)
                ++n;
            for (int y = 0; y < shape_.years; ++y) {
                mv.Row({++ident, fider, yearIdents_[y], 0});
                double low = 0, high = 0;
                for (size_t k = first; k < n; ++k) {
                    const double wa = round3(rnd_.Uniform(100, 1200));
                    wn.Row({ident, nodes_[k].guid, wa});
                    (nodes_[k].lowSide ? low : high) += wa;
                }
                tr.Row({ident, res, 0.4, round3(low)});
                if (high > 0)
                    tr.Row({ident, res, 6.3, round3(high)});
            }
        }
    }

    void Normative()
    {
        // Inputs and results of the normative method for the first year, per substation.
        auto fb = W(QStringLiteral("LVFidersB"), {"Ident", "CosFi", "Unom", "F",    "NLines", "dp",    "kzap", "dn",
                                                  "Lma",   "Lms",   "Lmm",  "L23a", "L23s",   "L23m",  "L1a",  "L1s",
                                                  "L1m",   "L1ia",  "L1is", "L1im", "L23ia",  "L23is", "L23im"});
        auto wb = W(QStringLiteral("LVWResultsB"),
                    {"SampleIdent", "GUID", "Wa", "Wa_bus", "T", "Info", "Lekv", "ku", "k038", "deltaWa"});
        int ident = 0;
        for (const NodeInfo& node : nodes_) {
            if (!node.lowSide || rnd_.Chance(20))
                continue;
            ++ident;
            const int nLines = rnd_.Int(1, 5);
            const double lma = round3(rnd_.Uniform(0.3, 2.5)), lmm = rnd_.Chance(20) ? 0.1 : -1;
            const double l23a = round3(rnd_.Uniform(0.1, 1.0)), l23ia = round3(rnd_.Uniform(0.02, 0.2));
            const double l1a = round3(rnd_.Uniform(0.05, 0.6)), l1ia = round3(rnd_.Uniform(0.02, 0.2));
            const double dp = round3(rnd_.Uniform(0.3, 0.9)), dn = 0.1, cos = 0.92, kzap = 0.5, f = 50;
            const double wa = round3(rnd_.Uniform(150, 900)), waBus = round3(wa * 0.05);
            fb.Row({ident, cos,  0,   f,    nLines, dp,   kzap, dn,   lma,   -1.0, lmm, l23a,
                    -1.0,  -1.0, l1a, -1.0, -1.0,   l1ia, -1.0, -1.0, l23ia, -1.0, -1.0});
            // The normative loss model: equivalent length, k0.4 and the loss of the year.
            const double lm = lma + 0.6 * std::max(lmm, 0.0);
            const double lekv = lm + 0.44 * (l23a + l23ia) + 0.22 * (l1a + l1ia);
            const double k038 = (7.78 - 2.67 * dp - 1.48 * dp * dp) * (1.25 + 0.14 * dp);
            const double w = (wa - waBus) / nLines * (1 - dn);
            const double dWa = k038 * w * w / (cos * cos) * lekv / (f * 8760 / 24.0) * (2 * kzap + 1) / (3 * kzap);
            wb.Row({yearIdents_.front(), node.guid, wa, waBus, 8760, ident, lekv, 1.0, k038, dWa});
        }
        SetGenerator("LVFidersBIdent", ident);
    }

    void LVResults()
    {
        auto lr = W(QStringLiteral("LVResults"), {"Ident",       "GUID",
                                                  "SampleIdent", "CalcType",
                                                  "T",           "UA",
                                                  "UB",          "UC",
                                                  "IA",          "IB",
                                                  "IC",          "U2A",
                                                  "U2B",         "U2C",
                                                  "CosFiA",      "CosFiB",
                                                  "CosFiC",      "ImaxA",
                                                  "ImaxB",       "ImaxC",
                                                  "Kdp",         "Krazv",
                                                  "Lm",          "L23",
                                                  "L1",          "HeadEndLength",
                                                  "HeadEndSize", "Temperature",
                                                  "dPdop",       "dWdop",
                                                  "sqrKfg"});
        auto pa = W(QStringLiteral("LVPResultsAdd"),
                    {"Ident",  "RES",        "Balance", "Pcalc",     "Pfakt",     "Pgen",     "Qcalc",
                     "Qfakt",  "Qgen",       "dP",      "dQ",        "NAbonents", "NLineP",   "NLineP_off",
                     "NLineC", "NLineC_off", "LsumP",   "LsumP_off", "LsumC",     "LsumC_off"});
        auto wa = W(QStringLiteral("LVWResultsAdd"), {"Ident", "RES", "Balance", "Wacalc", "Wafakt", "Wa_gen", "Wrcalc",
                                                      "Wrfakt", "Wr_gen", "dWa", "dWr"});
        int ident = 0, index = 0;
        for (const LVInfo& lv : lvs_) {
            const bool twoRes = index++ % 25 == 7;
            for (int y = 0; y < shape_.years; ++y) {
                ++ident;
                const double i = lv.i * rnd_.Uniform(0.9, 1.1);
                const double p = std::sqrt(3.0) * 0.4 * i * lv.cos;
                const double sqrKfg = round3(rnd_.Uniform(1.1, 1.6));
                lr.Row({ident,
                        lv.guid,
                        yearIdents_[y],
                        0,
                        8760,
                        231.0,
                        230.0,
                        229.0,
                        i,
                        i * 0.95,
                        i * 1.05,
                        221.0,
                        220.0,
                        218.0,
                        lv.cos,
                        lv.cos,
                        lv.cos,
                        i * 1.7,
                        i * 1.6,
                        i * 1.8,
                        1.06,
                        0.8,
                        lv.length * 0.6,
                        lv.length * 0.3,
                        lv.length * 0.1,
                        0.05,
                        50.0,
                        -5.0,
                        round3(p * 0.02),
                        round3(p * 0.02 * 3.5),
                        sqrKfg});
                const int balanceRes[2] = {lv.res, NextRes(lv.res)};
                for (int r = 0; r < (twoRes ? 2 : 1); ++r) {
                    for (int balance : {0, 4}) {
                        const double share = (balance == 0 ? 0.85 : 0.15) / (twoRes ? 2 : 1);
                        const double pg = p * share, dp = pg * rnd_.Uniform(0.02, 0.08);
                        const int lines = rnd_.Int(3, 12);
                        pa.Row({ident,
                                balanceRes[r],
                                balance,
                                pg - dp,
                                (pg - dp) * 0.98,
                                pg,
                                pg * 0.45,
                                pg * 0.44,
                                pg * 0.47,
                                dp,
                                dp * 0.6,
                                rnd_.Int(5, 80),
                                lines,
                                rnd_.Int(0, 1),
                                rnd_.Int(0, 3),
                                0,
                                lv.length * share * 0.8,
                                0.0,
                                lv.length * share * 0.2,
                                0.0});
                        const double wg = lvEnergy_[(&lv - lvs_.data()) * shape_.years + y] * share;
                        const double dw = wg * rnd_.Uniform(0.03, 0.09);
                        wa.Row({ident, balanceRes[r], balance, wg - dw, (wg - dw) * 0.97, wg, wg * 0.45, wg * 0.44,
                                wg * 0.47, dw, dw * 0.6});
                    }
                }
            }
        }
        SetGenerator("IdentGen", std::max(ident, 200000) + 1000);
        SetGenerator("GUIDGen", lastGuid_);
    }

    void Rights()
    {
        // The demo user edits measurements and household data; right 0 (results only) is not held.
        auto ur = W(QStringLiteral("UserRights"), {"UserName", "UserRight", "PeriodIdent", "ObjectGUID", "Granted"});
        for (int right : {12, 13, 14})
            ur.Row({QStringLiteral("SYSDBA"), right, -1, -1, 1});
    }

    ToznFDConnection& conn_;
    DemoShape shape_;
    std::function<void(int, const QString&)> progress_;
    Random rnd_;
    int rows_ = 0;
    int lastGuid_ = 0;
    std::vector<Transformer> transformers_;
    std::vector<int> lvProvods_, yearIdents_, resGuids_, tmaxByType_;
    std::vector<double> cosByType_, lvEnergy_;
    std::vector<std::pair<int, int>> fiderRes_;
    std::vector<NodeInfo> nodes_;
    std::vector<LVInfo> lvs_;
};

}  // namespace

DemoCounts DemoGenerator::Generate(const DemoShape& shape, const std::function<void(int, const QString&)>& progress)
{
    connection_.StartTransaction(false);
    try {
        DemoCounts counts = Builder(connection_, shape, progress).Run();
        connection_.Commit();
        return counts;
    } catch (...) {
        connection_.Rollback();
        throw;
    }
}

}  // namespace db
