#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QRegularExpression>
#include <QSet>
#include <QTableWidget>
#include <QTreeView>
#include <cmath>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "results/ColorsLVResult.h"
#include "results/LVResultsColumns.h"
#include "results/LVResultsUndersupplyUnit.h"
#include "results/UnitLVResultsTree.h"
#include "results/UnitPesResultsLV32.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
struct Cell {
    QString formula;
    double value = 0;
};

// The cells of a worksheet written by the library, by address.
QHash<QString, Cell> cellsOf(const QString& sheetXml)
{
    QHash<QString, Cell> cells;
    static const QRegularExpression cell(
        QStringLiteral("<c r=\"([A-Z]+[0-9]+)\"[^>]*>(?:<f>([^<]*)</f>)?<v>([^<]*)</v>"));
    for (auto it = cell.globalMatch(sheetXml); it.hasNext();) {
        const auto m = it.next();
        cells.insert(m.captured(1), {m.captured(2), m.captured(3).toDouble()});
    }
    return cells;
}
}  // namespace

TEST(PesReports, SheetsOfTheTwoLayouts)
{
    TNodeLV rows;
    EXPECT_EQ(rows.SheetName(0), "Потери электроэнергии");
    EXPECT_EQ(rows.SheetName(1), "Потери мощности");
    // The report's own columns: the period length under its caption, the method, the normative on energy only.
    auto fields = [](const std::vector<const TLVResultColumn*>& columns) {
        QStringList f;
        for (const TLVResultColumn* c : columns)
            f << c->Field + QLatin1Char('=') + c->Caption;
        return f;
    };
    const QStringList energy = fields(rows.Columns(0)), power = fields(rows.Columns(1));
    EXPECT_TRUE(energy.contains("T=Расчётный период|часов"));
    EXPECT_TRUE(energy.contains("Method=Метод расчёта"));
    EXPECT_TRUE(energy.contains("Normative=Норматив|тыс. кВт·ч"));
    EXPECT_TRUE(energy.contains("LsumP0_off=Длина воздушных участков линии|на балансе|отключенные|км"));
    EXPECT_TRUE(power.contains("Method=Метод расчёта"));
    EXPECT_FALSE(power.contains("Normative=Норматив|тыс. кВт·ч"));
    EXPECT_EQ(power.first(), "Unom=Номинальное напряжение|кВ");
    EXPECT_EQ(power.filter("Pgen=").size(), 1);
    try {
        rows.SheetName(2);
        FAIL() << "an unknown page must be refused";
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "Неверная страница");
    }
    TNodeLV32 one;
    EXPECT_EQ(one.PageCount(), 1);
    EXPECT_EQ(one.Columns(0).size(), AllColumns().size() + 2);  // with the method and the normative
    EXPECT_THROW(one.Columns(1), std::invalid_argument);
}

