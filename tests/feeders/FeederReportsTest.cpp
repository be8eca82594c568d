// The reports of a line and of a substation on a substation the test builds: ТП-17 with a 250 kV·A transformer
// and three lines: Л-1 with two samples (the June one main) and a year sample, Л-2 with a main sample on a
// conductor carrying its own neutral, Л-3 with a sample that is not main and no attributes. Every value is
// worked out here from the measured values, not taken from the reports' code.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QPushButton>
#include <QRegularExpression>
#include <QTimer>
#include <cmath>

#include "feeders/DataMod.h"
#include "feeders/LVFidersUnit.h"
#include "feeders/ReportHTMLForm.h"
#include "feeders/StoredSamples.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "support/TestWidgets.h"

using namespace testing_support;

namespace {
constexpr int kNode = 50, kL1 = 101, kL2 = 102, kL3 = 103;

// One row of a table of a report: the texts of its cells and its markup.
struct Row {
    QStringList cells;
    QString markup;
};

QString plain(QString html)
{
    html.remove(QRegularExpression(QStringLiteral("<[^>]*>")));
    return html.trimmed();
}

// The data rows of the table whose header has a cell of the text given.
QList<Row> TableRows(const QString& html, const QString& header)
{
    const int at = html.indexOf(QStringLiteral("<th>") + header + QStringLiteral("</th>"));
    EXPECT_GE(at, 0) << header.toStdString();
    if (at < 0)
        return {};
    const int start = html.lastIndexOf(QStringLiteral("<table"), at);
    const int end = html.indexOf(QStringLiteral("</table>"), at);
    const QString table = html.mid(start, end - start);
    static const QRegularExpression rowRe(QStringLiteral("<tr>(.*?)</tr>"),
                                          QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression cellRe(QStringLiteral("<td[^>]*>(.*?)</td>"),
                                           QRegularExpression::DotMatchesEverythingOption);
    QList<Row> rows;
    for (auto m = rowRe.globalMatch(table); m.hasNext();) {
        const QString markup = m.next().captured(1);
        Row row{{}, markup};
        for (auto c = cellRe.globalMatch(markup); c.hasNext();)
            row.cells << plain(c.next().captured(1));
        if (!row.cells.isEmpty())
            rows << row;
    }
    return rows;
}

// The header cells of the same table, to find a column by its caption.
int Column(const QString& html, const QString& header, const QString& caption)
{
    const int at = html.indexOf(QStringLiteral("<th>") + header + QStringLiteral("</th>"));
    const int start = html.lastIndexOf(QStringLiteral("<tr>"), at);
    const QString headerRow = html.mid(start, html.indexOf(QStringLiteral("</tr>"), at) - start);
    static const QRegularExpression thRe(QStringLiteral("<th>(.*?)</th>"));
    int column = 0;
    for (auto m = thRe.globalMatch(headerRow); m.hasNext(); ++column)
        if (m.next().captured(1) == caption)
            return column;
    ADD_FAILURE() << "no column " << caption.toStdString();
    return -1;
}

Row RowOf(const QList<Row>& rows, const QString& first)
{
    for (const Row& r : rows)
        if (!r.cells.isEmpty() && r.cells.first() == first)
            return r;
    ADD_FAILURE() << "no row " << first.toStdString();
    return {};
}

QString f(double v, const char* pattern) { return FormatFloat(QString::fromLatin1(pattern), v); }

// The loss calculation of a sample by the method's formulas: load from the currents and head voltages, energy
// from Tmax, loss time τ = (0.124 + Tmax·10⁻⁴)²·8760, the unbalance K² = ΣI² / (3·Iср²) and the factor of
// additional losses K² + 1.5·(Rн/Rф)·(K² − 1), the voltage drop in per cent of the head voltage, the power loss
// in per cent Kдп·Kнм·ΔU, the loss itself kept to three decimals, and the energy loss τ·dP.
struct ByHand {
    double P, Wa, Tau, Kdp, DU, DPpct, DP, DW;
    ByHand(const double (&i)[3], const double (&u)[3], const double (&u2)[3], double cos, double rnToRf, double tmax,
           double knm)
    {
        P = cos * (i[0] * u[0] + i[1] * u[1] + i[2] * u[2]) / 1000;
        Wa = P * tmax / 1000;
        Tau = (0.124 + tmax / 10000) * (0.124 + tmax / 10000) * 8760;
        const double mean = (i[0] + i[1] + i[2]) / 3;
        const double k2 = (i[0] * i[0] + i[1] * i[1] + i[2] * i[2]) / (3 * mean * mean);
        Kdp = k2 + 1.5 * rnToRf * (k2 - 1);
        const double head = u[0] + u[1] + u[2], far = u2[0] + u2[1] + u2[2];
        DU = (head - far) / head * 100;
        DPpct = Kdp * knm * DU;
        DP = std::round(P * DPpct / 100 * 1000) / 1000;
        DW = Tau * DP / 1000;
    }
};

// Л-1's main sample: АС-50 (R0 0.6) with an А-35 neutral (R0 0.9), so Rн/Rф = 1.5; cos φ 0.9.
const double kI1[3] = {100, 120, 80}, kU1[3] = {230, 231, 232}, kU21[3] = {221, 220, 222};
// Л-2's main sample: СИП-2 with its own neutral, so Rн/Rф = 1; cos φ 0.8.
const double kI2[3] = {50, 40, 60}, kU2[3] = {229, 230, 228}, kU22[3] = {224, 226, 222};

class Reports : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(false);
        SetCurrentDatabase(db_.get());
        host::SetDialogs(&dialogs_);
        for (
            const char* sql : {
                R"(insert into "Transforms2" ("Ident", "TypeTR", "Snom") values (5, 'ТМ', 250))",
                R"(insert into "Nodes" (GUID, "Name", "Info", "Transf") values (50, 'ТП-17', 'КТП 10/0,4', 5))",
                // Conductors of the test beside those of a new database (their kind 1 is of 0.38 kV).
                R"(insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "NullFlag")
                    values (10, 'АС', 50, 0.6, 0.35, 1, 0))",
                R"(insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "NullFlag")
                    values (11, 'А', 35, 0.9, 0.36, 1, 0))",
                R"(insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "NullFlag")
                    values (12, 'СИП-2', 70, 0.443, 0.08, 1, 1))",
                R"(insert into "TypeLoads" ("Ident", "Name", "CosFi") values (1, 'Коммунально-бытовая', 0.95))",
                R"(insert into "LVFiders" (GUID, "Name", "OwnerGUID", "TypeLoad", "Unom") values (101, 'Л-1', 50, 1, 0.38))",
                R"(insert into "LVFiders" (GUID, "Name", "OwnerGUID", "TypeLoad", "Unom") values (102, 'Л-2', 50, 1, 0.38))",
                R"(insert into "LVFiders" (GUID, "Name", "OwnerGUID", "TypeLoad", "Unom") values (103, 'Л-3', 50, 1, 0.38))",
                R"(insert into "LVFidersA" (GUID, "CosFi", "ProvodPhase", "ProvodNull", "LineLength")
                    values (101, 0.9, 10, 11, 0.5))",
                R"(insert into "LVFidersA" (GUID, "CosFi", "ProvodPhase", "LineLength") values (102, 0.8, 12, 0.3))",
                // Л-1 in February: not main; its stored dP is not the one its values give.
                R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "U2A", "U2B", "U2C",
                    "IA", "IB", "IC", "Tmax", "Krazv", "Knm", "P", "dP")
                    values (101, '2023-02-10', 0, 228, 229, 230, 218, 219, 221, 60, 70, 50, 2800, 0.8, 1.05, 37.089, 9.999))",
                // Л-1 in June: main, stored as the editor calculated it (P 62.352, Wa = P·3200/1000, dP 3.226,
                // dW = τ·dP/1000 with τ = 0.444²·8760).
                R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "U2A", "U2B", "U2C",
                    "IA", "IB", "IC", "Tmax", "Krazv", "Knm", "P", "Wa", "dP", "dW")
                    values (101, '2023-06-15', 1, 230, 231, 232, 221, 220, 222, 100, 120, 80, 3200, 0.8, 1.1,
                    62.352, 199.5264, 3.226, 5.571016047))",
                // Л-4: a main sample the editor has not calculated yet.
                R"(insert into "LVFiders" (GUID, "Name", "OwnerGUID", "TypeLoad", "Unom") values (104, 'Л-4', 50, 1, 0.38))",
                R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "U2A", "U2B", "U2C",
                    "IA", "IB", "IC", "Tmax") values (104, '2023-08-20', 1, 230, 230, 230, 226, 226, 226, 20, 20, 20, 3000))",
                // Л-2: main, with the values its measurements give (Wa = P·2500/1000, dW = τ·dP/1000 with
                // τ = 0.374²·8760).
                R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "U2A", "U2B", "U2C",
                    "IA", "IB", "IC", "Tmax", "Krazv", "Knm", "P", "Wa", "dP", "dW")
                    values (102, '2023-07-01', 1, 229, 230, 228, 224, 226, 222, 50, 40, 60, 2500, 0.7, 1.2, 27.464,
                    68.66, 0.768, 0.94104096768))",
                // Л-3: a sample that is not main.
                R"(insert into "LVPResultsA" (GUID, "SampleDate", "IsMain", "UA", "UB", "UC", "U2A", "U2B", "U2C",
                    "IA", "IB", "IC", "Tmax") values (103, '2023-05-05', 0, 230, 230, 230, 225, 225, 225, 10, 10, 10, 3000))",
                R"(insert into "SamplesDates" ("Ident", "Name", "Period", "SampleDate1", "SampleDate2")
                    values (7, '2023г.', 1, '2023-01-01 00:00', '2024-01-01 00:00'))",
                R"(insert into "LVPSamples" ("SampleIdent", GUID, "Wa", "T", "Tau", "Kzap", "Tmax", "Kdp")
                    values (7, 101, 186.5, 8760, 1650.5, 0.62, 3200, 1.085))",
            })
            Exec(*c_, QString::fromUtf8(sql));
        data_ = std::make_unique<TRep_Data>(nullptr, *c_);
        data_->OpenFiders(kNode);
    }
    void TearDown() override
    {
        data_.reset();
        SetCurrentDatabase(nullptr);
        host::SetDialogs(nullptr);
    }

    host::ScriptedDialogs dialogs_;
    std::unique_ptr<TRep_Data> data_;
};
}  // namespace

