#include <gtest/gtest.h>

#include <QRegularExpression>
#include <cmath>

#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "host/Progress.h"
#include "host/SamplePeriods.h"
#include "results/LVResultsColumns.h"
#include "results/LVResultsValues.h"
#include "results/UnitLVResults.h"
#include "results/UnitLVResultsTree.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
class Tree : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        for (const TSamplePeriodInfo& p : db_->GetSamplePeriods()->Items())
            if (p.Name == "2024г.")
                year_ = p;
    }
    bool Open(TPesResultsLV& tree, int guid, QString& error)
    {
        return tree.Open(*c_, guid, 0, year_.SampleDate1, year_.SampleDate2, 1, error);
    }
    TSamplePeriodInfo year_;
};

const QString kSumOfYear = QStringLiteral(
    "select sum(wa.\"Wa_gen\") from \"LVWResultsAdd\" wa join \"LVResults\" mv on mv.\"Ident\"=wa.\"Ident\" "
    "where mv.\"SampleIdent\"=%1 %2");
// LV feeders under a supply centre, through ownership.
const char* kUnderCenter = R"(select lf.guid from "LVFiders" lf join "Nodes" nod on nod.guid=lf."OwnerGUID"
    join "Fiders" f on f.guid=nod."OwnerGUID" join "Sections" s on s.guid=f."OwnerGUID" where s."OwnerGUID"=%1)";
}  // namespace

