// The workbook commands as a script of the department runs them, and what a workbook read back may change in the
// database: only what the user changed in it, never a value someone stored after the workbook was written unless
// the user says so, and nothing at all when a row of it cannot be tied to its object. Every caption the sheets show
// reads back as written.
#include <gtest/gtest.h>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "host/XlsxReader.h"
#include "import/LVZamerData.h"
#include "import/LVZamerSocial.h"
#include "import/ZamerSheets.h"
#include "import/xlsLVZamerWDLL.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
class Trust : public ::testing::Test {
protected:
    void SetUp() override
    {
        path_ = NewDemoDatabase(folder_);
        auto db = OpenDatabase(path_);
        ToznFDConnection& c = *db->GetDefaultConnection();
        sample_ = IntScalar(c, "select max(\"SampleIdent\") from \"LVWTPInfo\"");
        // A substation with measurements of the interval and at least two LV feeders.
        tp_ = IntScalar(c, Fmt("select first 1 ti.guid from \"LVWTPInfo\" ti where "
                               "ti.\"SampleIdent\"=%1 and (select count(*) from \"LVFiders\" "
                               "lf where lf.\"OwnerGUID\"=ti.guid) >= 2 order by 1",
                               sample_));
        TLVZamerData data;
        data.Load(c, db->GetTree()->Find(tp_), sample_, 8760, true);
        for (const TLVZamerRecord& r : data.Records())
            if (r.TypeRec == TLVZamerRecord::Line)
                feeders_ << r.Guid;
        tpName_ = data.Records()[0].Name;
        firstFeeder_ = data.Records().at(1);
    }
    double Stored(const char* table, const char* column, int guid)
    {
        auto db = OpenDatabase(path_);
        return Scalar(*db->GetDefaultConnection(),
                      QStringLiteral("select coalesce(\"%2\", -1) from \"%1\" where guid=%3 and \"SampleIdent\"=%4")
                          .arg(table, column)
                          .arg(guid)
                          .arg(sample_));
    }
    void Update(const QString& sql)
    {
        auto db = OpenDatabase(path_);
        Exec(*db->GetDefaultConnection(), sql);
    }
    QString Write(const QString& name)
    {
        const QString book = folder_.Path(name);
        const AppOutcome written = RunApp({"workbook", "write", "w", "--db", path_, "--node", QString::number(tp_),
                                           "--sample", QString::number(sample_), book});
        EXPECT_EQ(written.code, 0) << written.err.toStdString();
        return book;
    }
    AppOutcome Read(const QString& book, const QStringList& options = {"--save"})
    {
        return RunApp(QStringList{"workbook", "read", "w", "--db", path_, book} + options);
    }
    TempFolder folder_;
    QString path_, tpName_;
    int sample_ = 0, tp_ = 0;
    QList<int> feeders_;
    TLVZamerRecord firstFeeder_;
};
const int kRow = TLVZamerData::FirstRow;  // the substation's row; its feeders follow
}  // namespace