TEST_F(Reports, TheLineShowsItsSamplesCalculatedAndItsYearSamples)
{
    const QString html = LineReportHtml(*data_, kL1);
    EXPECT_TRUE(html.contains("<h2>Отчет по линии Л-1</h2>"));
    for (const char* text : {"ТП-17 (КТП 10/0,4)", "Коммунально-бытовая", "АС-50", "А-35", "0,500", "0,900"})
        EXPECT_TRUE(html.contains(Fmt("<b>%1</b>", QString::fromUtf8(text)))) << text;

    const QString header = "Дата замера";
    const QList<Row> rows = TableRows(html, header);
    ASSERT_EQ(rows.size(), 2);
    const Row main = RowOf(rows, "15.06.2023"), other = RowOf(rows, "10.02.2023");
    EXPECT_EQ(main.cells.value(1), "основной");
    EXPECT_TRUE(main.markup.contains("<b>62,35</b>"));  // the main sample's row is in bold
    EXPECT_EQ(other.cells.value(1), "");
    EXPECT_FALSE(other.markup.contains("<b>"));

    const ByHand m(kI1, kU1, kU21, 0.9, 0.9 / 0.6, 3200, 1.1);
    auto cell = [&](const Row& r, const char* caption) { return r.cells.value(Column(html, header, caption)); };
    // By hand: P = 0.9·(230·100 + 231·120 + 232·80)/1000 = 62.352 kW; K² = 30800/30000, Kдп = 1.08667;
    // ΔU = 30/693 = 4.329 %; ΔP = 5.1746 %; dP = 3.226 kW.
    EXPECT_EQ(cell(main, "P, кВт"), "62,35");
    EXPECT_EQ(cell(main, "dP, кВт"), "3,226");
    EXPECT_EQ(cell(main, "P, кВт"), f(m.P, "0.00"));
    EXPECT_EQ(cell(main, "Wa, тыс. кВт·ч"), f(m.Wa, "0.000"));
    EXPECT_EQ(cell(main, "τ, ч"), f(m.Tau, "0.00"));
    EXPECT_EQ(cell(main, "Kдп"), f(m.Kdp, "0.000"));
    EXPECT_EQ(cell(main, "ΔU, %"), f(m.DU, "0.000"));
    EXPECT_EQ(cell(main, "ΔP, %"), f(m.DPpct, "0.000"));
    EXPECT_EQ(cell(main, "dP, кВт"), f(m.DP, "0.000"));
    EXPECT_EQ(cell(main, "dW, тыс. кВт·ч"), f(m.DW, "0.000"));
    EXPECT_EQ(cell(main, "Uг.у. ср., В"), "231,00");
    EXPECT_EQ(cell(main, "Uу.т. ср., В"), "221,00");
    EXPECT_EQ(cell(main, "Iв, А"), "120");

    // The February sample: its stored dP disagrees with its values and is named under the table; its stored P
    // agrees to the last decimal shown and is not.
    const ByHand feb({60, 70, 50}, {228, 229, 230}, {218, 219, 221}, 0.9, 1.5, 2800, 1.05);
    EXPECT_EQ(cell(other, "dP, кВт"), f(feb.DP, "0.000"));
    EXPECT_EQ(f(feb.DP, "0.000"), "1,743");
    EXPECT_TRUE(html.contains("<p>Сохраненные значения замера от 10.02.2023 отличаются от расчетных "
                              "(в отчете расчетные): dP 9,999 (расчет 1,743)</p>"));

    // The year sample.
    const QList<Row> years = TableRows(html, "Период");
    ASSERT_EQ(years.size(), 1);
    EXPECT_EQ(years[0].cells, QStringList({"2023г.", "186,500", "8760", "1650,50", "0,620", "3200", "1,085"}));

    // A line without attributes: its sample cannot be calculated, it has no year samples, and nothing in the
    // editor's data has changed by the reports.
    const QString third = LineReportHtml(*data_, kL3);
    EXPECT_TRUE(RowOf(TableRows(third, header), "05.05.2023")
                    .cells.contains("не рассчитан: не заданы токи, напряжения, провод, длина или cos φ"));
    EXPECT_TRUE(third.contains("<p>Годовых замеров нет</p>"));
    SubstationReportHtml(*data_);
    EXPECT_FALSE(data_->Modified());
    EXPECT_EQ(data_->FindAttributes(kL3), nullptr);
    EXPECT_TRUE(LineReportHtml(*data_, 999).isEmpty());
}