TEST_F(Tree, TotalsAtEveryLevelAreTheSumsOfTheStoredRows)
{
    TPesResultsLV tree(0, 0, {}, nullptr);
    QString error;
    const int root = static_cast<int>(Db("select first 1 guid from \"AOEnergo\""));
    ASSERT_TRUE(Open(tree, root, error)) << error.toStdString();
    EXPECT_EQ(tree.Level(), 0);
    EXPECT_NEAR(tree.Record().GetValue(bfWa_gen, VariantTotal), Db(kSumOfYear.arg(year_.Ident).arg("")), 1e-6);
    // A feeder stands under each district it has blocks of, with that district's blocks.
    const int lvCount =
        static_cast<int>(Db(Fmt("select count(*) from (select distinct mv.guid, pa.res from \"LVResults\" mv join "
                                "\"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\" where mv.\"SampleIdent\"=%1)",
                                year_.Ident)));
    int leaves = 0;
    tree.ForEach([&](TPesResultsLV& node) {
        if (node.ChildCount() == 0) {
            ++leaves;
            EXPECT_EQ(node.Level(), 7);
            const int district = node.ParentNode(2)->GUID();
            EXPECT_NEAR(node.Record().GetValue(bfWa_gen, VariantTotal),
                        Db(kSumOfYear.arg(year_.Ident).arg(Fmt("and mv.guid=%1 and wa.res=%2", node.GUID(), district))),
                        1e-9);
            return;
        }
        // Every node holds the sum of its children, per balance variant.
        for (int variant : {VariantOnBalance, VariantOffBalance, VariantTotal}) {
            double sum = EmptyFloat();
            for (int i = 0; i < node.ChildCount(); ++i)
                sum = AC_SumFloat(sum, node.Child(i)->Record().GetValue(bfdP, variant));
            if (isEmptyFloat(sum))
                EXPECT_TRUE(isEmptyFloat(node.Record().GetValue(bfdP, variant)));
            else
                EXPECT_NEAR(node.Record().GetValue(bfdP, variant), sum, 1e-6);
        }
        EXPECT_FALSE(node.Text().isEmpty());
    });
    EXPECT_EQ(leaves, lvCount);

    // The utility keeps each part of its LV feeders once; their sum is the utility's value.
    ASSERT_NE(tree.Fiders(), nullptr);
    EXPECT_EQ(tree.Fiders()->CountLVFiders(), lvCount);
    EXPECT_EQ(tree.Fiders()->GetItemLVFider(0).Count(), 1);  // one result a year per feeder
    const double before = tree.Record().GetValue(bfdWa, VariantTotal);
    std::array<bool, 8> rows;
    rows.fill(true);
    tree.AddSum(rows);
    EXPECT_NEAR(tree.Record().GetValue(bfdWa, VariantTotal), before, 1e-6);
    EXPECT_NEAR(tree.Record().GetValue(bfWa_gen, VariantTotal), Db(kSumOfYear.arg(year_.Ident).arg("")), 1e-6);
    ASSERT_NE(tree.Child(0)->Fiders(), nullptr);  // the enterprises keep theirs too
    EXPECT_LT(tree.Child(0)->Fiders()->CountLVFiders(), lvCount);
    TPesResultsLV* leaf = &tree;
    while (leaf->ChildCount() > 0)
        leaf = leaf->Child(0);
    ASSERT_NE(leaf->FiderIdents(), nullptr);
    EXPECT_EQ(leaf->FiderIdents()->GUID(), leaf->GUID());
    EXPECT_EQ(tree.CountRecords(), tree.SumChilds());
    EXPECT_GT(tree.CountRecords(), leaves);
    ASSERT_GT(tree.ChildCount(), 0);
    EXPECT_EQ(tree.FindGUID(tree.Child(0)->GUID()), tree.Child(0));
    EXPECT_EQ(tree.FindGUID(-5), nullptr);

    // A copy holds the same values and shape; clearing the original leaves the copy whole.
    TPesResultsLV copy(0, 0, {}, nullptr);
    copy.AssignFull(tree);
    EXPECT_EQ(copy.CountRecords(), tree.CountRecords());
    EXPECT_EQ(copy.Child(0)->Parent(), &copy);
    EXPECT_DOUBLE_EQ(copy.Record().GetValue(bfWa_gen, VariantTotal), tree.Record().GetValue(bfWa_gen, VariantTotal));
    tree.Child(0)->ExcelRow = 5;
    tree.FillChilds();
    EXPECT_EQ(tree.ChildRows, QList<int>({5}));
    tree.Clear();
    EXPECT_EQ(tree.ChildCount(), 0);
    EXPECT_GT(copy.ChildCount(), 0);

    // Started at a substation: only its feeders.
    const int node = static_cast<int>(Db("select first 1 lf.\"OwnerGUID\" from \"LVFiders\" lf join \"LVResults\" mv "
                                         "on mv.guid=lf.guid order by lf.\"OwnerGUID\""));
    TPesResultsLV tp(0, 0, {}, nullptr);
    ASSERT_TRUE(Open(tp, node, error));
    EXPECT_EQ(tp.Level(), 6);
    EXPECT_EQ(tp.ChildCount(), static_cast<int>(Db(Fmt("select count(*) from \"LVFiders\" where "
                                                       "\"OwnerGUID\"=%1",
                                                       node))));
    TPesResultsLV none(0, 0, {}, nullptr);
    EXPECT_FALSE(Open(none, 987654, error));
    EXPECT_EQ(error, "Не найден GUID");
    EXPECT_EQ(none.ChildCount(), 0);
}