TEST_F(Trust, TheCommandPrintsEachChangeAndStoresOnlyWhenAskedAndAllowed)
{
    const QString book = Write("w.xlsx");
    // Unchanged, the workbook reads back with nothing to store.
    AppOutcome read = Read(book, {});
    EXPECT_EQ(read.code, 0) << read.err.toStdString();
    EXPECT_EQ(read.out.trimmed(), "Изменено строк: 0 (не сохранено: нужен --save)");

    // The user changes a feeder's energy: the row is printed with the old and new value, stored only with --save.
    const TLVZamerRecord& feeder = firstFeeder_;
    ASSERT_EQ(feeder.TypeRec, TLVZamerRecord::Line);
    TypeTextIntoCell(book, 1, GetNameCell(5, kRow + 1), "77.5");
    read = Read(book, {});
    EXPECT_EQ(read.code, 0);
    const QString was = isEmptyFloat(feeder.W_sum) ? QStringLiteral("пусто") : QString::number(feeder.W_sum, 'g', 15);
    EXPECT_TRUE(read.out.contains(Fmt("%1 (%2): W, тыс. кВт·ч: %3 → 77.5", feeder.Name, feeder.Guid, was)))
        << read.out.toStdString();
    EXPECT_NE(Stored("LVWSamples", "Wa", feeder.Guid), 77.5);
    // Without the right of the measurement form nothing is stored.
    Update("update \"UserRights\" set \"Granted\"=0 where \"UserRight\"=12");
    read = Read(book);
    EXPECT_EQ(read.code, 1);
    EXPECT_TRUE(read.err.contains("Нет права на загрузку этой книги (право 12)")) << read.err.toStdString();
    EXPECT_NE(Stored("LVWSamples", "Wa", feeder.Guid), 77.5);
    Update("update \"UserRights\" set \"Granted\"=1 where \"UserRight\"=12");
    read = Read(book);
    EXPECT_EQ(read.code, 0) << read.err.toStdString();
    EXPECT_TRUE(read.out.contains("Сохранено строк: 1")) << read.out.toStdString();
    EXPECT_DOUBLE_EQ(Stored("LVWSamples", "Wa", feeder.Guid), 77.5);

    // A wrong cell: every problem with its cell on standard error, exit 1, nothing stored.
    const QString wrong = Write("wrong.xlsx");
    TypeTextIntoCell(wrong, 1, GetNameCell(5, kRow + 1), "много");
    read = Read(wrong);
    EXPECT_EQ(read.code, 1);
    EXPECT_TRUE(read.err.contains(Fmt("ячейка E%1: «много» — W, тыс. кВт·ч: число не меньше 0", kRow + 1)))
        << read.err.toStdString();
    EXPECT_DOUBLE_EQ(Stored("LVWSamples", "Wa", feeder.Guid), 77.5);

    // The generalised data goes the same way; a workbook of another kind is refused.
    const QString social = folder_.Path("social.xlsx");
    const AppOutcome s = RunApp({"workbook", "write", "social", "--db", path_, "--node", QString::number(tp_),
                                 "--sample", QString::number(sample_), "--level", "5", social});
    ASSERT_EQ(s.code, 0) << s.err.toStdString();
    EXPECT_EQ(RunApp({"workbook", "read", "social", "--db", path_, social}).code, 0);
    const AppOutcome wrongKind = RunApp({"workbook", "read", "tmax", "--db", path_, social});
    EXPECT_EQ(wrongKind.code, 1);
    EXPECT_TRUE(wrongKind.err.contains("— книга обобщенных данных нормативного метода, а не книга замеров Tmax"))
        << wrongKind.err.toStdString();
    EXPECT_EQ(RunApp({"workbook", "read", "w", "--db", path_}).code, 2);  // no file: the usage
}

