// Results that agree wherever they are shown. On the demo network every node's additive values are the sums of
// the stored blocks of the feeder parts below it, computed here by SQL; a district or an enterprise opened alone
// is the same node of the utility's tree; the command line prints what the tree holds. On hand-made feeders the
// coefficient Кн/м and the losses of a connecting line are checked against the section currents by hand.
#include <gtest/gtest.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <cmath>
#include <map>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "host/fider/RegimeBatch.h"
#include "host/scheme/Substations.h"
#include "results/LVResultsColumns.h"
#include "results/UnitLVResults.h"
#include "results/UnitLVResultsTree.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
double Value(const TPesResultsLV& node, const char* field)
{
    for (const TLVResultColumn* c : AllColumns())
        if (c->Field == QLatin1String(field))
            return c->Value(node.Record());
    ADD_FAILURE() << "no column " << field;
    return EmptyFloat();
}

// What the stored rows say of one part of a feeder (its blocks of one district), by the balance's own
// definitions: Отпуск = Прием − Отдача, Фактические потери = Отпуск − Полезный отпуск, Небаланс = Фактические −
// потери на балансе, нетехнические = небаланс сверх допустимого (the run's, with the feeder's main part).
struct Part {
    double gen = 0, supply = 0, useful = 0, loss0 = 0, loss = 0, imbalance = 0, allowed = 0, nonTechnical = 0;
    double pgen = 0, dp = 0, pimbalance = 0, abonents = 0;
};
using PartKey = std::pair<int, int>;  // feeder, district

std::map<PartKey, Part> StoredParts(ToznFDConnection& c, int sample, int calcType)
{
    QHash<int, int> ownerDistrict;
    {
        auto q = c.NewQuery();
        q->SetSQLText("select lf.guid, ce.\"OwnerGUID\" from \"LVFiders\" lf join \"Nodes\" nod on "
                      "nod.guid=lf.\"OwnerGUID\" join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on "
                      "s.guid=f.\"OwnerGUID\" join \"Centers\" ce on ce.guid=s.\"OwnerGUID\"");
        for (q->Open(); !q->Eof(); q->Next())
            ownerDistrict.insert(q->Value(0).toInt(), q->Value(1).toInt());
    }
    auto q = c.NewQuery();
    q->SetSQLText(
        Fmt("select mv.guid, pa.res, mv.\"dWdop\", mv.\"dPdop\", sum(wa.\"Wa_gen\"), "
            "sum(iif(pa.\"Balance\"<>0, wa.\"Wafakt\" + wa.\"dWa\", 0)), sum(iif(pa.\"Balance\"=0, wa.\"Wafakt\", 0)), "
            "sum(iif(pa.\"Balance\"=0, wa.\"dWa\", 0)), sum(wa.\"dWa\"), sum(pa.\"Pgen\"), "
            "sum(iif(pa.\"Balance\"<>0, pa.\"Pfakt\" + pa.\"dP\", 0)), sum(iif(pa.\"Balance\"=0, pa.\"Pfakt\", 0)), "
            "sum(iif(pa.\"Balance\"=0, pa.\"dP\", 0)), sum(pa.\"dP\"), sum(pa.\"NAbonents\") "
            "from \"LVResults\" mv join \"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\" left join \"LVWResultsAdd\" "
            "wa "
            "on wa.\"Ident\"=pa.\"Ident\" and wa.res=pa.res and wa.\"Balance\"=pa.\"Balance\" "
            "where mv.\"SampleIdent\"=%1 and mv.\"CalcType\"=%2 group by mv.guid, pa.res, mv.\"dWdop\", mv.\"dPdop\"",
            sample, calcType));
    std::map<PartKey, Part> parts;
    std::map<int, QList<int>> districtsOf;
    std::map<int, std::pair<double, double>> allowedOf;
    for (q->Open(); !q->Eof(); q->Next()) {
        const int feeder = q->Value(0).toInt(), res = q->Value(1).toInt();
        Part p;
        p.gen = q->Value(4).toDouble();
        p.supply = p.gen - q->Value(5).toDouble();
        p.useful = q->Value(6).toDouble();
        p.loss0 = q->Value(7).toDouble();
        p.loss = q->Value(8).toDouble();
        p.imbalance = p.supply - p.useful - p.loss0;
        p.pgen = q->Value(9).toDouble();
        p.pimbalance = p.pgen - q->Value(10).toDouble() - q->Value(11).toDouble() - q->Value(12).toDouble();
        p.dp = q->Value(13).toDouble();
        p.abonents = q->Value(14).toDouble();
        parts[{feeder, res}] = p;
        districtsOf[feeder] << res;
        allowedOf[feeder] = {q->Value(2).toDouble(), q->Value(3).toDouble()};
    }
    // The run's admissible imbalance goes with the part of the feeder's own district (else its first part).
    for (auto& [feeder, districts] : districtsOf) {
        std::sort(districts.begin(), districts.end());
        const int main = districts.contains(ownerDistrict.value(feeder)) ? ownerDistrict.value(feeder) : districts[0];
        for (int res : districts) {
            Part& p = parts[{feeder, res}];
            p.allowed = res == main ? allowedOf[feeder].first : 0;
            p.nonTechnical = std::max(0.0, p.imbalance - p.allowed);
        }
    }
    return parts;
}