TEST_F(Tree, FeederWithTwoDistrictsHasOneRecordWithAListOfBlocks)
{
    const int twoRes =
        static_cast<int>(Db(Fmt("select first 1 mv.guid from \"LVResults\" mv join \"LVPResultsAdd\" pa on "
                                "pa.\"Ident\"=mv.\"Ident\" where mv.\"SampleIdent\"=%1 group by mv.guid "
                                "having count(distinct pa.res) = 2 and count(*) = 4",
                                year_.Ident)));
    ASSERT_GT(twoRes, 0);
    TPesResultsLV tree(0, 0, {}, nullptr);
    QString error;
    ASSERT_TRUE(Open(tree, twoRes, error));
    ASSERT_EQ(tree.Level(), 7);
    TLVResultRecord& r = tree.Record();
    EXPECT_EQ(r.ResultCount(), 1);
    EXPECT_EQ(r.Blocks().size(), 4u);  // two districts, on and off the balance
    // Two districts: the list holds both, and all but the last are offered, so the feeder stands as a whole.
    EXPECT_EQ(r.CountRes(), 1);
    const TMasRES mas = r.GetMasRES();
    ASSERT_EQ(mas.size(), 1);
    EXPECT_EQ(mas[0].Tail, -1);
    EXPECT_EQ(mas[0].RES, r.Owners.RES);

    const double total = r.GetValue(bfPgen, VariantTotal);
    const int ownRes = r.Owners.RES;
    r.SetResIdx(0);
    const double first = r.GetValue(bfPgen, VariantTotal);
    const int firstRes = r.GetOwnersRes(0).RES;
    EXPECT_EQ(r.Owners.RES, firstRes);
    r.SetResIdx(1);
    EXPECT_NE(r.Owners.RES, firstRes);
    EXPECT_NEAR(first + r.GetValue(bfPgen, VariantTotal), total, 1e-9);
    r.SetResIdx(5);  // out of range: nothing changes
    EXPECT_EQ(r.ResIdx(), 1);
    r.SetResIdx(2);  // no third district
    EXPECT_EQ(r.ResIdx(), 1);
    r.ClearResIdx();  // the feeder as a whole again
    EXPECT_NEAR(r.GetValue(bfPgen, VariantTotal), total, 1e-9);
    EXPECT_EQ(r.Owners.RES, ownRes);

    // A feeder of one district: a list of one gives 1.
    const int oneRes =
        static_cast<int>(Db(Fmt("select first 1 mv.guid from \"LVResults\" mv join \"LVPResultsAdd\" pa on "
                                "pa.\"Ident\"=mv.\"Ident\" where mv.\"SampleIdent\"=%1 group by mv.guid "
                                "having count(distinct pa.res) = 1",
                                year_.Ident)));
    TPesResultsLV single(0, 0, {}, nullptr);
    ASSERT_TRUE(Open(single, oneRes, error));
    EXPECT_EQ(single.Record().CountRes(), 1);
    EXPECT_EQ(single.Record().GetMasRES().size(), 1);
    // Off level 7, SetResIdx does nothing.
    TLVResultRecord upper = single.Record();
    upper.Level = 6;
    upper.SetResIdx(0);
    EXPECT_EQ(upper.ResIdx(), -1);
}

TEST(ResultIndicators, LoadFactorAndGuardedDivisions)
{
    struct Fixed : TLVResultCustom {
        double w = 100, p = 20, t = 8760, s = 1.2;
        double GetValue(int field, int) const override
        {
            return field == bfWa_gen ? w : field == bfPgen ? p : EmptyFloat();
        }
        double GetValueLVResult(int field) const override
        {
            return field == rfT ? t : field == rfSqrKfg ? s : EmptyFloat();
        }
    } r;
    EXPECT_DOUBLE_EQ(r.Kzap(), 1 / (3 * 1.2 - 2));
    EXPECT_DOUBLE_EQ(r.Tau(), (r.Kzap() + 2 * r.Kzap() * r.Kzap()) / 3);
    EXPECT_DOUBLE_EQ(r.Tmax(), r.Kzap() * 8760);
    r.s = 2.0 / 3;
    EXPECT_TRUE(isEmptyFloat(r.Kzap()));  // 3 sqrKfg - 2 = 0
    EXPECT_TRUE(isEmptyFloat(r.Tau()));
    r.Mode = 2;
    EXPECT_DOUBLE_EQ(r.Kzap(), 100.0 / 20 / 8760 * 1000);
    r.p = 0;
    EXPECT_TRUE(isEmptyFloat(r.Kzap()));  // mode 2 with P = 0
    r.p = EmptyFloat();
    EXPECT_TRUE(isEmptyFloat(r.Kzap()));
    EXPECT_TRUE(isEmptyFloat(TLVResultCustom::Percent(1, 0)));
    EXPECT_TRUE(isEmptyFloat(TLVResultCustom::Percent(EmptyFloat(), 2)));
    EXPECT_DOUBLE_EQ(TLVResultCustom::Percent(1, 4), 25);
    EXPECT_TRUE(isEmptyFloat(r.deltaPline(VariantTotal)));
    EXPECT_DOUBLE_EQ(r.GetValueZero(bfdP, VariantTotal), 0);
}

