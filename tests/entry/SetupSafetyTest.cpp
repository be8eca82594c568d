// Set-up and outputs that survive interruption and odd targets: a killed init-db leaves no half-made
// database in place, logs and workbooks are never written over a device or a pipe, and a lost output fails.
#include <gtest/gtest.h>

#include <QFileInfo>
#include <QProcess>
#include <QThread>
#include <sys/stat.h>

#include "db/SchemaInstaller.h"
#include "host/Database.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
using Outcome = AppOutcome;
Outcome Ozn3(const QStringList& args) { return RunApp(args); }

bool IsFifo(const QString& path)
{
    struct stat st {};
    return ::stat(path.toLocal8Bit().constData(), &st) == 0 && S_ISFIFO(st.st_mode);
}
}  // namespace

TEST(SetupSafety, AKilledInitDbLeavesNothingInPlaceAndTheNextOneWorks)
{
    TempFolder folder;
    const QString db = folder.Path("new.fdb");
    // Killed as soon as the database under construction appears.
    bool killed = false;
    for (int attempt = 0; attempt < 5 && !killed; ++attempt) {
        QFile::remove(db);
        QProcess p;
        p.start(AppPath(), {"init-db", db});
        ASSERT_TRUE(p.waitForStarted());
        while (p.state() == QProcess::Running && !QFileInfo::exists(db::PartialPath(db)))
            QThread::usleep(500);
        if (p.state() == QProcess::Running) {
            p.kill();
            p.waitForFinished();
            killed = true;
        }
    }
    ASSERT_TRUE(killed) << "init-db always finished before it could be killed";
    EXPECT_FALSE(QFileInfo::exists(db));
    const Outcome stats = Ozn3({"stats", "--db", db});
    EXPECT_NE(stats.code, 0);

    const Outcome again = Ozn3({"init-db", db});
    ASSERT_EQ(again.code, 0) << again.err.toStdString();
    EXPECT_TRUE(QFileInfo::exists(db));
    EXPECT_FALSE(QFileInfo::exists(db::PartialPath(db)));
    EXPECT_EQ(Ozn3({"stats", "--db", db}).code, 0);
}

TEST(SetupSafety, AKilledDemoDbLeavesTheDatabaseAsItWas)
{
    TempFolder folder;
    const QString db = folder.Path("demo.fdb");
    ASSERT_EQ(Ozn3({"init-db", db}).code, 0);
    QProcess p;
    p.start(AppPath(), {"demo-db", db});
    ASSERT_TRUE(p.waitForStarted());
    while (p.state() == QProcess::Running && !QFileInfo::exists(db::PartialPath(db)))
        QThread::usleep(500);
    QThread::msleep(800);  // well into the generation
    ASSERT_EQ(p.state(), QProcess::Running) << "the demo finished before it could be killed";
    p.kill();
    p.waitForFinished();
    const Outcome stats = Ozn3({"stats", "--db", db});
    ASSERT_EQ(stats.code, 0) << stats.err.toStdString();
    EXPECT_TRUE(stats.out.contains("6 ТП: 0")) << stats.out.toStdString();
}

TEST(SetupSafety, LogsAndWorkbooksAreNeverWrittenOverADeviceOrAPipe)
{
    TempFolder folder;
    const QString db = NewDemoDatabase(folder);
    const QString fifo = folder.Path("pipe");
    ASSERT_EQ(::mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);
    const QString substation = QString::number(
        Scalar(*OpenDatabase(db)->GetDefaultConnection(), "select first 1 \"OwnerGUID\" from \"LVFiders\""));
    const QString year = "1";
    const QList<QStringList> commands = {
        {"regime", "--db", db, "--node", substation, "--sample", year, "--middle", "--log"},
        {"normative", "--db", db, "--node", "1", "--level", "7", "--period", year, "--log"},
        {"scheme", "export", "--db", db, "--node", substation},
        {"conductors", "export", "--db", db},
    };
    for (const QString& target : {fifo, QStringLiteral("/dev/full")})
        for (const QStringList& command : commands) {
            const Outcome o = Ozn3(command + QStringList{target});
            EXPECT_EQ(o.code, 1) << command.join(' ').toStdString() << " " << target.toStdString();
            EXPECT_TRUE(o.err.contains(target + " — не обычный файл")) << o.err.toStdString();
        }
    EXPECT_TRUE(IsFifo(fifo));
    EXPECT_FALSE(QFileInfo("/dev/full").isFile());
}

TEST(SetupSafety, AnAnswerThatCannotBeWrittenFailsTheCalculation)
{
    QProcess p;
    p.setStandardOutputFile("/dev/full");
    p.start(AppPath(), {"calc", "normative"});
    p.write(R"({"Wa":100,"F":50,"dp":0.5,"dn":0.1,"Lma":1})"
            "\n");
    p.closeWriteChannel();
    ASSERT_TRUE(p.waitForFinished(120000));
    EXPECT_EQ(p.exitCode(), 1);
    EXPECT_TRUE(p.readAllStandardError().contains("Не удалось записать результаты"));
}
