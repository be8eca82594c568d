#include "host/Database.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>
#include <atomic>
#include <thread>

#include "host/InitOZN.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
int countRows(ToznFDConnection& c, const QString& table)
{
    auto q = c.NewQuery();
    q->SetSQLText(Fmt("select count(*) from \"%1\"", table));
    q->Open();
    return q->Value(0).toInt();
}

void insertFider(ToznFDConnection& c, int guid)
{
    auto q = c.NewQuery();
    q->SetSQLText("insert into \"LVFiders\" (\"GUID\", \"Name\", \"OwnerGUID\") values (:G, 'Л-1', 1)");
    q->ParamByName("G", guid);
    q->ExecSQL();
}
}  // namespace

TEST(Database, ConnectionStringsAreParsed)
{
    DatabaseAddress address;
    QString error;
    ASSERT_TRUE(DatabaseAddress::parse("db.example/3051:/srv/ozn3.fdb", address, error));
    EXPECT_TRUE(address.isServer());
    EXPECT_EQ(address.host, "db.example");
    EXPECT_EQ(address.port, 3051);
    EXPECT_EQ(address.attachName(), "db.example/3051:/srv/ozn3.fdb");
    ASSERT_TRUE(DatabaseAddress::parse("localhost:/srv/ozn3.fdb", address, error));
    EXPECT_EQ(address.port, 0);
    EXPECT_EQ(address.attachName(), "localhost:/srv/ozn3.fdb");
    ASSERT_TRUE(DatabaseAddress::parse("/tmp/local.fdb", address, error));
    EXPECT_FALSE(address.isServer());
    EXPECT_EQ(address.attachName(), "/tmp/local.fdb");
    EXPECT_FALSE(DatabaseAddress::parse("", address, error));
    EXPECT_FALSE(DatabaseAddress::parse("srv/0:/x.fdb", address, error));
    EXPECT_FALSE(DatabaseAddress::parse("/tmp/a:b.fdb", address, error));
}

TEST(Database, OpenReportsMissingFilesAndForeignDatabases)
{
    TempFolder folder;
    QString error;
    EXPECT_FALSE(TfdbDatabase::Open(folder.Path("none.fdb"), error));
    EXPECT_TRUE(error.contains("не найден")) << error.toStdString();

    QFile junk(folder.Path("junk.fdb"));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("this is not a database");
    junk.close();
    EXPECT_FALSE(TfdbDatabase::Open(junk.fileName(), error));
    EXPECT_TRUE(error.contains("Не удалось открыть")) << error.toStdString();

    // A Firebird database of another application has none of our tables.
    const QString foreign = NewSchemaDatabase(folder, "foreign.fdb");
    {
        auto db = OpenDatabase(foreign);
        auto q = db->GetDefaultConnection()->NewQuery();
        q->SetSQLText("drop table \"LVFiders\"");
        q->ExecSQL();
    }
    EXPECT_FALSE(TfdbDatabase::Open(foreign, error));
    EXPECT_TRUE(error.contains("не содержит таблиц")) << error.toStdString();
}

TEST(Database, CommitIsSeenFromASecondConnectionAndRollbackIsNot)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    ToznFDConnection& main = *db->GetDefaultConnection();
    ToznFDConnection* other = db->CreateConnection();

    EXPECT_FALSE(main.inTransaction());
    main.StartTransaction(false);
    EXPECT_TRUE(main.inTransaction());
    insertFider(main, 10);
    EXPECT_EQ(countRows(main, "LVFiders"), 1);
    EXPECT_EQ(countRows(*other, "LVFiders"), 0);  // not committed yet
    main.Commit();
    EXPECT_FALSE(main.inTransaction());
    EXPECT_EQ(countRows(*other, "LVFiders"), 1);

    main.StartTransaction(false);
    insertFider(main, 11);
    main.Rollback();
    EXPECT_EQ(countRows(*other, "LVFiders"), 1);

    // Commit retaining: the work is visible and the transaction stays open, prepared statements go on.
    main.StartTransaction(false);
    auto q = main.NewQuery();
    q->SetSQLText("insert into \"LVFiders\" (\"GUID\", \"Name\", \"OwnerGUID\") values (:G, 'Л', 1)");
    q->ParamByName("G", 12);
    q->ExecSQL();
    main.CommitRetaining();
    EXPECT_TRUE(main.inTransaction());
    EXPECT_EQ(countRows(*other, "LVFiders"), 2);
    q->ParamByName("G", 13);
    q->ExecSQL();
    main.Rollback();
    EXPECT_EQ(countRows(*other, "LVFiders"), 2);
    other->Release();

    // A database error names the engine's complaint and leaves the connection usable.
    auto bad = main.NewQuery();
    EXPECT_THROW(bad->SetSQLText("select * from \"NoSuchTable\""), EDatabaseError);
    EXPECT_EQ(countRows(main, "LVFiders"), 2);
}