TEST(ResultFormulas, ChildRowsMakeCellsBlocksOrLists)
{
    TPesResultsLV node(3, 1, "ЦП", nullptr);
    std::array<bool, 8> rows{};
    rows.fill(true);
    EXPECT_EQ(node.fSum(4, ';', rows), "");
    node.ChildRows = {12};
    EXPECT_EQ(node.fSum(4, ';', rows), "D12");
    node.ChildRows = {12, 13, 14};
    EXPECT_EQ(node.fSum(4, ';', rows), "SUM(D12;D13;D14)");  // several levels below: scattered cells
    rows = {false, false, false, false, true, false, false, false};
    EXPECT_EQ(node.TypeNodeResult(rows), 1 | 8 | 16);
    EXPECT_EQ(node.fSum(4, ';', rows), "SUM(D12:D14)");  // one level below: a block
    EXPECT_EQ(node.fMax(31, ',', rows), "MAX(AE12:AE14)");
    EXPECT_EQ(node.fAvg(5, ',', rows), "AVERAGE(E12:E14)");
    rows = {false, false, false, true, false, false, false, false};
    EXPECT_EQ(node.TypeNodeResult(rows), 1 | 4 | 2);
    rows.fill(true);
    EXPECT_EQ(node.TypeNodeResult(rows), 1 | 4 | 16);
}

TEST_F(Tree, NumberedValueTables)
{
    TPesResultsLV tree(0, 0, {}, nullptr);
    QString error;
    const int root = static_cast<int>(Db("select first 1 guid from \"AOEnergo\""));
    ASSERT_TRUE(Open(tree, root, error));
    TLVResultRecord r = tree.Record();
    auto same = [](double a, double b) { return (std::isnan(a) && std::isnan(b)) || std::fabs(a - b) < 1e-9; };
    EXPECT_DOUBLE_EQ(ValuesW_Pes(r, 1), r.GetValue(bfWa_gen, VariantTotal));
    EXPECT_DOUBLE_EQ(ValuesP_Pes(r, 1), r.GetValue(bfPgen, VariantTotal));
    // The last three numbers of the power table are the consumers on, off and on and off the balance.
    EXPECT_DOUBLE_EQ(ValuesP_Pes(r, 46), r.GetValue(bfNAbonents, VariantOnBalance));
    EXPECT_DOUBLE_EQ(ValuesP_Pes(r, 47), r.GetValue(bfNAbonents, VariantOffBalance));
    EXPECT_DOUBLE_EQ(ValuesP_Pes(r, 48), r.GetValue(bfNAbonents, VariantTotal));
    EXPECT_TRUE(std::isnan(ValuesP_Pes(r, 49)));
    EXPECT_TRUE(std::isnan(ValuesW_Pes(r, 50)));  // 49 numbers unless the mode is 2
    EXPECT_DOUBLE_EQ(ValuesP_off(r, 7), ValuesP_Pes(r, 7));
    EXPECT_DOUBLE_EQ(ValuesP_off(r, 49), r.GetValue(bfLsumP, VariantOnBalance));
    EXPECT_DOUBLE_EQ(ValuesP_off(r, 50), r.GetValue(bfLsumP_off, VariantOnBalance));
    EXPECT_DOUBLE_EQ(ValuesP_off(r, 52), r.GetValue(bfLsumP, VariantOffBalance));
    EXPECT_TRUE(same(ValuesP_off(r, 51), AC_SumFloat(ValuesP_off(r, 49), ValuesP_off(r, 50))));
    EXPECT_TRUE(same(ValuesP_off(r, 55), AC_SumFloat(ValuesP_off(r, 49), ValuesP_off(r, 52))));
    EXPECT_TRUE(same(ValuesP_off(r, 57), AC_SumFloat(ValuesP_off(r, 55), ValuesP_off(r, 56))));
    EXPECT_DOUBLE_EQ(ValuesP_off(r, 58), r.GetValue(bfLsumC, VariantOnBalance));
    EXPECT_TRUE(same(ValuesP_off(r, 67), AC_SumFloat(ValuesP_off(r, 49), ValuesP_off(r, 58))));
    EXPECT_TRUE(same(ValuesP_off(r, 72), AC_SumFloat(ValuesP_off(r, 70), ValuesP_off(r, 71))));
    EXPECT_TRUE(same(ValuesP_off(r, 75), AC_SumFloat(ValuesP_off(r, 73), ValuesP_off(r, 74))));
    EXPECT_DOUBLE_EQ(ValuesP_off(r, 76), r.GetValue(bfNLineP, VariantOnBalance));
    EXPECT_DOUBLE_EQ(ValuesP_off(r, 80), r.GetValue(bfNLineP_off, VariantOffBalance));
    EXPECT_DOUBLE_EQ(ValuesP_off(r, 85), r.GetValue(bfNLineC, VariantOnBalance));
    EXPECT_DOUBLE_EQ(ValuesP_off(r, 89), r.GetValue(bfNLineC_off, VariantOffBalance));
    EXPECT_TRUE(std::isnan(ValuesP_off(r, 99)));
    // The energy table is one number longer in mode 2.
    EXPECT_TRUE(same(ValuesW_off(r, 53), ValuesP_off(r, 49)));
    EXPECT_TRUE(same(ValuesW_off(r, 50), ValuesP_off(r, 46)));
    r.Mode = 2;
    EXPECT_TRUE(same(ValuesW_off(r, 54), ValuesP_off(r, 49)));
    EXPECT_TRUE(same(ValuesW_off(r, 50), ValuesW_Pes(r, 50)));
    EXPECT_FALSE(std::isnan(ValuesW_Pes(r, 50)));
}