TEST_F(Trust, AStaleWorkbookNeverOverwritesWhatWasStoredAfterItWasWritten)
{
    ASSERT_GE(feeders_.size(), 2);
    const double ua = Stored("LVWTPInfo", "UA", tp_), ub = Stored("LVWTPInfo", "UB", tp_),
                 kdp = Stored("LVWTPInfo", "Kdp", tp_), feederW = Stored("LVWSamples", "Wa", feeders_[0]);
    ASSERT_NE(ua, 231.5);
    const QString first = Write("first.xlsx"), second = Write("second.xlsx");

    // A colleague stores an edit through the second workbook.
    TypeTextIntoCell(second, 1, GetNameCell(6, kRow), "231.5");
    TypeTextIntoCell(second, 1, GetNameCell(19, kRow), "1.1");
    AppOutcome read = Read(second);
    ASSERT_EQ(read.code, 0) << read.err.toStdString();
    EXPECT_TRUE(read.out.contains(QStringLiteral("Сохранено строк: 1"))) << read.out.toStdString();
    EXPECT_DOUBLE_EQ(Stored("LVWTPInfo", "UA", tp_), 231.5);
    EXPECT_DOUBLE_EQ(Stored("LVWTPInfo", "Kdp", tp_), 1.1);

    // The first workbook, left as written, changes nothing: what it shows of the substation is older, not edited.
    read = Read(first);
    EXPECT_EQ(read.code, 0) << read.err.toStdString();
    EXPECT_FALSE(read.out.contains(QStringLiteral("→"))) << read.out.toStdString();
    EXPECT_DOUBLE_EQ(Stored("LVWTPInfo", "UA", tp_), 231.5);
    EXPECT_DOUBLE_EQ(Stored("LVWTPInfo", "Kdp", tp_), 1.1);

    // Edited in the substation's row and in a feeder's: the substation's row is a conflict, and nothing at all is
    // stored, the feeder's edit included.
    TypeTextIntoCell(first, 1, GetNameCell(7, kRow), "229");
    TypeTextIntoCell(first, 1, GetNameCell(5, kRow + 1), "55.5");
    Update(Fmt("update \"LVWSamples\" set \"Wa\"=999 where guid=%1 and \"SampleIdent\"=%2", feeders_[1], sample_));
    read = Read(first);
    EXPECT_EQ(read.code, 1);
    EXPECT_TRUE(read.err.contains(QStringLiteral("Конфликт: %1 (%2): в базе после записи книги UA, В: %3 → 231.5; "
                                                 "Kдп, о.е.: %4 → 1.1")
                                      .arg(tpName_)
                                      .arg(tp_)
                                      .arg(ShownValue(ua), ShownValue(kdp))))
        << read.err.toStdString();
    EXPECT_TRUE(read.err.contains(QStringLiteral("--overwrite"))) << read.err.toStdString();
    EXPECT_DOUBLE_EQ(Stored("LVWTPInfo", "UA", tp_), 231.5);
    EXPECT_DOUBLE_EQ(Stored("LVWTPInfo", "UB", tp_), ub);
    EXPECT_DOUBLE_EQ(Stored("LVWSamples", "Wa", feeders_[0]), feederW);
    // Without --save the conflict is told all the same.
    EXPECT_EQ(Read(first, {}).code, 1);

    // With --overwrite the user's rows win, and only they change: the feeder the user left keeps what another
    // user stored.
    read = Read(first, {"--save", "--overwrite"});
    ASSERT_EQ(read.code, 0) << read.err.toStdString();
    EXPECT_TRUE(read.out.contains(QStringLiteral("Сохранено строк: 2"))) << read.out.toStdString();
    EXPECT_DOUBLE_EQ(Stored("LVWTPInfo", "UA", tp_), ua);
    EXPECT_DOUBLE_EQ(Stored("LVWTPInfo", "UB", tp_), 229);
    EXPECT_DOUBLE_EQ(Stored("LVWTPInfo", "Kdp", tp_), kdp);
    EXPECT_DOUBLE_EQ(Stored("LVWSamples", "Wa", feeders_[0]), 55.5);
    EXPECT_DOUBLE_EQ(Stored("LVWSamples", "Wa", feeders_[1]), 999);
}

