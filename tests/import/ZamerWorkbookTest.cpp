#include <gtest/gtest.h>

#include <QFile>
#include <QPushButton>
#include <QTableWidget>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "host/SamplesTreeBox.h"
#include "host/Tree.h"
#include "host/XlsxReader.h"
#include "import/LVZamerData.h"
#include "import/ZamerSheets.h"
#include "import/xlsLVZamerTmaxDLL.h"
#include "import/xlsLVZamerWDLL.h"
#include "support/TestSupport.h"

using namespace testing_support;

TEST(ZamerSwitches, OneAlwaysStaysOnAndLinesExcludeConsumers)
{
    std::array<bool, 3> s{true, true, false};
    EXPECT_TRUE(ApplyZamerSwitch(s, 2));
    EXPECT_EQ(s, (std::array<bool, 3>{true, false, true}));
    EXPECT_TRUE(ApplyZamerSwitch(s, 1));
    EXPECT_EQ(s, (std::array<bool, 3>{true, true, false}));
    s = {false, false, true};
    EXPECT_FALSE(ApplyZamerSwitch(s, 2));  // the only one on stays on
    EXPECT_EQ(s, (std::array<bool, 3>{false, false, true}));
    EXPECT_TRUE(ApplyZamerSwitch(s, 0));
    EXPECT_EQ(s, (std::array<bool, 3>{true, false, true}));
    EXPECT_FALSE(ApplyZamerSwitch(s, 3));
}

namespace {
class Zamer : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        sample_ = IntScalar(*c_, "select max(\"SampleIdent\") from \"LVWTPInfo\"");
        tp_ = IntScalar(*c_, Fmt("select first 1 ti.guid from \"LVWTPInfo\" ti where "
                                 "ti.\"SampleIdent\"=%1 and exists (select 1 from "
                                 "\"LVFiders\" lf where lf.\"OwnerGUID\"=ti.guid and "
                                 "exists (select 1 from \"LVFiders\" l2 where "
                                 "l2.\"OwnerGUID\"=ti.guid and l2.guid<>lf.guid)) order by 1",
                                 sample_));
    }
    // A stored value of an object in an interval table; -1 for NULL.
    double Stored(const char* table, const char* column, int guid, int sample)
    {
        return Scalar(*c_,
                      QStringLiteral("select coalesce(\"%2\", -1) from \"%1\" where guid=%3 and \"SampleIdent\"=%4")
                          .arg(table, column)
                          .arg(guid)
                          .arg(sample));
    }
    int sample_ = 0, tp_ = 0;
};
}  // namespace

