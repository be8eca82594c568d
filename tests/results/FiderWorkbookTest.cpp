#include <gtest/gtest.h>

#include <QRegularExpression>

#include "host/Database.h"
#include "host/HostObjects.h"
#include "results/PesResultsLVUnit.h"
#include "results/UnitLVResultsFiderXLSX.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
// The cells of a worksheet by address: shared strings resolved, numbers as written, formulas with their text.
struct Sheet {
    QHash<QString, QString> text;
    QHash<QString, double> number;
    QHash<QString, QString> formula;
};

QString unescape(QString s)
{
    return s.replace("&lt;", "<").replace("&gt;", ">").replace("&quot;", "\"").replace("&amp;", "&");
}

Sheet readSheet(const QString& book, int index)
{
    QStringList strings;
    static const QRegularExpression si(QStringLiteral("<si><t[^>]*>([^<]*)</t></si>"));
    for (auto it = si.globalMatch(QString::fromUtf8(ReadZipEntry(book, "xl/sharedStrings.xml"))); it.hasNext();)
        strings << unescape(it.next().captured(1));
    Sheet sheet;
    static const QRegularExpression cell(
        QStringLiteral("<c r=\"([A-Z]+[0-9]+)\"([^>]*)>(?:<f>([^<]*)</f>)?(?:<v>([^<]*)</v>)?"));
    const QString xml = QString::fromUtf8(ReadZipEntry(book, Fmt("xl/worksheets/sheet%1.xml", index)));
    for (auto it = cell.globalMatch(xml); it.hasNext();) {
        const auto m = it.next();
        if (!m.captured(3).isEmpty())
            sheet.formula.insert(m.captured(1), unescape(m.captured(3)));
        if (m.captured(2).contains("t=\"s\""))
            sheet.text.insert(m.captured(1), strings.value(m.captured(4).toInt()));
        else if (!m.captured(4).isEmpty() && !m.captured(2).contains("t=\"str\""))
            sheet.number.insert(m.captured(1), m.captured(4).toDouble());
    }
    return sheet;
}
}  // namespace

