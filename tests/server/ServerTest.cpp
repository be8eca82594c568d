// A department on one Firebird server: the tests start their own (127.0.0.1, a free port, a security
// database of their own) and work on it as several users at once: the owner gives roles and rights, and each
// user's session is limited to them.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QSet>
#include <QThread>
#include <signal.h>

#include "feeders/DataMod.h"
#include "feeders/LVFidersUnit.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/Roles.h"
#include "host/Tree.h"
#include "host/fider/RegimeWriter.h"
#include "support/TestServer.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
class StopServerAtExit : public ::testing::Environment {
public:
    void TearDown() override { StopSharedServer(); }
};
const auto* const g_environment = ::testing::AddGlobalTestEnvironment(new StopServerAtExit);

struct Outcome {
    int code = -1;
    QString out, err;
};

Outcome Finish(QProcess& p, int timeoutMs = 180000)
{
    EXPECT_TRUE(p.waitForFinished(timeoutMs)) << "still running";
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit) << p.readAllStandardError().toStdString();
    return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError())};
}

void Start(QProcess& p, const QStringList& args, const QProcessEnvironment& env)
{
    p.setProcessEnvironment(env);
    p.start(AppPath(), args);
    ASSERT_TRUE(p.waitForStarted()) << args.join(' ').toStdString();
}

Outcome Ozn3(const QStringList& args, const QProcessEnvironment& env)
{
    QProcess p;
    Start(p, args, env);
    return Finish(p);
}

QStringList Lines(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(f.readAll()).split('\n', Qt::SkipEmptyParts);
}

class OnServer : public ::testing::Test {
protected:
    void SetUp() override
    {
        server_ = SharedServer();
        ASSERT_TRUE(server_);
        admin_ = server_->Environment("SYSDBA", server_->AdminPassword());
        SetServerCredentials("SYSDBA", server_->AdminPassword());
    }
    void TearDown() override { SetServerCredentials({}, {}); }
    // The small demo network as a database of the server (a file of its own for each test).
    QString DemoOnServer() { return server_->Address(NewDemoDatabase(folder_)); }

    TestServer* server_ = nullptr;
    QProcessEnvironment admin_;
    TempFolder folder_;
};
}  // namespace

TEST_F(OnServer, TheServerListensOnLoopbackOnlyAndAsksForAPassword)
{
    const QString db = server_->Address(folder_.Path("team.fdb"));
    ASSERT_EQ(Ozn3({"init-db", db}, admin_).code, 0);
    QProcessEnvironment nobody = admin_;
    nobody.remove("ISC_USER");
    nobody.remove("ISC_PASSWORD");
    const Outcome bare = Ozn3({"stats", "--db", db}, nobody);
    EXPECT_EQ(bare.code, 1);
    EXPECT_TRUE(bare.err.contains("нужны имя пользователя и пароль")) << bare.err.toStdString();
    const Outcome wrong = Ozn3({"stats", "--db", db}, server_->Environment("SYSDBA", "not-the-password"));
    EXPECT_EQ(wrong.code, 1);
    EXPECT_TRUE(wrong.err.contains("Не удалось открыть базу данных")) << wrong.err.toStdString();
    // Reachable by the loopback address only.
    QFile tcp("/proc/net/tcp");
    ASSERT_TRUE(tcp.open(QIODevice::ReadOnly));
    const QString port = QStringLiteral(":%1 ").arg(server_->Port(), 4, 16, QLatin1Char('0')).toUpper();
    int listening = 0;
    for (const QString& line : QString::fromLatin1(tcp.readAll()).split('\n'))
        if (line.contains(port) && line.section(' ', 3, 3, QString::SectionSkipEmpty) == "0A") {
            ++listening;
            EXPECT_TRUE(line.section(' ', 1, 1, QString::SectionSkipEmpty).startsWith("0100007F:"))
                << line.toStdString();
        }
    EXPECT_EQ(listening, 1);
}

