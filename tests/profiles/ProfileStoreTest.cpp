// Profiles into and out of a real database: the command line on a blank database with a scheme loaded from a
// workbook, refusals that leave the database as it was, replacing, workbooks, and an older database upgraded.
#include "host/profiles/ProfileStore.h"

#include <gtest/gtest.h>

#include <QFile>
#include <xlsxwriter.h>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/scheme/SchemeBookFile.h"
#include "scheme/SchemeTestBooks.h"
#include "support/TestSupport.h"

using namespace testing_support;
using namespace profiles;

namespace {
// A blank database with the scheme of the scheme tests (Л-1 with "Дом 1" at node 4 and "Магазин" at node 5,
// Л-2 without consumers) under a new substation; returns the substation's key.
QString BlankWithScheme(const TempFolder& folder, const QString& db)
{
    EXPECT_EQ(RunApp({"init-db", db}).code, 0);
    const AppOutcome added = RunApp({"substation", "add", "--db", db, "--name", "ТП-7"});
    const QString node = added.out.section(' ', -1).trimmed();
    QString error;
    const QString book = folder.Path("scheme.xlsx");
    EXPECT_TRUE(scheme::WriteSchemeBook(book, scheme_tests::GoodBook().book, error));
    EXPECT_EQ(RunApp({"scheme", "import", book, "--db", db, "--node", node}).code, 0);
    return node;
}

// A year of hourly lines 2025 for "Л-1" node "4" (value 1 + h % 3) and the head meter (value 5).
void WriteYear(const QString& file, bool withBadLine)
{
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("Линия;Узел;Дата и время;кВт·ч\n");
    QDateTime t(QDate(2025, 1, 1), QTime(0, 0), Qt::UTC);
    for (int h = 0; h < 8760; ++h, t = t.addSecs(3600)) {
        const QByteArray time = t.toString("dd.MM.yyyy HH:mm").toUtf8();
        f.write("Л-1;4;" + time + ";" + QByteArray::number(1 + h % 3) + "\n");
        f.write("Л-1;ТП;" + time + ";" + (withBadLine && h == 100 ? QByteArray("-5") : QByteArray("5,000")) + "\n");
    }
}

int Rows(TfdbDatabase& db) { return IntScalar(*db.GetDefaultConnection(), R"(select count(*) from "LVProfiles")"); }
}  // namespace

