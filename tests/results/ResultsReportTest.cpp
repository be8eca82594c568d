#include <gtest/gtest.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/XlsxReader.h"
#include "results/LVResultsColumns.h"
#include "results/UnitLVResultsTree.h"
#include "results/UnitLVResultsXLSX.h"
#include "support/TestSupport.h"

using namespace testing_support;

TEST(ResultColumns, CaptionsAndFieldsOfTheGrids)
{
    auto caption = [](const std::vector<TLVResultColumn>& list, const QString& field) {
        for (const auto& c : list)
            if (c.Field == field)
                return c.Caption;
        return QStringLiteral("(none)");
    };
    const auto& e = EnergyColumns();
    const auto& p = PowerColumns();
    EXPECT_EQ(caption(e, "Unom"), "Номинальное напряжение|кВ");
    EXPECT_EQ(caption(e, "Wa_gen"), "Прием электроэнергии в сеть|тыс. кВт·ч");
    EXPECT_EQ(caption(e, "WafactAll"), "Отдача электроэнергии из сети|задано|тыс. кВт·ч");
    EXPECT_EQ(caption(e, "WaoutCalcAll"), "Отпуск электроэнергии в сеть|расчет|тыс. кВт·ч");
    EXPECT_EQ(caption(e, "UA"), "Напряжение в центре питания|ФазаA|B");
    EXPECT_EQ(caption(e, "ImaxC"), "Максимальный ток г.у.|ФазаC|A");
    EXPECT_EQ(caption(e, "dWa0"), "Нагрузочные потери электроэнергии в линиях|на балансе|тыс. кВт·ч");
    EXPECT_EQ(caption(e, "dWa_P"), "Нагрузочные потери электроэнергии в линиях|всего|%");
    EXPECT_EQ(caption(e, "dWtech"), "Объем нетехнических потерь электроэнергии|тыс. кВт·ч");
    EXPECT_EQ(caption(e, "NAbonents"), "Количество абонентов|всего|штук");
    EXPECT_EQ(caption(p, "Pgen"), "Мощность головного участка  (прием)|кВт");
    EXPECT_EQ(caption(p, "PfactAll"), "Отдача мощности из сети|задано|тыс. кВт·ч");
    EXPECT_EQ(caption(p, "dP0"), "Нагрузочные потери мощности в линиях|на балансе|кВт");
    EXPECT_EQ(caption(p, "dPtech"), "Объем нетехнических потерь мощности|кВт");
    const QStringList energy{
        "Unom",        "Wa_gen",       "Wr_gen",       "WafactAll", "WrfactAll",  "WacalcAll",  "WrcalcAll", "WaoutAll",
        "WroutAll",    "WaoutCalcAll", "WroutCalcAll", "T",         "Kzap",       "sqrKfg",     "Tau",       "Tmax",
        "Temperature", "UA",           "UB",           "UC",        "IA",         "IB",         "IC",        "ImaxA",
        "ImaxB",       "ImaxC",        "CosFiA",       "CosFiB",    "CosFiC",     "Kdp",        "dUmax",     "Krazv",
        "Ksv",         "dWa0",         "dWr0",         "dWa0_P",    "dWa4",       "dWr4",       "dWa4_P",    "dWa",
        "dWr",         "dWa_P",        "WaCalc",       "WrCalc",    "WaFact",     "WrFact",     "dW",        "dW_P",
        "dWdop",       "dWdop_P",      "dWtech",       "dWtech_P",  "NAbonents0", "NAbonents4", "NAbonents"};
    QStringList fields;
    for (const auto& c : e)
        fields << c.Field;
    EXPECT_EQ(fields, energy);
    // The power table has 48 numbers after "Unom", the consumers' count last (no additional-loss factor).
    const QStringList power{
        "Unom",        "Pgen",        "Qgen",        "PfactAll",    "QfactAll",    "PcalcAll",   "QcalcAll",
        "PoutFactAll", "QoutFactAll", "PoutCalcAll", "QoutCalcAll", "Temperature", "UA",         "UB",
        "UC",          "IA",          "IB",          "IC",          "ImaxA",       "ImaxB",      "ImaxC",
        "CosFiA",      "CosFiB",      "CosFiC",      "dUmax",       "Krazv",       "Ksv",        "dP0",
        "dQ0",         "dP0_P",       "dP4",         "dQ4",         "dP4_P",       "dP",         "dQ",
        "dP_P",        "Pcalc",       "Qcalc",       "Pfact",       "Qfact",       "dPfact",     "dPfact_P",
        "dPdop",       "dPdop_P",     "dPtech",      "dPtech_P",    "NAbonents0",  "NAbonents4", "NAbonents"};
    fields.clear();
    for (const auto& c : p)
        fields << c.Field;
    EXPECT_EQ(fields, power);
    EXPECT_EQ(power.size() - 1, 48);
    // The line columns: nine per base name, then the feeder columns.
    const auto& l = LineColumns();
    EXPECT_EQ(l.size(), 6u * 9 + 6);
    EXPECT_EQ(caption(l, "LsumP0_off"), "Длина воздушных участков линии|на балансе|отключенные|км");
    EXPECT_EQ(caption(l, "NLine4_all"), "Общее количество участков|не на балансе|всего|штук");
    EXPECT_EQ(caption(l, "Lekv"), "Эквивалентная длина линии|км");
}