Part Sum(const std::map<PartKey, Part>& parts, const QList<PartKey>& keys)
{
    Part s;
    for (const PartKey& k : keys) {
        const Part& p = parts.at(k);
        s.gen += p.gen, s.supply += p.supply, s.useful += p.useful, s.loss0 += p.loss0, s.loss += p.loss;
        s.imbalance += p.imbalance, s.allowed += p.allowed, s.nonTechnical += p.nonTechnical;
        s.pgen += p.pgen, s.dp += p.dp, s.pimbalance += p.pimbalance, s.abonents += p.abonents;
    }
    return s;
}

void ExpectNode(const TPesResultsLV& node, const Part& e, const std::string& where)
{
    auto near = [&](const char* field, double expected) {
        const double v = Value(node, field);
        EXPECT_FALSE(isEmptyFloat(v)) << where << " " << field << " empty";
        EXPECT_NEAR(v, expected, 1e-9 * std::max(1.0, std::fabs(expected))) << where << " " << field;
    };
    near("Wa_gen", e.gen);
    near("WaoutAll", e.supply);
    near("WaFact", e.useful);
    near("dWa0", e.loss0);
    near("dWa", e.loss);
    near("dW", e.imbalance);
    near("dWtech", e.nonTechnical);
    near("Pgen", e.pgen);
    near("dP", e.dp);
    near("dPfact", e.pimbalance);
    near("NAbonents", e.abonents);
    // Отпуск = Полезный отпуск + Фактические потери, never skipped for an empty value.
    near("WaoutAll", Value(node, "WaFact") + Value(node, "dW") + Value(node, "dWa0"));
}

// Leaves below a node.
QList<const TPesResultsLV*> Leaves(const TPesResultsLV& node)
{
    QList<const TPesResultsLV*> leaves;
    const_cast<TPesResultsLV&>(node).ForEach([&](TPesResultsLV& n) {
        if (n.Level() == 7)
            leaves << &n;
    });
    return leaves;
}

QList<int> PathOf(const TPesResultsLV& node, const TPesResultsLV& root)
{
    QList<int> path;
    for (const TPesResultsLV* n = &node; n && n != &root; n = n->Parent())
        path.prepend(n->GUID());
    return path;
}
}  // namespace