TEST(ProfileStore, ABlankDatabaseTakesAYearOfProfilesAfterItsSchemeAllOrNothing)
{
    TempFolder folder;
    const QString db = folder.Path("blank.fdb");
    const QString node = BlankWithScheme(folder, db);
    const QString bad = folder.Path("bad.csv"), good = folder.Path("good.csv");
    WriteYear(bad, true);
    WriteYear(good, false);

    // One negative value refuses the whole file, and nothing is stored (not even the interval it would make).
    const AppOutcome refused = RunApp({"profiles", "import", bad, "--db", db, "--node", node});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.err, "строка 203: отрицательная энергия -5\n"
                           "строка 205: Л-1, ТП: пропуск: нет шагов с 05.01.2025 04:00 по 05.01.2025 05:00\n"
                           "Графики не загружены: ошибок 2; в базе ничего не изменено\n")
        << refused.err.toStdString();

    // The blank database has no interval: the file's calendar year becomes one.
    const AppOutcome loaded = RunApp({"profiles", "import", good, "--db", db, "--node", node});
    ASSERT_EQ(loaded.code, 0) << loaded.err.toStdString();
    EXPECT_EQ(loaded.out, "Создан интервал «2025г.»\nЗагружены графики за «2025г.» (01.01.2025 00:00 – 01.01.2026 "
                          "00:00): абонентов 1, головных счетчиков 1 (шаг 60 мин), строк 17520\n");
    auto database = OpenDatabase(db);
    ASSERT_EQ(Rows(*database), 2);
    const int sample = IntScalar(*database->GetDefaultConnection(), R"(select "Ident" from "SamplesDates")");
    const int fider = static_cast<int>(
        Scalar(*database->GetDefaultConnection(), R"(select "GUID" from "LVFiders" where "Name"='Л-1')"));
    QStringList problems;
    const std::vector<TStoredProfile> stored =
        TProfileStore(*database->GetDefaultConnection()).ReadFider(sample, fider, problems);
    EXPECT_TRUE(problems.isEmpty());
    ASSERT_EQ(stored.size(), 2u);
    EXPECT_EQ(stored[0].Kind, TProfileKind::Consumer);
    EXPECT_EQ(stored[1].Kind, TProfileKind::Head);
    EXPECT_EQ(stored[1].Guid, fider);
    ASSERT_EQ(stored[0].Series.Steps(), 8760);
    EXPECT_EQ(TimeOfMinute(stored[0].Series.Start), QDateTime(QDate(2025, 1, 1), QTime(0, 0), Qt::UTC));
    // 8760 = 3 · 2920 hours of 1, 2 and 3 kWh
    EXPECT_DOUBLE_EQ(stored[0].Series.SumActive(), 2920.0 * 6);
    EXPECT_DOUBLE_EQ(stored[1].Series.SumActive(), 8760.0 * 5);
    EXPECT_EQ(stored[0].Series.Active[4], 2.0);
    EXPECT_DOUBLE_EQ(Scalar(*database->GetDefaultConnection(), R"(select sum("Wa") from "LVProfiles")"),
                     2920.0 * 6 + 43800);
    database.reset();

    // Again: refused unless replacing, then replaced in place.
    const AppOutcome again = RunApp({"profiles", "import", good, "--db", db, "--node", node});
    EXPECT_EQ(again.code, 1);
    EXPECT_TRUE(
        again.err.startsWith("Л-1, 4: график за «2025г.» (01.01.2025 00:00 – 01.01.2026 00:00) уже есть в базе\n"))
        << again.err.toStdString();
    EXPECT_TRUE(again.err.contains("добавьте --replace"));
    const AppOutcome replaced = RunApp({"profiles", "import", good, "--db", db, "--node", node, "--replace"});
    ASSERT_EQ(replaced.code, 0) << replaced.err.toStdString();
    EXPECT_TRUE(replaced.out.endsWith("; заменено прежних: 2\n")) << replaced.out.toStdString();
    EXPECT_EQ(Rows(*OpenDatabase(db)), 2);

    // The blank database's feeder by its profiles: Дом 1 by its own (Магазин is behind the switched-off section);
    // Л-2 has no consumers and is refused with its reason. The head meter's constant 5 kWh makes both methods of
    // one curve the same.
    const AppOutcome regime = RunApp({"regime", "--db", db, "--node", node, "--sample", QString::number(sample),
                                      "--middle", "--mode", "profiles", "--json"});
    ASSERT_EQ(regime.code, 0) << regime.err.toStdString();
    EXPECT_TRUE(regime.out.contains(R"("Name":"Л-2","Problems":["В схеме нет абонентов"])"))
        << regime.out.toStdString();
    EXPECT_TRUE(regime.out.contains(
        R"("NProfile":1,"NHead":0,"NTypical":0,"NFlat":0,"NNoLoad":0,"HeadMeter":true,"HeadWa":43.8)"))
        << regime.out.toStdString();
    EXPECT_TRUE(regime.err.contains("Рассчитано линий: 1, отказано: 1 из 2"));
    EXPECT_TRUE(regime.out.contains(R"("NotSupplied":1)"));
    EXPECT_EQ(Scalar(*OpenDatabase(db)->GetDefaultConnection(), R"(select count(*) from "LVProfileRuns")"), 1);

    EXPECT_EQ(RunApp({"profiles", "import", good, "--db", db}).code, 2);  // no substation
    const AppOutcome notSubstation = RunApp({"profiles", "import", good, "--db", db, "--node", "999999"});
    EXPECT_EQ(notSubstation.code, 1);
    EXPECT_TRUE(notSubstation.err.startsWith("999999 — не ТП\n"));
}