TEST_F(Reports, TheSubstationSumsTheMainSamplesOfItsLines)
{
    const QString html = SubstationReportHtml(*data_);
    EXPECT_TRUE(html.contains("<h2>Отчет по ТП ТП-17</h2>"));
    EXPECT_TRUE(html.contains("<tr><td>Трансформатор:</td><td><b>ТМ-250</b></td></tr>"));
    EXPECT_TRUE(html.contains("<tr><td>Номинальная мощность, кВ·А:</td><td><b>250</b></td></tr>"));

    const ByHand l1(kI1, kU1, kU21, 0.9, 1.5, 3200, 1.1), l2(kI2, kU2, kU22, 0.8, 1.0, 2500, 1.2);
    // The totals are those of the rows the editor stored, as over the hierarchy: Л-4's main sample was not
    // calculated there and does not count. The load: Σ P / cos φ = 62.352/0.9 + 27.464/0.8 = 103.61 kV·A,
    // 41.4 % of 250 kV·A.
    const double kva = l1.P / 0.9 + l2.P / 0.8;
    EXPECT_EQ(f(kva, "0.00"), "103,61");
    EXPECT_TRUE(
        html.contains(Fmt("<tr><td>Нагрузка по основным замерам, кВ·А:</td><td><b>%1</b></td></tr>", f(kva, "0.00"))));
    EXPECT_TRUE(html.contains("<tr><td>Загрузка трансформатора, % от Sном:</td><td><b>41,4</b></td></tr>"));
    EXPECT_TRUE(html.contains("Основной замер линии Л-4 от 20.08.2023 не рассчитан в редакторе линий и в итог по ТП "
                              "не вошел"));

    const QString linesHeader = "Линия";
    const QList<Row> lines = TableRows(html, linesHeader);
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(RowOf(lines, "Л-3").cells, QStringList({"Л-3", "нет замера"}));
    const Row first = RowOf(lines, "Л-1"), second = RowOf(lines, "Л-2");
    EXPECT_EQ(first.cells.value(1), "15.06.2023");
    EXPECT_EQ(second.cells.value(1), "01.07.2023");
    const int p = Column(html, linesHeader, "P, кВт"), dp = Column(html, linesHeader, "dP, кВт");
    EXPECT_EQ(first.cells.value(p), f(l1.P, "0.00"));
    EXPECT_EQ(first.cells.value(dp), f(l1.DP, "0.000"));
    EXPECT_EQ(second.cells.value(p), f(l2.P, "0.00"));
    EXPECT_EQ(second.cells.value(dp), f(l2.DP, "0.000"));
    // Л-2's stored values agree with its measurements: no note.
    EXPECT_FALSE(html.contains("Сохраненные значения"));

    const QString totalsHeader = "Линий без замера";
    const QList<Row> totals = TableRows(html, totalsHeader);
    ASSERT_EQ(totals.size(), 1);
    const Row& t = totals[0];
    EXPECT_EQ(t.cells.value(0), "Итого по ТП");
    auto total = [&](const char* caption) { return t.cells.value(Column(html, totalsHeader, caption)); };
    EXPECT_EQ(total("P, кВт"), f(l1.P + l2.P, "0.00"));
    EXPECT_EQ(total("P, кВт"), "89,82");
    EXPECT_EQ(total("dP, кВт"), f(l1.DP + l2.DP, "0.000"));
    EXPECT_EQ(total("dP, кВт"), "3,994");
    EXPECT_EQ(total("Wa, тыс. кВт·ч"), f(l1.Wa + l2.Wa, "0.000"));
    EXPECT_EQ(total("dW, тыс. кВт·ч"), f(l1.DW + l2.DW, "0.000"));
    EXPECT_EQ(total("dP, % от P"), f((l1.DP + l2.DP) / (l1.P + l2.P) * 100, "0.000"));
    EXPECT_EQ(total("dW, % от Wa"), f((l1.DW + l2.DW) / (l1.Wa + l2.Wa) * 100, "0.000"));
    EXPECT_EQ(total("Линий с замером"), "2");
    EXPECT_EQ(total("Линий без замера"), "2");

    // Phase by phase: the mean head voltage, the summed current and cos φ weighted by U·I.
    const QList<Row> phases = TableRows(html, "Фаза");
    ASSERT_EQ(phases.size(), 3);
    const int u = Column(html, "Фаза", "U ср., В"), i = Column(html, "Фаза", "I, А"),
              cos = Column(html, "Фаза", "cos φ");
    const char* names[] = {"А", "В", "С"};
    for (int k = 0; k < 3; ++k) {
        const Row phase = RowOf(phases, QString::fromUtf8(names[k]));
        const double ui1 = kU1[k] * kI1[k], ui2 = kU2[k] * kI2[k];
        EXPECT_EQ(phase.cells.value(cos), f((ui1 * 0.9 + ui2 * 0.8) / (ui1 + ui2), "0.000")) << k;
        EXPECT_EQ(phase.cells.value(u), f((kU1[k] + kU2[k]) / 2, "0.00")) << k;
        EXPECT_EQ(phase.cells.value(i), f(kI1[k] + kI2[k], "0.##")) << k;
    }
    // Phase A by hand: (230·100·0.9 + 229·50·0.8) / (23000 + 11450) = 29860/34450 = 0.8668; 229.5 V; 150 A.
    EXPECT_EQ(RowOf(phases, "А").cells, QStringList({"А", "229,50", "150", "0,867"}));

    // For a year (from the calculation menu): the main samples of that year only.
    const QString of2023 = SubstationReportHtml(*data_, {}, 2023);
    EXPECT_TRUE(of2023.contains("<h3>Основные замеры линий за 2023 год</h3>"));
    const QList<Row> ofYear = TableRows(of2023, linesHeader);
    ASSERT_EQ(ofYear.size(), lines.size());
    for (int r = 0; r < lines.size(); ++r)
        EXPECT_EQ(ofYear[r].cells, lines[r].cells);
    const QString of2022 = SubstationReportHtml(*data_, {}, 2022);
    const QList<Row> none = TableRows(of2022, linesHeader);
    ASSERT_EQ(none.size(), 4);
    for (const Row& r : none)
        EXPECT_EQ(r.cells.value(1), "нет замера") << r.cells.value(0).toStdString();
}