TEST(ResultsAgree, EveryNodeIsTheSumOfTheStoredPartsBelowAndOpensAloneAsInTheUtilitysTree)
{
    TempFolder folder;
    const QString path = NewDemoDatabase(folder);
    auto db = OpenDatabase(path);
    ToznFDConnection& c = *db->GetDefaultConnection();
    const TLVResultSample sample = SamplesWithResultsLV(c, 0).last();
    const std::map<PartKey, Part> parts = StoredParts(c, sample.Ident, 0);
    ASSERT_GT(parts.size(), 100u);
    auto open = [&](TPesResultsLV& tree, int guid) {
        QString error;
        EXPECT_TRUE(tree.Open(c, guid, 0, sample.SampleDate1, sample.SampleDate2, sample.Period, error))
            << error.toStdString();
    };
    TPesResultsLV utility(0, 0, {}, nullptr);
    open(utility, IntScalar(c, "select first 1 guid from \"AOEnergo\""));

    // Every part of every feeder stands once in the utility's tree, under its own district and the feeder's
    // owners below it; a shared feeder says where its other part is.
    QSet<PartKey> seen;
    int shared = 0;
    for (const TPesResultsLV* leaf : Leaves(utility)) {
        const PartKey key{leaf->GUID(), leaf->ParentNode(2)->GUID()};
        EXPECT_TRUE(parts.count(key)) << "a leaf of no stored part: " << key.first;
        EXPECT_FALSE(seen.contains(key)) << "a part twice: " << key.first;
        seen.insert(key);
        EXPECT_EQ(leaf->Parent()->GUID(),
                  Scalar(c, Fmt("select \"OwnerGUID\" from \"LVFiders\" where guid=%1", leaf->GUID())));
        if (!leaf->Note().isEmpty()) {
            ++shared;
            EXPECT_TRUE(leaf->Note().startsWith("общая линия")) << leaf->Note().toStdString();
        }
    }
    EXPECT_EQ(seen.size(), static_cast<qsizetype>(parts.size()));
    EXPECT_GT(shared, 0) << "the demo network has feeders of two districts";

    // Every node holds the sums of the parts below it.
    int nodes = 0;
    utility.ForEach([&](TPesResultsLV& node) {
        QList<PartKey> below;
        for (const TPesResultsLV* leaf : Leaves(node))
            below << PartKey{leaf->GUID(), leaf->ParentNode(2)->GUID()};
        ExpectNode(node, Sum(parts, below), node.Text().toStdString());
        ++nodes;
    });
    EXPECT_GT(nodes, 500);

    // The enterprises and the districts opened alone: the same nodes, every column, as in the utility's tree.
    int compared = 0;
    for (int e = 0; e < utility.ChildCount(); ++e) {
        const TPesResultsLV& pes = *utility.Child(e);
        QList<const TPesResultsLV*> objects{&pes};
        for (int d = 0; d < pes.ChildCount(); ++d)
            objects << pes.Child(d);
        for (const TPesResultsLV* object : objects) {
            TPesResultsLV alone(0, 0, {}, nullptr);
            open(alone, object->GUID());
            ASSERT_EQ(alone.CountRecords(), object->CountRecords()) << object->Text().toStdString();
            alone.ForEach([&](TPesResultsLV& n) {
                const TPesResultsLV* same = const_cast<TPesResultsLV*>(object)->FindNodeByAdress(PathOf(n, alone));
                ASSERT_NE(same, nullptr) << n.Text().toStdString();
                for (const TLVResultColumn* col : AllColumns()) {
                    const double a = col->Value(n.Record()), b = col->Value(same->Record());
                    EXPECT_TRUE((isEmptyFloat(a) && isEmptyFloat(b)) ||
                                std::fabs(a - b) <= 1e-9 * std::max(1.0, std::fabs(b)))
                        << object->Text().toStdString() << " / " << n.Text().toStdString() << " "
                        << col->Field.toStdString() << ": " << a << " vs " << b;
                }
                ++compared;
            });
        }
    }
    EXPECT_GT(compared, 2 * nodes - 10);

    // A substation opened alone is the whole substation: the sum of its parts in the districts' trees.
    const QList<int> substations = {
        IntScalar(c, "select first 1 lf.\"OwnerGUID\" from \"LVLines\" l join \"LVFiders\" lf on "
                     "lf.guid=l.\"OwnerGUID\" where l.res is not null order by 1"),
        IntScalar(c, "select min(\"OwnerGUID\") from \"LVFiders\"")};
    for (int guid : substations) {
        TPesResultsLV alone(0, 0, {}, nullptr);
        open(alone, guid);
        QList<PartKey> keys;
        utility.ForEach([&](TPesResultsLV& n) {
            if (n.Level() == 6 && n.GUID() == guid)
                for (const TPesResultsLV* leaf : Leaves(n))
                    keys << PartKey{leaf->GUID(), leaf->ParentNode(2)->GUID()};
        });
        ASSERT_FALSE(keys.isEmpty());
        ExpectNode(alone, Sum(parts, keys), "substation " + std::to_string(guid));
    }

    // The command line prints what the tree holds, node by node in the tree's order.
    db.reset();
    const AppOutcome p = RunApp({"results", "--db", path, "--guid", QString::number(utility.GUID()), "--sample",
                                 QString::number(sample.Ident), "--json"});
    ASSERT_EQ(p.code, 0) << p.err.toStdString();
    const QList<QByteArray> lines = p.out.toUtf8().split('\n');
    int line = 0;
    utility.ForEach([&](TPesResultsLV& node) {
        const QJsonObject o = QJsonDocument::fromJson(lines.value(line++)).object();
        ASSERT_EQ(o["GUID"].toInt(), node.GUID());
        EXPECT_EQ(o["Note"].toString(), node.Note());
        for (const char* field : {"Wa_gen", "WaoutAll", "WaFact", "dW", "dWtech", "dWdop", "Ksv", "Tau", "Pgen"}) {
            const double v = Value(node, field);
            if (isEmptyFloat(v))
                EXPECT_TRUE(o[field].isNull()) << field;
            else
                EXPECT_DOUBLE_EQ(o[field].toDouble(), v) << node.Text().toStdString() << " " << field;
        }
    });
}