TEST_F(Tree, ValuesOfOneBalanceKind)
{
    TPesResultsLV tree(0, 0, {}, nullptr);
    QString error;
    ASSERT_TRUE(Open(tree, static_cast<int>(Db("select first 1 guid from \"AOEnergo\"")), error));
    const TLVResultRecord& r = tree.Record();
    // Wa_gen of one kind: the sum of that kind's blocks; both kinds add up to the total.
    EXPECT_DOUBLE_EQ(ValuesW_T1(r, 0, 1), r.GetValue(bfWa_gen, VariantOnBalance));
    EXPECT_NEAR(ValuesW_T1(r, 0, 1) + ValuesW_T1(r, 4, 1), ValuesW_Pes(r, 1), 1e-6);
    EXPECT_NEAR(ValuesP_T1(r, 4, 1), r.GetValue(bfPgen, VariantOffBalance), 1e-9);
    EXPECT_TRUE(std::isnan(deltaPgen(r, 0)));
    EXPECT_TRUE(std::isnan(deltaPgen(r, 6)));
    EXPECT_DOUBLE_EQ(deltaPgen(r, 5), r.GetValue(bfPgen, VariantTotal));
    // Kinds 4 and 5 read the received power of the whole balance, for energy too.
    EXPECT_DOUBLE_EQ(deltaWgen(r, 4), r.GetValue(bfPgen, VariantTotal));
    EXPECT_DOUBLE_EQ(deltaWgen(r, 5), r.GetValue(bfPgen, VariantTotal));
    EXPECT_NE(deltaWgen(r, 5), r.GetValue(bfWa_gen, VariantTotal));
    EXPECT_TRUE(std::isnan(deltaPgen(r, 1)));  // no ССО balance rows in the demo network
    const double i = r.Igu();
    EXPECT_NEAR(Rekv(r), r.GetValue(bfdP, VariantTotal) * 1000 / (3 * i * i), 1e-9);
}