TEST_F(Reports, TheViewersAreTitledInRussianAndSaveTheReportAsPdf)
{
    c_->StartTransaction(false);
    TLVFidersForm form(nullptr, *c_);
    form.SetRepData(new TRep_Data(&form, *c_));
    form.SetNode(kNode);
    form.SetLVFider(kL1);
    form.OpenFiders();
    ASSERT_EQ(form.LVFider(), kL1);

    const QString pdf = folder_.Path("отчет.pdf");
    QString title, name, shown;
    qint64 size = 0;
    QByteArray start;
    auto look = [&](QDialog* d) {
        auto* viewer = qobject_cast<TfrmReportHTML*>(d);
        ASSERT_NE(viewer, nullptr);
        title = d->windowTitle();
        name = d->objectName();
        shown = viewer->Html();
        QFile::remove(pdf);
        dialogs_.AnswerFile(pdf);
        d->findChild<QPushButton*>("btnPdf")->click();
        QFile file(pdf);
        size = file.size();
        if (file.open(QIODevice::ReadOnly))
            start = file.read(5);
    };
    CloseNextModal(QDialog::Rejected, look);
    form.ShowLineReport();
    EXPECT_EQ(title, "Отчет по линии Л-1");
    EXPECT_EQ(name, "OZN3_Report_Ln");
    EXPECT_TRUE(shown.contains("основной"));
    EXPECT_GT(size, 0);
    EXPECT_EQ(start, "%PDF-");

    CloseNextModal(QDialog::Rejected, look);
    form.ShowTPReport();
    EXPECT_EQ(title, "Отчет по ТП ТП-17");
    EXPECT_EQ(name, "OZN3_Report_TP");
    EXPECT_TRUE(shown.contains("нет замера"));
    EXPECT_GT(size, 0);
    EXPECT_EQ(start, "%PDF-");
    // Each report's file was asked for once, proposed by the report's name, and where it went was told.
    ASSERT_EQ(dialogs_.Calls().size(), 4);
    for (int report = 0; report < 2; ++report) {
        const auto& asked = dialogs_.Calls()[2 * report];
        EXPECT_EQ(asked.kind, "save");
        EXPECT_EQ(asked.caption, "Сохранить отчет");
        EXPECT_EQ(QFileInfo(asked.initial).fileName(), report == 0 ? "OZN3_Report_Ln.pdf" : "OZN3_Report_TP.pdf");
        EXPECT_TRUE(dialogs_.Calls()[2 * report + 1].text.startsWith("Файл записан: "));
    }
    c_->Rollback();

    // From a connection alone, as the calculation menu opens them.
    CloseNextModal(QDialog::Rejected, look);
    OpenLineReport(nullptr, *c_, kL2);
    EXPECT_EQ(title, "Отчет по линии Л-2");
    EXPECT_TRUE(shown.contains("01.07.2023"));
    CloseNextModal(QDialog::Rejected, look);
    OpenSubstationReport(nullptr, *c_, kNode);
    EXPECT_EQ(title, "Отчет по ТП ТП-17");
    EXPECT_FALSE(c_->inTransaction());

    // A line or substation that does not exist opens nothing.
    bool opened = false;
    QTimer guard;
    guard.setInterval(10);
    QObject::connect(&guard, &QTimer::timeout, [&] {
        if (auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            opened = true;
            d->done(QDialog::Rejected);
        }
    });
    guard.start();
    EXPECT_EQ(OpenLineReport(nullptr, *c_, 999), 0);
    EXPECT_EQ(OpenSubstationReport(nullptr, *c_, 999), 0);
    guard.stop();
    EXPECT_FALSE(opened);
}

