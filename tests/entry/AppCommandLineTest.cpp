// The host application's command line, run as a user would run it.
#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QThread>

#include "support/TestSupport.h"

using namespace testing_support;

namespace {
using Outcome = AppOutcome;
// Without a display unless one is named; offscreen windows when asked for.
Outcome run(const QStringList& args, bool display = false, const QString& x11Display = {})
{
    return RunApp(args, {{"DISPLAY", x11Display},
                         {"WAYLAND_DISPLAY", {}},
                         {"QT_QPA_PLATFORM", display ? QStringLiteral("offscreen") : QString()}});
}
}  // namespace

TEST(AppCommandLine, HelpInitAndStats)
{
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    for (const char* word : {"init-db", "demo-db", "--db", "host[/port]:path"})
        EXPECT_TRUE(help.out.contains(word)) << word;

    TempFolder folder;
    const QString path = folder.Path("new.fdb");
    const Outcome init = run({"init-db", path});
    EXPECT_EQ(init.code, 0) << init.err.toStdString();
    EXPECT_TRUE(QFile::exists(path));
    const Outcome again = run({"init-db", path});
    EXPECT_NE(again.code, 0);
    EXPECT_TRUE(again.err.contains("уже существует"));

    const Outcome stats = run({"stats", "--db", path});
    EXPECT_EQ(stats.code, 0) << stats.err.toStdString();
    EXPECT_TRUE(stats.out.contains("6 ТП: 0"));

    // An empty display, or a local one with no server behind it, is no display: the summary, not an abort.
    for (const QString& display : {QString(""), QString(":987"), QString(":987.0")}) {
        const Outcome noWindow = run({"--db", path}, false, display);
        EXPECT_EQ(noWindow.code, 0) << display.toStdString() << noWindow.err.toStdString();
        EXPECT_TRUE(noWindow.err.contains("Нет дисплея")) << display.toStdString();
        EXPECT_TRUE(noWindow.out.contains("6 ТП: 0"));
    }
}

TEST(AppCommandLine, BadInputGetsAClearMessageAndAFailingExit)
{
    TempFolder folder;
    Outcome r = run({"--db", folder.Path("missing.fdb")});
    EXPECT_NE(r.code, 0);
    EXPECT_TRUE(r.err.contains("Нет дисплея"));
    EXPECT_TRUE(r.err.contains("не найден"));

    r = run({"--db", "server/70000:/x.fdb"});
    EXPECT_NE(r.code, 0);
    EXPECT_TRUE(r.err.contains("порта"));

    r = run({"frobnicate"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(r.err.contains("Неизвестная команда"));

    r = run({"demo-db", folder.Path("d.fdb"), "--size", "huge"});
    EXPECT_EQ(r.code, 2);
    EXPECT_FALSE(QFile::exists(folder.Path("d.fdb")));

    QFile junk(folder.Path("junk.fdb"));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("not a database");
    junk.close();
    r = run({"--db", junk.fileName()}, true);
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains("Не удалось открыть"));
}

TEST(AppCommandLine, ADemoDatabaseOpensInTheWindowWhichEndsCleanlyWhenAskedToStop)
{
    TempFolder folder;
    const QString path = folder.Path("demo.fdb");
    const Outcome demo = run({"demo-db", path, "--size", "small"});
    ASSERT_EQ(demo.code, 0) << demo.err.toStdString();
    EXPECT_TRUE(demo.out.contains("ТП 192"));
    EXPECT_TRUE(run({"stats", "--db", path}).out.contains("4 Секции: 16"));
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    p.setProcessEnvironment(env);
    p.start(AppPath(), {"--db", path});
    ASSERT_TRUE(p.waitForStarted());
    // The window is up once the database is open: the file is then locked by the process.
    QThread::msleep(3000);
    ASSERT_EQ(p.state(), QProcess::Running) << p.readAllStandardError().toStdString();
    p.terminate();  // SIGTERM
    ASSERT_TRUE(p.waitForFinished(30000));
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(p.exitCode(), 0);
    // Detached: the database opens again in another process.
    EXPECT_EQ(run({"stats", "--db", path}).code, 0);
}