TEST(FiderWorkbook, TwoSheetsWithTheirLayoutValuesAndGuardedFormulas)
{
    EXPECT_EQ(LVRatioFormula("D74", "G42", 100, ';'), "IF(G42<>0;D74/G42*100;\"\")");
    EXPECT_EQ(LVRatioFormula("D69", "D84", 1000, ','), "IF(D84<>0,D69/D84*1000,\"\")");

    TempFolder folder;
    auto db = OpenDatabase(NewDemoDatabase(folder));
    SetCurrentDatabase(db.get());
    ToznFDConnection& c = *db->GetDefaultConnection();
    const int guid = IntScalar(c, "select first 1 guid from \"LVResults\" order by guid");
    const int sample = IntScalar(c, "select max(\"SampleIdent\") from \"LVResults\"");
    TFiderHH fider(guid, QStringLiteral("Линия"), 0);
    TLVResultBalancesFider balances(&fider);
    const QString book = folder.Path("линия.xlsx");
    QString error;
    ASSERT_TRUE(balances.SaveWorkbook(book, error)) << error.toStdString();
    EXPECT_EQ(GarbledTexts(book), QStringList());
    const QString workbook = QString::fromUtf8(ReadZipEntry(book, "xl/workbook.xml"));
    EXPECT_TRUE(workbook.contains("name=\"Потери электроэнергии\""));
    EXPECT_TRUE(workbook.contains("name=\"Потери мощности\""));

    const Sheet energy = readSheet(book, 1), power = readSheet(book, 2);
    // Header: the owners from the database, the period rows on the energy sheet only.
    EXPECT_EQ(energy.text.value("A8"), "Наименование линии");
    auto names = c.NewQuery();
    names->SetSQLText(Fmt("select \"Name\" from \"LVFiders\" where guid=%1", guid));
    names->Open();
    EXPECT_EQ(energy.text.value("C8"), names->Str("Name"));
    EXPECT_EQ(energy.text.value("A11"), "Расчетный период, часов");
    EXPECT_DOUBLE_EQ(energy.number.value("C11"), 8760);
    EXPECT_EQ(energy.text.value("A16"), "Температура, °С");
    EXPECT_EQ(power.text.value("A11"), "Температура, °С");
    EXPECT_FALSE(power.text.values().contains("Расчетный период, часов"));
    EXPECT_FALSE(power.text.values().contains("Коэффициент заполнения графика, о.е."));
    EXPECT_TRUE(energy.text.value("A17").startsWith("  Секция "));

    // Coefficients in relative units with two decimals, the temperature with one, energies with three.
    const QString styles = QString::fromUtf8(ReadZipEntry(book, "xl/styles.xml"));
    EXPECT_TRUE(styles.contains("formatCode=\"0.00\"")) << styles.toStdString();
    EXPECT_TRUE(styles.contains("formatCode=\"#,##0.0;-#,##0.0;\""));
    EXPECT_TRUE(styles.contains("formatCode=\"#,##0.000;-#,##0.000;\""));

    // Phases: the average is a formula over the three phases.
    EXPECT_EQ(energy.text.value("D19"), QString::fromUtf8("Фаза \xD0\x92"));
    EXPECT_EQ(energy.formula.value("F20"), "(C20+D20+E20)/3");
    EXPECT_NEAR(energy.number.value("F20"),
                (energy.number.value("C20") + energy.number.value("D20") + energy.number.value("E20")) / 3, 1e-9);
    EXPECT_EQ(power.formula.value("F15"), "(C15+D15+E15)/3");

    // Balance: the received energy is the feeder's stored total; rows without kinds show "-".
    const double received = Scalar(c, Fmt("select sum(wa.\"Wa_gen\") from \"LVWResultsAdd\" wa join "
                                          "\"LVResults\" mv on mv.\"Ident\"=wa.\"Ident\" where mv.guid=%1 "
                                          "and mv.\"SampleIdent\"=%2",
                                          guid, sample));
    EXPECT_EQ(energy.text.value("B28"), "Прием электроэнергии в сеть");
    EXPECT_NEAR(energy.number.value("G28"), received, 1e-9);
    EXPECT_EQ(energy.text.value("E28"), "-");
    EXPECT_EQ(energy.text.value("B44"),
              "Полезный отпуск электроэнергии с учетом технических потерь на балансе потребителя, всего");
    EXPECT_EQ(power.text.value("B23"), "Прием мощности в сеть");
    EXPECT_EQ(energy.text.value("B67"), "Объем нетехнических потерь электроэнергии");
    // Отпуск (calculated) less nothing: row 42 is the received energy less the calculated output.
    EXPECT_NEAR(energy.number.value("G42"), received - energy.number.value("G32"), 1e-9);

    // The balance adds up on both sheets: Прием = Отдача + Отпуск (given and calculated), Отдача = its consumption +
    // its losses, Отпуск = Полезный отпуск + Фактические потери, небаланс = Фактические − технические на балансе.
    for (const Sheet* s : {&energy, &power}) {
        auto at = [&](int energyRow) {
            const int row = s == &energy || energyRow < 16 ? energyRow : energyRow - 5;
            return s->number.value(Fmt("G%1", row));
        };
        EXPECT_NEAR(at(28), at(30) + at(40), 1e-9 * at(28));
        EXPECT_NEAR(at(28), at(32) + at(42), 1e-9 * at(28));
        EXPECT_NEAR(at(30), at(34) + at(38), 1e-9 * at(28));
        EXPECT_NEAR(at(40), at(44) + at(54), 1e-9 * at(28));
        EXPECT_NEAR(at(61), at(54) - at(57), 1e-9 * at(28));
        EXPECT_NEAR(at(56), at(54) / at(40) * 100, 1e-9);
        EXPECT_GT(at(57), 0);
        EXPECT_LT(at(59), 40);  // load losses, per cent of what went into the network
    }
    // The useful supply carries no losses of other owners: row 4.2 is row 4 less row 4.1, live.
    EXPECT_EQ(FormulaCells(book, 1).value("G52").formula, "G46-G50");
    EXPECT_EQ(energy.text.value("E52"), "-");
    // A spreadsheet that recalculates finds the numbers already there.
    EXPECT_GE(ExpectFormulasAsRecalculated(book, 1), 25);
    EXPECT_GE(ExpectFormulasAsRecalculated(book, 2), 25);

    // Line table: labels after a no-break space, guarded shares with the template's addresses.
    EXPECT_EQ(energy.text.value("B74"), QString(QChar(0x00A0)) + "Потери активной электроэнергии в линиях");
    EXPECT_EQ(energy.formula.value("D101"), "IF(G42<>0,D74/G42*100,\"\")");
    EXPECT_NEAR(energy.number.value("D101"), energy.number.value("D74") / energy.number.value("G42") * 100, 1e-9);
    EXPECT_EQ(power.formula.value("D94"), "IF(D84<>0,D69/D84*1000,\"\")");
    EXPECT_EQ(power.formula.value("D96"), "IF(G37<>0,D69/G37*100,\"\")");
    // No ССО rows in the demo network: a zero divisor leaves the cell empty, never an error or a zero.
    EXPECT_EQ(energy.formula.value("E99"), "IF(E89<>0,E74/E89*1000,\"\")");
    EXPECT_FALSE(energy.number.contains("E99"));
    EXPECT_EQ(energy.text.value("D91"), "-");  // a whole-feeder row
    EXPECT_TRUE(energy.number.contains("I91"));

    // A feeder with a scheme: the number of its nodes (its substation not counted).
    const int schemed = IntScalar(c, "select first 1 mv.guid from \"LVResults\" mv where exists (select 1 "
                                     "from \"LVNodes\" n where n.\"OwnerGUID\"=mv.guid) order by mv.guid");
    TFiderHH withScheme(schemed, QStringLiteral("Линия со схемой"), 0);
    TLVResultBalancesFider schemeBalances(&withScheme);
    const QString schemeBook = folder.Path("схема.xlsx");
    ASSERT_TRUE(schemeBalances.SaveWorkbook(schemeBook, error)) << error.toStdString();
    EXPECT_EQ(GarbledTexts(schemeBook), QStringList());
    const Sheet schemeSheet = readSheet(schemeBook, 1);
    EXPECT_EQ(schemeSheet.text.value("B83"), QString(QChar(0x00A0)) + "Количество узлов в линии");
    EXPECT_DOUBLE_EQ(schemeSheet.number.value("I83"),
                     Scalar(c, Fmt("select count(*) from \"LVLines\" where \"OwnerGUID\"=%1", schemed)));
    EXPECT_EQ(energy.number.contains("I83"), Scalar(c, Fmt("select count(*) from \"LVNodes\" where "
                                                           "\"OwnerGUID\"=%1",
                                                           guid)) > 0);
    SetCurrentDatabase(nullptr);
}