// The demo network's samples hold what the editor calculates: a second pass changes nothing, and a sample
// spoiled in the database gets back the editor's values, its year mirror too.
TEST(StoredSamples, RecalculationGivesTheEditorsValuesAndKeepsThem)
{
    TempFolder folder;
    auto db = OpenDatabase(NewDemoDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    const feeders::TSamplesRecalculation again = feeders::RecalculateStoredSamples(c);
    EXPECT_GT(again.Samples, 500);
    EXPECT_EQ(again.Changed, 0);

    const int guid = IntScalar(c, "select first 1 guid from \"LVPResultsA\" where \"IsMain\"=1 "
                                  "order by guid");
    const QString row = Fmt(" from \"LVPResultsA\" where guid=%1 and \"IsMain\"=1", guid);
    const double dp = Scalar(c, "select \"dP\"" + row), wa = Scalar(c, "select \"Wa\"" + row);
    const QString mirror = Fmt("select first 1 \"Wa\" from \"LVPSamples\" where guid=%1 order by "
                               "\"SampleIdent\" desc",
                               guid);
    EXPECT_NEAR(Scalar(c, mirror), wa, 1e-9);
    // P by hand: the phase powers U·I·cos φ summed, in kW.
    const double p = Scalar(c, Fmt("select (a.\"UA\"*a.\"IA\"+a.\"UB\"*a.\"IB\"+a.\"UC\"*a.\"IC\")"
                                   "*fa.\"CosFi\"/1000 from \"LVPResultsA\" a join \"LVFidersA\" fa on "
                                   "fa.guid=a.guid where a.guid=%1 and a.\"IsMain\"=1",
                                   guid));
    EXPECT_NEAR(Scalar(c, "select \"P\"" + row), p, 1e-6 * p);
    Exec(c, "update \"LVPResultsA\" set \"dP\"=999, \"Wa\"=1" + row.section(" from \"LVPResultsA\"", 1));
    Exec(c, Fmt("update \"LVPSamples\" set \"Wa\"=1 where guid=%1", guid));
    const feeders::TSamplesRecalculation repaired = feeders::RecalculateStoredSamples(c);
    EXPECT_EQ(repaired.Changed, 1);
    EXPECT_NEAR(Scalar(c, "select \"dP\"" + row), dp, 1e-9);
    EXPECT_NEAR(Scalar(c, "select \"Wa\"" + row), wa, 1e-9);
    EXPECT_NEAR(Scalar(c, mirror), wa, 1e-9);
}