TEST_F(OnServer, TheOwnerGivesAndTakesRolesAndRightsAndEachSessionIsLimitedToThem)
{
    const QString db = server_->Address(folder_.Path("team.fdb"));
    ASSERT_EQ(Ozn3({"init-db", db}, admin_).code, 0);
    // The creator owns it with every right that allows.
    EXPECT_EQ(Ozn3({"users", "--db", db}, admin_).out,
              "SYSDBA (владелец): роли нет; права 12 (загрузка замеров W), 13 (загрузка замеров Tmax), 14 (загрузка "
              "обобщенных данных)\n");
    // The owner creates the server's user together with the grant.
    const Outcome granted = Ozn3(
        {"users", "grant", "ivanov", "--db", db, "--role", "reader", "--right", "12", "--password", "Pass-1"}, admin_);
    ASSERT_EQ(granted.code, 0) << granted.err.toStdString();
    EXPECT_TRUE(granted.out.contains("IVANOV: роли reader; права 12 (загрузка замеров W)"))
        << granted.out.toStdString();

    // The password is exact; what a reader's commands answer is the next test's.
    const QProcessEnvironment ivanov = server_->Environment("ivanov", "Pass-1");
    EXPECT_EQ(Ozn3({"stats", "--db", db}, server_->Environment("ivanov", "pass-1")).code, 1);

    {
        SetServerCredentials("ivanov", "Pass-1");
        auto session = OpenDatabase(db);
        ASSERT_TRUE(session);
        EXPECT_EQ(session->Role(), "OZN3_READER");
        EXPECT_TRUE(session->GetUserRights(12));
        EXPECT_FALSE(session->GetUserRights(13));
        SetServerCredentials("SYSDBA", server_->AdminPassword());
    }

    ASSERT_EQ(Ozn3({"users", "grant", "ivanov", "--db", db, "--role", "writer"}, admin_).code, 0);
    const Outcome added = Ozn3({"substation", "add", "--db", db, "--name", "ТП-1"}, ivanov);
    EXPECT_EQ(added.code, 0) << added.err.toStdString();
    EXPECT_TRUE(Ozn3({"stats", "--db", db}, ivanov).out.contains("6 ТП: 1"));

    // Taken back: the user still logs in to the server, and reads nothing.
    ASSERT_EQ(Ozn3({"users", "revoke", "ivanov", "--db", db}, admin_).code, 0);
    EXPECT_TRUE(Ozn3({"stats", "--db", db}, ivanov).err.contains("Нет прав на чтение таблицы"));
    EXPECT_FALSE(Ozn3({"users", "--db", db}, admin_).out.contains("IVANOV"));
    EXPECT_EQ(Ozn3({"users", "grant", "ivanov", "--db", db, "--role", "superuser"}, admin_).code, 1);
    EXPECT_EQ(Ozn3({"users", "grant", "ivanov", "--db", db}, admin_).code, 2);
}

TEST_F(OnServer, AReaderGetsAnswersFromEveryCommandAndMessagesWhereItWouldWrite)
{
    const QString db = DemoOnServer();
    ASSERT_EQ(Ozn3({"users", "grant", "reader1", "--db", db, "--role", "reader", "--password", "r"}, admin_).code, 0);
    const QProcessEnvironment reader = server_->Environment("reader1", "r");
    const QString book = folder_.Path("book.xlsx");
    const QString feeder =
        QString::number(Scalar(*OpenDatabase(db)->GetDefaultConnection(), "select min(guid) from \"Fiders\""));
    struct Case {
        QStringList args;
        int code;
        const char* says;  // in the output or the errors
    };
    const QList<Case> cases = {
        {{"stats", "--db", db}, 0, "7 Линии 0,4 кВ:"},
        {{"scheme", "export", "--db", db, "--node", "7", book}, 0, ""},
        {{"conductors", "export", book, "--db", db}, 0, ""},
        {{"regime", "--db", db, "--node", "1", "--sample", "1", "--middle"}, 1, "Нет прав на"},
        {{"normative", "--db", db, "--node", "1", "--level", "7", "--period", "1"}, 1, "Нет прав на"},
        {{"substation", "add", "--db", db, "--name", "ТП-9", "--owner", feeder}, 1, "Нет прав на"},
        {{"users", "grant", "reader1", "--db", db, "--role", "writer"}, 1, ""},
    };
    for (const Case& c : cases) {
        const Outcome o = Ozn3(c.args, reader);
        EXPECT_EQ(o.code, c.code) << c.args.join(' ').toStdString() << "\n" << o.err.toStdString();
        EXPECT_TRUE((o.out + o.err).contains(QString::fromUtf8(c.says))) << c.args.join(' ').toStdString() << "\n"
                                                                         << (o.out + o.err).toStdString();
    }
}

