// The losses measured feeder by feeder, summed over a hierarchy the test builds: two substations, feeders with
// and without a main sample of the year, one sample not yet calculated. Every total is worked out by hand here.
#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QListWidget>
#include <QPushButton>
#include <QTreeWidget>
#include <cmath>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "host/XlsxReader.h"
#include "results/LVMeasuredLosses.h"
#include "results/LVMeasuredStore.h"
#include "results/LVMeasuredXlsx.h"
#include "results/LVduCalcMenuUnit.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
class Measured : public DatabaseTest {
protected:
    void SetUp() override
    {
        path_ = NewSchemaDatabase(folder_);
        db_ = OpenDatabase(path_);
        c_ = db_->GetDefaultConnection();
        for (const char* sql : {
                 R"(insert into "AOEnergo" (GUID, "Name") values (1, 'АО'))",
                 R"(insert into PES (GUID, "Name", "OwnerGUID") values (2, 'ПЭС', 1))",
                 R"(insert into RES (GUID, "Name", "OwnerGUID") values (3, 'РЭС', 2))",
                 R"(insert into "Centers" (GUID, "Name", "OwnerGUID") values (5, 'ЦП', 3))",
                 R"(insert into "Sections" (GUID, "Name", "OwnerGUID", "Unom") values (6, 'С1', 5, 10))",
                 R"(insert into "Fiders" (GUID, "Name", "OwnerGUID") values (7, 'Ф-1', 6))",
                 R"(insert into "Nodes" (GUID, "Name", "OwnerGUID", RES) values (8, 'ТП-1', 7, 3))",
                 R"(insert into "Nodes" (GUID, "Name", "OwnerGUID", RES) values (12, 'ТП-2', 7, 3))",
                 R"(insert into "LVFiders" (GUID, "Name", "OwnerGUID") values (9, 'Л-1', 8))",
                 R"(insert into "LVFiders" (GUID, "Name", "OwnerGUID") values (10, 'Л-2', 8))",
                 R"(insert into "LVFiders" (GUID, "Name", "OwnerGUID") values (13, 'Л-3', 12))",
                 R"(insert into "LVFiders" (GUID, "Name", "OwnerGUID") values (14, 'Л-4', 12))",
                 R"(insert into "LVFidersA" (GUID, "CosFi") values (9, 0.9))",
                 R"(insert into "LVFidersA" (GUID, "CosFi") values (10, 0.8))",
                 R"(insert into "LVFidersA" (GUID, "CosFi") values (13, 0.95))",
                 R"(insert into "LVFidersA" (GUID, "CosFi") values (14, 0.85))",
                 // Л-1: its main sample in March, another in June.
                 R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "IA", "IB", "IC", "P",
                    "Wa", "dP", "dW") values (9, '2025-03-10', 1, 230, 225, 220, 100, 50, 20, 30, 60, 1.5, 3))",
                 R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "IA", "IB", "IC", "P",
                    "Wa", "dP", "dW") values (9, '2025-06-01', 0, 210, 212, 214, 120, 60, 30, 99, 190, 9, 12))",
                 // Л-2: its main sample in April.
                 R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "IA", "IB", "IC", "P",
                    "Wa", "dP", "dW") values (10, '2025-04-15', 1, 228, 232, 226, 40, 80, 60, 25, 50, 0.5, 1))",
                 // Л-3: a main sample not calculated yet.
                 R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "IA", "IB", "IC", "P")
                    values (13, '2025-05-20', 1, 229, 229, 229, 5, 5, 5, 3))",
                 // Л-4: its main sample the year before; one of this June not main.
                 R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "IA", "IB", "IC", "P",
                    "Wa", "dP", "dW") values (14, '2024-11-01', 1, 230, 230, 230, 9, 9, 9, 6, 11, 0.1, 0.3))",
                 R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "IA", "IB", "IC", "P",
                    "Wa", "dP", "dW") values (14, '2025-06-01', 0, 231, 231, 231, 10, 10, 10, 7, 14, 0.2, 0.4))",
             })
            Exec(*c_, QString::fromUtf8(sql));
    }
    std::unique_ptr<TMeasuredNode> Tree(int guid, int year, const QList<QDate>& dates = {})
    {
        ToznListItemCommon* item = db_->GetTree()->Find(guid);
        EXPECT_NE(item, nullptr);
        return BuildMeasuredTree(item, MeasuredSamples(*c_, FeedersUnder(item), year, dates));
    }
    static const TMeasuredNode* Find(const TMeasuredNode& tree, int guid)
    {
        const TMeasuredNode* found = nullptr;
        tree.ForEach([&](const TMeasuredNode& n) {
            if (n.GUID == guid)
                found = &n;
        });
        return found;
    }
    QString path_;
};
}  // namespace