TEST(ProfileStore, AWorkbookSheetIsReadLikeTheTextWithCellsNamedInItsProblems)
{
    TempFolder folder;
    const QString db = folder.Path("blank.fdb");
    const QString node = BlankWithScheme(folder, db);
    auto database = OpenDatabase(db);
    QString error;
    ASSERT_GT(CreateSamplePeriod(*database->GetDefaultConnection(), 2025, 3, error), 0) << error.toStdString();
    const QString file = folder.Path("profiles.xlsx");
    lxw_workbook* book = workbook_new(file.toUtf8().constData());
    lxw_worksheet* sheet = workbook_add_worksheet(book, "Показания");
    lxw_format* date = workbook_add_format(book);
    format_set_num_format(date, "dd.mm.yyyy hh:mm");
    const char* captions[] = {"Линия", "Узел", "Дата и время", "кВт·ч", "квар·ч"};
    for (int c = 0; c < 5; ++c)
        worksheet_write_string(sheet, 0, c, captions[c], nullptr);
    int row = 1;
    // March 2025 by half hours for Магазин (node 5): dates as numbers of days, values as numbers; one text date.
    for (int i = 0; i < 31 * 48; ++i, ++row) {
        worksheet_write_string(sheet, row, 0, "Л-1", nullptr);
        worksheet_write_string(sheet, row, 1, "5", nullptr);
        const double day = 45717.0 + i / 48.0;  // 45717 is 1 March 2025
        if (i == 1)
            worksheet_write_string(sheet, row, 2, "01.03.2025 00:30", nullptr);
        else
            worksheet_write_number(sheet, row, 2, day, date);
        worksheet_write_number(sheet, row, 3, i == 7 ? -0.25 : 0.25, nullptr);
        worksheet_write_number(sheet, row, 4, 0.125, nullptr);
    }
    ASSERT_EQ(workbook_close(book), LXW_NO_ERROR);
    TProfileLoad load = LoadProfileFile(*database->GetDefaultConnection(), file, node.toInt(), 0, false);
    EXPECT_FALSE(load.Stored);
    EXPECT_EQ(load.Problems(),
              QStringList({"Показания!D9: отрицательная энергия -0.25",
                           "Показания!C10: Л-1, 5: пропуск: нет шагов с 01.03.2025 03:30 по 01.03.2025 04:00"}));
    EXPECT_EQ(Rows(*database), 0);

    lxw_workbook* fixed = workbook_new(file.toUtf8().constData());
    sheet = workbook_add_worksheet(fixed, "Показания");
    for (int c = 0; c < 4; ++c)
        worksheet_write_string(sheet, 0, c, captions[c], nullptr);
    for (int i = 0; i < 31 * 48; ++i) {
        worksheet_write_string(sheet, i + 1, 0, "Л-1", nullptr);
        worksheet_write_string(sheet, i + 1, 1, "5", nullptr);
        worksheet_write_number(sheet, i + 1, 2, 45717.0 + i / 48.0, nullptr);
        worksheet_write_number(sheet, i + 1, 3, 0.25, nullptr);
    }
    ASSERT_EQ(workbook_close(fixed), LXW_NO_ERROR);
    load = LoadProfileFile(*database->GetDefaultConnection(), file, node.toInt(), 0, false);
    ASSERT_TRUE(load.Stored) << load.Problems().join('\n').toStdString();
    EXPECT_EQ(load.Check.Interval.Name, "Март 2025");
    EXPECT_EQ(load.Consumers, 1);
    EXPECT_EQ(load.Check.Profiles.at(0).Series.StepMinutes, 30);
    EXPECT_DOUBLE_EQ(Scalar(*database->GetDefaultConnection(), R"(select "Wa" from "LVProfiles")"), 31 * 48 * 0.25);
}

TEST(ProfileStore, AnOlderDatabaseGetsTheProfileTablesWhenOpened)
{
    TempFolder folder;
    const QString path = NewFormerSchemaDatabase(folder);
    auto database = OpenDatabase(path);
    ToznFDConnection& c = *database->GetDefaultConnection();
    EXPECT_EQ(Scalar(c, R"(select count(*) from "LVProfiles")"), 0);
    EXPECT_EQ(Scalar(c, R"(select count(*) from "LVProfileRuns")"), 0);
    EXPECT_EQ(Scalar(c, R"(select count(*) from rdb$relation_fields where rdb$relation_name='LVPResultsN' and
        trim(rdb$field_name) in ('Umin', 'UOut'))"),
              2);
}