TEST(ResultsAgree, TheEnergyLossFollowsFromTheGridsOwnColumnsInBothRegimes)
{
    TempFolder folder;
    auto db = OpenDatabase(NewDemoDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    const TLVResultSample sample = SamplesWithResultsLV(c, 0).last();
    const int root = IntScalar(c, "select first 1 guid from \"AOEnergo\"");
    const QList<int> feeders = fider::LVFidersUnder(*db->GetTree(), root);
    for (const auto regime : {fider::TRegimeKind::Maximum, fider::TRegimeKind::Middle}) {
        fider::TRegimeRequest request;
        request.Regime = regime;
        request.SampleIdent = sample.Ident;
        request.Mode = fider::TLoadMode::Loads;
        request.CalcType = regime == fider::TRegimeKind::Maximum ? 7 : 8;
        const fider::TRegimeBatchResult run = fider::RunRegimeBatch(*db, feeders, request, {});
        ASSERT_TRUE(run.Failure.isEmpty()) << run.Failure.toStdString();
        ASSERT_GT(run.Calculated, 300);
        TPesResultsLV tree(0, 0, {}, nullptr);
        QString error;
        ASSERT_TRUE(tree.Open(c, root, request.CalcType, sample.SampleDate1, sample.SampleDate2, sample.Period, error));
        // A feeder's losses are the sums over its parts; the run's hours and curve are with its main part.
        std::map<int, std::array<double, 6>> feeder;  // dWa, dP, T, Tau, sqrKfg, Kdp
        for (const TPesResultsLV* leaf : Leaves(tree)) {
            auto& f = feeder
                          .try_emplace(leaf->GUID(), std::array<double, 6>{0, 0, EmptyFloat(), EmptyFloat(),
                                                                           EmptyFloat(), EmptyFloat()})
                          .first->second;
            f[0] += Value(*leaf, "dWa");
            f[1] += Value(*leaf, "dP");
            if (!isEmptyFloat(Value(*leaf, "T")))
                f[2] = Value(*leaf, "T"), f[3] = Value(*leaf, "Tau"), f[4] = Value(*leaf, "sqrKfg"),
                f[5] = Value(*leaf, "Kdp");
        }
        EXPECT_EQ(static_cast<int>(feeder.size()), run.Calculated);
        for (const auto& [guid, f] : feeder) {
            ASSERT_FALSE(isEmptyFloat(f[2])) << guid;
            // ΔW = ΔP·τ·T·Kdp at the greatest load, ΔW = ΔP·T·Kf²·Kdp at the mean load (thousand kWh from kW).
            const double expected = regime == fider::TRegimeKind::Maximum ? f[1] * f[3] * f[2] * f[5] / 1000
                                                                          : f[1] * f[2] * f[4] * f[5] / 1000;
            EXPECT_NEAR(f[0], expected, 1e-9 * std::max(1.0, expected)) << guid;
            if (regime == fider::TRegimeKind::Maximum) {
                EXPECT_TRUE(isEmptyFloat(f[4])) << "no shape factor at the greatest load";
            }
        }
    }
}

namespace {
// A network of one substation made by hand: feeders of given sections, each ending in three-phase consumers of
// unity power factor, and a conductor without reactance.
class HandFeeders : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(false);
        QString error;
        tp_ = scheme::AddSubstation(*c_, "ТП-1", 0, error);
        ASSERT_GT(tp_, 0) << error.toStdString();
        year_ = CreateSamplePeriod(*c_, 2025, 0, error);
        ASSERT_GT(year_, 0) << error.toStdString();
        Exec(*c_, "insert into \"Provods\" (\"Ident\", \"Marka\", \"F\", \"R0\", \"X0\", \"ProvodType\") values "
                  "(9001, 'R', 50, 0.64, 0, 1)");
    }
    // A feeder of sections in a row from the substation, each of a length (km), kind and conductor, with a
    // consumer of `wa` thousand kWh at the end of each section.
    int Feeder(const QList<std::tuple<double, int, int>>& sections, double wa)
    {
        const int feeder = c_->GetNewGUID();
        Exec(*c_, Fmt("insert into \"LVFiders\" (guid, \"Name\", \"OwnerGUID\", \"TypeLoad\", \"Unom\") "
                      "values (%1, 'Л-%1', %2, 1, 0.38)",
                      feeder, tp_));
        int from = feeder, order = 0;
        for (const auto& [length, kind, conductor] : sections) {
            const int node = c_->GetNewGUID();
            Exec(*c_, Fmt("insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\", \"Kind\") "
                          "values (%1, 'Опора %1', %2, %3, 2)",
                          node, feeder, ++order));
            Exec(*c_, Fmt("insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", "
                          "\"LineLength\", \"Kind\", \"ProvodPhase\", \"TabOrder\") values (%1, %2, %3, %4, "
                          "%5, %6, %7, %8)",
                          c_->GetNewGUID(), feeder, from, node, length, kind,
                          conductor ? QString::number(conductor) : QStringLiteral("null"), order));
            Exec(*c_, Fmt("insert into \"LVConsumers\" (\"SampleIdent\", guid, \"Name\", \"OwnerGUID\") "
                          "values (%1, %2, 'Дом', %3)",
                          year_, node, feeder));
            Exec(*c_, Fmt("insert into \"LVWLoads\" (\"SampleIdent\", guid, \"Wa\", \"Wr\") values (%1, %2, "
                          "%3, 0)",
                          year_, node, wa));
            from = node;
        }
        return feeder;
    }
    void Calculate(const QList<int>& feeders)
    {
        fider::TRegimeRequest request;
        request.SampleIdent = year_;
        request.Mode = fider::TLoadMode::Loads;
        const fider::TRegimeBatchResult run = fider::RunRegimeBatch(*db_, feeders, request, {});
        ASSERT_EQ(run.Calculated, feeders.size()) << run.Failure.toStdString();
    }
    // The stored currents (A) and losses (kW) of a feeder's sections, from the supply centre out.
    std::vector<std::pair<double, double>> Sections(int feeder)
    {
        std::vector<std::pair<double, double>> sections;
        auto q = c_->NewQuery();
        q->SetSQLText(Fmt("select r.\"IA\", r.\"dP\" from \"LVPResultsL\" r join \"LVLines\" l on "
                          "l.guid=r.guid where l.\"OwnerGUID\"=%1 order by l.\"TabOrder\"",
                          feeder));
        for (q->Open(); !q->Eof(); q->Next())
            sections.push_back({q->Value(0).toDouble(), q->Value(1).toDouble()});
        return sections;
    }
    TPesResultsLV Open(int guid)
    {
        TPesResultsLV tree(0, 0, {}, nullptr);
        QString error;
        const TSamplePeriodInfo* y = db_->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(year_);
        EXPECT_TRUE(tree.Open(*c_, guid, 0, y->SampleDate1, y->SampleDate2, 1, error)) << error.toStdString();
        return tree;
    }
    int tp_ = 0, year_ = 0;
};
}  // namespace