TEST(Database, NewKeysComeFromTheStoredProcedure)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    auto proc = db->GetDefaultConnection()->NewStoredProc();
    proc->SetProcName("GetNewGUID");
    proc->ExecProc();
    const int first = proc->Output("GUID").toInt();
    const int second = db->GetDefaultConnection()->GetNewGUID();
    EXPECT_GT(first, 0);
    EXPECT_EQ(second, first + 1);
}

TEST(Database, RightsAreRowsOfTheDatabaseForTheConnectionsUser)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    const QString me = db->UserName();
    // The creator of a database holds every right that allows, not the one that restricts (0).
    for (int right : {12, 13, 14})
        EXPECT_TRUE(db->GetUserRights(right)) << right;
    EXPECT_FALSE(db->GetUserRights(0));
    // From here on, a user starting from none.
    Exec(*db->GetDefaultConnection(), "delete from \"UserRights\"");
    EXPECT_FALSE(db->GetUserRightsByPeriodAndIdent(-1, -1, 12));

    db->SetUserRight(me, 12, true);           // any period, any object
    db->SetUserRight(me, 13, true, 5, -1);    // period 5 only
    db->SetUserRight(me, 14, true, -1, 700);  // object 700 only
    db->SetUserRight("SOMEONE_ELSE", 0, true);

    EXPECT_TRUE(db->GetUserRightsByPeriodAndIdent(-1, -1, 12));
    EXPECT_TRUE(db->GetUserRightsByPeriodAndIdent(3, 42, 12));
    EXPECT_TRUE(db->GetUserRightsByPeriodAndIdent(5, 1, 13));
    EXPECT_FALSE(db->GetUserRightsByPeriodAndIdent(6, 1, 13));
    EXPECT_TRUE(db->GetUserRightsByPeriodAndIdent(-1, -1, 13));
    EXPECT_TRUE(db->GetUserRightsByPeriodAndIdent(2, 700, 14));
    EXPECT_FALSE(db->GetUserRightsByPeriodAndIdent(2, 701, 14));
    EXPECT_FALSE(db->GetUserRights(0));  // another user's right is not mine

    // A denial for one object beats the grant for all.
    db->SetUserRight(me, 12, false, -1, 99);
    EXPECT_FALSE(db->GetUserRightsByPeriodAndIdent(1, 99, 12));
    EXPECT_TRUE(db->GetUserRightsByPeriodAndIdent(1, 98, 12));
    // Reading rights leaves an open transaction of the caller alone.
    db->GetDefaultConnection()->StartTransaction(false);
    EXPECT_TRUE(db->GetUserRights(13));
    EXPECT_TRUE(db->GetDefaultConnection()->inTransaction());
    db->GetDefaultConnection()->Rollback();
}

TEST(Database, ParametersSurviveARestartOfTheApplication)
{
    TempFolder folder;
    const QString ini = folder.Path("ozn3.ini");
    {
        TInitOZN init(ini);
        EXPECT_DOUBLE_EQ(init.GetDefaultCosFi(), 0.9);
        EXPECT_DOUBLE_EQ(init.GetDefaultKzap(), 0.5);
        EXPECT_TRUE(init.GetParamBool(InitParam::PesResultsWithSpreadsheet));
        EXPECT_EQ(init.LoadIntParam("LVResultsGrid", "SampleIdent", -1), -1);
        init.SaveIntParam("LVResultsGrid", "SampleIdent", 42);
        init.SaveStrParam("Detail038SettingsV2", "Узлы_Name\\Width", "120");
        init.SaveBinaryParam("LVResultsGrid", "ColsResults", QByteArray("\x00\x01\xff=;", 5));
        init.SetParam(InitParam::PesResultsWithSpreadsheet, false);
        init.SetParam(InitParam::DefaultCosFi, 0.93);
    }
    TInitOZN again(ini);
    EXPECT_EQ(again.LoadIntParam("LVResultsGrid", "SampleIdent", -1), 42);
    EXPECT_EQ(again.LoadStrParam("Detail038SettingsV2", "Узлы_Name\\Width"), "120");
    EXPECT_EQ(again.LoadBinaryParam("LVResultsGrid", "ColsResults"), QByteArray("\x00\x01\xff=;", 5));
    EXPECT_FALSE(again.GetParamBool(InitParam::PesResultsWithSpreadsheet));
    EXPECT_DOUBLE_EQ(again.GetDefaultCosFi(), 0.93);
    EXPECT_EQ(again.LoadStrParam("Нет", "ключа", "по умолчанию"), "по умолчанию");
}