TEST_F(Tree, ProgressTextsAndMethodsOfTheLoadFactor)
{
    // One feeder's result is stored without the form factor: its load factor comes from energy and power.
    const int feeder = static_cast<int>(
        Db(Fmt("select first 1 guid from \"LVResults\" where \"SampleIdent\"=%1 order by guid", year_.Ident)));
    Exec(*c_,
         Fmt("update \"LVResults\" set \"sqrKfg\"=null where guid=%1 and \"SampleIdent\"=%2", feeder, year_.Ident));
    RecordingProgress progress;
    host::SetProgress(&progress);
    TPesResultsLV tree(0, 0, {}, nullptr);
    QString error;
    ASSERT_TRUE(Open(tree, static_cast<int>(Db("select first 1 guid from \"AOEnergo\"")), error));
    host::SetProgress(nullptr);
    for (const char* text : {"1.Активация дерева (ОЗН)", "Чтение данных (открытие запроса)", "2.Основной SQl",
                             "Чтение данных ", "3.Пробег по SQL+заполнение", "Обработка данных (сортировка)"})
        EXPECT_TRUE(progress.texts.contains(QString::fromUtf8(text))) << text;
    // The filling counts the rows read: the last count is the whole of them, at least one per balance row.
    const QRegularExpression filling(QStringLiteral("^Заполнение данных: (\\d+) из (\\d+)$"));
    const QStringList counts = progress.texts.filter(filling);
    ASSERT_FALSE(counts.isEmpty());
    const auto last = filling.match(counts.last());
    EXPECT_EQ(last.captured(1), last.captured(2));
    EXPECT_GE(last.captured(2).toInt(), Db(Fmt("select count(*) from \"LVPResultsAdd\" pa join \"LVResults\" mv on "
                                               "mv.\"Ident\"=pa.\"Ident\" where mv.\"SampleIdent\"=%1",
                                               year_.Ident)));

    TPesResultsLV* leaf = nullptr;
    TPesResultsLV* other = nullptr;
    tree.ForEach([&](TPesResultsLV& n) {
        if (n.Level() == 7 && n.GUID() == feeder)
            leaf = &n;
        else if (n.Level() == 7 && !other)
            other = &n;
    });
    ASSERT_NE(leaf, nullptr);
    ASSERT_NE(other, nullptr);
    const TLVResultRecord& r = leaf->Record();
    EXPECT_EQ(r.Mode, 2);
    EXPECT_EQ(r.MethodName(), "Метод числа часов наибольших потерь");
    // The fill factor the maximum-load run used: its hours of greatest load over the hours of the year.
    EXPECT_NEAR(
        r.Kzap(),
        Db(Fmt("select \"Tmax\" / \"T\" from \"LVResults\" where guid=%1 and \"SampleIdent\"=%2", feeder, year_.Ident)),
        1e-12);
    EXPECT_EQ(other->Record().Mode, 0);
    EXPECT_EQ(other->Record().MethodName(), "Метод средних нагрузок");
    EXPECT_EQ(tree.Record().MethodName(), "Различные методы");  // the utility sums results of both kinds
}

TEST_F(Tree, NormativeLossesOfEveryNode)
{
    TSamplePeriodInfo first;
    for (const TSamplePeriodInfo& p : db_->GetSamplePeriods()->Items())
        if (p.Name == "2023г.")
            first = p;
    TPesResultsLV tree(0, 0, {}, nullptr);
    QString error;
    ASSERT_TRUE(tree.Open(*c_, static_cast<int>(Db("select first 1 guid from \"AOEnergo\"")), 0, first.SampleDate1,
                          first.SampleDate2, 1, error));
    QHash<int, double> losses = NormativeLossesLV(*c_, first.Ident);
    ASSERT_FALSE(losses.isEmpty());
    // A district with a value of its own shows it instead of the sum of its substations.
    TPesResultsLV* district = tree.Child(0)->Child(0);
    ASSERT_EQ(district->Level(), 2);
    losses.insert(district->GUID(), 12.5);
    tree.SetNormative(losses);
    EXPECT_DOUBLE_EQ(district->Record().Normative, 12.5);
    double substations = 0;
    int withValue = 0;
    tree.ForEach([&](TPesResultsLV& n) {
        if (n.Level() == 6 && !std::isnan(n.Record().Normative)) {
            ++withValue;
            EXPECT_DOUBLE_EQ(n.Record().Normative, Db(Fmt("select \"deltaWa\" from \"LVWResultsB\" where guid=%1 and "
                                                          "\"SampleIdent\"=%2",
                                                          n.GUID(), first.Ident)));
            if (n.Parent()->Parent()->Parent()->Parent() != district)
                substations += n.Record().Normative;
        }
        if (n.Level() == 7) {
            EXPECT_TRUE(std::isnan(n.Record().Normative));  // nothing is stored per LV feeder
        }
    });
    EXPECT_GT(withValue, 0);
    EXPECT_NEAR(tree.Record().Normative, substations + 12.5, 1e-6);
}