TEST_F(OnServer, TwoNormativeBatchesOnOverlappingSubtreesBothSaveEveryElement)
{
    const QString db = DemoOnServer();
    int root = 0, district = 0, year = 0;
    {
        auto database = OpenDatabase(db);
        ASSERT_TRUE(database);
        ToznListItemCommon* top = database->GetTree()->GetItems(0);
        root = top->GetIdent();
        district = top->GetItems(0)->GetIdent();
        year = IntScalar(*database->GetDefaultConnection(),
                         "select min(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
    }
    const QString wholeLog = folder_.Path("whole.log"), partLog = folder_.Path("part.log");
    QProcess whole, part;
    Start(whole,
          {"normative", "--db", db, "--node", QString::number(root), "--level", "7", "--period", QString::number(year),
           "--log", wholeLog},
          admin_);
    Start(part,
          {"normative", "--db", db, "--node", QString::number(district), "--level", "7", "--period",
           QString::number(year), "--log", partLog},
          admin_);
    const Outcome a = Finish(whole), b = Finish(part);
    EXPECT_EQ(a.code, 0) << a.err.toStdString();
    EXPECT_EQ(b.code, 0) << b.err.toStdString();
    const QStringList wholeLines = Lines(wholeLog), partLines = Lines(partLog);
    ASSERT_GT(partLines.size(), 10);
    EXPECT_GT(wholeLines.size(), partLines.size());
    EXPECT_TRUE(wholeLines.filter("Не сохранено").isEmpty())
        << wholeLines.filter("Не сохранено").join('\n').toStdString();
    EXPECT_TRUE(partLines.filter("Не сохранено").isEmpty())
        << partLines.filter("Не сохранено").join('\n').toStdString();
    // Every element of the district is in both logs with the same outcome, and stored once.
    for (const QString& line : partLines)
        EXPECT_TRUE(wholeLines.contains(line)) << line.toStdString();
    auto database = OpenDatabase(db);
    ToznFDConnection& c = *database->GetDefaultConnection();
    // A substation shown again as a link is logged there too: stored once.
    QSet<QString> savedElements;
    for (const QString& line : wholeLines.filter(" - Расчет выполнен"))
        savedElements.insert(line.section(':', 0, 0));
    const int saved = static_cast<int>(savedElements.size());
    EXPECT_EQ(Scalar(c, Fmt("select count(*) from \"LVWResultsB\" where \"SampleIdent\"=%1", year)), saved);
    EXPECT_EQ(Scalar(c, Fmt("select count(distinct guid) from \"LVWResultsB\" where \"SampleIdent\"=%1", year)), saved);
}

TEST_F(OnServer, ABatchGivesUpOnAFeederAnotherUserHoldsAndCtrlCEndsTheWait)
{
    const QString db = DemoOnServer();
    auto database = OpenDatabase(db);
    ToznFDConnection& c = *database->GetDefaultConnection();
    const int year = IntScalar(c, "select min(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
    // A substation with several feeders that have schemes.
    const int tp = IntScalar(c, "select first 1 f.\"OwnerGUID\" from \"LVFiders\" f where exists "
                                "(select 1 from \"LVLines\" l where l.\"OwnerGUID\"=f.guid) group by "
                                "f.\"OwnerGUID\" having count(*) >= 3 order by 1");
    const QStringList run = {"regime",  "--db", db, "--node", QString::number(tp), "--sample", QString::number(year),
                             "--middle"};
    const Outcome first = Ozn3(run, admin_);
    ASSERT_EQ(first.code, 0) << first.err.toStdString();
    const QString ofTp = Fmt(" from \"LVResults\" r join \"LVFiders\" f on f.guid=r.guid where "
                             "f.\"OwnerGUID\"=%1 and r.\"SampleIdent\"=%2 ",
                             tp, year);
    const int feeders = IntScalar(c, "select count(distinct r.guid)" + ofTp);
    ASSERT_GE(feeders, 2);
    EXPECT_EQ(Scalar(c, "select count(*)" + ofTp), feeders);  // one run each
    const int held = IntScalar(c, "select min(r.guid)" + ofTp);
    const double former = Scalar(c, "select r.\"Ident\"" + ofTp + Fmt("and r.guid=%1", held));

    // Another user changes that feeder's run and leaves the transaction open.
    auto other = database->NewConnection();
    other->StartTransaction(false);
    Exec(*other, Fmt("update \"LVResults\" set \"GUID\"=\"GUID\" where guid=%1 and \"SampleIdent\"=%2", held, year));

    const QString log = folder_.Path("regime.log");
    QElapsedTimer timer;
    timer.start();
    const Outcome second = Ozn3(run + QStringList{"--log", log}, admin_);
    const qint64 waited = timer.elapsed();
    EXPECT_EQ(second.code, 0) << second.err.toStdString();
    EXPECT_TRUE(second.out.contains(Fmt("отказано: 1 из %1", feeders))) << second.out.toStdString();
    // The group waits once, the feeder a few times more on its own: then it is reported, not waited for forever.
    EXPECT_GE(waited, (1 + fider::TRegimeWriter::kWriteAttempts) * 5000 - 1000);
    EXPECT_LT(waited, (2 + fider::TRegimeWriter::kWriteAttempts) * 5000);
    const QStringList lines = Lines(log);
    EXPECT_EQ(lines.size(), feeders);
    EXPECT_EQ(lines.filter(Fmt("(%1) - Ошибка записи в базу данных: Данные заняты другим пользователем", held)).size(),
              1)
        << lines.join('\n').toStdString();
    EXPECT_EQ(lines.filter(" - Рассчитана и сохранена").size(), feeders - 1);
    // The held feeder keeps its former run; the others have new ones, one each.
    EXPECT_EQ(Scalar(c, "select count(*)" + ofTp), feeders);
    EXPECT_EQ(Scalar(c, "select r.\"Ident\"" + ofTp + Fmt("and r.guid=%1", held)), former);

    // Ctrl-C while the batch waits for the held rows: it stops at once, not after the wait.
    QProcess third;
    Start(third, run, admin_);
    QThread::msleep(2500);
    ASSERT_EQ(third.state(), QProcess::Running);
    timer.restart();
    ::kill(static_cast<pid_t>(third.processId()), SIGINT);
    const Outcome stopped = Finish(third, 30000);
    EXPECT_LT(timer.elapsed(), 3000);
    EXPECT_EQ(stopped.code, 130) << stopped.err.toStdString();
    EXPECT_TRUE(stopped.err.contains("Расчет остановлен")) << stopped.err.toStdString();
    other->Rollback();
}

TEST_F(OnServer, OfTwoEditorsOfOneSampleTheSecondSaveIsRefused)
{
    const QString db = DemoOnServer();
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    // Two users, each with a database session of their own, open the same substation.
    auto first = OpenDatabase(db), second = OpenDatabase(db);
    ToznFDConnection& c1 = *first->GetDefaultConnection();
    ToznFDConnection& c2 = *second->GetDefaultConnection();
    const int node = IntScalar(c1, "select first 1 \"OwnerGUID\" from \"LVFiders\" group by \"OwnerGUID\" "
                                   "having count(*) >= 3 order by \"OwnerGUID\"");
    auto open = [node](ToznFDConnection& c) {
        c.StartTransaction(false);
        auto form = std::make_unique<TLVFidersForm>(nullptr, c);
        form->SetRepData(new TRep_Data(form.get(), c));
        form->SetNode(node);
        form->OpenFiders();
        return form;
    };
    SetCurrentDatabase(first.get());
    auto one = open(c1);
    SetCurrentDatabase(second.get());
    auto two = open(c2);
    ASSERT_EQ(one->LVFider(), two->LVFider());
    auto edit = [](TLVFidersForm& form, const QString& value) {
        QLineEdit* box = form.Edit("EditIA");
        box->setText(value);
        emit box->textEdited(value);
        form.findChild<QPushButton*>("btnSave")->click();
    };
    SetCurrentDatabase(first.get());
    edit(*one, "111");
    const QString stored = Fmt("select \"IA\" from \"LVPResultsA\" where GUID=%1 and \"SampleDate\"='%2'",
                               one->LVFider(), one->CurrentDate().toString(Qt::ISODate));
    auto reader = first->NewConnection();
    EXPECT_DOUBLE_EQ(Scalar(*reader, stored), 111);

    SetCurrentDatabase(second.get());
    dialogs.Clear();
    QElapsedTimer timer;
    timer.start();
    edit(*two, "222");
    EXPECT_LT(timer.elapsed(), 10000);
    ASSERT_EQ(dialogs.Texts().size(), 1);
    EXPECT_TRUE(dialogs.Texts()[0].startsWith("Данные линии изменил другой пользователь"))
        << dialogs.Texts()[0].toStdString();
    EXPECT_TRUE(two->findChild<QPushButton*>("btnSave")->isEnabled());  // the edit stays to be redone
    auto later = first->NewConnection();
    EXPECT_DOUBLE_EQ(Scalar(*later, stored), 111);
    one.reset();
    two.reset();
    if (c1.inTransaction())
        c1.Commit();
    if (c2.inTransaction())
        c2.Rollback();
    SetCurrentDatabase(nullptr);
}

namespace {
// Starts a batch and kills it outright once its log shows that something is saved; false when it ended first.
bool KillWhenLogged(const QStringList& args, const QProcessEnvironment& env, const QString& log)
{
    QProcess p;
    Start(p, args, env);
    while (p.state() == QProcess::Running && Lines(log).isEmpty())
        QThread::usleep(300);
    if (p.state() != QProcess::Running)
        return false;
    p.kill();
    p.waitForFinished();
    return true;
}
}  // namespace

TEST_F(OnServer, AKilledBatchLeavesWholeRunsAndALogThatNeverClaimsMoreThanIsStored)
{
    const QString db = DemoOnServer();
    auto database = OpenDatabase(db);
    ToznFDConnection& c = *database->GetDefaultConnection();
    const int year = IntScalar(c, "select min(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
    const QString runs = Fmt(" from \"LVResults\" r where r.\"SampleIdent\"=%1", year);
    const int before = IntScalar(c, "select max(\"Ident\")" + runs);
    const double feeders = Scalar(c, "select count(*)" + runs);
    const double withoutNodes =
        Scalar(c, "select count(*)" + runs +
                      " and not exists (select 1 from \"LVPResultsN\" n where n.\"Ident\"=r.\"Ident\")");
    ASSERT_GT(feeders, 100);

    const QString log = folder_.Path("regime.log");
    bool killed = false;
    for (int attempt = 0; attempt < 5 && !killed; ++attempt) {
        QFile::remove(log);
        killed = KillWhenLogged(
            {"regime", "--db", db, "--node", "1", "--sample", QString::number(year), "--middle", "--log", log}, admin_,
            log);
    }
    ASSERT_TRUE(killed) << "the regime batch always finished before it could be killed";
    // Every feeder still has one whole run: the former or the new one, never both, never half of one.
    EXPECT_GE(Scalar(c, "select count(*)" + runs), feeders);
    EXPECT_EQ(Scalar(c, "select count(distinct r.guid)" + runs), Scalar(c, "select count(*)" + runs));
    EXPECT_EQ(Scalar(c, "select count(*)" + runs +
                            " and not exists (select 1 from \"LVPResultsN\" n where n.\"Ident\"=r.\"Ident\")"),
              withoutNodes);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVPResultsN\" n where not exists (select 1 from \"LVResults\" r where "
                        "r.\"Ident\"=n.\"Ident\")"),
              0);
    // What the log says is saved is stored.
    const QStringList saved = Lines(log).filter(" - Рассчитана и сохранена");
    EXPECT_LT(saved.size(), feeders);
    for (const QString& line : saved) {
        const QString guid = line.section(" - ", 0, 0).section('(', -1).chopped(1);
        EXPECT_GT(Scalar(c, "select r.\"Ident\"" + runs + " and r.guid=" + guid), before) << line.toStdString();
    }

    // The normative batch: the elements it logs as calculated have their results, whatever it was doing when killed.
    Exec(c, Fmt("update \"LVWResultsB\" set \"deltaWa\"=null where \"SampleIdent\"=%1", year));
    const QString normativeLog = folder_.Path("normative.log");
    killed = false;
    for (int attempt = 0; attempt < 5 && !killed; ++attempt) {
        QFile::remove(normativeLog);
        killed = KillWhenLogged({"normative", "--db", db, "--node", "1", "--level", "7", "--period",
                                 QString::number(year), "--log", normativeLog},
                                admin_, normativeLog);
    }
    ASSERT_TRUE(killed) << "the normative batch always finished before it could be killed";
    const QStringList calculated = Lines(normativeLog).filter(" - Расчет выполнен");
    ASSERT_FALSE(calculated.isEmpty()) << Lines(normativeLog).join('\n').toStdString();
    for (const QString& line : calculated)
        EXPECT_EQ(Scalar(c, Fmt("select count(*) from \"LVWResultsB\" where \"SampleIdent\"=%1 and guid=%2 "
                                "and \"deltaWa\" is not null",
                                year, line.section(':', 0, 0))),
                  1)
            << line.toStdString();
}

TEST_F(OnServer, ASchemeImportWaitsAFewSecondsForRowsAnotherUserHoldsAndThenChangesNothing)
{
    const QString db = DemoOnServer();
    auto database = OpenDatabase(db);
    ToznFDConnection& c = *database->GetDefaultConnection();
    const int feeder = IntScalar(c, "select min(\"OwnerGUID\") from \"LVLines\"");
    const QString tp = QString::number(Scalar(c, Fmt("select \"OwnerGUID\" from \"LVFiders\" where guid=%1", feeder)));
    const QString book = folder_.Path("scheme.xlsx");
    ASSERT_EQ(Ozn3({"scheme", "export", "--db", db, "--node", tp, book}, admin_).code, 0);
    const QString sections = Fmt("select count(*) from \"LVLines\" where \"OwnerGUID\"=%1", feeder);
    const double stored = Scalar(c, sections);

    auto other = database->NewConnection();
    other->StartTransaction(false);
    Exec(*other, Fmt("update \"LVLines\" set \"OwnerGUID\"=\"OwnerGUID\" where \"OwnerGUID\"=%1", feeder));
    QElapsedTimer timer;
    timer.start();
    const Outcome held = Ozn3({"scheme", "import", book, "--db", db, "--node", tp, "--replace"}, admin_);
    EXPECT_EQ(held.code, 1);
    EXPECT_TRUE(held.err.contains("Данные заняты другим пользователем")) << held.err.toStdString();
    EXPECT_GE(timer.elapsed(), 9000);
    EXPECT_LT(timer.elapsed(), 40000);
    other->Rollback();
    EXPECT_EQ(Scalar(c, sections), stored);
    const Outcome free = Ozn3({"scheme", "import", book, "--db", db, "--node", tp, "--replace"}, admin_);
    EXPECT_EQ(free.code, 0) << free.err.toStdString();
}

namespace {
// The energy received by every run of an interval, and the runs and feeders that carry it.
struct RunTotals {
    double received = 0;
    int runs = 0, feeders = 0;
};
RunTotals Totals(ToznFDConnection& c, int sample)
{
    const QString of = Fmt(" from \"LVResults\" r where r.\"SampleIdent\"=%1", sample);
    return {Scalar(c, Fmt("select sum(w.\"Wa_gen\") from \"LVWResultsAdd\" w join \"LVResults\" r on "
                          "r.\"Ident\"=w.\"Ident\" where r.\"SampleIdent\"=%1",
                          sample)),
            IntScalar(c, "select count(*)" + of), IntScalar(c, "select count(distinct r.guid)" + of)};
}
}  // namespace

TEST_F(OnServer, TwoWritersOnOverlappingNodesLeaveOneRunPerFeederAndTheSumsOfOneBatch)
{
    const QString db = DemoOnServer();
    for (const char* user : {"writer1", "writer2"})
        ASSERT_EQ(Ozn3({"users", "grant", user, "--db", db, "--role", "writer", "--password", "w"}, admin_).code, 0);
    int enterprise = 0, district = 0, year = 0;
    {
        auto database = OpenDatabase(db);
        ToznListItemCommon* pes = database->GetTree()->GetItems(0)->GetItems(0);
        enterprise = pes->GetIdent();
        district = pes->GetItems(0)->GetIdent();
        year = IntScalar(*database->GetDefaultConnection(),
                         "select min(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
    }
    auto database = OpenDatabase(db);
    ToznFDConnection& c = *database->GetDefaultConnection();
    Exec(c, Fmt("delete from \"LVResults\" where \"SampleIdent\"=%1", year));
    auto regime = [&](int node) {
        return QStringList{"regime",  "--db", db, "--node", QString::number(node), "--sample", QString::number(year),
                           "--middle"};
    };
    for (int round = 0; round < 3; ++round) {
        QProcess one, two;
        Start(one, regime(district), server_->Environment("writer1", "w"));
        Start(two, regime(enterprise), server_->Environment("writer2", "w"));
        const Outcome a = Finish(one), b = Finish(two);
        EXPECT_EQ(a.code, 0) << a.err.toStdString();
        EXPECT_EQ(b.code, 0) << b.err.toStdString();
        const RunTotals t = Totals(c, year);
        EXPECT_EQ(t.runs, t.feeders) << "round " << round;
        EXPECT_TRUE(b.out.contains(Fmt("Рассчитано линий: %1,", t.runs))) << b.out.toStdString();
    }
    const RunTotals together = Totals(c, year);
    // One batch alone gives the same sums.
    ASSERT_EQ(Ozn3(regime(enterprise), server_->Environment("writer2", "w")).code, 0);
    const RunTotals alone = Totals(c, year);
    EXPECT_EQ(alone.runs, together.runs);
    EXPECT_NEAR(together.received, alone.received, 1e-9 * alone.received);
    EXPECT_GT(alone.received, 0);
}

TEST_F(OnServer, OnlyAdministratorsGiveAndTakeRightsAndTheOwnersStayTheirs)
{
    const QString db = DemoOnServer();
    ASSERT_EQ(Ozn3({"users", "grant", "writer2", "--db", db, "--role", "writer", "--password", "w"}, admin_).code, 0);
    const Outcome named = Ozn3({"users", "grant", "adm", "--db", db, "--role", "admin", "--password", "a"}, admin_);
    ASSERT_EQ(named.code, 0) << named.err.toStdString();
    EXPECT_TRUE(named.out.contains("ADM: роли admin, writer, reader; права нет")) << named.out.toStdString();
    const QProcessEnvironment writer = server_->Environment("writer2", "w"), adm = server_->Environment("adm", "a");
    const QString before = Ozn3({"users", "--db", db}, admin_).out;

    // A writer neither gives itself rights nor takes the owner's, and the database stays as it was.
    for (const QStringList& args :
         {QStringList{"users", "grant", "WRITER2", "--db", db, "--right", "12", "13", "14", "0"},
          QStringList{"users", "revoke", "SYSDBA", "--db", db, "--right", "12"},
          QStringList{"users", "grant", "writer2", "--db", db, "--role", "admin"}}) {
        const Outcome o = Ozn3(args, writer);
        EXPECT_EQ(o.code, 1) << args.join(' ').toStdString();
        EXPECT_TRUE(o.err.startsWith("Нет прав на управление пользователями")) << o.err.toStdString();
    }
    EXPECT_EQ(Ozn3({"users", "--db", db}, admin_).out, before);
    // Nor by writing the table of rights itself: the engine refuses the writer's role.
    {
        ToznFDConnection direct(nullptr, db, "WRITER2", "w", host::kWriterRole);
        try {
            Exec(direct, "insert into \"UserRights\" (\"UserName\", \"UserRight\", \"PeriodIdent\", \"ObjectGUID\", "
                         "\"Granted\") values ('WRITER2', 12, -1, -1, 1)");
            ADD_FAILURE() << "a writer changed the rights";
        } catch (const EDatabaseError& e) {
            EXPECT_EQ(e.Text(),
                      "Нет прав на добавление строк таблицы «UserRights»: обратитесь к владельцу базы данных");
        }
    }
    // Without the right the W workbook is not saved either.
    const QString book = folder_.Path("w.xlsx");
    const QString tp = QString::number(
        Scalar(*OpenDatabase(db)->GetDefaultConnection(), "select min(\"OwnerGUID\") from \"LVFiders\""));
    ASSERT_EQ(Ozn3({"workbook", "write", "w", "--db", db, "--node", tp, "--sample", "1", book}, writer).code, 0);
    const Outcome save = Ozn3({"workbook", "read", "w", "--db", db, book, "--save"}, writer);
    EXPECT_TRUE((save.out + save.err).contains("Нет права на загрузку этой книги (право 12)") ||
                (save.out + save.err).contains("Нет изменений"))
        << (save.out + save.err).toStdString();

    // The administrator gives and takes a writer's rights, but not the owner's, and not the administrator's role.
    const Outcome given = Ozn3({"users", "grant", "writer2", "--db", db, "--right", "12", "13"}, adm);
    EXPECT_EQ(given.code, 0) << given.err.toStdString();
    EXPECT_TRUE(given.out.contains("WRITER2: роли writer; права 12 (загрузка замеров W), 13 (загрузка замеров Tmax)"))
        << given.out.toStdString();
    EXPECT_EQ(Ozn3({"users", "revoke", "writer2", "--db", db, "--right", "13"}, adm).code, 0);
    const Outcome role = Ozn3({"users", "grant", "reader9", "--db", db, "--role", "reader"}, adm);
    EXPECT_EQ(role.code, 0) << role.err.toStdString();
    const Outcome owners = Ozn3({"users", "revoke", "SYSDBA", "--db", db, "--right", "12"}, adm);
    EXPECT_EQ(owners.code, 1);
    EXPECT_TRUE(owners.err.contains("права владельца базы данных SYSDBA может изменить только он сам"))
        << owners.err.toStdString();
    const Outcome promote = Ozn3({"users", "grant", "writer2", "--db", db, "--role", "admin"}, adm);
    EXPECT_EQ(promote.code, 1);
    EXPECT_TRUE(promote.err.contains("роль администратора дает и отнимает только владелец"))
        << promote.err.toStdString();
    const QString users = Ozn3({"users", "--db", db}, admin_).out;
    EXPECT_TRUE(users.contains("SYSDBA (владелец): роли нет; права 12 (загрузка замеров W), "
                               "13 (загрузка замеров Tmax), 14"))
        << users.toStdString();
    EXPECT_TRUE(users.contains("WRITER2: роли writer; права 12 (загрузка замеров W)\n")) << users.toStdString();

    // The owner takes the administrator's role back: the former administrator is a writer who gives nothing.
    ASSERT_EQ(Ozn3({"users", "revoke", "adm", "--db", db, "--role", "admin"}, admin_).code, 0);
    EXPECT_TRUE(Ozn3({"users", "--db", db}, admin_).out.contains("ADM: роли writer, reader; права нет"));
    EXPECT_EQ(Ozn3({"users", "grant", "writer2", "--db", db, "--right", "14"}, adm).code, 1);
    // Someone who holds nothing cannot lose anything.
    const Outcome nobody = Ozn3({"users", "revoke", "NOBODY", "--db", db}, admin_);
    EXPECT_EQ(nobody.code, 1);
    EXPECT_TRUE(nobody.err.contains("Пользователь NOBODY не найден")) << nobody.err.toStdString();
}

TEST_F(OnServer, DemoDbFillsAnExistingEmptyServerDatabaseAndRefusesAForeignOne)
{
    // Made by the engine's own tool: a bare one is given the tables and filled, one with tables of another
    // application is left alone. (One made by init-db is filled as on a file of the user's own: tests/entry.)
    const QString bare = folder_.Path("bare.fdb"), foreign = folder_.Path("foreign.fdb");
    for (const QString& path : {bare, foreign}) {
        QProcess isql;
        isql.setProcessEnvironment(admin_);
        isql.start("isql-fb", {"-q"});
        isql.write(QStringLiteral("create database '%1' default character set UTF8;\n%2commit;\n")
                       .arg(server_->Address(path), path == foreign ? "create table t (id integer);\n" : "")
                       .toUtf8());
        isql.closeWriteChannel();
        ASSERT_TRUE(isql.waitForFinished(60000));
        ASSERT_EQ(isql.exitCode(), 0) << isql.readAllStandardError().toStdString();
    }
    const Outcome given = Ozn3({"demo-db", server_->Address(bare)}, admin_);
    EXPECT_EQ(given.code, 0) << given.err.toStdString();
    EXPECT_TRUE(Ozn3({"stats", "--db", server_->Address(bare)}, admin_).out.contains("6 ТП: 192"));
    EXPECT_TRUE(Ozn3({"users", "--db", server_->Address(bare)}, admin_).out.startsWith("SYSDBA (владелец)"));
    const Outcome refused = Ozn3({"demo-db", server_->Address(foreign)}, admin_);
    EXPECT_EQ(refused.code, 1);
    EXPECT_TRUE(refused.err.contains("не пуста, но таблиц ОЗН 3 в ней нет")) << refused.err.toStdString();
}