TEST_F(Zamer, WorkbookRoundTripMarksAndStoresOnlyChangedRows)
{
    TLVZamerData data;
    data.Load(*c_, db_->GetTree()->Find(tp_), sample_, 8760, true);
    auto& rows = data.Records();
    ASSERT_GE(rows.size(), 3u);  // the substation and at least two feeders
    EXPECT_EQ(rows[0].TypeRec, TLVZamerRecord::TP);
    EXPECT_EQ(rows[1].TypeRec, TLVZamerRecord::Line);
    EXPECT_DOUBLE_EQ(rows[0].W, Stored("WLoads", "Wa", tp_, sample_));
    EXPECT_DOUBLE_EQ(rows[0].U[1], 231);
    EXPECT_TRUE(rows[0].Phases[0]);

    const QString original = folder_.Path("w.xlsx");
    QString error;
    ASSERT_TRUE(data.WriteWorkbook(original, error)) << error.toStdString();
    const QString sheet = QString::fromUtf8(ReadZipEntry(original, "xl/worksheets/sheet1.xml"));
    EXPECT_TRUE(sheet.contains("<f>IF(AND(ISNUMBER(I3),ISNUMBER(J3),ISNUMBER(K3)),(I3+J3+K3)/3,\"\")</f>") ||
                sheet.contains("<f>IF(AND(ISNUMBER(I3),ISNUMBER(J3),ISNUMBER(K3)),(I3+J3+K3)/3,&quot;&quot;)</f>"));
    // The computed columns open with their heads: the mean current, the mean power and the relative τ.
    EXPECT_TRUE(sheet.contains("<f>1000000/(IF(N(R3)&gt;=1,R3,8760)*1000)*N(E3)</f>"));
    EXPECT_TRUE(sheet.contains("<f>(1+2*IF(ISNUMBER(U3),1/(3*U3-2),IF(ISNUMBER(T3),T3,0.5)))*"));
    EXPECT_TRUE(sheet.contains("hidden=\"1\""));
    EXPECT_EQ(data.ReadWorkbook(original, error), 0);  // nothing changed yet

    // The user's edits, typed into the workbook.
    const QString changed = folder_.Path("w2.xlsx");
    ASSERT_TRUE(data.WriteWorkbook(changed, error));
    const int first = TLVZamerData::FirstRow;
    TypeTextIntoCell(changed, 1, GetNameCell(5, first + 1), "123.4");
    TypeTextIntoCell(changed, 1, GetNameCell(21, first), "1.25");
    TypeTextIntoCell(changed, 1, GetNameCell(20, first), "0.7");  // both given: the form factor decides
    // A feeder whose stored value differs from the table but which the user did not touch.
    const int untouched = rows[2].Guid;
    Exec(*c_, Fmt("update or insert into \"LVWSamples\" (\"SampleIdent\", guid, \"Wa\") values (%1, %2, 999) "
                  "matching (\"SampleIdent\", guid)",
                  sample_, untouched));
    EXPECT_EQ(data.ReadWorkbook(changed, error), 2);
    EXPECT_TRUE(rows[0].EditRec);
    EXPECT_TRUE(rows[1].EditRec);
    EXPECT_FALSE(rows[2].EditRec);
    EXPECT_DOUBLE_EQ(rows[0].Kzap, 0.5);  // not read beside a form factor, and the user is told so
    ASSERT_EQ(data.ReadNotes().size(), 1);
    EXPECT_EQ(data.ReadNotes()[0], "ячейка T3: Kзап = 0.7 не принят — форма графика задана Kф² (ячейка U3)");
    EXPECT_EQ(data.Save(*c_, TConflictChoice::Refuse).Written, 2);
    auto stored = [&](const char* table, const char* column, int guid) { return Stored(table, column, guid, sample_); };
    EXPECT_DOUBLE_EQ(stored("LVWSamples", "Wa", rows[1].Guid), 123.4);
    EXPECT_DOUBLE_EQ(stored("WLoads", "sqrKfg", tp_), 1.25);
    EXPECT_DOUBLE_EQ(stored("WLoads", "Kzap", tp_), 0.5);
    EXPECT_DOUBLE_EQ(stored("LVWSamples", "Wa", untouched), 999);  // never written
    EXPECT_FALSE(rows[0].EditRec);

    // Another interval: hours equal to the old interval's follow, others stay.
    rows[1].T = 100;
    data.ChangeInterval(sample_ + 1, 744);
    EXPECT_DOUBLE_EQ(rows[0].T, 744);
    EXPECT_DOUBLE_EQ(rows[1].T, 100);
    EXPECT_TRUE(rows[0].EditRec);  // it carries values into the new interval

    // Hours out of a year are refused with their cell, and nothing of the workbook is taken.
    TLVZamerData wrong = data;
    wrong.Records()[1].T = 1e12;
    wrong.Records()[0].W = 77;
    const QString hours = folder_.Path("w3.xlsx");
    ASSERT_TRUE(wrong.WriteWorkbook(hours, error));
    const double t = rows[1].T, w = rows[0].W;
    EXPECT_EQ(data.ReadWorkbook(hours, error), -1);
    EXPECT_TRUE(error.contains(
        Fmt("ячейка R%1: «1000000000000» — T, ч: целое число часов от 1 до 8784", TLVZamerData::FirstRow + 1)))
        << error.toStdString();
    EXPECT_DOUBLE_EQ(rows[1].T, t);
    EXPECT_DOUBLE_EQ(rows[0].W, w);

    TXlsxWorkbook book;
    EXPECT_TRUE(book.Open(changed, error));
    EXPECT_EQ(book.SheetNames(), QStringList({"ТП и линии", "Параметры книги"}));
    // A workbook written for another interval is not read into this one.
    TLVZamerData another;
    another.Load(*c_, db_->GetTree()->Find(tp_), sample_ - 1, 744, true);
    const QString otherInterval = folder_.Path("w4.xlsx");
    ASSERT_TRUE(another.WriteWorkbook(otherInterval, error));
    EXPECT_EQ(data.ReadWorkbook(otherInterval, error), -1);
    EXPECT_TRUE(error.contains("записана для другого интервала")) << error.toStdString();
    EXPECT_EQ(book.Cell(0, 1, 2).toString(), "Наименование");
    EXPECT_EQ(book.Cell(0, 2, 25).toDouble(), 25);
    QFile text(folder_.Path("not.xlsx"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("plain text");
    text.close();
    EXPECT_EQ(data.ReadWorkbook(text.fileName(), error), -1);
    EXPECT_FALSE(error.isEmpty());
}

TEST_F(Zamer, PeakLoadWorkbookKeepsItsOwnTables)
{
    const int year = IntScalar(*c_, "select max(\"SampleIdent\") from \"LVPSamples\"");
    TLVZamerData data(TLVZamerKind::Tmax);
    data.Load(*c_, db_->GetTree()->Find(tp_), year, 8760, true);
    auto& rows = data.Records();
    ASSERT_GE(rows.size(), 3u);
    EXPECT_EQ(data.ColumnCaption(3), "Тип ТП");
    EXPECT_EQ(data.ColumnCaption(15), "Tmax, ч");
    EXPECT_TRUE(rows[0].TypeTp.contains('-')) << rows[0].TypeTp.toStdString();  // type and rated power
    EXPECT_TRUE(rows[1].TypeTp.isEmpty());
    const double stored = Scalar(*c_, Fmt("select coalesce(\"Wa\", -1) from \"LVPSamples\" where guid=%1 "
                                          "and \"SampleIdent\"=%2",
                                          rows[1].Guid, year));
    ASSERT_GE(stored, 0);
    EXPECT_DOUBLE_EQ(rows[1].W_sum, stored);
    EXPECT_TRUE(rows[1].inBase);

    QString error;
    const QString book = folder_.Path("tmax.xlsx");
    ASSERT_TRUE(data.WriteWorkbook(book, error)) << error.toStdString();
    TypeTextIntoCell(book, 1, GetNameCell(16, TLVZamerData::FirstRow), "2500");
    TypeTextIntoCell(book, 1, GetNameCell(15, TLVZamerData::FirstRow + 1), "4100");
    const QString sheet = QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet1.xml"));
    EXPECT_TRUE(sheet.contains("(sqrt(1/9+8/3*P3/IF(N(N3)&gt;=1,N3,8760))-1/3)*3/4"));
    EXPECT_TRUE(sheet.contains("<f>(1+2*IF(ISNUMBER(P3),T3,IF(ISNUMBER(R3),R3,IF(ISNUMBER(O3),O3/"));
    TXlsxWorkbook written;
    ASSERT_TRUE(written.Open(book, error));
    EXPECT_EQ(written.Cell(0, 3, 3).toString(), rows[0].TypeTp);
    EXPECT_EQ(data.ReadWorkbook(book, error), 2);
    EXPECT_EQ(data.Save(*c_, TConflictChoice::Refuse).Written, 2);
    EXPECT_DOUBLE_EQ(Stored("LVPTPInfo", "Tau", tp_, year), 2500);
    EXPECT_DOUBLE_EQ(Stored("LVPSamples", "Tmax", rows[1].Guid, year), 4100);
    // The energy tables are not touched by the peak-load workbook.
    EXPECT_EQ(Scalar(*c_, Fmt("select count(*) from \"WLoads\" where guid=%1 and \"Kzap\" is null", tp_)), 0);
}

TEST_F(Zamer, ConsumersHaveASheetOfTheirOwn)
{
    const int feeder = IntScalar(*c_, Fmt("select first 1 guid from \"LVFiders\" where \"OwnerGUID\"=%1 "
                                          "order by guid",
                                          tp_));
    // Only the consumers of this test: the demo's own of the substation go first.
    Exec(*c_, Fmt("delete from \"LVConsumers\" where \"SampleIdent\"=%1 and \"OwnerGUID\" in "
                  "(select guid from \"LVFiders\" where \"OwnerGUID\"=%2)",
                  sample_, tp_));
    for (int k = 1; k <= 2; ++k)
        Exec(*c_, Fmt("insert into \"LVConsumers\" (\"SampleIdent\", guid, \"Name\", \"OwnerGUID\", "
                      "\"Pust\", \"flagPu\") values (%1, %2, 'Дом %3', %4, 15, 1)",
                      sample_, 800000 + k, k, feeder));
    Exec(*c_, Fmt("insert into \"LVWLoads\" (\"SampleIdent\", guid, \"Wa\", \"Wr\", \"CosFi\") values "
                  "(%1, 800001, 12.5, 4, 0.95)",
                  sample_));
    TLVZamerData data;
    data.Load(*c_, db_->GetTree()->Find(tp_), sample_, 8760, false, true);
    EXPECT_EQ(data.Records().size(), 1u);  // substations only beside consumers
    ASSERT_EQ(data.Consumers().size(), 2u);
    EXPECT_DOUBLE_EQ(data.Consumers()[0].W_sum, 12.5);
    EXPECT_TRUE(data.Consumers()[0].inBase);
    EXPECT_FALSE(data.Consumers()[1].inBase);

    QString error;
    const QString book = folder_.Path("consumers.xlsx");
    ASSERT_TRUE(data.WriteWorkbook(book, error));
    TypeTextIntoCell(book, 2, GetNameCell(3, TLVZamerData::FirstRow + 1), "7");
    TypeTextIntoCell(book, 2, GetNameCell(6, TLVZamerData::FirstRow + 1), "20");
    TXlsxWorkbook read;
    ASSERT_TRUE(read.Open(book, error));
    EXPECT_EQ(read.SheetNames(), QStringList({"ТП и линии", "Абоненты", "Параметры книги"}));
    const QString sheet = QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet2.xml"));
    EXPECT_TRUE(sheet.contains("<f>SQRT(N(C3)^2+N(D3)^2)</f>"));
    EXPECT_TRUE(sheet.contains("<f>COS(ATAN("));
    EXPECT_EQ(data.ReadWorkbook(book, error), 1);
    EXPECT_EQ(data.Save(*c_, TConflictChoice::Refuse).Written, 1);
    EXPECT_DOUBLE_EQ(Stored("LVWLoads", "Wa", 800002, sample_), 7);
    EXPECT_DOUBLE_EQ(Stored("LVConsumers", "Pust", 800002, sample_), 20);
    EXPECT_DOUBLE_EQ(Stored("LVWLoads", "Wa", 800001, sample_),
                     12.5);  // untouched
}

TEST_F(Zamer, MetersStatesAndWrongCellsAreNeitherLostNorTaken)
{
    TLVZamerData data;
    data.Load(*c_, db_->GetTree()->Find(tp_), sample_, 8760, true);
    ASSERT_GE(data.Records().size(), 2u);
    QString error;
    // The user names the substation's meter and its state, and a feeder's meter.
    const QString book = folder_.Path("meters.xlsx");
    ASSERT_TRUE(data.WriteWorkbook(book, error)) << error.toStdString();
    const int first = TLVZamerData::FirstRow;
    TypeTextIntoCell(book, 1, GetNameCell(TLVZamerData::MeterColumn, first), "СЕ 301 № 0125");
    TypeTextIntoCell(book, 1, GetNameCell(3, first), "истек срок поверки");
    TypeTextIntoCell(book, 1, GetNameCell(TLVZamerData::MeterColumn, first + 1), "Меркурий 230");
    TXlsxWorkbook shown;
    ASSERT_TRUE(shown.Open(book, error));
    EXPECT_EQ(shown.Cell(0, TLVZamerData::FirstRow, 3).toString(), "истек срок поверки");
    EXPECT_EQ(shown.Cell(0, 1, TLVZamerData::MeterColumn).toString(), "Счетчик");
    EXPECT_EQ(data.ReadWorkbook(book, error), 2) << error.toStdString();
    EXPECT_EQ(data.Save(*c_, TConflictChoice::Refuse).Written, 2);
    EXPECT_EQ(Scalar(*c_, Fmt("select \"State\" from \"Meters\" where guid=%1", tp_)), 3);
    TLVZamerData again;
    again.Load(*c_, db_->GetTree()->Find(tp_), sample_, 8760, true);
    EXPECT_EQ(again.Records()[0].MeterName, "СЕ 301 № 0125");
    EXPECT_EQ(again.Records()[0].ST, 3);
    EXPECT_EQ(again.Records()[1].MeterName, "Меркурий 230");

    // A text typed into a number cell, an unknown state and a meter name too long for the register: the
    // workbook is refused with each cell named, and nothing of it is taken.
    const QString typed = folder_.Path("typed.xlsx");
    ASSERT_TRUE(again.WriteWorkbook(typed, error));
    const int row = TLVZamerData::FirstRow;
    TypeTextIntoCell(typed, 1, GetNameCell(5, row), "сто двадцать");
    TypeTextIntoCell(typed, 1, GetNameCell(3, row), "сломан");
    TypeTextIntoCell(typed, 1, GetNameCell(TLVZamerData::MeterColumn, row + 1), QString(41, QLatin1Char('x')));
    TypeTextIntoCell(typed, 1, GetNameCell(6, row + 1), "1e999");
    const double w = again.Records()[0].W;
    EXPECT_EQ(again.ReadWorkbook(typed, error), -1);
    for (const QString& line : {Fmt("ячейка E%1: «сто двадцать» — W, тыс. кВт·ч: число не меньше 0", row),
                                Fmt("ячейка C%1: «сломан» — Состояние счетчика: одно из «не указано», «исправен»", row),
                                Fmt("ячейка Z%1: «%2» — Счетчик: не более 40 знаков", row + 1, QString(41, 'x')),
                                Fmt("ячейка F%1: «1e999» — UA, В: число от 0 до 300", row + 1)})
        EXPECT_TRUE(error.contains(line)) << line.toStdString() << "\n" << error.toStdString();
    EXPECT_DOUBLE_EQ(again.Records()[0].W, w);
    EXPECT_EQ(again.Pending(), 0);
}

TEST_F(Zamer, PeakLoadConsumersShowAndKeepEveryColumn)
{
    const int year = IntScalar(*c_, "select max(\"SampleIdent\") from \"LVPSamples\"");
    const int feeder =
        IntScalar(*c_, Fmt("select first 1 guid from \"LVFiders\" where \"OwnerGUID\"=%1 order by guid", tp_));
    Exec(*c_, Fmt("delete from \"LVConsumers\" where \"SampleIdent\"=%1", year));
    Exec(*c_, Fmt("insert into \"LVConsumers\" (\"SampleIdent\", guid, \"Name\", \"OwnerGUID\") values "
                  "(%1, 810001, 'Школа', %2)",
                  year, feeder));
    const int kind = IntScalar(*c_, "select max(\"Ident\") from \"TypeLoads\"");
    ASSERT_GT(kind, 0);
    TLVZamerData data(TLVZamerKind::Tmax);
    data.Load(*c_, db_->GetTree()->Find(tp_), year, 8760, false, true);
    ASSERT_EQ(data.Consumers().size(), 1u);
    const QString book = folder_.Path("consumers.xlsx");
    QString error;
    ASSERT_TRUE(data.WriteWorkbook(book, error)) << error.toStdString();
    const int row = TLVZamerData::FirstRow;
    for (const auto& [column, text] : std::initializer_list<std::pair<int, QString>>{{6, "30"},
                                                                                     {10, "5"},
                                                                                     {11, "12"},
                                                                                     {13, "-3.5"},
                                                                                     {14, "7"},
                                                                                     {12, data.LoadTypes().value(kind)},
                                                                                     {15, "ЦЭ6803"}})
        TypeTextIntoCell(book, 2, GetNameCell(column, row), text);
    // Only the keys are hidden (the captions: WorkbookTrustTest).
    TXlsxWorkbook shown;
    ASSERT_TRUE(shown.Open(book, error));
    const int sheet = shown.SheetIndex("Абоненты");
    const QString xml = QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet2.xml"));
    EXPECT_EQ(xml.count("hidden=\"1\""), 1);
    EXPECT_TRUE(xml.contains("<col min=\"16\" max=\"19\"")) << xml.left(2000).toStdString();
    EXPECT_EQ(shown.Cell(sheet, TLVZamerData::FirstRow, 12).toString(), data.LoadTypes().value(kind));

    EXPECT_EQ(data.ReadWorkbook(book, error), 1) << error.toStdString();
    EXPECT_EQ(data.Save(*c_, TConflictChoice::Refuse).Written, 1);
    auto stored = [&](const char* column) { return Stored("LVPLoads", column, 810001, year); };
    EXPECT_DOUBLE_EQ(stored("Pi"), 5);
    EXPECT_DOUBLE_EQ(stored("I"), 12);
    EXPECT_DOUBLE_EQ(Scalar(*c_, QStringLiteral("select \"Param1\" from \"LVPLoads\" where guid=810001")), -3.5);
    EXPECT_DOUBLE_EQ(stored("Param2"), 7);
    EXPECT_DOUBLE_EQ(stored("LoadType"), kind);
    TLVZamerData again(TLVZamerKind::Tmax);
    again.Load(*c_, db_->GetTree()->Find(tp_), year, 8760, false, true);
    EXPECT_EQ(again.Consumers()[0].LoadType, kind);
    EXPECT_EQ(again.Consumers()[0].MeterName, "ЦЭ6803");

    // A load kind that the catalogue does not know is refused with its cell.
    TypeTextIntoCell(book, 2, GetNameCell(12, TLVZamerData::FirstRow), "Кафе");
    EXPECT_EQ(again.ReadWorkbook(book, error), -1);
    EXPECT_TRUE(error.contains(QStringLiteral("ячейка L3: «Кафе» — Вид нагрузки: один из справочника")))
        << error.toStdString();
}

TEST_F(Zamer, FormAsksBeforeEditsAreLostSavesUnlessReadOnlyAndCarriesRowsToAnotherInterval)
{
    SetCurrentDatabase(db_.get());
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    TxlsLVZamerWForm form;
    form.SetFileName(folder_.Path("form.xlsx"));
    form.SetParam(tp_);
    ASSERT_TRUE(form.CanOpen());
    form.SelectInterval(sample_);
    EXPECT_DOUBLE_EQ(form.Data().Records()[0].W, Stored("WLoads", "Wa", tp_, sample_));  // the interval's own data
    ASSERT_GE(form.Data().Records().size(), 3u);
    EXPECT_EQ(form.findChild<QTableWidget*>("GridRows")->rowCount(), static_cast<int>(form.Data().Records().size()));
    auto button = [&](const char* name) { return form.findChild<QPushButton*>(name); };
    // Reading, saving and a new interval wait for the workbook.
    EXPECT_FALSE(button("itemSave")->isEnabled());
    EXPECT_FALSE(button("btnRead")->isEnabled());
    EXPECT_FALSE(button("itemNewDate")->isEnabled());
    ASSERT_TRUE(form.WriteWorkbook());
    EXPECT_TRUE(button("itemSave")->isEnabled());
    EXPECT_TRUE(button("itemNewDate")->isEnabled());
    ASSERT_TRUE(form.ReadWorkbook());
    EXPECT_EQ(form.Log().last().value, 0);

    // Nothing changed: "Сохранить" says so instead of saying nothing.
    EXPECT_FALSE(form.Save());
    EXPECT_TRUE(dialogs.Texts().last().startsWith("Нет изменений для сохранения"));

    // The user saves an edit in the spreadsheet and clicks a switch: the question comes first, and "No" keeps
    // the table, the switches and the workbook as they are.
    TypeTextIntoCell(form.Workbook(), 1, GetNameCell(5, TLVZamerData::FirstRow), "4321");
    EXPECT_TRUE(form.HasUnsavedEdits());
    dialogs.AnswerMessage(host::mrNo);
    form.ClickSwitch(1);
    EXPECT_TRUE(dialogs.Texts().last().contains("правки в книге")) << dialogs.Texts().last().toStdString();
    EXPECT_EQ(form.Switches(), (std::array<bool, 3>{true, true, false}));
    dialogs.AnswerMessage(host::mrNo);
    const int other = IntScalar(*c_, Fmt("select min(\"Ident\") from \"SamplesDates\" where "
                                         "\"Ident\"<>%1",
                                         sample_));
    form.SelectInterval(other);
    EXPECT_EQ(form.Interval(), sample_);
    bool closed = false;
    QObject::connect(&form, &QDialog::rejected, [&] { closed = true; });
    dialogs.AnswerMessage(host::mrNo);
    form.reject();
    EXPECT_FALSE(closed);  // declined: the form stays with the edits

    // "Сохранить" reads the edited workbook first and stores it, unless the database is only read.
    form.SetReadOnly(true);
    EXPECT_FALSE(form.Save());
    EXPECT_NE(Stored("WLoads", "Wa", tp_, sample_), 4321);
    form.SetReadOnly(false);
    EXPECT_TRUE(form.Save());
    EXPECT_DOUBLE_EQ(Stored("WLoads", "Wa", tp_, sample_), 4321);
    EXPECT_FALSE(form.HasUnsavedEdits());

    // Nothing left to lose: the switches answer at once, and one of them always stays on.
    form.ClickSwitch(1);  // lines off: substations only
    EXPECT_EQ(form.Switches(), (std::array<bool, 3>{true, false, false}));
    EXPECT_EQ(form.Data().Records().size(), 1u);
    form.ClickSwitch(0);
    EXPECT_EQ(form.Switches(), (std::array<bool, 3>{true, false, false}));

    // A new interval: created on request, and values stored there are replaced only after a question.
    const int created = form.CreateInterval(2031, 3);
    ASSERT_GT(created, 0);
    EXPECT_EQ(Scalar(*c_, Fmt("select \"Period\" from \"SamplesDates\" where \"Ident\"=%1", created)), 4);
    EXPECT_EQ(form.CreateInterval(2031, 3), created);  // the same month is not made twice
    ASSERT_TRUE(form.MoveToInterval(created));         // nothing stored there: no question
    EXPECT_FALSE(form.MoveToInterval(created));        // already there
    EXPECT_EQ(form.Interval(), created);
    EXPECT_DOUBLE_EQ(form.Data().Records()[0].W, 4321);  // the row keeps its values and is stored there
    EXPECT_TRUE(form.Save());
    EXPECT_DOUBLE_EQ(Stored("WLoads", "Wa", tp_, created), 4321);
    EXPECT_DOUBLE_EQ(Stored("WLoads", "Wa", tp_, sample_), 4321);
    dialogs.Clear();
    dialogs.AnswerMessage(host::mrNo);
    EXPECT_FALSE(form.MoveToInterval(sample_));
    ASSERT_EQ(dialogs.Texts().size(), 1);
    EXPECT_TRUE(dialogs.Texts()[0].startsWith(Fmt("В интервале «%1» уже есть данные по",
                                                  db_->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(sample_)->Name)))
        << dialogs.Texts()[0].toStdString();
    EXPECT_EQ(form.Interval(), created);

    // A reader of the database sees the buttons that change it disabled.
    form.SetReadOnly(true);
    form.WriteWorkbook();
    EXPECT_FALSE(button("itemSave")->isEnabled());
    EXPECT_FALSE(button("itemNewDate")->isEnabled());
    EXPECT_TRUE(button("btnRead")->isEnabled());
    SetCurrentDatabase(nullptr);
}

TEST_F(Zamer, FormOpensOnTheLatestIntervalWithMeasurementsChosenFromATreeOfYears)
{
    SetCurrentDatabase(db_.get());
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    const char* latestWithW = "select first 1 sd.\"Ident\" from \"SamplesDates\" sd where exists (select 1 from "
                              "\"WLoads\" w where w.\"SampleIdent\"=sd.\"Ident\") or exists (select 1 from "
                              "\"LVWSamples\" s where s.\"SampleIdent\"=sd.\"Ident\") order by sd.\"SampleDate1\" "
                              "desc, sd.\"SampleDate2\" desc";
    const int expected = IntScalar(*c_, latestWithW);
    ASSERT_GT(expected, 0);
    {
        TxlsLVZamerWForm form;
        form.SetParam(tp_);
        ASSERT_TRUE(form.CanOpen());
        EXPECT_EQ(form.Interval(), expected);
        auto* box = form.findChild<TSamplesTreeBox*>("ComboSamplesDates");
        ASSERT_TRUE(box);
        EXPECT_EQ(box->CurrentIdent(), expected);
        // Years at the top with their months under them, not one flat list.
        const auto shape = box->Shape();
        const int years = IntScalar(*c_, "select count(*) from \"SamplesDates\" where \"Period\"=1");
        EXPECT_EQ(std::count_if(shape.begin(), shape.end(), [](const auto& y) { return !y.second.isEmpty(); }), years);
    }
    // A measurement typed for a later month moves the default there; intervals without one do not count.
    const int later = IntScalar(*c_, "select max(\"Ident\") from \"SamplesDates\"") + 1;
    Exec(*c_, Fmt("insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", "
                  "\"SampleDate2\") values (%1, 'Март 2030', 4, '2030-03-01', '2030-04-01')",
                  later));
    Exec(*c_, Fmt("insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", "
                  "\"SampleDate2\") values (%1, 'Апрель 2030', 4, '2030-04-01', '2030-05-01')",
                  later + 1));
    Exec(*c_, Fmt("insert into \"LVWSamples\" (\"SampleIdent\", guid, \"Wa\") values (%1, %2, 5)", later,
                  IntScalar(*c_, Fmt("select min(guid) from \"LVFiders\" where \"OwnerGUID\"=%1", tp_))));
    db_->GetSamplePeriods()->Load(*c_);
    TxlsLVZamerWForm w;
    w.SetParam(tp_);
    ASSERT_TRUE(w.CanOpen());
    EXPECT_EQ(w.Interval(), later);
    TxlsLVZamerTmaxForm tmax;  // the maximum-load measurements are where they were
    tmax.SetParam(tp_);
    ASSERT_TRUE(tmax.CanOpen());
    EXPECT_EQ(tmax.Interval(), IntScalar(*c_, "select first 1 sd.\"Ident\" from \"SamplesDates\" sd "
                                              "where exists (select 1 from \"LVPSamples\" p where "
                                              "p.\"SampleIdent\"=sd.\"Ident\") order by "
                                              "sd.\"SampleDate1\" desc, sd.\"SampleDate2\" desc"));
}
