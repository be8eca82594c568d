// A network the test builds itself, small enough to work out by hand: one district, one substation, two
// LV feeders. The first has a part on the utility's balance and a part of other owners; the second was stored
// without a calculation type and without reactive figures. Every balance column of the grid is checked
// against the arithmetic done here, for the feeders and for their sum.
#include <gtest/gtest.h>

#include <cmath>

#include "host/Database.h"
#include "host/HostObjects.h"
#include "host/NumericHelpers.h"
#include "results/LVResultsColumns.h"
#include "results/PesResultsLVUnit.h"
#include "results/UnitLVResultsTree.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
class Fixture : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(false);
        for (const char* sql : {
                 R"(insert into "AOEnergo" (GUID, "Name") values (1, 'АО'))",
                 R"(insert into PES (GUID, "Name", "OwnerGUID") values (2, 'ПЭС', 1))",
                 R"(insert into RES (GUID, "Name", "OwnerGUID") values (3, 'РЭС', 2))",
                 R"(insert into "Centers" (GUID, "Name", "OwnerGUID") values (5, 'ЦП', 3))",
                 R"(insert into "Sections" (GUID, "Name", "OwnerGUID", "Unom") values (6, 'С1', 5, 10))",
                 R"(insert into "Fiders" (GUID, "Name", "OwnerGUID") values (7, 'Ф-1', 6))",
                 R"(insert into "Nodes" (GUID, "Name", "OwnerGUID", RES) values (8, 'ТП-1', 7, 3))",
                 R"(insert into "LVFiders" (GUID, "Name", "OwnerGUID") values (9, 'Л-1', 8))",
                 R"(insert into "LVFiders" (GUID, "Name", "OwnerGUID") values (10, 'Л-2', 8))",
                 R"(insert into "SamplesDates" ("Ident", "Name", "Period", "SampleDate1", "SampleDate2")
                    values (11, '2025г.', 1, '2025-01-01', '2025-12-31 23:59:59'))",
                 // Л-1: on the balance 80 metered (85 calculated) and 5 lost, 7 received beyond what the calculation
                 // explains; other owners' part 20 metered (22 calculated) and 3 lost.
                 R"(insert into "LVResults" ("Ident", GUID, "SampleIdent", "CalcType", "T", "dWdop", "dPdop")
                    values (100, 9, 11, 0, 8760, 4, 0.5))",
                 R"(insert into "LVWResultsAdd" ("Ident", RES, "Balance", "Wacalc", "Wafakt", "Wa_gen", "Wrcalc",
                    "Wrfakt", "Wr_gen", "dWa", "dWr") values (100, 3, 0, 85, 80, 97, 40, 38, 43, 5, 3))",
                 R"(insert into "LVWResultsAdd" ("Ident", RES, "Balance", "Wacalc", "Wafakt", "Wa_gen", "Wrcalc",
                    "Wrfakt", "Wr_gen", "dWa", "dWr") values (100, 3, 4, 22, 20, 25, 10, 9, 12, 3, 2))",
                 // Its sections: on the balance 10 overhead (1.2 km) and 3 cable (0.4 km) switched on, 2 overhead
                 // (0.3 km) and 1 cable (0.1 km) off; the other owners' part 4 overhead on (0.5 km), 1 cable off
                 // (0.05 km).
                 R"(insert into "LVPResultsAdd" ("Ident", RES, "Balance", "Pcalc", "Pfakt", "Pgen", "dP",
                    "NAbonents", "NLineP", "NLineP_off", "NLineC", "NLineC_off", "LsumP", "LsumP_off", "LsumC",
                    "LsumC_off") values (100, 3, 0, 9.7, 9.1, 10.3, 0.6, 40, 10, 2, 3, 1, 1.2, 0.3, 0.4, 0.1))",
                 R"(insert into "LVPResultsAdd" ("Ident", RES, "Balance", "Pcalc", "Pfakt", "Pgen", "dP",
                    "NAbonents", "NLineP", "NLineP_off", "NLineC", "NLineC_off", "LsumP", "LsumP_off", "LsumC",
                    "LsumC_off") values (100, 3, 4, 2.5, 2.3, 2.9, 0.4, 6, 4, 0, 0, 1, 0.5, 0, 0, 0.05))",
                 // Л-2, stored without a calculation type, wholly on the balance, reactive figures unknown.
                 R"(insert into "LVResults" ("Ident", GUID, "SampleIdent", "CalcType", "T", "dWdop")
                    values (101, 10, 11, null, 8760, 1))",
                 R"(insert into "LVWResultsAdd" ("Ident", RES, "Balance", "Wacalc", "Wafakt", "Wa_gen", "dWa")
                    values (101, 3, 0, 40, 38, 42, 2))",
                 R"(insert into "LVPResultsAdd" ("Ident", RES, "Balance", "Pcalc", "Pfakt", "Pgen", "dP",
                    "NAbonents") values (101, 3, 0, 4.6, 4.3, 4.8, 0.2, 15))",
             })
            Exec(*c_, QString::fromUtf8(sql));
        QString error;
        ASSERT_TRUE(tree_.Open(*c_, 1, 0, QDateTime(QDate(2025, 1, 1), QTime()),
                               QDateTime(QDate(2025, 12, 31), QTime(23, 59, 59)), 1, error))
            << error.toStdString();
    }
    const TPesResultsLV* Find(int guid)
    {
        const TPesResultsLV* found = nullptr;
        tree_.ForEach([&](TPesResultsLV& n) {
            if (n.GUID() == guid && !found)
                found = &n;
        });
        return found;
    }
    static double Column(const std::vector<TLVResultColumn>& columns, const char* field, const TPesResultsLV& node)
    {
        for (const TLVResultColumn& c : columns)
            if (c.Field == QLatin1String(field))
                return c.Value(node.Record());
        ADD_FAILURE() << field;
        return EmptyFloat();
    }
    TPesResultsLV tree_{0, 0, {}, nullptr};
};