TEST_F(Measured, NodeTotalsWeighCosFiByTheApparentPowerOfEachPhase)
{
    const std::vector<int> feeders = FeedersUnder(db_->GetTree()->Find(1));
    EXPECT_EQ(feeders.size(), 4u);
    EXPECT_EQ(MeasuredYears(*c_, feeders), (QList<int>{2024, 2025}));
    EXPECT_EQ(MeasuredDates(*c_, feeders, 2025),
              (QList<QDate>{QDate(2025, 3, 10), QDate(2025, 4, 15), QDate(2025, 5, 20), QDate(2025, 6, 1)}));

    auto tree = Tree(1, 2025);
    int nodes = 0;
    tree->ForEach([&](const TMeasuredNode&) { ++nodes; });
    EXPECT_EQ(nodes, 12);  // the utility down to the four feeders
    // ТП-1: the main samples of Л-1 and Л-2.
    const TMeasuredTotals& tp1 = Find(*tree, 8)->Totals;
    EXPECT_DOUBLE_EQ(tp1.P, 30 + 25);
    EXPECT_DOUBLE_EQ(tp1.Wa, 60 + 50);
    EXPECT_DOUBLE_EQ(tp1.dP, 1.5 + 0.5);
    EXPECT_DOUBLE_EQ(tp1.dW, 3 + 1);
    EXPECT_DOUBLE_EQ(tp1.dPPercent(), 2.0 / 55 * 100);
    EXPECT_DOUBLE_EQ(tp1.dWPercent(), 4.0 / 110 * 100);
    EXPECT_DOUBLE_EQ(tp1.U[0], (230.0 + 228) / 2);
    EXPECT_DOUBLE_EQ(tp1.U[1], (225.0 + 232) / 2);
    EXPECT_DOUBLE_EQ(tp1.U[2], (220.0 + 226) / 2);
    EXPECT_DOUBLE_EQ(tp1.I[0], 140);
    EXPECT_DOUBLE_EQ(tp1.I[1], 130);
    EXPECT_DOUBLE_EQ(tp1.I[2], 80);
    // Σ(U·I·cos φ) / Σ(U·I): 27996 / 32120 for phase A, where the plain mean of cos φ would be 0.85.
    EXPECT_NEAR(tp1.CosFi[0], 27996.0 / 32120, 1e-15);
    EXPECT_NEAR(tp1.CosFi[1], 24973.0 / 29810, 1e-15);
    EXPECT_NEAR(tp1.CosFi[2], 14808.0 / 17960, 1e-15);
    EXPECT_EQ(tp1.Measured, 2);
    EXPECT_EQ(tp1.NotMeasured, 0);
    // ТП-2: Л-3 not calculated, Л-4 without a main sample this year: nothing measured, nothing summed.
    const TMeasuredTotals& tp2 = Find(*tree, 12)->Totals;
    EXPECT_TRUE(isEmptyFloat(tp2.P));
    EXPECT_TRUE(isEmptyFloat(tp2.CosFi[0]));
    EXPECT_TRUE(isEmptyFloat(tp2.dPPercent()));
    EXPECT_EQ(tp2.Measured, 0);
    EXPECT_EQ(tp2.NotMeasured, 2);
    // Every level above holds the same sums with both substations' counts.
    for (int guid : {7, 6, 5, 3, 2, 1}) {
        const TMeasuredTotals& t = Find(*tree, guid)->Totals;
        EXPECT_DOUBLE_EQ(t.P, 55) << guid;
        EXPECT_NEAR(t.CosFi[0], 27996.0 / 32120, 1e-15) << guid;
        EXPECT_EQ(t.Measured, 2) << guid;
        EXPECT_EQ(t.NotMeasured, 2) << guid;
    }
    // The year before: only Л-4's main sample.
    const TMeasuredTotals last = Tree(1, 2024)->Totals;
    EXPECT_DOUBLE_EQ(last.P, 6);
    EXPECT_EQ(last.Measured, 1);
    EXPECT_EQ(last.NotMeasured, 3);

    // Dates the user picks take the place of the main samples.
    const TMeasuredTotals june = Tree(1, 2025, {QDate(2025, 6, 1)})->Totals;
    EXPECT_DOUBLE_EQ(june.P, 99 + 7);
    EXPECT_DOUBLE_EQ(june.dW, 12 + 0.4);
    EXPECT_NEAR(june.CosFi[1], (212 * 60 * 0.9 + 231 * 10 * 0.85) / (212 * 60 + 231 * 10.0), 1e-15);
    EXPECT_EQ(june.Measured, 2);
    EXPECT_EQ(june.NotMeasured, 2);
}