TEST_F(Tree, NodesAreFoundByTheirPathTheirWorksheetRowAndTheirLevelAbove)
{
    // A feeder's path from the utility, read from the hierarchy tables.
    auto q = c_->NewQuery();
    q->SetSQLText(
        Fmt("select first 1 e.guid e, p.guid p, r.guid r, c.guid c, s.guid s, f.guid f, nod.guid nod, lf.guid lf "
            "from \"LVFiders\" lf join \"LVResults\" mv on mv.guid=lf.guid and mv.\"SampleIdent\"=%1 join \"Nodes\" "
            "nod "
            "on nod.guid=lf.\"OwnerGUID\" join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on "
            "s.guid=f.\"OwnerGUID\" join \"Centers\" c on c.guid=s.\"OwnerGUID\" join res r on r.guid=c.\"OwnerGUID\" "
            "join pes p on p.guid=r.\"OwnerGUID\" join \"AOEnergo\" e on e.guid=p.\"OwnerGUID\" order by lf.guid",
            year_.Ident));
    q->Open();
    ASSERT_FALSE(q->Eof());
    const QList<int> path = {q->Int("P"), q->Int("R"),   q->Int("C"), q->Int("S"),
                             q->Int("F"), q->Int("NOD"), q->Int("LF")};
    TPesResultsLV tree(0, 0, {}, nullptr);
    QString error;
    ASSERT_TRUE(Open(tree, q->Int("E"), error)) << error.toStdString();
    TPesResultsLV* feeder = tree.FindNodeByAdress(path);
    ASSERT_NE(feeder, nullptr);
    EXPECT_EQ(feeder->Level(), 7);
    EXPECT_EQ(feeder->GUID(), path.last());
    EXPECT_EQ(tree.FindNodeByAdress({}), &tree);
    EXPECT_EQ(tree.FindNodeByAdress({path[0], 987654}), nullptr);
    // Above it: its substation, its district, the top.
    ASSERT_NE(feeder->ParentNode(6), nullptr);
    EXPECT_EQ(feeder->ParentNode(6)->GUID(), path[5]);
    EXPECT_EQ(feeder->ParentNode(2)->GUID(), path[1]);
    EXPECT_EQ(feeder->ParentNode(), feeder->Parent());
    EXPECT_EQ(tree.ParentNode(), nullptr);
    EXPECT_EQ(feeder->ParentNode(7), nullptr);

    // Worksheet rows: the tree in order from row 4, one row a node.
    int row = 4;
    tree.ForEach([&](TPesResultsLV& n) { n.ExcelRow = row++; });
    EXPECT_EQ(tree.FindExcelRow(4), &tree);
    EXPECT_EQ(tree.FindExcelRow(feeder->ExcelRow), feeder);
    EXPECT_EQ(tree.FindExcelRow(row), nullptr);
    EXPECT_EQ(tree.FindExcelRow(0), nullptr);
}