void ExpectColumns(const std::vector<TLVResultColumn>& columns, const TPesResultsLV& node,
                   const std::vector<std::pair<const char*, double>>& expected)
{
    for (const auto& [field, value] : expected) {
        double shown = EmptyFloat();
        for (const TLVResultColumn& c : columns)
            if (c.Field == QLatin1String(field))
                shown = c.Value(node.Record());
        if (std::isnan(value))
            EXPECT_TRUE(isEmptyFloat(shown)) << node.Text().toStdString() << " " << field << " = " << shown;
        else
            EXPECT_NEAR(shown, value, 1e-9 * std::max(1.0, std::fabs(value)))
                << node.Text().toStdString() << " " << field;
    }
}
const double kNone = std::nan("");
}  // namespace

TEST_F(Fixture, EveryBalanceColumnOfTheFeedersAndOfTheirSum)
{
    const TPesResultsLV* l1 = Find(9);
    const TPesResultsLV* l2 = Find(10);
    const TPesResultsLV* tp = Find(8);
    ASSERT_TRUE(l1 && l2 && tp);
    ASSERT_EQ(l1->Level(), 7);
    // Л-1: Прием 122; Отдача 20 + 3 = 23 (calculated 22 + 3 = 25); Отпуск 99 (97); Полезный 80 (85);
    // Фактические потери 99 − 80 = 19; небаланс 19 − 5 = 14; beyond the allowed 4: 10.
    ExpectColumns(EnergyColumns(), *l1,
                  {{"Wa_gen", 122},
                   {"Wr_gen", 55},
                   {"WafactAll", 23},
                   {"WrfactAll", 11},
                   {"WacalcAll", 25},
                   {"WrcalcAll", 12},
                   {"WaoutAll", 99},
                   {"WroutAll", 44},
                   {"WaoutCalcAll", 97},
                   {"WroutCalcAll", 43},
                   {"dWa0", 5},
                   {"dWr0", 3},
                   {"dWa0_P", 5.0 / 99 * 100},
                   {"dWa4", 3},
                   {"dWa4_P", 3.0 / 99 * 100},
                   {"dWa", 8},
                   {"dWa_P", 8.0 / 99 * 100},
                   {"WaCalc", 85},
                   {"WrCalc", 40},
                   {"WaFact", 80},
                   {"WrFact", 38},
                   {"dW", 14},
                   {"dW_P", 14.0 / 99 * 100},
                   {"dWdop", 4},
                   {"dWdop_P", 4.0 / 99 * 100},
                   {"dWtech", 10},
                   {"dWtech_P", 10.0 / 99 * 100}});
    // In power: Прием 13.2; Отдача 2.3 + 0.4 = 2.7 (2.9); Отпуск 10.5 (10.3); Полезный 9.1 (9.7);
    // небаланс (10.5 − 9.1) − 0.6 = 0.8; beyond 0.5: 0.3.
    ExpectColumns(PowerColumns(), *l1,
                  {{"Pgen", 13.2},
                   {"PfactAll", 2.7},
                   {"PcalcAll", 2.9},
                   {"PoutFactAll", 10.5},
                   {"PoutCalcAll", 10.3},
                   {"dP0", 0.6},
                   {"dP4", 0.4},
                   {"dP", 1.0},
                   {"dP_P", 1.0 / 10.5 * 100},
                   {"Pcalc", 9.7},
                   {"Pfact", 9.1},
                   {"dPfact", 0.8},
                   {"dPdop", 0.5},
                   {"dPtech", 0.3},
                   {"NAbonents0", 40},
                   {"NAbonents4", 6},
                   {"NAbonents", 46}});
    // Л-2, stored without a calculation type, is shown as type 0; wholly on the balance it gives nothing away and
    // loses nothing off it (0, not unknown); its reactive receipt was not stored (unknown).
    ExpectColumns(EnergyColumns(), *l2,
                  {{"Wa_gen", 42},
                   {"Wr_gen", kNone},
                   {"WafactAll", 0},
                   {"WaoutAll", 42},
                   {"WaFact", 38},
                   {"dW", 2},
                   {"dWtech", 1},
                   {"dWa4", 0},
                   {"dWa_P", 2.0 / 42 * 100}});
    // The substation: the sums of both, and the shares of the sums.
    ExpectColumns(EnergyColumns(), *tp,
                  {{"Wa_gen", 164},
                   {"WafactAll", 23},
                   {"WaoutAll", 141},
                   {"WaoutCalcAll", 139},
                   {"WaFact", 118},
                   {"WaCalc", 125},
                   {"dWa0", 7},
                   {"dWa", 10},
                   {"dW", 16},
                   {"dW_P", 16.0 / 141 * 100},
                   {"dWa0_P", 7.0 / 141 * 100}});
    ExpectColumns(PowerColumns(), *tp,
                  {{"Pgen", 18.0},
                   {"PfactAll", 2.7},
                   {"PoutFactAll", 15.3},
                   {"Pfact", 13.4},
                   {"dP0", 0.8},
                   {"dPfact", (15.3 - 13.4) - 0.8},
                   {"NAbonents", 61}});
    // The identities on every node.
    tree_.ForEach([&](TPesResultsLV& n) {
        const double gen = Column(EnergyColumns(), "Wa_gen", n);
        if (isEmptyFloat(gen))
            return;
        EXPECT_NEAR(gen, Column(EnergyColumns(), "WafactAll", n) + Column(EnergyColumns(), "WaoutAll", n), 1e-9);
    });
}