TEST_F(Trust, ARowTypedBelowTheTableOrWithoutItsKeyRefusesTheWorkbook)
{
    const double before = Stored("WLoads", "Wa", tp_);
    const int below = kRow + 1 + static_cast<int>(feeders_.size());
    struct Case {
        std::function<void(const QString&)> edit;
        QString told;
    };
    const Case cases[] = {
        // A row typed under the last one: no object to store it for.
        {[&](const QString& book) { TypeTextIntoCell(book, 1, GetNameCell(5, below), "12"); },
         Fmt("строка %1: нет ключа строки (скрытые ячейки AA, AB пусты или изменены)", below)},
        // The substation's row whose hidden key was cleared, with an edit in it.
        {[&](const QString& book) {
             TypeTextIntoCell(book, 1, GetNameCell(27, kRow), QString());
             TypeTextIntoCell(book, 1, GetNameCell(5, kRow), "333");
         },
         Fmt("строка %1: нет ключа строки", kRow)},
        // A row naming an object that is not in the workbook's table.
        {[&](const QString& book) {
             TypeNumberIntoCell(book, 1, GetNameCell(27, below), 987654);
             TypeNumberIntoCell(book, 1, GetNameCell(28, below), 2);
             TypeTextIntoCell(book, 1, GetNameCell(5, below), "5");
         },
         Fmt("строка %1: нет такого элемента в книге (код 987654)", below)},
    };
    int n = 0;
    for (const Case& c : cases) {
        const QString book = Write(Fmt("w%1.xlsx", ++n));
        TypeTextIntoCell(book, 1, GetNameCell(5, kRow + 1), "44");  // a good edit beside it is not stored either
        c.edit(book);
        const AppOutcome read = Read(book);
        EXPECT_EQ(read.code, 1);
        EXPECT_TRUE(read.err.contains(c.told)) << c.told.toStdString() << "\n" << read.err.toStdString();
        EXPECT_DOUBLE_EQ(Stored("WLoads", "Wa", tp_), before);
        EXPECT_NE(Stored("LVWSamples", "Wa", feeders_[0]), 44);
    }

    // The generalised data: the same rules for its rows.
    auto db = OpenDatabase(path_);
    const TSamplePeriodInfo* period = db->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(sample_);
    ASSERT_TRUE(period);
    TNodeSocialHigh rows;
    rows.Open(*db->GetDefaultConnection(), tp_, 6, *period);  // the substation's LV lines
    ASSERT_GE(rows.Count(), 2);
    const QString social = folder_.Path("social.xlsx");
    QString error;
    ASSERT_TRUE(rows.WriteWorkbook(social, true, true, error)) << error.toStdString();
    const int last = TNodeSocialHigh::FirstRow + rows.Count() - 1;
    TypeTextIntoCell(social, 1, GetNameCell(12, TNodeSocialHigh::FirstRow), "0.4");
    TypeTextIntoCell(social, 1, GetNameCell(3, last), QString());
    TypeTextIntoCell(social, 1, GetNameCell(4, last + 1), "100");
    EXPECT_EQ(rows.ReadWorkbook(social, error), -1);
    for (int row : {last, last + 1})
        EXPECT_TRUE(error.contains(Fmt("строка %1: нет ключа строки (скрытая ячейка C пуста или изменена)", row)))
            << row << "\n"
            << error.toStdString();
    EXPECT_EQ(rows.Pending(), 0);
}

TEST_F(Trust, TheFormListsConflictsAndStoresOnlyWhatTheUserChooses)
{
    ASSERT_GE(feeders_.size(), 2);
    auto db = OpenDatabase(path_);
    SetCurrentDatabase(db.get());
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    TxlsLVZamerWForm form;
    form.SetFileName(folder_.Path("form.xlsx"));
    form.SetParam(tp_);
    ASSERT_TRUE(form.CanOpen());
    form.SelectInterval(sample_);
    ASSERT_TRUE(form.WriteWorkbook());
    // Another user stores the substation's energy; the user edits it and a feeder's in the workbook.
    Update(Fmt("update \"WLoads\" set \"Wa\"=4444 where guid=%1 and \"SampleIdent\"=%2", tp_, sample_));
    TypeTextIntoCell(form.Workbook(), 1, GetNameCell(5, kRow), "1111");
    TypeTextIntoCell(form.Workbook(), 1, GetNameCell(5, kRow + 1), "22.5");

    // "Отмена": nothing is stored, the edits stay in the table.
    dialogs.AnswerMessage(host::mrCancel);
    EXPECT_FALSE(form.Save());
    ASSERT_FALSE(dialogs.Calls().isEmpty());
    const host::ScriptedDialogs::Call question = dialogs.Calls().last();
    EXPECT_EQ(question.buttons, host::Buttons::YesNoCancel);
    EXPECT_TRUE(question.text.contains(Fmt("%1 (%2): в базе после записи книги W, тыс. кВт·ч: ", tpName_, tp_)))
        << question.text.toStdString();
    EXPECT_TRUE(question.text.contains(QStringLiteral("→ 4444")));
    EXPECT_DOUBLE_EQ(Stored("WLoads", "Wa", tp_), 4444);
    EXPECT_NE(Stored("LVWSamples", "Wa", feeders_[0]), 22.5);
    EXPECT_EQ(form.Data().Pending(), 2);

    // "Нет": the substation keeps the other user's value, the feeder's edit is stored.
    dialogs.AnswerMessage(host::mrNo);
    EXPECT_TRUE(form.Save());
    EXPECT_DOUBLE_EQ(Stored("WLoads", "Wa", tp_), 4444);
    EXPECT_DOUBLE_EQ(Stored("LVWSamples", "Wa", feeders_[0]), 22.5);
    EXPECT_DOUBLE_EQ(form.Data().Records()[0].W, 4444);
    EXPECT_EQ(form.Data().Pending(), 0);

    // Once more, and "Да": the user's value wins.
    Update(Fmt("update \"WLoads\" set \"Wa\"=5555 where guid=%1 and \"SampleIdent\"=%2", tp_, sample_));
    TypeTextIntoCell(form.Workbook(), 1, GetNameCell(5, kRow), "1111");
    dialogs.AnswerMessage(host::mrYes);
    EXPECT_TRUE(form.Save());
    EXPECT_DOUBLE_EQ(Stored("WLoads", "Wa", tp_), 1111);
    SetCurrentDatabase(nullptr);
}