TEST_F(HandFeeders, KsvIsTheRelativePowerLossOverTheGreatestRelativeVoltageLoss)
{
    // Without reactance and with unity power factor every voltage and current is in phase: P = 3·U0·I1 at the
    // head, ΔP = 3·R·ΣI², ΔU = R·ΣI along the row. So Кн/м = ΣI² / (I1·ΣI): 1 for one consumer at the end of a
    // line, 5/6 for two equal ones at the middle and the end (currents 2I and I).
    const int one = Feeder({{0.5, 0, 9001}}, 20);
    const int two = Feeder({{0.3, 0, 9001}, {0.3, 0, 9001}}, 20);
    Calculate({one, two});
    for (int feeder : {one, two}) {
        const auto sections = Sections(feeder);
        double sumI = 0, sumI2 = 0;
        for (const auto& [i, loss] : sections)
            sumI += i, sumI2 += i * i;
        const double expected = sumI2 / (sections.front().first * sumI);
        const TPesResultsLV tree = Open(feeder);
        // Both sides from a solution converged to 1e-6 V.
        EXPECT_NEAR(Value(tree, "Ksv"), expected, 1e-7) << feeder;
        // The branching coefficient of the run is the same coefficient without a power-factor term here.
        EXPECT_NEAR(Value(tree, "Krazv"), expected, 1e-7) << feeder;
    }
    EXPECT_NEAR(Value(Open(two), "Ksv"), 5.0 / 6, 2e-3);
    // The substation averages its feeders' coefficients, as it does the branching coefficient.
    const TPesResultsLV substation = Open(tp_);
    EXPECT_NEAR(Value(substation, "Ksv"), (Value(Open(one), "Ksv") + Value(Open(two), "Ksv")) / 2, 1e-12);
}