TEST_F(Fixture, TheFeederWorkbookBalanceTableCellByCell)
{
    SetCurrentDatabase(db_.get());
    TFiderHH fider(9, QStringLiteral("Л-1"), 8);
    TLVResultBalancesFider balances(&fider);
    const QString book = folder_.Path("Л-1.xlsx");
    QString error;
    ASSERT_TRUE(balances.SaveWorkbook(book, error)) << error.toStdString();
    const QHash<QString, CachedFormula> energy = WorksheetCells(book, 1);
    auto at = [&](const char* cell) { return energy.value(QString::fromLatin1(cell)).value; };
    // The whole-feeder column G, worked out above: rows 28 to 69 of the energy sheet.
    const std::vector<std::pair<const char*, double>> expected = {{"G28", 122},
                                                                  {"G29", 55},
                                                                  {"G30", 23},
                                                                  {"G32", 25},
                                                                  {"G34", 20},
                                                                  {"G36", 22},
                                                                  {"G38", 3},
                                                                  {"G40", 99},
                                                                  {"G41", 44},
                                                                  {"G42", 97},
                                                                  {"G44", 80},
                                                                  {"G46", 85},
                                                                  {"G48", 80},
                                                                  {"G50", 85},
                                                                  {"G54", 19},
                                                                  {"G56", 19.0 / 99 * 100},
                                                                  {"G57", 5},
                                                                  {"G59", 5.0 / 99 * 100},
                                                                  {"G60", 5.0 / 19 * 100},
                                                                  {"G61", 14},
                                                                  {"G62", 14.0 / 99 * 100},
                                                                  {"G63", 14.0 / 19 * 100},
                                                                  {"G64", 4},
                                                                  {"G67", 10},
                                                                  {"G68", 10.0 / 99 * 100}};
    for (const auto& [cell, value] : expected) {
        ASSERT_EQ(at(cell).typeId(), QMetaType::Double) << cell;
        EXPECT_NEAR(at(cell).toDouble(), value, 1e-9 * std::max(1.0, value)) << cell;
    }
    // Row 4.2: what row 4 holds beyond row 4.1, none.
    EXPECT_DOUBLE_EQ(at("G52").toDouble(), 0);
    EXPECT_EQ(at("E52").toString(), "-");
    EXPECT_EQ(at("E40").toString(), "-");
    // LibreOffice computes the same shares (no phase averages: the fixture has no phase values).
    EXPECT_GE(ExpectFormulasAsRecalculated(book, 1), 20);
    SetCurrentDatabase(nullptr);
}

