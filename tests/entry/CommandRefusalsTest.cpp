// Every command refuses what it cannot do: with a message that names what is wrong, a failing exit, and nothing
// done.
#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>

#include "host/Connection.h"
#include "host/Database.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
using Outcome = AppOutcome;
Outcome Ozn3(const QStringList& args) { return RunApp(args, NoDisplayNoUser()); }
}  // namespace

TEST(CommandRefusals, UnknownIntervalsYearsUsersOptionsAndFoldersAreRefusedByName)
{
    TempFolder folder;
    const QString db = NewDemoDatabase(folder);
    int year = 0, tp = 0, feeders = 0;
    {
        auto database = OpenDatabase(db);
        ToznFDConnection& c = *database->GetDefaultConnection();
        year = IntScalar(c, "select min(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
        tp = IntScalar(c, "select min(\"OwnerGUID\") from \"LVFiders\"");
        feeders = IntScalar(c, "select count(*) from \"LVFiders\"");
    }
    const QString sample = QString::number(year), node = QString::number(tp), book = folder.Path("w.xlsx");
    const QString missing = folder.Path("no/such/folder/x.fdb");
    struct Case {
        QStringList args;
        int code;
        const char* says;
    };
    const QList<Case> cases = {
        {{"results", "--db", db, "--guid", "1", "--sample", sample, "--period", "99999", "--json"},
         1,
         "Неизвестный вид периода 99999"},
        {{"results", "--db", db, "--guid", "1", "--sample", "99999", "--json"}, 1, "Не найден расчетный период 99999"},
        {{"measured", "--db", db, "--node", "1", "--year", "99999", "--json"}, 2, "Неверный год 99999"},
        {{"measured", "--db", db, "--node", "1", "--year", "-1", "--json"}, 2, "Неверный год -1"},
        {{"measured", "--db", db, "--node", "1", "--year", "1990", "--json"}, 1, "За 1990 год в базе данных нет"},
        {{"scheme", "export", "--db", db, "--node", node, folder.Path("s.xlsx"), "--sample", "99999"},
         1,
         "Интервал 99999 не найден"},
        {{"users", "revoke", "NOBODY", "--db", db}, 1, "Пользователь NOBODY не найден"},
        {{"stats", "--extra"}, 2, "Неизвестный параметр: --extra"},
        {{"stats", "--db", db, "--db", db}, 2, "Параметр --db указан дважды"},
        {{"regime", "--db", db, "--node", "1", "--sample", sample, "--middle", "--max"},
         2,
         "Параметры --middle и --max несовместимы"},
        {{"regime", "--db", db, "--node", "1", "--sample", sample, "--middle", "stray"}, 2, "Лишний аргумент: stray"},
        {{"workbook", "write", "w", "--db", db, "--node", node, "--sample", sample, book, "--consumers", "--tp-only"},
         2,
         "Параметры --consumers и --tp-only несовместимы"},
        {{"workbook", "write", "social", "--db", db, "--node", "1", "--sample", sample, "--level", "99", book},
         2,
         "Неверный уровень 99; допустимо: 0 АО энерго"},
        {{"workbook", "write", "w", "--db", db, "--node", node, "--sample", sample, "--level", "5", book},
         2,
         "--level — параметр книги social"},
        {{"init-db", missing}, 1, "не найдена: создайте её"},
        {{"substation", "add", "--db", db, "--name", ""}, 2, "Не указано имя ТП (--name)"},
        {{"substation", "add", "--db", db, "--name", QString(150, QChar(0x0422))},
         2,
         "--name: не более 100 знаков, а введено 150"},
        {{"calc", "normative", "extra"}, 2, "Лишний аргумент: extra"},
        {{"normative", "--db", db, "--node", "1", "--level", "7"}, 2, "Не указан --period"},
    };
    for (const Case& c : cases) {
        const Outcome o = Ozn3(c.args);
        EXPECT_EQ(o.code, c.code) << c.args.join(' ').toStdString() << "\n" << o.err.toStdString();
        EXPECT_TRUE(o.err.contains(QString::fromUtf8(c.says))) << c.args.join(' ').toStdString() << "\n"
                                                               << o.err.toStdString();
    }
    // A refused command does nothing: no folder made, no substation added, the usage of its own command only.
    EXPECT_FALSE(QFileInfo::exists(folder.Path("no")));
    const Outcome unnamed = Ozn3({"substation", "add", "--db", db, "--name", ""});
    EXPECT_FALSE(unnamed.err.contains("scheme import")) << unnamed.err.toStdString();
    EXPECT_TRUE(Ozn3({"stats", "--db", db}).out.contains(Fmt("7 Линии 0,4 кВ: %1", feeders)));

    // A workbook of one kind read as another: the message says what the workbook is.
    ASSERT_EQ(Ozn3({"workbook", "write", "w", "--db", db, "--node", node, "--sample", sample, book}).code, 0);
    const Outcome mismatch = Ozn3({"workbook", "read", "tmax", "--db", db, book});
    EXPECT_EQ(mismatch.code, 1);
    EXPECT_TRUE(mismatch.err.contains("— книга замеров W, а не книга замеров Tmax")) << mismatch.err.toStdString();
    EXPECT_FALSE(mismatch.err.contains("нет листа")) << mismatch.err.toStdString();
}

TEST(CommandRefusals, DemoDbFillsAnEmptyDatabaseAndSaysWhyItWillNotFillAnother)
{
    TempFolder folder;
    // A database made by init-db, without a network: filled.
    const QString empty = folder.Path("empty.fdb");
    ASSERT_EQ(Ozn3({"init-db", empty}).code, 0);
    const Outcome filled = Ozn3({"demo-db", empty});
    EXPECT_EQ(filled.code, 0) << filled.err.toStdString();
    EXPECT_TRUE(Ozn3({"stats", "--db", empty}).out.contains("6 ТП: 192"));
    // A second time: it has a network, and says so.
    const Outcome again = Ozn3({"demo-db", empty});
    EXPECT_EQ(again.code, 1);
    EXPECT_TRUE(again.err.contains("уже есть сеть")) << again.err.toStdString();
    // A folder in place of the file.
    QDir().mkpath(folder.Path("dir.fdb"));
    const Outcome notFile = Ozn3({"demo-db", folder.Path("dir.fdb")});
    EXPECT_EQ(notFile.code, 1);
    EXPECT_TRUE(notFile.err.contains("не файл базы данных")) << notFile.err.toStdString();
}