TEST_F(Trust, EveryCaptionOfTheSheetsReadsBackAsWritten)
{
    auto db = OpenDatabase(path_);
    ToznFDConnection& c = *db->GetDefaultConnection();
    auto captions = [](const QString& book, const QString& sheetName, int columns) {
        TXlsxWorkbook read;
        QString error;
        EXPECT_TRUE(read.Open(book, error)) << error.toStdString();
        const int sheet = read.SheetIndex(sheetName);
        EXPECT_GE(sheet, 0) << sheetName.toStdString();
        QStringList texts;
        for (int col = 1; col <= columns; ++col)
            texts << read.Cell(sheet, 1, col).toString();
        return texts;
    };
    const QStringList phases = {"A", "B", "C"};
    auto triplet = [&](const QString& name, const QString& unit) {
        QStringList t;
        for (const QString& p : phases)
            t << name + p + ", " + unit;
        return t;
    };
    QString error;
    for (TLVZamerKind kind : {TLVZamerKind::W, TLVZamerKind::Tmax}) {
        const bool energy = kind == TLVZamerKind::W;
        for (bool consumers : {false, true}) {
            TLVZamerData data(kind);
            data.Load(c, db->GetTree()->Find(tp_), sample_, 8760, !consumers, consumers);
            const QString book = folder_.Path(Fmt("captions%1%2.xlsx", energy, consumers));
            ASSERT_TRUE(data.WriteWorkbook(book, error)) << error.toStdString();
            QStringList expected = {"№ п/п", "Наименование"};
            if (energy)
                expected << "Состояние счетчика"
                         << "W на шинах ТП, тыс. кВт·ч"
                         << "W, тыс. кВт·ч" << triplet("U", "В") << triplet("I", "А") << triplet("Imax", "А")
                         << triplet("cosφ", "о.е.") << "T, ч"
                         << "Kдп, о.е."
                         << "Kзап, о.е."
                         << "Kф², о.е."
                         << "Iср, А"
                         << "Pср, кВт"
                         << "τ, о.е."
                         << "Температура, °С"
                         << "Счетчик";
            else
                expected << "Тип ТП"
                         << "Wa, тыс. кВт·ч" << triplet("U", "В") << triplet("I", "А") << triplet("cosφ", "о.е.")
                         << "T, ч"
                         << "Tmax, ч"
                         << "τ, ч"
                         << "Kдп, о.е."
                         << "Kзап, о.е."
                         << "Температура, °С"
                         << "Kзап по τ, о.е."
                         << ""
                         << "Iср, А"
                         << "Pср, кВт"
                         << "τ, о.е."
                         << ""
                         << "Счетчик";
            EXPECT_EQ(captions(book, "ТП и линии", 26), expected);
            if (consumers) {
                const QStringList consumerCaptions =
                    energy ? QStringList{"№ п/п",          "Наименование", "W, тыс. кВт·ч",  "Wr, тыс. квар·ч",
                                         "cosφ, о.е.",     "Pуст, кВт",    "S, тыс. кВ·А·ч", "Wr по cosφ, тыс. квар·ч",
                                         "cosφ по W и Wr", "Счетчик"}
                           : QStringList{"№ п/п",          "Наименование", "Wa, тыс. кВт·ч", "Wr, тыс. квар·ч",
                                         "cosφ, о.е.",     "Pз, кВт",      "S, тыс. кВ·А·ч", "Wr по cosφ, тыс. квар·ч",
                                         "cosφ по W и Wr", "Pи, кВт",      "I, А",           "Вид нагрузки",
                                         "Параметр 1",     "Параметр 2",   "Счетчик"};
                EXPECT_EQ(captions(book, "Абоненты", consumerCaptions.size()), consumerCaptions);
            }
            // The rules that name the columns name them as their captions do.
            const QString xml = QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet1.xml"));
            EXPECT_TRUE(xml.contains(QStringLiteral("error=\"cosφB, о.е.: число больше 0 и не больше 1\"")));
            EXPECT_EQ(GarbledTexts(book), QStringList());
        }
    }

    const TSamplePeriodInfo* period = db->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(sample_);
    TNodeSocialHigh rows;
    rows.Open(c, tp_, 5, *period);
    const QString social = folder_.Path("social.xlsx");
    ASSERT_TRUE(rows.WriteWorkbook(social, true, true, error)) << error.toStdString();
    QStringList expected = {"№ п/п",
                            "Наименование",
                            "Код",
                            "Трансформация в сеть 0,4 кВ, тыс. кВт.ч",
                            "Полезный отпуск с шин, тыс. кВт.ч",
                            "Отпуск активной электроэнергии, тыс. кВт.ч",
                            "Расчетный период, ч",
                            "Номинальное напряжение, В",
                            "Коэффициент мощности cosφ",
                            "Сечение головного участка, мм²",
                            "Количество линий, шт.",
                            "Доля энергии, отпускаемой населению, о.е.",
                            "Доля электроэнергии на расстоянии 1-2 пролета от ТП, о.е.",
                            "Коэффициент заполнения графика, о.е."};
    const QStringList materials = {"алюминиевые", "стальные", "медные"};
    for (const QString& m : materials)
        expected << "Магистраль, " + m + ", км";
    expected << "Магистраль, эквивалентная, км";
    for (const QString& kind :
         {QStringLiteral("Двух- и трехфазные ответвления"), QStringLiteral("Однофазные ответвления")}) {
        for (const QString& m : materials)
            expected << kind + ", " + m + ", км"
                     << "Ввода в здания, " + m + ", км" << kind + " с вводами, " + m + ", км";
        const bool three = kind.startsWith(QStringLiteral("Двух"));
        expected << kind + ", эквивалентная, км"
                 << (three ? QStringLiteral("Ввода в здания от двух- и трехфазных, эквивалентная, км")
                           : QStringLiteral("Ввода в здания от однофазных, эквивалентная, км"))
                 << (three ? QStringLiteral("Двух- и трехфазные с вводами, эквивалентная, км")
                           : QStringLiteral("Однофазные с вводами, эквивалентная, км"));
    }
    expected << "Суммарная длина линий, км"
             << "Средняя длина линий, км"
             << "Эквивалентная длина линии, км"
             << "kU, о.е."
             << "k0.4, о.е."
             << "Потери активной электроэнергии, тыс. кВт·ч"
             << "Потери активной электроэнергии, %"
             << "Удельные потери электроэнергии, тыс. кВт·ч/км"
             << "Плотность тока, А/мм²";
    EXPECT_EQ(captions(social, "ТП", 51), expected);
    EXPECT_EQ(GarbledTexts(social), QStringList());
}