TEST(ResultsReport, JsonLinesAndWorkbookFromTheCommandLine)
{
    TempFolder folder;
    QString path;
    int root = 0, sample = 0, nodes = 0;
    double rootWa = 0;
    {
        auto db = OpenDatabase(NewDemoDatabase(folder));
        path = db->ConnectionString();
        root = IntScalar(*db->GetDefaultConnection(), "select first 1 guid from \"AOEnergo\"");
        for (const TSamplePeriodInfo& p : db->GetSamplePeriods()->Items())
            if (p.Name == "2025г.")
                sample = p.Ident;
        const TSamplePeriodInfo* info = db->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(sample);
        TPesResultsLV tree(0, 0, {}, nullptr);
        QString error;
        ASSERT_TRUE(tree.Open(*db->GetDefaultConnection(), root, 0, info->SampleDate1, info->SampleDate2, 1, error));
        nodes = tree.CountRecords();
        rootWa = tree.Record().GetValue(bfWa_gen, VariantTotal);
    }  // the embedded engine serves one process at a time

    const QString book = folder.Path("итоги.xlsx");
    const AppOutcome p = RunApp({"results", "--db", path, "--guid", QString::number(root), "--sample",
                                 QString::number(sample), "--json", "--xlsx", book});
    ASSERT_EQ(p.code, 0) << p.err.toStdString();
    const QList<QByteArray> lines = p.out.toUtf8().split('\n');
    ASSERT_EQ(lines.size(), nodes + 1);
    const QJsonObject first = QJsonDocument::fromJson(lines[0]).object();
    EXPECT_EQ(first["Level"].toInt(), 0);
    EXPECT_TRUE(first["Parent"].isNull());
    EXPECT_EQ(first["Text"].toString(), "АО «Облэнерго»");
    EXPECT_EQ(first["Wa_gen"].toDouble(), rootWa);
    EXPECT_TRUE(first.contains("LsumC4_all"));
    QSet<int> levels;
    for (int i = 0; i < nodes; ++i)
        levels.insert(QJsonDocument::fromJson(lines[i]).object()["Level"].toInt());
    EXPECT_EQ(levels.size(), 8);

    TXlsxWorkbook written;
    QString error;
    ASSERT_TRUE(written.Open(book, error)) << error.toStdString();
    EXPECT_EQ(written.Cell(0, 1, 1).toString(), "Сводные результаты расчета  \"АО «Облэнерго»\" за 2025г.");
    QStringList header;
    for (int c = 1; c <= 10; ++c)
        header << written.Cell(0, 3, c).toString();
    EXPECT_TRUE(header.join('|').contains("Прием электроэнергии в сеть")) << header.join('|').toStdString();
    EXPECT_FALSE(QFile::exists(book + ".part"));
    const QString sheet = QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet1.xml"));
    EXPECT_EQ(sheet.count("<row "), nodes + 2);  // the title, the header and one row per node
    // The summary workbook of the results form: every level's rows sum the rows below them, live, and a spreadsheet
    // that recalculates finds the values already cached.
    EXPECT_GT(ExpectFormulasAsRecalculated(book, 1), 500);

    const AppOutcome missing =
        RunApp({"results", "--db", path, "--guid", "987654", "--sample", QString::number(sample), "--json"});
    EXPECT_NE(missing.code, 0);
    EXPECT_TRUE(missing.err.contains("Не найден GUID"));
}
