#include "db/DemoGenerator.h"

#include <QDate>
#include <QDateTime>
#include <QElapsedTimer>
#include <QSet>
#include <QStringList>
#include <QVariant>
#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "db/DemoNames.h"
#include "db/DemoProfiles.h"
#include "db/DemoRandom.h"
#include "db/DemoSchemes.h"
#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/fider/RegimeBatch.h"
#include "host/fider/RegimeStore.h"

namespace db {

DemoShape DemoShape::For(DemoSize size)
{
    if (size == DemoSize::Large)
        return {5, 5, 8, 2, 5, 10, 2023, 3, 15};
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

using demo::Random;
// Defaults of the demo's regime calculation where a feeder's measurement gives none.
constexpr double kDemoKzap = 0.5, kDemoCosFi = 0.9;
// The load curve of a year's measurement: the fill factor and the squared shape factor that goes with it,
// (1 / Kzap + 2) / 3.
constexpr double kYearKzap = 0.45;
double YearSqrKfg() { return (1 / kYearKzap + 2) / 3; }

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
    double i, cos, length, unom;
    int scheme;  // index of its scheme, -1 for a feeder without one
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
        Stage(QStringLiteral("Абоненты"));
        Consumers();
        Stage(QStringLiteral("Замеры"));
        Measurements();
        Stage(QStringLiteral("Результаты 6-10 кВ"));
        MVResults();
        Stage(QStringLiteral("Нормативный метод"));
        Normative();
        SetGenerator("IdentGen", 200000);  // runs of the regime calculation come after the fixed keys
        SetGenerator("GUIDGen", lastGuid_);
        return {static_cast<int>(nodes_.size()), static_cast<int>(lvs_.size()), rows_};
    }

    QList<int> LVGuids() const
    {
        QList<int> guids;
        for (const LVInfo& lv : lvs_)
            guids << lv.guid;
        return guids;
    }
    const std::vector<int>& YearIdents() const { return yearIdents_; }

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