TEST_F(Measured, WorkbookSumsLiveAndTheCommandPrintsEveryNode)
{
    auto tree = Tree(1, 2025);
    const QString book = folder_.Path("measured.xlsx");
    QString error;
    ASSERT_TRUE(WriteMeasuredXlsx(book, *tree, "Потери", error)) << error.toStdString();
    EXPECT_EQ(GarbledTexts(book), QStringList());
    // Every formula caches what LibreOffice computes; the sums of the utility's row are the hand totals.
    EXPECT_GT(ExpectFormulasAsRecalculated(book, 1), 30);
    const QHash<QString, QVariant> cells = RecalculatedCells(book, 1);
    const QHash<QString, CachedFormula> written = WorksheetCells(book, 1);
    const int root = Find(*tree, 1)->Row, tp2 = Find(*tree, 12)->Row;
    EXPECT_TRUE(written.value(GetNameCell(2, root)).formula.startsWith("IF(COUNT("));
    EXPECT_DOUBLE_EQ(cells.value(GetNameCell(2, root)).toDouble(), 55);                 // P
    EXPECT_NEAR(cells.value(GetNameCell(15, root)).toDouble(), 2.0 / 55 * 100, 1e-12);  // dP, %
    EXPECT_DOUBLE_EQ(cells.value(GetNameCell(17, root)).toDouble(), 2);                 // measured
    EXPECT_DOUBLE_EQ(cells.value(GetNameCell(18, root)).toDouble(), 2);                 // not measured
    EXPECT_EQ(cells.value(GetNameCell(2, tp2)).toString(), "");  // nothing measured: no sum at all

    db_.reset();  // the command opens the database itself
    const AppOutcome run = RunApp({"measured", "--db", path_, "--node", "1", "--year", "2025", "--json"});
    ASSERT_EQ(run.code, 0) << run.err.toStdString();
    const QList<QByteArray> lines = run.out.toUtf8().trimmed().split('\n');
    ASSERT_EQ(lines.size(), 12);
    const QJsonObject top = QJsonDocument::fromJson(lines[0]).object();
    EXPECT_EQ(top["Level"].toInt(), 0);
    EXPECT_TRUE(top["Parent"].isNull());
    EXPECT_EQ(top["P"].toDouble(), 55);
    EXPECT_EQ(top["NotMeasured"].toInt(), 2);
    EXPECT_NEAR(top["CosFiA"].toDouble(), 27996.0 / 32120, 1e-15);
    for (const QByteArray& line : lines) {
        const QJsonObject o = QJsonDocument::fromJson(line).object();
        if (o["GUID"].toInt() == 12) {
            EXPECT_TRUE(o["P"].isNull());
            EXPECT_TRUE(o["dP_P"].isNull());
            EXPECT_EQ(o["Parent"].toInt(), 7);
        }
    }
    EXPECT_EQ(RunApp({"measured", "--db", path_, "--node", "1"}).code, 2);
}

