// A database that stays right: one run per feeder whatever wrote it, the engine's refusals in the users' words,
// texts held to their columns, and a batch that says exactly what it stored when the database fails under it.
#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>

#include "host/AppLog.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/TextLimits.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
QString LogText()
{
    QFile log(host::ApplicationLogPath());
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
}

// The error a statement raises, or a failed test.
EDatabaseError ErrorOf(ToznFDConnection& c, const QString& sql)
{
    try {
        Exec(c, sql);
    } catch (const EDatabaseError& e) {
        return e;
    }
    ADD_FAILURE() << "no error: " << sql.toStdString();
    return EDatabaseError(QString());
}
}  // namespace

TEST(SharedDatabase, DuplicateRunsOfAnOldDatabaseCollapseToTheNewestAndNoSecondOneGetsIn)
{
    TempFolder folder;
    const QString path = NewFormerSchemaDatabase(folder);
    {
        // What two batches of the former version left: three runs of feeder 10 for interval 1 (the ordinary
        // run written as null and as 0), each with its rows; another interval's and another type's runs aside.
        ToznFDConnection old(nullptr, path, FirebirdUser(), FirebirdPassword());
        for (const char* sql :
             {"insert into \"LVResults\" (\"Ident\", guid, \"SampleIdent\", \"CalcType\") values (101, 10, 1, null)",
              "insert into \"LVResults\" (\"Ident\", guid, \"SampleIdent\", \"CalcType\") values (205, 10, 1, 0)",
              "insert into \"LVResults\" (\"Ident\", guid, \"SampleIdent\", \"CalcType\") values (150, 10, 1, 0)",
              "insert into \"LVResults\" (\"Ident\", guid, \"SampleIdent\", \"CalcType\") values (90, 10, 2, 0)",
              "insert into \"LVResults\" (\"Ident\", guid, \"SampleIdent\", \"CalcType\") values (91, 10, 1, 3)",
              "insert into \"LVResults\" (\"Ident\", guid, \"SampleIdent\", \"CalcType\") values (92, 11, 1, null)",
              "insert into \"LVPResultsN\" (\"Ident\", guid, \"U\") values (101, 12, 221)",
              "insert into \"LVPResultsN\" (\"Ident\", guid, \"U\") values (205, 12, 225)",
              "insert into \"LVPResultsN\" (\"Ident\", guid, \"U\") values (150, 12, 223)",
              "insert into \"LVWResultsAdd\" (\"Ident\", \"RES\", \"Balance\", \"Wa_gen\") values (101, 3, 0, 1)",
              "insert into \"LVWResultsAdd\" (\"Ident\", \"RES\", \"Balance\", \"Wa_gen\") values (205, 3, 0, 2)",
              // Two editors marked different samples of one feeder as its main one.
              "insert into \"LVPResultsA\" (guid, \"SampleDate\", \"IsMain\") values (10, '2024-03-01', 1)",
              "insert into \"LVPResultsA\" (guid, \"SampleDate\", \"IsMain\") values (10, '2024-06-01', 1)",
              "insert into \"LVPResultsA\" (guid, \"SampleDate\", \"IsMain\") values (11, '2024-03-01', 1)"})
            Exec(old, QString::fromUtf8(sql));
    }
    auto db = OpenDatabase(path);
    ASSERT_TRUE(db);
    ToznFDConnection& c = *db->GetDefaultConnection();
    // The newest (largest key) of the three stays with its rows; the others' rows are gone with them.
    EXPECT_EQ(Scalar(c, "select list(\"Ident\") from \"LVResults\" where guid=10 and \"SampleIdent\"=1 and "
                        "\"CalcType\"=0"),
              205);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVResults\""), 4);  // 205, 90, 91, 92
    EXPECT_EQ(Scalar(c, "select \"U\" from \"LVPResultsN\" where guid=12"), 225);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVWResultsAdd\""), 1);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVResults\" where \"CalcType\" is null"), 0);

    // A second run of a feeder for the same interval and type does not get in, however its type is written; the
    // refusal is in the users' words and names the table, the engine's text goes to the log.
    for (const char* calcType : {"0", "null"}) {
        const EDatabaseError e =
            ErrorOf(c, Fmt("insert into \"LVResults\" (\"Ident\", guid, \"SampleIdent\", \"CalcType\") values "
                           "(300, 10, 1, %1)",
                           QString::fromLatin1(calcType)));
        EXPECT_EQ(e.Kind(), host::TEngineErrorKind::UniqueKey);
        EXPECT_TRUE(e.Text().contains("Такая запись уже есть в таблице «LVResults»")) << e.Text().toStdString();
        EXPECT_TRUE(IsConflict(e)) << "another writer's run: worth another attempt";
    }
    EXPECT_TRUE(LogText().contains("violation of PRIMARY or UNIQUE KEY constraint \"LVResults_Run\""));
    // Of two main samples the later one stays main, and a second main sample does not get in.
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVPResultsA\" where \"IsMain\"=1"), 2);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVPResultsA\" where \"IsMain\"=1 and guid=10 and "
                        "\"SampleDate\"='2024-06-01'"),
              1);
    EXPECT_EQ(ErrorOf(c, "update \"LVPResultsA\" set \"IsMain\"=1 where guid=10").Kind(),
              host::TEngineErrorKind::UniqueKey);
    // One interval of a kind and dates, however many users make it at once.
    Exec(c, "insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", \"SampleDate2\") "
            "values (1, '2024г.', 1, '2024-01-01', '2025-01-01')");
    EXPECT_EQ(ErrorOf(c, "insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", "
                         "\"SampleDate2\") values (2, '2024г.', 1, '2024-01-01', '2025-01-01')")
                  .Kind(),
              host::TEngineErrorKind::UniqueKey);
    QString error;
    EXPECT_EQ(CreateSamplePeriod(c, 2024, 0, error), 1) << error.toStdString();
    // An upgraded database and a new one have the same key.
    EXPECT_EQ(Scalar(c, "select count(*) from rdb$relation_constraints where rdb$constraint_name='LVResults_Run'"), 1);
    auto fresh = OpenDatabase(NewSchemaDatabase(folder, "fresh.fdb"));
    EXPECT_EQ(Scalar(*fresh->GetDefaultConnection(),
                     "select count(*) from rdb$relation_constraints where rdb$constraint_name='LVResults_Run'"),
              1);
}