    std::vector<fider::TConductor> ReadLVConductors()
    {
        std::vector<fider::TConductor> list;
        auto q = conn_.NewQuery();
        q->SetSQLText(QStringLiteral(
            "select p.\"Ident\", p.\"Marka\", p.\"F\", p.\"R0\", p.\"X0\", t.\"CableFlags\" from \"Provods\" p "
            "join \"ProvodTypes\" t on t.\"Ident\"=p.\"ProvodType\" where t.\"Unom\"=0.380 order by p.\"Ident\""));
        for (q->Open(); !q->Eof(); q->Next())
            list.push_back(fider::ConductorOfRow(*q));
        return list;
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

        // The 0.38 kV conductors come with every new database; the demo adds a 6-10 kV kind for the
        // catalogue lists and the cables' neutral resistances.
        auto pt = W(QStringLiteral("ProvodTypes"), {"Ident", "Unom", "Name", "CableFlags"});
        pt.Row({4, 10.0, QStringLiteral("Провод неизолированный 6-10 кВ"), 0});
        auto pr = W(QStringLiteral("Provods"), {"Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag"});
        pr.Row({670, QStringLiteral("АС"), 70.0, 0.428, 0.392, 4, QString(), 0});
        auto cb = W(QStringLiteral("Cables"), {"Ident", "PhaseNull_R0"});
        for (const fider::TConductor& c : ReadLVConductors()) {
            conductors_.byIdent.insert(c.Ident, c);
            if (c.Cable)
                cb.Row({c.Ident, round3(c.R0 * 2.1)});
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
        // Feeders without a scheme are calculated as one section of these conductors: 35 mm² and up.
        const int plainProvods[] = {642, 644, 645, 646, 647, 650, 651, 660, 661};
        int street = 0, count = 0;
        for (const NodeInfo& node : nodes_) {
            if (!node.lowSide)
                continue;
            const int feeders = 1 + static_cast<int>(rnd_.Next() % 5);  // 1..5, three on average
            for (int k = 0; k < feeders; ++k) {
                const int guid = NewGuid();
                const QString streetName = demo::StreetName(street++);
                const double unom = node.guid % 7 == 0 && k == 0 ? 0.22 : 0.38;
                const double cos = cosByType_[node.typeLoad - 1];
                lf.Row({guid, QStringLiteral("Л-%1 %2").arg(k + 1).arg(streetName), node.guid, node.typeLoad, unom});
                LVInfo lv{guid,
                          node.guid,
                          node.res,
                          node.typeLoad,
                          plainProvods[rnd_.Next() % std::size(plainProvods)],
                          rnd_.Uniform(15, 140),
                          cos,
                          round3(rnd_.Uniform(0.15, 0.9)),
                          unom,
                          -1};
                if (++count % shape_.schemeEvery == 0) {
                    lv.scheme = static_cast<int>(schemes_.size());
                    schemes_.push_back(Scheme(lv, streetName, unom));
                    const fider::TFiderHHInfo& f = schemes_.back();
                    lv.provod = f.Lines.front().Phase.Known ? f.Lines.front().Phase.Ident : lv.provod;
                    lv.length = round3(f.GetLength());
                }
                la.Row({guid, cos, lv.provod, lv.provod, lv.length, QStringLiteral("Жилые дома"),
                        QStringLiteral("Р-%1").arg(k + 1)});
                lvs_.push_back(lv);
            }
        }
        WriteSchemes();
    }

    fider::TFiderHHInfo Scheme(const LVInfo& lv, const QString& street, double unom)
    {
        demo::SchemeRequest request;
        request.fider = lv.guid;
        request.street = street;
        request.res = lv.res;
        request.neighbourRes = NextRes(lv.res);
        request.unom = unom;
        request.loadKindCos = lv.cos;
        // 10 to 120 sections, most feeders short.
        const double u = rnd_.Uniform(0, 1);
        request.sections = 10 + static_cast<int>(110 * u * u * u);
        fider::TFiderHHInfo f = demo::MakeScheme(
            rnd_, [this] { return NewGuid(); }, request, conductors_);
        f.Name = QStringLiteral("Л %1").arg(street);
        f.NodeGuid = lv.node;
        return f;
    }

    void WriteSchemes()
    {
        auto ln = W(QStringLiteral("LVNodes"),
                    {"GUID", "Name", "OwnerGUID", "TabOrder", "Kind", "State", "Phases", "ConsumerName", "Owner"});
        auto ll = W(QStringLiteral("LVLines"),
                    {"GUID", "OwnerGUID", "Node1", "Node2", "Info", "LineLength", "Kpl", "Phase", "ProvodPhase",
                     "TabOrder", "Kind", "Phases", "ProvodNull", "State", "Owner", "RES"});
        for (const fider::TFiderHHInfo& f : schemes_) {
            QHash<int, const fider::TAbonentNode038*> consumerAt;
            for (const fider::TAbonentNode038& a : f.Consumers)
                consumerAt.insert(a.NodeGuid, &a);
            int order = 0;
            for (const fider::TNode038& n : f.Nodes) {
                const fider::TAbonentNode038* a = consumerAt.value(n.Guid);
                ln.Row({n.Guid, n.Name, f.Guid, ++order, static_cast<int>(n.Kind), n.SwitchedOn ? 1 : 0,
                        a ? QVariant(fider::PhasesText(a->Phases)) : QVariant(), a ? QVariant(a->Name) : QVariant(),
                        QVariant()});
            }
            order = 0;
            for (const fider::TLine038& l : f.Lines) {
                const bool connecting = l.Kind == fider::TSectionKind::Connecting;
                ll.Row({l.Guid, f.Guid, l.Node1, l.Node2, l.Name, l.Length, 1.0, fider::PhaseCount(l.Phases),
                        connecting ? 0 : l.Phase.Ident, ++order, static_cast<int>(l.Kind), fider::PhasesText(l.Phases),
                        QVariant(), l.SwitchedOn ? 1 : 0, static_cast<int>(l.Owner),
                        l.Res ? QVariant(l.Res) : QVariant()});
            }
        }
    }

    // Consumers and their energies of every year, growing a little from year to year.
    void Consumers()
    {
        auto lc = W(QStringLiteral("LVConsumers"), {"SampleIdent", "GUID", "Name", "OwnerGUID", "Pust", "flagPu"});
        auto wl = W(QStringLiteral("LVWLoads"), {"SampleIdent", "GUID", "Wa", "Wr", "CosFi"});
        for (fider::TFiderHHInfo& f : schemes_)
            for (fider::TAbonentNode038& a : f.Consumers) {
                const double base = a.Wa;
                a.Wa = EmptyFloat();  // what the scheme keeps is the energy of one year at a time
                for (int y = 0; y < shape_.years; ++y) {
                    const double wa = round3(base * (1 + 0.02 * y) * rnd_.Uniform(0.9, 1.1));
                    lc.Row({yearIdents_[y], a.NodeGuid, a.Name, f.Guid, a.Pust, 1});
                    wl.Row({yearIdents_[y], a.NodeGuid, wa, QVariant(), isEmptyFloat(a.CosFi) ? QVariant() : a.CosFi});
                    yearEnergy_[{a.NodeGuid, y}] = wa;
                }
            }
    }

    // The head of a feeder with a scheme as a meter would see it in a year: the calculation with the
    // consumers' energies, plus what the consumers' meters do not show.
    struct HeadReading {
        double i[3], imax[3], wa;
    };
    bool Reading(fider::TFiderHHInfo f, int year, double u, HeadReading& reading)
    {
        for (fider::TAbonentNode038& a : f.Consumers)
            a.Wa = yearEnergy_.value({a.NodeGuid, year}, EmptyFloat());
        fider::TRegimeSettings s;
        s.U = {u, u, u};
        s.T = 8760;
        s.SqrKfg = YearSqrKfg();
        s.Temperature = -5;
        const fider::TCalcWInfoHHCommon run = fider::CalculateRegime(f, s);
        if (!run.Ok())
            return false;
        const double unmetered = rnd_.Uniform(1.02, 1.10);
        double received = 0;
        for (const fider::TBalanceBlock& b : run.Blocks)
            received += b.Wa_gen;
        for (int k = 0; k < 3; ++k) {
            reading.i[k] = round3(run.Power.GetI(k) * unmetered);
            reading.imax[k] = round3(reading.i[k] * rnd_.Uniform(1.5, 1.8));
        }
        reading.wa = round3(received * unmetered);
        return true;
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
                const double u = round3((lv.unom < 0.3 ? 127.0 : 230.0) * rnd_.Uniform(1.0, 1.03));
                HeadReading h;
                if (lv.scheme < 0 || !Reading(schemes_[lv.scheme], y, u, h)) {
                    // Without a scheme: a mean current well under the measured peak, and its energy.
                    const double mean = lv.i * rnd_.Uniform(0.3, 0.4);
                    for (int k = 0; k < 3; ++k) {
                        h.i[k] = round3(mean * rnd_.Uniform(0.85, 1.15));
                        h.imax[k] = round3(lv.i * rnd_.Uniform(0.95, 1.05));
                    }
                    h.wa = round3((h.i[0] + h.i[1] + h.i[2]) * u * lv.cos * 8760 / 1e6 * rnd_.Uniform(0.95, 1.05));
                }
                ws.Row({yearIdents_[y],
                        lv.guid,
                        rnd_.Chance(2) ? 1 : 0,
                        h.wa,
                        8760,
                        u,
                        u,
                        u,
                        h.i[0],
                        h.i[1],
                        h.i[2],
                        h.imax[0],
                        h.imax[1],
                        h.imax[2],
                        lv.cos,
                        lv.cos,
                        lv.cos,
                        1.05,
                        kYearKzap,
                        round3(YearSqrKfg()),
                        -5.0});
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

    // The lengths of one LV feeder by the kinds of the normative method, km: the main line, the two- and
    // three-phase branches and the single-phase ones, with the building inputs fed by each. A scheme gives
    // them: the main line is the longest path from the substation, the connecting lines are the inputs.
    struct KindLengths {
        double main = 0, b23 = 0, b23in = 0, b1 = 0, b1in = 0;
    };
    KindLengths LengthsOf(const LVInfo& lv) const
    {
        KindLengths k;
        if (lv.scheme < 0) {
            // Without a scheme the feeder's length is split as the schemes of the demo split theirs on average.
            k.main = 0.6 * lv.length;
            k.b23 = 0.2 * lv.length;
            k.b23in = 0.05 * lv.length;
            k.b1 = 0.12 * lv.length;
            k.b1in = 0.03 * lv.length;
            return k;
        }
        const fider::TFiderHHInfo& f = schemes_[lv.scheme];
        QHash<int, const fider::TLine038*> into;  // section by its far node
        for (const fider::TLine038& l : f.Lines)
            into.insert(l.Node2, &l);
        // The farthest node from the substation along the sections; the path to it is the main line.
        auto distance = [&](int node) {
            double d = 0;
            for (const fider::TLine038* l = into.value(node); l; l = into.value(l->Node1))
                d += l->Length;
            return d;
        };
        int farthest = 0;
        double longest = -1;
        for (const fider::TLine038& l : f.Lines)
            if (const double d = distance(l.Node2); d > longest) {
                longest = d;
                farthest = l.Node2;
            }
        QSet<int> mainLine;
        for (const fider::TLine038* l = into.value(farthest); l; l = into.value(l->Node1))
            mainLine.insert(l->Guid);
        for (const fider::TLine038& l : f.Lines) {
            const bool single = fider::PhaseCount(l.Phases) == 1;
            if (mainLine.contains(l.Guid))
                k.main += l.Length;
            else if (l.Kind == fider::TSectionKind::Connecting)
                (single ? k.b1in : k.b23in) += l.Length;
            else
                (single ? k.b1 : k.b23) += l.Length;
        }
        return k;
    }

    void Normative()
    {
        // The generalised data of the normative method for every year, per substation, as its LV feeders are:
        // as many lines as it has, their lengths by kind (all aluminium), the cross-section of their head
        // sections weighted by length, and the fill factor and cos φ of their measurements and load kind. The
        // energy is what such lines carry in real 0.38 kV networks: chosen for a loss of 3 to 15 % in the first
        // year (by the model's formula), within 20 to 600 thousand kWh a line, growing by 4 % a year. The
        // results are left to the normative calculation itself (RecalculateStoredNormative), which stores what
        // the batch stores.
        auto fb = W(QStringLiteral("LVFidersB"), {"Ident", "CosFi", "Unom", "F", "NLines", "dp", "kzap", "dn", "Lma",
                                                  "L23a", "L1a", "L1ia", "L23ia"});
        auto wb = W(QStringLiteral("LVWResultsB"), {"SampleIdent", "GUID", "Wa", "Wa_bus", "T", "Info"});
        // The share of the population by the substation's load kind.
        const double population[] = {0.9, 0.6, 0.1, 0.4, 0.5};
        constexpr double kBusShare = 0.03, kDn = 0.1;
        QHash<int, std::vector<const LVInfo*>> feeders;
        for (const LVInfo& lv : lvs_)
            feeders[lv.node].push_back(&lv);
        int ident = 0;
        for (const NodeInfo& node : nodes_) {
            const std::vector<const LVInfo*>& lines = feeders.value(node.guid);
            if (!node.lowSide || lines.empty() || rnd_.Chance(20))
                continue;
            ++ident;
            KindLengths total;
            double headF = 0, length = 0;
            bool low = true;  // every line of 220/127 V
            for (const LVInfo* lv : lines) {
                const KindLengths k = LengthsOf(*lv);
                total.main += k.main;
                total.b23 += k.b23;
                total.b23in += k.b23in;
                total.b1 += k.b1;
                total.b1in += k.b1in;
                const auto conductor = conductors_.byIdent.constFind(lv->provod);
                const double f = conductor != conductors_.byIdent.cend() && conductor->F > 0 ? conductor->F : 50;
                headF += f * lv->length;
                length += lv->length;
                low = low && lv->unom < 0.3;
            }
            const int n = static_cast<int>(lines.size());
            const double f = round3(length > 0 ? headF / length : 50);
            const double dp = population[node.typeLoad - 1], cos = cosByType_[node.typeLoad - 1];
            const double lm = round3(total.main), l23 = round3(total.b23), l1 = round3(total.b1);
            const double l1i = round3(total.b1in), l23i = round3(total.b23in);
            fb.Row({ident, cos, low ? 1 : 0, f, n, dp, kYearKzap, kDn, lm, l23, l1, l1i, l23i});
            // The loss in per cent of one thousand kWh into the network (the loss grows as the energy squared).
            const double lekv = lm + 0.44 * (l23 + l23i) + 0.22 * (l1 + l1i);
            const double k038 = (low ? 3 : 1) * (7.78 - 2.67 * dp - 1.48 * dp * dp) * (1.25 + 0.14 * dp);
            const double perLine = (1 - kBusShare) / n * (1 - kDn);
            const double percentPerUnit = k038 * perLine * perLine / (cos * cos) * lekv / (f * 8760 / 24.0) *
                                          (2 * kYearKzap + 1) / (3 * kYearKzap) * 100;
            const double target = rnd_.Uniform(3, 15);
            const double firstWa = std::clamp(target / percentPerUnit, 20.0 * n, 600.0 * n);
            for (int y = 0; y < shape_.years; ++y) {
                const double wa = round3(firstWa * (1 + 0.04 * y)), waBus = round3(wa * kBusShare);
                wb.Row({yearIdents_[y], node.guid, wa, waBus, 8760, ident});
            }
        }
        SetGenerator("LVFidersBIdent", ident);
    }

    ToznFDConnection& conn_;
    DemoShape shape_;
    std::function<void(int, const QString&)> progress_;
    Random rnd_;
    int rows_ = 0;
    int lastGuid_ = 0;
    std::vector<Transformer> transformers_;
    std::vector<int> yearIdents_, resGuids_, tmaxByType_;
    std::vector<double> cosByType_;
    std::vector<fider::TFiderHHInfo> schemes_;
    demo::SchemeConductors conductors_;
    QHash<QPair<int, int>, double> yearEnergy_;  // (consumer, year) -> thousand kWh
    std::vector<std::pair<int, int>> fiderRes_;
    std::vector<NodeInfo> nodes_;
    std::vector<LVInfo> lvs_;
};

}  // namespace

DemoCounts DemoGenerator::Generate(const DemoShape& shape, const std::function<void(int, const QString&)>& progress)
{
    DemoCounts counts;
    QList<int> fiders;
    std::vector<int> years;
    connection_.StartTransaction(false);
    try {
        Builder builder(connection_, shape, progress);
        counts = builder.Run();
        fiders = builder.LVGuids();
        years = builder.YearIdents();
        connection_.Commit();
    } catch (...) {
        connection_.Rollback();
        throw;
    }
    // The regime results of every year come from the regime calculation itself, by the measured head
    // currents of the mean-load regime.
    for (int year : years) {
        fider::TRegimeRequest request;
        request.Regime = fider::TRegimeKind::Middle;
        request.Mode = fider::TLoadMode::HeadCurrents;
        request.SampleIdent = year;
        fider::TRegimeBatchEvents events;
        events.Progress = [&](int done, int total) {
            if (progress && (done % 500 == 0 || done == total))
                progress(counts.rows, QStringLiteral("Расчет режимов 0,4 кВ: %1 из %2").arg(done).arg(total));
        };
        const fider::TRegimeBatchResult result =
            fider::RunRegimeBatch(connection_, kDemoKzap, kDemoCosFi, fiders, request, events);
        if (!result.Failure.isEmpty())
            throw EDatabaseError(result.Failure);
        counts.rows += result.Rows;
        counts.regimeRuns += result.Calculated;
        counts.regimeRefused += result.Refused;
    }
    QElapsedTimer profileTime;
    profileTime.start();
    counts.profiles = GenerateDemoProfiles(connection_, progress);
    counts.profileSeconds = profileTime.elapsed() / 1000.0;
    counts.rows += counts.profiles;
    return counts;
}

}  // namespace db