TEST_F(Fixture, SwitchedOnAndOffSectionsAndLengthsByBalance)
{
    const TPesResultsLV* l1 = Find(9);
    ASSERT_TRUE(l1);
    ExpectColumns(LineColumns(), *l1,
                  {{"LsumP0", 1.2},    {"LsumP0_off", 0.3}, {"LsumP0_all", 1.5},  {"LsumP4", 0.5},
                   {"LsumP4_off", 0},  {"LsumP4_all", 0.5}, {"LsumP", 1.7},       {"LsumP_off", 0.3},
                   {"LsumP_all", 2.0}, {"LsumC0_all", 0.5}, {"LsumC4_off", 0.05}, {"LsumC_all", 0.55},
                   {"Lsum0", 1.6},     {"Lsum0_off", 0.4},  {"Lsum0_all", 2.0},   {"Lsum4_all", 0.55},
                   {"Lsum_all", 2.55}, {"NLineP0", 10},     {"NLineP0_off", 2},   {"NLineC4_off", 1},
                   {"NLine0", 13},     {"NLine0_off", 3},   {"NLine4_all", 5},    {"NLine_all", 21}});
}

TEST_F(Fixture, AFeedersLastBalanceBlockTakenIntoTheFeederList)
{
    const TPesResultsLV* l1 = Find(9);
    ASSERT_TRUE(l1);
    const TLVResultRecord& record = l1->Record();
    ASSERT_EQ(record.Blocks().size(), 2u);
    TFiders_LV feeders;
    feeders.AddLVFider(9, 100, record);
    feeders.AddLVFider(9, 100, record);  // the same feeder and result: one entry, the block taken again
    EXPECT_EQ(feeders.CountLVFiders(), 1);
    EXPECT_EQ(feeders.GetItemLVFider(0).Count(), 1);
    TLVResultRecord sum;
    feeders.AddSum(sum);
    // Only the last block (of the two on and off the balance, 97 and 25 received) counts, twice.
    const double last = record.Blocks().back().Values[bfWa_gen];
    EXPECT_TRUE(last == 97 || last == 25) << last;
    EXPECT_DOUBLE_EQ(sum.GetValue(bfWa_gen, VariantTotal), 2 * last);
}
