// The host application's command line, run as a user would run it.
#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QThread>

#include "support/TestSupport.h"

using namespace testing_support;

namespace {
struct Outcome {
    int code;
    QString out, err;
};

Outcome run(const QStringList& args, bool display = false, const QString& x11Display = {})
{
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("DISPLAY");
    env.remove("WAYLAND_DISPLAY");
    if (!x11Display.isNull())
        env.insert("DISPLAY", x11Display);
    if (display)
        env.insert("QT_QPA_PLATFORM", "offscreen");
    else
        env.remove("QT_QPA_PLATFORM");
    p.setProcessEnvironment(env);
    p.start(AppPath(), args);
    EXPECT_TRUE(p.waitForFinished(120000));
    return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError())};
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

TEST(AppCommandLine, DemoDatabaseIsFilledOnceAndOpensInTheWindow)
{
    TempFolder folder;
    const QString path = folder.Path("demo.fdb");
    Outcome r = run({"demo-db", path, "--size", "small"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.contains("ТП 192"));
    r = run({"demo-db", path});
    EXPECT_NE(r.code, 0);
    EXPECT_TRUE(r.err.contains("уже есть сеть"));
    r = run({"stats", "--db", path});
    EXPECT_TRUE(r.out.contains("7 Линии 0,4 кВ: "));
    EXPECT_TRUE(r.out.contains("4 Секции: 16"));
}

TEST(AppCommandLine, TheWindowEndsCleanlyWhenTheProcessIsAskedToStop)
{
    TempFolder folder;
    const QString path = folder.Path("demo.fdb");
    ASSERT_EQ(run({"demo-db", path, "--size", "small"}).code, 0);
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
