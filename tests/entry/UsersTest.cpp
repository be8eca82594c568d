// A second user of one database: the owner gives a role and rights, and the user's session is limited to them.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QProcess>
#include <QTableWidget>

#include "app/RightsDialog.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/Roles.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
struct Outcome {
    int code;
    QString out, err;
};

Outcome Ozn3(const QStringList& args, const QString& user = {})
{
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("ISC_USER");
    env.remove("ISC_PASSWORD");
    if (!user.isEmpty()) {
        env.insert("ISC_USER", user);
        env.insert("ISC_PASSWORD", "any");  // an embedded database checks names, not passwords
    }
    p.setProcessEnvironment(env);
    p.start(AppPath(), args);
    EXPECT_TRUE(p.waitForFinished(60000));
    return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError())};
}
}  // namespace

TEST(Users, TheOwnerGivesASecondUserAWorkingRightsLimitedSession)
{
    TempFolder folder;
    const QString db = folder.Path("team.fdb");
    ASSERT_EQ(Ozn3({"init-db", db}).code, 0);
    // The creator owns it with every right that allows.
    EXPECT_EQ(Ozn3({"users", "--db", db}).out,
              "SYSDBA: роли нет; права 12 (загрузка замеров W), 13 (загрузка замеров Tmax), 14 (загрузка обобщенных "
              "данных)\n");
    // A user nobody has granted anything reads nothing.
    EXPECT_TRUE(Ozn3({"stats", "--db", db}, "petrov").err.contains("Нет прав на чтение таблицы"));

    const Outcome granted = Ozn3({"users", "grant", "petrov", "--db", db, "--role", "reader", "--right", "12"});
    ASSERT_EQ(granted.code, 0) << granted.err.toStdString();
    EXPECT_TRUE(granted.out.contains("PETROV: роли reader; права 12 (загрузка замеров W)"))
        << granted.out.toStdString();
    EXPECT_EQ(Ozn3({"stats", "--db", db}, "petrov").code, 0);
    const Outcome write = Ozn3({"substation", "add", "--db", db, "--name", "ТП-1"}, "petrov");
    EXPECT_EQ(write.code, 1);
    EXPECT_TRUE(write.err.contains("Нет прав на")) << write.err.toStdString();

    const Outcome writer = Ozn3({"users", "grant", "petrov", "--db", db, "--role", "writer"});
    ASSERT_EQ(writer.code, 0) << writer.err.toStdString();
    EXPECT_EQ(Ozn3({"substation", "add", "--db", db, "--name", "ТП-1"}, "petrov").code, 0);

    ASSERT_EQ(Ozn3({"users", "revoke", "petrov", "--db", db}).code, 0);
    EXPECT_TRUE(Ozn3({"stats", "--db", db}, "petrov").err.contains("Нет прав на чтение таблицы"));
    EXPECT_FALSE(Ozn3({"users", "--db", db}).out.contains("PETROV"));

    EXPECT_EQ(Ozn3({"users", "grant", "petrov", "--db", db, "--role", "admin"}).code, 1);
    EXPECT_EQ(Ozn3({"users", "grant", "petrov", "--db", db}).code, 2);

    // The application's rights of a session: the one given, not the others. Last, for the engine of this
    // process keeps the file to itself once it has opened it.
    ASSERT_EQ(Ozn3({"users", "grant", "petrov", "--db", db, "--role", "reader", "--right", "12"}).code, 0);
    {
        const QByteArray saved = qgetenv("ISC_USER");
        qputenv("ISC_USER", "petrov");
        auto session = OpenDatabase(db);
        EXPECT_EQ(session->Role(), "OZN3_READER");
        EXPECT_TRUE(session->GetUserRights(12));
        EXPECT_FALSE(session->GetUserRights(13));
        session.reset();
        saved.isEmpty() ? qunsetenv("ISC_USER") : qputenv("ISC_USER", saved);
    }
}

TEST(Users, TheOwnersDialogGivesAndTakesRolesAndRights)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    const auto user = [&](const QString& name) {
        for (const host::TUserInfo& u : host::ListUsers(c))
            if (u.Name == name)
                return QStringLiteral("%1 %2").arg(u.Roles.join(','), [&] {
                    QStringList r;
                    for (int n : u.Rights)
                        r << QString::number(n);
                    return r.join(',');
                }());
        return QStringLiteral("absent");
    };
    RightsDialog dialog(c);
    QTableWidget* table = dialog.Table();
    ASSERT_EQ(table->rowCount(), 1);  // the owner
    EXPECT_EQ(table->item(0, 0)->text(), "SYSDBA");
    EXPECT_EQ(table->item(0, 3)->checkState(), Qt::Checked);  // right 12

    dialog.AddUser("ivanov");
    const int row = table->rowCount() - 1;
    qobject_cast<QComboBox*>(table->cellWidget(row, 1))->setCurrentText("writer");
    table->item(row, 4)->setCheckState(Qt::Checked);  // right 13
    ASSERT_TRUE(dialog.Save());
    EXPECT_EQ(user("IVANOV"), "writer 13");
    EXPECT_EQ(host::RoleOfUser(c, "ivanov"), "OZN3_WRITER");

    // Down to a reader without the right; the owner's row untouched.
    const int again = table->findItems("IVANOV", Qt::MatchExactly).first()->row();
    qobject_cast<QComboBox*>(table->cellWidget(again, 1))->setCurrentText("reader");
    table->item(again, 4)->setCheckState(Qt::Unchecked);
    ASSERT_TRUE(dialog.Save());
    EXPECT_EQ(user("IVANOV"), "reader ");
    EXPECT_EQ(host::RoleOfUser(c, "ivanov"), "OZN3_READER");
    EXPECT_EQ(user("SYSDBA"), " 12,13,14");
}