TEST_F(HandFeeders, AConnectingLineWithAConductorHasItsImpedanceAndCountsAsItsConductorIsBuilt)
{
    // 50 m of a four-core aluminium cable (r0 0.625 Ω/km at 20 °C), as a cable section and as a connecting line;
    // and a connecting line without a conductor before 50 m of the same cable.
    const int cable = Feeder({{0.05, 1, 663}}, 30);
    const int connecting = Feeder({{0.05, 2, 663}}, 30);
    const int link = Feeder({{0.05, 2, 0}, {0.05, 1, 663}}, 30);
    Calculate({cable, connecting, link});
    const auto c = Sections(cable), k = Sections(connecting), l = Sections(link);
    // 3·I²·R of a balanced three-phase load, in kW.
    EXPECT_NEAR(k[0].second, 3 * k[0].first * k[0].first * 0.625 * 0.05 / 1000, 1e-12);
    EXPECT_NEAR(k[0].second, c[0].second, 1e-12) << "the same conductor, the same losses";
    EXPECT_DOUBLE_EQ(l[0].second, 0) << "a connecting line without a conductor is a link";
    EXPECT_GT(l[1].second, 0);
    // Counted with the cables; the link with nothing.
    auto lines = [&](int feeder, const char* field) {
        return Scalar(*c_, Fmt("select sum(pa.\"%1\") from \"LVPResultsAdd\" pa join \"LVResults\" r on "
                               "r.\"Ident\"=pa.\"Ident\" where r.guid=%2",
                               QLatin1String(field), feeder));
    };
    EXPECT_EQ(lines(connecting, "NLineC"), 1);
    EXPECT_NEAR(lines(connecting, "LsumC"), 0.05, 1e-12);
    EXPECT_EQ(lines(connecting, "NLineP"), 0);
    EXPECT_EQ(lines(link, "NLineC"), 1);
    EXPECT_EQ(lines(link, "NLineP"), 0);
    // A feeder of no other owner's part: what it gives away and its useful supply are numbers, not empty.
    const TPesResultsLV tree = Open(cable);
    EXPECT_DOUBLE_EQ(Value(tree, "WafactAll"), 0);
    EXPECT_NEAR(Value(tree, "WaFact"), 30, 1e-9);
    EXPECT_NEAR(Value(tree, "dW"), Value(tree, "WaoutAll") - 30 - Value(tree, "dWa0"), 1e-9);
}
