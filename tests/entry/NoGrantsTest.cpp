// A database user without any grant gets a message from every command and from the window, never a crash.
#include <gtest/gtest.h>

#include <QProcess>

#include "support/TestSupport.h"

using namespace testing_support;

TEST(NoGrants, EveryCommandAndTheWindowAnswerWithAMessage)
{
    TempFolder folder;
    const QString db = NewDemoDatabase(folder);
    const QString book = folder.Path("book.xlsx");
    const QList<QStringList> commands = {
        {"stats", "--db", db},
        {"regime", "--db", db, "--node", "1", "--sample", "1", "--middle"},
        {"results", "--db", db, "--guid", "1", "--sample", "1", "--json"},
        {"normative", "--db", db, "--node", "1", "--level", "7", "--period", "1"},
        {"scheme", "export", "--db", db, "--node", "7", book},
        {"conductors", "export", book, "--db", db},
        {"substation", "add", "--db", db, "--name", "ТП-9"},
        {"--db", db},  // the main window
    };
    for (const QStringList& args : commands) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("ISC_USER", "NOBODY");
        env.insert("ISC_PASSWORD", "nothing");
        env.insert("QT_QPA_PLATFORM", "offscreen");
        p.setProcessEnvironment(env);
        p.start(AppPath(), args);
        ASSERT_TRUE(p.waitForFinished(60000)) << args.join(' ').toStdString();
        const QString err = QString::fromUtf8(p.readAllStandardError());
        EXPECT_EQ(p.exitStatus(), QProcess::NormalExit) << args.join(' ').toStdString();
        EXPECT_EQ(p.exitCode(), 1) << args.join(' ').toStdString() << "\n" << err.toStdString();
        EXPECT_TRUE(err.contains("Нет прав на чтение таблицы «")) << args.join(' ').toStdString() << "\n" << err.toStdString();
    }
}