TEST(SharedDatabase, TheEnginesRefusalsReachTheUserInRussianWithTheObjectNamed)
{
    TempFolder folder;
    const QString path = NewSchemaDatabase(folder);
    auto db = OpenDatabase(path);
    ToznFDConnection& c = *db->GetDefaultConnection();
    struct Case {
        const char* sql;
        host::TEngineErrorKind kind;
        const char* says;
        const char* logged;  // the engine's own words, kept in the log
    };
    const QString longBrand(60, QLatin1Char('A'));
    const Case cases[] = {
        {"insert into \"Provods\" (\"Ident\", \"Marka\") values (9000, '%1')", host::TEngineErrorKind::Truncation,
         "не более 50 знаков", "string right truncation"},
        {"insert into \"LVPResultsAdd\" (\"Ident\", \"RES\", \"Balance\") values (777, 1, 0)",
         host::TEngineErrorKind::ForeignKey, "таблицы «LVPResultsAdd»", "FOREIGN KEY"},
        {"insert into \"UserRights\" (\"UserName\", \"UserRight\", \"PeriodIdent\", \"ObjectGUID\", \"Granted\") "
         "values ('X', null, -1, -1, 1)",
         host::TEngineErrorKind::NotNull, "«UserRight» таблицы «UserRights»", "validation error"},
        {"insert into \"Periods\" (\"Ident\", \"Name\") values (1, 'Год')", host::TEngineErrorKind::UniqueKey,
         "таблице «Periods»", "violation of PRIMARY or UNIQUE KEY"},
    };
    for (const Case& k : cases) {
        QString sql = QString::fromUtf8(k.sql);
        if (sql.contains("%1"))
            sql = sql.arg(longBrand);
        const EDatabaseError e = ErrorOf(c, sql);
        EXPECT_EQ(e.Kind(), k.kind) << k.sql;
        EXPECT_TRUE(e.Text().contains(QString::fromUtf8(k.says))) << e.Text().toStdString();
        QString words = e.Text();
        words.remove(QRegularExpression("«[^»]*»"));
        EXPECT_FALSE(words.contains(QRegularExpression("[A-Za-z]{3,}")))
            << "English of the engine: " << e.Text().toStdString();
        EXPECT_TRUE(LogText().contains(QString::fromUtf8(k.logged))) << k.logged;
    }
    // A user without a role reads nothing: the refusal names the table.
    db.reset();
    {
        ToznFDConnection stranger(nullptr, path, QStringLiteral("STRANGER"), QStringLiteral("any"));
        const EDatabaseError e = ErrorOf(stranger, "delete from \"Nodes\"");
        EXPECT_EQ(e.Kind(), host::TEngineErrorKind::Permission);
        EXPECT_EQ(e.Text(), "Нет прав на удаление строк таблицы «Nodes»: обратитесь к владельцу базы данных");
    }
    // Errors that cannot be made here on demand, in the engine's words as it prints them.
    const std::pair<const char*, host::TEngineErrorKind> texts[] = {
        {"I/O error during \"write\" operation for file \"/srv/ozn3.fdb\" - Error while trying to write to file - No "
         "space left on device",
         host::TEngineErrorKind::DiskFull},
        {"Error writing data to the connection. - send_packet/send", host::TEngineErrorKind::ConnectionLost},
        {"Unable to complete network request to host \"srv\". - Failed to establish a connection.",
         host::TEngineErrorKind::ConnectionLost},
        {"deadlock - update conflicts with concurrent update - concurrent transaction number is 1234",
         host::TEngineErrorKind::Conflict},
        {"lock conflict on no wait transaction - deadlock", host::TEngineErrorKind::Conflict},
    };
    for (const auto& [text, kind] : texts) {
        const EDatabaseError e = EngineError(QString::fromUtf8(text));
        EXPECT_EQ(e.Kind(), kind) << text;
        EXPECT_FALSE(e.Text().contains("error", Qt::CaseInsensitive)) << e.Text().toStdString();
    }
    EXPECT_TRUE(EngineError(QString::fromUtf8(std::get<0>(texts[0]))).Text().contains("/srv/ozn3.fdb"));
    EXPECT_TRUE(IsFatal(EngineError(QString::fromUtf8(std::get<0>(texts[0])))));
    // Anything else: a Russian sentence that says where the engine's text went.
    const EDatabaseError other = EngineError(QStringLiteral("Dynamic SQL Error - SQL error code = -104"));
    EXPECT_TRUE(other.Text().startsWith("Ошибка базы данных")) << other.Text().toStdString();
    EXPECT_TRUE(other.Text().contains(host::ApplicationLogPath()));
}