TEST(PesReports, WorkbooksOfTheResultsAndTheUndersupply)
{
    TempFolder folder;
    auto db = OpenDatabase(NewDemoDatabase(folder));
    SetCurrentDatabase(db.get());
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    const int root = IntScalar(*db->GetDefaultConnection(), "select first 1 guid from \"AOEnergo\"");

    TfrmPesResultsLV32 form;
    ASSERT_TRUE(form.Init(db.get(), root));
    // The preview shows the sheet as it will be written, texts included.
    QAbstractItemModel* preview = form.findChild<QTreeView*>("Preview")->model();
    ASSERT_EQ(preview->rowCount(), 1);  // the utility
    int method = -1;
    for (int c = 0; c < preview->columnCount(); ++c)
        if (preview->headerData(c, Qt::Horizontal, Qt::DisplayRole).toString().startsWith("Метод расчёта"))
            method = c;
    ASSERT_GE(method, 0);
    EXPECT_EQ(preview->index(0, method).data().toString(), "Метод средних нагрузок");
    EXPECT_EQ(form.windowTitle(), "Сводные результаты расчета  \"АО «Облэнерго»\" за 2025г.");
    EXPECT_EQ(form.findChild<QComboBox*>("cbPages")->count(), 1);
    QString error;
    const QString book = folder.Path("pes.xlsx");
    ASSERT_TRUE(form.WriteWorkbook(book, 0, error)) << error.toStdString();
    const QString pesStrings = WorkbookTexts(book);
    EXPECT_EQ(GarbledTexts(book), QStringList());
    EXPECT_TRUE(pesStrings.contains("Мощность головного участка"));
    EXPECT_TRUE(pesStrings.contains("№ п/п"));
    EXPECT_TRUE(pesStrings.contains("Расчётный период\nчасов"));
    EXPECT_TRUE(pesStrings.contains("Метод средних нагрузок"));
    // Column C holds the nominal voltage and value 1 starts in column D.
    const QString pesSheet = QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet1.xml"));
    EXPECT_TRUE(pesSheet.contains("<c r=\"A4\""));
    EXPECT_TRUE(pesSheet.contains("<c r=\"D4\""));
    EXPECT_FALSE(form.WriteWorkbook(folder.Path("x.xlsx"), 3, error));

    // Hierarchy rows add up the rows below them: a substation its feeders as one block, the upper levels
    // the scattered rows of their children; each formula's cached value is what it computes over the cells it
    // names (evaluated here: SUM or MAX over single cells and ranges of one column, empty cells skipped).
    const QHash<QString, Cell> cells = cellsOf(pesSheet);
    static const QRegularExpression call(QStringLiteral("^(SUM|MAX)\\((.*)\\)$"));
    static const QRegularExpression ref(QStringLiteral("^([A-Z]+)(\\d+)(?::([A-Z]+)(\\d+))?$"));
    int blocks = 0, lists = 0, maxima = 0;
    QSet<QString> maxColumns;
    for (auto it = cells.cbegin(); it != cells.cend(); ++it) {
        if (it->formula.isEmpty())
            continue;
        const auto m = call.match(it->formula);
        const bool isMax = m.hasMatch() && m.captured(1) == "MAX";
        const QStringList refs = m.hasMatch() ? m.captured(2).split(',') : QStringList{it->formula};
        double result = 0;
        bool any = false;
        for (const QString& r : refs) {
            const auto a = ref.match(r);
            ASSERT_TRUE(a.hasMatch()) << it->formula.toStdString();
            const int last = a.captured(4).isEmpty() ? a.captured(2).toInt() : a.captured(4).toInt();
            if (!a.captured(4).isEmpty())
                ++blocks;
            for (int row = a.captured(2).toInt(); row <= last; ++row) {
                const QString address = a.captured(1) + QString::number(row);
                if (!cells.contains(address))
                    continue;
                const double v = cells.value(address).value;
                result = !any ? v : isMax ? std::max(result, v) : result + v;
                any = true;
            }
        }
        lists += refs.size() > 1 ? 1 : 0;
        if (isMax) {
            ++maxima;
            maxColumns.insert(it.key().section(QRegularExpression("\\d"), 0, 0));
        }
        EXPECT_NEAR(it->value, result, 1e-6 * std::max(1.0, std::fabs(result))) << it.key().toStdString();
    }
    EXPECT_GT(blocks, 0);
    EXPECT_GT(lists, 0);
    // The greatest is taken only for the maximum voltage loss (value 30, column AG), no longer for column 31.
    EXPECT_GT(maxima, 0);
    EXPECT_EQ(maxColumns, QSet<QString>({"AG"}));
    EXPECT_TRUE(cells.value("AE3").formula.isEmpty());
    // And LibreOffice, recalculating the workbook, agrees with every cached value.
    EXPECT_EQ(ExpectFormulasAsRecalculated(book, 1), static_cast<int>(FormulaCells(book, 1).size()));
    EXPECT_GT(FormulaCells(book, 1).size(), 100);
    EXPECT_TRUE(cells.value("D4").formula.isEmpty());  // the utility holds its own sums

    // With centres, sections and feeders hidden, a district adds up its substations directly.
    ColorsLVResult::SaveVisibleRows({true, true, true, false, false, false, true, true});
    ASSERT_TRUE(form.WriteWorkbook(book, 0, error)) << error.toStdString();
    const QHash<QString, Cell> shallow = cellsOf(QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet1.xml")));
    const QString district = shallow.value("D6").formula;  // utility, enterprise, then the first district
    ASSERT_TRUE(district.startsWith("SUM(D7")) << district.toStdString();
    EXPECT_LT(shallow.size(), cells.size());
    ColorsLVResult::SaveVisibleRows({true, true, true, true, true, true, true, true});

    // Columns the user switched off in the grid are not written: two fewer columns, and no maximum left.
    ColorsLVResult::SaveHiddenColumns({"Wr_gen", "dUmax"});
    ASSERT_TRUE(form.WriteWorkbook(book, 0, error)) << error.toStdString();
    const QString narrowStrings = WorkbookTexts(book);
    const QString narrowSheet = QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet1.xml"));
    EXPECT_FALSE(narrowStrings.contains("Максимальные потери напряжения"));
    EXPECT_TRUE(pesStrings.contains("Максимальные потери напряжения"));
    EXPECT_FALSE(narrowSheet.contains("<f>MAX("));
    const QHash<QString, Cell> narrow = cellsOf(narrowSheet);
    EXPECT_EQ(narrow.value("E4").value, cells.value("F4").value);  // Wa_gen stays in D; WafactAll moves left
    ColorsLVResult::SaveHiddenColumns({});

    // Choosing the first year rebuilds the report for it; that year has normative losses stored.
    auto* samples = form.findChild<QComboBox*>("cbSamples");
    ASSERT_EQ(samples->count(), 3);
    EXPECT_EQ(samples->currentText(), "2025г.");
    // The normative of every substation that has LV results in the tree, each once.
    auto storedNormative = [&] {
        return Scalar(*db->GetDefaultConnection(),
                      Fmt("select sum(b.\"deltaWa\") from \"LVWResultsB\" b where b.\"SampleIdent\"=%1 "
                          "and exists (select 1 from \"LVResults\" mv join \"LVFiders\" lf on "
                          "lf.guid=mv.guid where lf.\"OwnerGUID\"=b.guid and mv.\"SampleIdent\"=%1)",
                          samples->currentData().toInt()));
    };
    const double latestNormative = form.Tree()->Record().Normative;
    EXPECT_NEAR(latestNormative, storedNormative(), 1e-6);
    samples->setCurrentIndex(0);
    EXPECT_EQ(form.windowTitle(), "Сводные результаты расчета  \"АО «Облэнерго»\" за 2023г.");
    EXPECT_NEAR(form.Tree()->Record().Normative, storedNormative(), 1e-6);
    EXPECT_NE(form.Tree()->Record().Normative, latestNormative);  // each year its own
    // Writing the workbook leaves the form's figures as they were (the top row's own feeder sum included).
    const double normative = form.Tree()->Record().Normative,
                 received = form.Tree()->Record().GetValue(bfWa_gen, VariantTotal);
    ASSERT_TRUE(form.WriteWorkbook(book, 0, error)) << error.toStdString();
    EXPECT_EQ(form.Tree()->Record().Normative, normative);
    EXPECT_EQ(form.Tree()->Record().GetValue(bfWa_gen, VariantTotal), received);
    EXPECT_FALSE(std::isnan(normative));
    error.clear();
    EXPECT_FALSE(form.WriteWorkbook(folder.Path("x.xlsx"), 3, error));
    EXPECT_EQ(error, "Неверная страница");

    TfrmPesResultsLV none;
    EXPECT_FALSE(none.Init(db.get(), 987654));
    EXPECT_EQ(dialogs.Texts().last(), "Не найден GUID");

    const int node = IntScalar(*db->GetDefaultConnection(),
                               "select first 1 lf.\"OwnerGUID\" from \"LVFiders\" lf join \"LVResults\" mv "
                               "on mv.guid=lf.guid order by lf.\"OwnerGUID\"");
    TfrmLVUndersupply undersupply;
    undersupply.SetParam(node);
    const QString report = folder.Path("недоотпуск.xlsx");
    ASSERT_TRUE(undersupply.CreateReportXLX(report, error)) << error.toStdString();
    const QString strings = WorkbookTexts(report);
    EXPECT_EQ(GarbledTexts(report), QStringList());
    EXPECT_TRUE(strings.contains("Наименование линии"));
    EXPECT_TRUE(strings.contains("2025г."));
    const QString styles = QString::fromUtf8(ReadZipEntry(report, "xl/styles.xml"));
    EXPECT_TRUE(styles.contains("#,##0.000;-#,##0.000;"));
    EXPECT_TRUE(styles.contains("#,##0;-#,##0;"));
    const int lines =
        IntScalar(*db->GetDefaultConnection(), Fmt("select count(*) from \"LVFiders\" where \"OwnerGUID\"=%1", node));
    const QString reportSheet = QString::fromUtf8(ReadZipEntry(report, "xl/worksheets/sheet1.xml"));
    EXPECT_EQ(reportSheet.count("<row "), lines + 2);
    EXPECT_TRUE(
        QString::fromUtf8(ReadZipEntry(report, "xl/workbook.xml")).contains("name=\"Недоотпуск электроэнергии\""));
    // Each line with its substation, and the undersupply: what went into the line less what left it for other
    // owners, less the metered useful supply and the load losses on the balance (computed here from the stored
    // balance rows, lines without metered consumption left out as the report leaves them empty).
    EXPECT_TRUE(strings.contains("Трансформаторная подстанция"));
    const QString substation = WorkbookTexts(report);
    auto name = db->GetDefaultConnection()->NewQuery();
    name->SetSQLText(Fmt("select \"Name\" from \"Nodes\" where guid=%1", node));
    name->Open();
    EXPECT_TRUE(substation.contains(name->Str("Name"))) << name->Str("Name").toStdString();
    const int sample = IntScalar(*db->GetDefaultConnection(), "select max(\"SampleIdent\") from \"LVResults\"");
    const double expected =
        Scalar(*db->GetDefaultConnection(),
               Fmt("select sum(t.gen - t.fakt_off - t.loss_off - t.fakt_on - t.loss_on) from (select mv.guid, "
                   "sum(wa.\"Wa_gen\") gen, "
                   "sum(iif(wa.\"Balance\"=0, wa.\"Wafakt\", null)) fakt_on, "
                   "coalesce(sum(iif(wa.\"Balance\"<>0, wa.\"Wafakt\", null)), 0) fakt_off, "
                   "coalesce(sum(iif(wa.\"Balance\"=0, wa.\"dWa\", null)), 0) loss_on, "
                   "coalesce(sum(iif(wa.\"Balance\"<>0, wa.\"dWa\", null)), 0) loss_off "
                   "from \"LVWResultsAdd\" wa join \"LVResults\" mv on mv.\"Ident\"=wa.\"Ident\" join \"LVFiders\" lf "
                   "on lf.guid=mv.guid where lf.\"OwnerGUID\"=%1 and mv.\"SampleIdent\"=%2 group by mv.guid) t "
                   "where t.fakt_on is not null",
                   node, sample));
    double written = 0;
    int empty = 0;
    const QHash<QString, Cell> reportCells = cellsOf(reportSheet);
    for (int row = 4; row < 4 + lines; ++row) {
        if (reportCells.contains(Fmt("G%1", row)))
            written += reportCells.value(Fmt("G%1", row)).value;
        else
            ++empty;
    }
    EXPECT_NEAR(written, expected, 1e-6 * std::max(1.0, std::fabs(expected)));
    // The lines without metered consumption have an empty cell, not a zero.
    EXPECT_EQ(empty,
              lines - IntScalar(*db->GetDefaultConnection(),
                                Fmt("select count(distinct mv.guid) from \"LVWResultsAdd\" wa join \"LVResults\" mv "
                                    "on mv.\"Ident\"=wa.\"Ident\" join \"LVFiders\" lf on lf.guid=mv.guid "
                                    "where lf.\"OwnerGUID\"=%1 and mv.\"SampleIdent\"=%2 and wa.\"Balance\"=0 "
                                    "and wa.\"Wafakt\" is not null",
                                    node, sample)));

    // The window shows the report before it is written: a row per line, the same undersupply in total,
    // the empty cells empty.
    undersupply.show();
    auto* grid = undersupply.findChild<QTableWidget*>("GridReport");
    ASSERT_NE(grid, nullptr);
    QElapsedTimer waited;
    waited.start();
    while (grid->rowCount() == 0 && waited.elapsed() < 10000)
        QApplication::processEvents();
    ASSERT_EQ(grid->rowCount(), lines);
    double shown = 0;
    int blank = 0;
    for (int r = 0; r < lines; ++r) {
        double v = 0;
        if (ParseFloat(grid->item(r, 6)->text(), v))
            shown += v;
        else
            blank += grid->item(r, 6)->text().isEmpty() ? 1 : 0;
    }
    EXPECT_NEAR(shown, expected, 1e-3 * lines);  // shown with three decimals
    EXPECT_EQ(blank, empty);
    EXPECT_TRUE(undersupply.findChild<QLabel*>("lblTitle")->text().startsWith("Недоотпуск электроэнергии по линиям"));
    SetCurrentDatabase(nullptr);
}