TEST_F(Measured, TheMenuShowsTheYearsLossesAndStartsTheCalculationsOfItsObject)
{
    SetCurrentDatabase(db_.get());
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    c_->StartTransaction(false);  // as the export opens the menu
    TfrmLVduCalcMenu form;
    int started = 0;
    bool reading = true;
    form.SetActions({{"btnTest", "Проверка", [&](int guid) {
                          started = guid;
                          reading = c_->inTransaction();
                      }}});
    ASSERT_TRUE(form.CanOpen());
    EXPECT_EQ(form.Object(), 1);  // the top of the tree
    form.SelectObject(8);
    EXPECT_EQ(form.Years(), (QList<int>{2025}));  // ТП-1 has no sample of 2024
    EXPECT_EQ(form.Year(), 2025);
    EXPECT_EQ(form.Dates(), (QList<QDate>{QDate(2025, 3, 10), QDate(2025, 4, 15), QDate(2025, 6, 1)}));
    ASSERT_NE(form.Totals(), nullptr);
    EXPECT_DOUBLE_EQ(form.Totals()->Totals.P, 55);
    auto* table = form.findChild<QTreeWidget*>("TreeTotals");
    ASSERT_EQ(table->topLevelItemCount(), 1);
    EXPECT_EQ(table->topLevelItem(0)->text(0), "ТП-1");
    EXPECT_EQ(table->topLevelItem(0)->childCount(), 2);
    EXPECT_EQ(table->topLevelItem(0)->text(16), "2");  // lines measured
    EXPECT_EQ(table->topLevelItem(0)->text(17), "0");  // and not
    // A date picked in the list replaces the main samples.
    auto* dates = form.findChild<QListWidget*>("ListDates");
    ASSERT_EQ(dates->count(), 3);
    dates->item(2)->setCheckState(Qt::Checked);
    EXPECT_DOUBLE_EQ(form.Totals()->Totals.P, 99);
    EXPECT_EQ(form.Totals()->Totals.NotMeasured, 1);
    const QString book = folder_.Path("menu.xlsx");
    ASSERT_TRUE(form.WriteWorkbook(book));
    EXPECT_EQ(GarbledTexts(book), QStringList());
    TXlsxWorkbook read;
    QString error;
    ASSERT_TRUE(read.Open(book, error)) << error.toStdString();
    EXPECT_TRUE(read.Cell(0, 1, 1).toString().contains("2025")) << read.Cell(0, 1, 1).toString().toStdString();
    EXPECT_DOUBLE_EQ(read.Cell(0, 4, 2).toDouble(), 99);
    // A spreadsheet application that cannot be started is reported, the workbook stays written.
    const bool wasSet = qEnvironmentVariableIsSet("OZN3_SPREADSHEET");
    const QByteArray was = qgetenv("OZN3_SPREADSHEET");
    qputenv("OZN3_SPREADSHEET", "no-such-spreadsheet-program");
    form.findChild<QPushButton*>("btnOpenExcel")->click();
    if (wasSet)
        qputenv("OZN3_SPREADSHEET", was);
    else
        qunsetenv("OZN3_SPREADSHEET");
    ASSERT_FALSE(dialogs.Texts().isEmpty());
    EXPECT_TRUE(dialogs.Texts().last().startsWith("Не удалось открыть ")) << dialogs.Texts().last().toStdString();
    EXPECT_TRUE(dialogs.Texts().last().endsWith(".xlsx в табличном редакторе: Табличный редактор не найден"))
        << dialogs.Texts().last().toStdString();
    // A calculation starts for the chosen object outside the menu's reading transaction, which goes on after.
    ASSERT_TRUE(form.RunAction("btnTest"));
    EXPECT_EQ(started, 8);
    EXPECT_FALSE(reading);
    EXPECT_TRUE(c_->inTransaction());
    EXPECT_FALSE(form.RunAction("btnNoSuch"));
    c_->Rollback();
    SetCurrentDatabase(nullptr);
}