TEST(SharedDatabase, EveryTextLimitIsTheLengthOfItsColumnInTheSchema)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    ASSERT_GE(host::TextColumns().size(), 10u);
    for (const host::TTextColumn& t : host::TextColumns())
        EXPECT_EQ(Scalar(c, QStringLiteral("select f.rdb$character_length from rdb$relation_fields r join rdb$fields f "
                                           "on f.rdb$field_name = r.rdb$field_source where r.rdb$relation_name = '%1' "
                                           "and r.rdb$field_name = '%2'")
                                .arg(QString::fromLatin1(t.Table), QString::fromLatin1(t.Column))),
                  t.Length)
            << t.Table << "." << t.Column;
    // Characters count, not bytes or halves of a character; control characters are refused.
    QString error;
    EXPECT_TRUE(host::CheckText(QString(50, QChar(0x0416)), host::kConductorMarka, "A2", error));
    EXPECT_FALSE(host::CheckText(QString(51, QLatin1Char('x')), host::kConductorMarka, "A2", error));
    EXPECT_EQ(error, "A2: не более 50 знаков, а введено 51");
    const QString emoji = QString::fromUtf8("\xF0\x9F\x94\x8C");  // two UTF-16 units, one character
    EXPECT_TRUE(host::CheckText(emoji.repeated(40), host::kMeterName, "Счетчик", error));
    EXPECT_FALSE(host::CheckText(QStringLiteral("ТП\n1"), host::kSubstationName, "--name", error));
    EXPECT_TRUE(error.startsWith("--name: недопустимый знак")) << error.toStdString();
}