TEST(Database, AServerIsReachedOnlyWithCredentialsTheUserGave)
{
    const QByteArray user = qgetenv("ISC_USER"), password = qgetenv("ISC_PASSWORD");
    qunsetenv("ISC_USER");
    qunsetenv("ISC_PASSWORD");
    QString error;
    // No administrator's password is looked up: without the user's own, the server is not even asked.
    EXPECT_FALSE(HasServerCredentials());
    EXPECT_EQ(TfdbDatabase::Open("127.0.0.1/1:/srv/ozn3.fdb", error), nullptr);
    EXPECT_EQ(error, "Для подключения к серверу 127.0.0.1 нужны имя пользователя и пароль: задайте ISC_USER и "
                     "ISC_PASSWORD или войдите в окне входа");
    // Typed in the login window, they are the ones used (the connection then fails for the missing server).
    SetServerCredentials("ivanov", "secret");
    EXPECT_TRUE(HasServerCredentials());
    EXPECT_EQ(FirebirdUser(), "ivanov");
    EXPECT_EQ(FirebirdPassword(), "secret");
    error.clear();
    EXPECT_EQ(TfdbDatabase::Open("127.0.0.1/1:/srv/ozn3.fdb", error), nullptr);
    EXPECT_TRUE(error.contains("127.0.0.1/1:/srv/ozn3.fdb")) << error.toStdString();
    SetServerCredentials({}, {});
    EXPECT_EQ(FirebirdUser(), "SYSDBA");  // an embedded database checks no password
    if (!user.isEmpty())
        qputenv("ISC_USER", user);
    if (!password.isEmpty())
        qputenv("ISC_PASSWORD", password);
}

TEST(Database, AWriteThatWaitsForAnotherUsersRowEndsAtTheLockTimeoutOrWhenStopped)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    ToznFDConnection& a = *db->GetDefaultConnection();
    Exec(a, "insert into \"Nodes\" (\"GUID\", \"Name\") values (1, 'ТП-1')");
    auto b = db->NewConnection();
    a.StartTransaction();
    auto hold = a.NewQuery();
    hold->SetSQLText("update \"Nodes\" set \"Name\"='ТП-1а' where \"GUID\"=1");
    hold->ExecSQL();  // the other user's row, held by an open transaction

    b->SetLockTimeout(700);
    b->StartTransaction();
    auto write = b->NewQuery();
    write->SetSQLText("update \"Nodes\" set \"Name\"='ТП-1б' where \"GUID\"=1");
    QElapsedTimer timer;
    timer.start();
    try {
        write->ExecSQL();
        ADD_FAILURE() << "the write did not wait for the held row";
    } catch (const ELockTimeout& e) {
        EXPECT_TRUE(IsConflict(e));
        EXPECT_EQ(e.Text(), "Данные заняты другим пользователем: ожидание дольше 0.7 с прервано");
    }
    EXPECT_GE(timer.elapsed(), 600);
    EXPECT_LT(timer.elapsed(), 5000);
    b->Rollback();

    // Without a limit, a stop asked for while waiting (Ctrl-C) ends the wait.
    std::atomic<bool> stop{false};
    b->SetLockTimeout(0, [&] { return stop.load(); });
    b->StartTransaction();
    std::thread press([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        stop = true;
    });
    timer.restart();
    EXPECT_THROW(write->ExecSQL(), EStopped);
    press.join();
    EXPECT_LT(timer.elapsed(), 5000);
    b->Rollback();

    // Once the row is free, the same connection writes as usual.
    a.Commit();
    b->StartTransaction();
    stop = false;
    write->ExecSQL();
    b->Commit();
    EXPECT_EQ(Scalar(a, "select count(*) from \"Nodes\" where \"Name\"='ТП-1б'"), 1);
}