TEST_F(Tree, DeletingAtACentreRemovesExactlyThatSampleAndTypeBeneathIt)
{
    const int center = static_cast<int>(Db("select first 1 guid from \"Centers\" order by guid"));
    const int sample = static_cast<int>(Db("select min(\"SampleIdent\") from \"LVResults\""));
    // Another run of type 1 for the same sample under the centre must stay.
    const int lv = static_cast<int>(Db(QString::fromUtf8(kUnderCenter).arg(center)));
    Exec(*c_, Fmt("insert into \"LVResults\" (\"Ident\", GUID, \"SampleIdent\", \"CalcType\") values "
                  "(900001, %1, %2, 1)",
                  lv, sample));
    const QString under = Fmt("select count(*) from \"LVResults\" where guid in (%1) and \"SampleIdent\"=%2 "
                              "and \"CalcType\"=%3",
                              QString::fromUtf8(kUnderCenter).arg(center));
    const double all = Db("select count(*) from \"LVResults\"");
    const double target = Db(under.arg(sample).arg(0));
    const double balanceRows = Db("select count(*) from \"LVPResultsAdd\"");
    ASSERT_GT(target, 0);

    EXPECT_EQ(DeleteResultsLV(*c_, center, 0, sample), target);
    EXPECT_EQ(Db(under.arg(sample).arg(0)), 0);
    EXPECT_EQ(Db(under.arg(sample).arg(1)), 1);  // another calculation type
    EXPECT_EQ(Db("select count(*) from \"LVResults\""), all - target);
    EXPECT_LT(Db("select count(*) from \"LVPResultsAdd\""), balanceRows);  // the balance rows went with them
    EXPECT_EQ(Db("select count(*) from \"LVPResultsAdd\" pa left join \"LVResults\" mv on mv.\"Ident\"=pa.\"Ident\" "
                 "where mv.\"Ident\" is null"),
              0);
    // The object is found no more for that sample, but still for the others.
    EXPECT_EQ(DeleteResultsLV(*c_, center, 0, sample), 0);
}

TEST_F(Tree, SamplesAndPeriodsWithResults)
{
    const QList<TLVResultSample> samples = SamplesWithResultsLV(*c_, 0);
    ASSERT_EQ(samples.size(), 3);  // the three demo years
    EXPECT_EQ(samples.first().Name, "2023г.");
    EXPECT_EQ(samples.last().Name, "2025г.");
    EXPECT_TRUE(SamplesWithResultsLV(*c_, 7).isEmpty());

    const int section = static_cast<int>(Db("select first 1 s.guid from \"Sections\" s order by s.guid"));
    const int root = static_cast<int>(Db("select first 1 guid from \"AOEnergo\""));
    const QDateTime from = samples.first().SampleDate1, to = samples.last().SampleDate2;
    auto periods = PeriodsWithResultsLV(*c_, 0, root, from, to);
    ASSERT_EQ(periods.size(), 1);
    EXPECT_EQ(periods[0].Period, 1);
    EXPECT_EQ(periods[0].Name, "Год");
    EXPECT_EQ(PeriodsWithResultsLV(*c_, 0, section, from, to).size(), 1);
    EXPECT_TRUE(PeriodsWithResultsLV(*c_, 0, section, from, to, false).isEmpty());  // the text without Sections
    EXPECT_TRUE(PeriodsWithResultsLV(*c_, 0, root, from, from.addDays(100)).isEmpty());

    // Names of the hierarchy: only objects above feeders with results, with the names the tables hold.
    const int without = static_cast<int>(Db("select max(guid) from \"LVResults\""));
    Exec(*c_, Fmt("delete from \"LVResults\" where guid=%1", without));
    const QHash<int, QString> withResults = NamesLV(*c_, 0, from, to), all = ObjectNamesLV(*c_);
    const int feeder = static_cast<int>(Db("select first 1 guid from \"LVResults\" order by guid"));
    EXPECT_FALSE(withResults.value(feeder).isEmpty());
    EXPECT_EQ(withResults.value(feeder), all.value(feeder));
    EXPECT_EQ(withResults.value(root), "АО «Облэнерго»");
    EXPECT_EQ(all.value(section), withResults.value(section));
    EXPECT_FALSE(withResults.contains(without));
    EXPECT_FALSE(all.value(without).isEmpty());
    EXPECT_TRUE(NamesLV(*c_, 0, from, from.addDays(100)).isEmpty());
}