namespace {
int Count(ToznFDConnection& c, const QString& sql) { return IntScalar(c, sql); }
}  // namespace

TEST(SharedDatabase, ABatchStoppedByAFullDiskReportsExactlyWhatIsStored)
{
    // A real failure of the engine: the batch's process may not grow the database file past a limit (as on a
    // full disk), set a little above its size so that it fails in the middle of the run.
    TempFolder folder;
    const QString source = NewDemoDatabase(folder, "source.fdb");
    int year = 0, formerMax = 0;
    {
        auto db = OpenDatabase(source);
        ToznFDConnection& c = *db->GetDefaultConnection();
        year = Count(c, "select min(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
        formerMax = Count(c, "select max(\"Ident\") from \"LVResults\"");
    }
    int failed = 0;
    for (const int marginKb : {600, 900, 1100}) {
        const QString path = folder.Path(Fmt("full%1.fdb", marginKb));
        QFile::remove(path);
        ASSERT_TRUE(QFile::copy(source, path));
        const qint64 limitKb = QFileInfo(path).size() / 1024 + marginKb;
        const QString log = folder.Path(Fmt("regime%1.log", marginKb));
        QProcess p;
        p.start("bash", {"-c", Fmt("trap '' XFSZ; ulimit -f %1; exec \"$0\" \"$@\"", limitKb), AppPath(), "regime",
                         "--db", path, "--node", "1", "--sample", QString::number(year), "--middle", "--log", log});
        ASSERT_TRUE(p.waitForFinished(180000));
        const QString err = QString::fromUtf8(p.readAllStandardError());
        QFile logFile(log);
        ASSERT_TRUE(logFile.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(logFile.readAll()).split('\n', Qt::SkipEmptyParts);
        auto db = OpenDatabase(path);
        ToznFDConnection& c = *db->GetDefaultConnection();
        const QString newRuns = Fmt(" from \"LVResults\" r where r.\"Ident\" > %1", formerMax);
        const int stored = Count(c, "select count(*)" + newRuns);
        // Whole runs only: each new run has its balance and its nodes.
        EXPECT_EQ(Count(c, "select count(*)" + newRuns +
                               " and not exists (select 1 from \"LVWResultsAdd\" w where w.\"Ident\"=r.\"Ident\")"),
                  0);
        EXPECT_EQ(
            Count(c, "select count(*) from \"LVResults\" where \"SampleIdent\"=" + QString::number(year)),
            Count(c, "select count(distinct guid) from \"LVResults\" where \"SampleIdent\"=" + QString::number(year)));
        const QStringList saved = lines.filter(" - Рассчитана и сохранена");
        EXPECT_EQ(saved.size(), stored) << marginKb;
        for (const QString& line : saved)
            EXPECT_EQ(Count(c, "select count(*)" + newRuns +
                                   " and r.guid=" + line.section(" - ", 0, 0).section('(', -1).chopped(1)),
                      1)
                << line.toStdString();
        if (p.exitCode() == 0)
            continue;
        ++failed;
        EXPECT_EQ(p.exitCode(), 1) << err.toStdString();
        // The summary counts what the database holds, and the log ends with the last feeder stored.
        EXPECT_TRUE(err.contains(Fmt("Сохранено линий: %1,", stored))) << err.toStdString();
        EXPECT_TRUE(err.contains("предельный размер файла")) << err.toStdString();
        EXPECT_FALSE(err.contains("I/O error")) << err.toStdString();
        if (stored == 0) {
            EXPECT_EQ(lines.last(), "Ошибка базы данных: ни одна линия не сохранена");
        } else {
            EXPECT_TRUE(lines.last().startsWith("Ошибка базы данных: последняя сохраненная линия "))
                << lines.last().toStdString();
            EXPECT_TRUE(lines.last().endsWith(saved.last().section(" - ", 0, 0))) << lines.last().toStdString();
        }
        EXPECT_FALSE(lines.filter(" - Не сохранена: ").isEmpty());
    }
    EXPECT_GT(failed, 0) << "the limit never stopped the batch";
}
