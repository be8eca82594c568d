// A second user of one database: the owner gives a role and rights, and the user's session is limited to them.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QTableWidget>

#include "app/RightsDialog.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/Roles.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
using Outcome = AppOutcome;
// As a user of an embedded database, which checks names, not passwords.
Outcome Ozn3(const QStringList& args, const QString& user = {})
{
    return RunApp(args, {{"ISC_USER", user.isEmpty() ? QString() : user},
                         {"ISC_PASSWORD", user.isEmpty() ? QString() : QStringLiteral("any")}});
}
}  // namespace

TEST(Users, TheOwnerGivesASecondUserAWorkingRightsLimitedSession)
{
    TempFolder folder;
    const QString db = folder.Path("team.fdb");
    ASSERT_EQ(Ozn3({"init-db", db}).code, 0);
    // The creator owns it with every right that allows.
    EXPECT_EQ(Ozn3({"users", "--db", db}).out,
              "SYSDBA (владелец): роли нет; права 12 (загрузка замеров W), 13 (загрузка замеров Tmax), 14 (загрузка "
              "обобщенных данных)\n");
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

    EXPECT_EQ(Ozn3({"users", "grant", "petrov", "--db", db, "--role", "superuser"}).code, 1);
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

TEST(Users, OnlyAdministratorsGiveAndTakeRightsAndTheOwnersStayTheirs)
{
    TempFolder folder;
    const QString db = folder.Path("team.fdb");
    ASSERT_EQ(Ozn3({"init-db", db}).code, 0);
    ASSERT_EQ(Ozn3({"users", "grant", "writer2", "--db", db, "--role", "writer"}).code, 0);
    const Outcome admin = Ozn3({"users", "grant", "adm", "--db", db, "--role", "admin"});
    ASSERT_EQ(admin.code, 0) << admin.err.toStdString();
    EXPECT_TRUE(admin.out.contains("ADM: роли admin, writer, reader; права нет")) << admin.out.toStdString();
    const QString before = Ozn3({"users", "--db", db}).out;

    // A writer neither gives itself rights nor takes the owner's, and the database stays as it was.
    for (const QStringList& args :
         {QStringList{"users", "grant", "writer2", "--db", db, "--right", "12", "13", "14", "0"},
          QStringList{"users", "revoke", "SYSDBA", "--db", db, "--right", "12"},
          QStringList{"users", "grant", "writer2", "--db", db, "--role", "admin"}}) {
        const Outcome refused = Ozn3(args, "writer2");
        EXPECT_EQ(refused.code, 1) << args.join(' ').toStdString();
        EXPECT_TRUE(refused.err.startsWith("Нет прав на управление пользователями")) << refused.err.toStdString();
    }
    EXPECT_EQ(Ozn3({"users", "--db", db}).out, before);
    // Nor by writing the table of rights itself: the engine refuses the writer's role.
    {
        ToznFDConnection writer(nullptr, db, "WRITER2", "any", host::kWriterRole);
        try {
            Exec(writer, "insert into \"UserRights\" (\"UserName\", \"UserRight\", \"PeriodIdent\", \"ObjectGUID\", "
                         "\"Granted\") values ('WRITER2', 12, -1, -1, 1)");
            ADD_FAILURE() << "a writer changed the rights";
        } catch (const EDatabaseError& e) {
            EXPECT_EQ(e.Text(),
                      "Нет прав на добавление строк таблицы «UserRights»: обратитесь к владельцу базы данных");
        }
    }

    // An administrator gives and takes a writer's rights, but not the owner's, and not the administrator's role.
    const Outcome given = Ozn3({"users", "grant", "writer2", "--db", db, "--right", "12", "13"}, "adm");
    EXPECT_EQ(given.code, 0) << given.err.toStdString();
    EXPECT_TRUE(given.out.contains("WRITER2: роли writer; права 12 (загрузка замеров W), 13 (загрузка замеров Tmax)"))
        << given.out.toStdString();
    EXPECT_EQ(Ozn3({"users", "revoke", "writer2", "--db", db, "--right", "13"}, "adm").code, 0);
    const Outcome owners = Ozn3({"users", "revoke", "SYSDBA", "--db", db, "--right", "12"}, "adm");
    EXPECT_EQ(owners.code, 1);
    EXPECT_TRUE(owners.err.contains("права владельца базы данных SYSDBA может изменить только он сам"))
        << owners.err.toStdString();
    const Outcome promote = Ozn3({"users", "grant", "writer2", "--db", db, "--role", "admin"}, "adm");
    EXPECT_EQ(promote.code, 1);
    EXPECT_TRUE(promote.err.contains("роль администратора дает и отнимает только владелец"))
        << promote.err.toStdString();
    EXPECT_TRUE(Ozn3({"users", "--db", db})
                    .out.contains("SYSDBA (владелец): роли нет; права 12 (загрузка замеров W), "
                                  "13 (загрузка замеров Tmax), 14"));

    // The owner takes the administrator's role back: the former administrator is a writer who gives nothing.
    ASSERT_EQ(Ozn3({"users", "revoke", "adm", "--db", db, "--role", "admin"}).code, 0);
    EXPECT_TRUE(Ozn3({"users", "--db", db}).out.contains("ADM: роли writer, reader; права нет"));
    EXPECT_EQ(Ozn3({"users", "grant", "writer2", "--db", db, "--right", "14"}, "adm").code, 1);
    // Someone who holds nothing cannot lose anything.
    const Outcome nobody = Ozn3({"users", "revoke", "NOBODY", "--db", db});
    EXPECT_EQ(nobody.code, 1);
    EXPECT_TRUE(nobody.err.contains("Пользователь NOBODY не найден")) << nobody.err.toStdString();
}

TEST(Users, ADatabaseWhoseWritersCouldChangeRightsLosesThatWhenItsOwnerOpensIt)
{
    TempFolder folder;
    const QString path = NewSchemaDatabase(folder);
    {
        // As the roles of an earlier version were: writers changed every table, the rights too.
        ToznFDConnection owner(nullptr, path, FirebirdUser(), FirebirdPassword());
        Exec(owner, "grant insert, update, delete on \"UserRights\" to OZN3_WRITER");
        Exec(owner, "grant OZN3_WRITER to user WRITER2");
        EXPECT_FALSE(host::HasRoles(owner));
    }
    ASSERT_TRUE(OpenDatabase(path));  // the owner's opening brings the roles up to date
    ToznFDConnection writer(nullptr, path, "WRITER2", "any", host::kWriterRole);
    try {
        Exec(writer, "delete from \"UserRights\"");
        ADD_FAILURE() << "a writer changed the rights";
    } catch (const EDatabaseError& e) {
        EXPECT_EQ(e.Kind(), host::TEngineErrorKind::Permission) << e.Text().toStdString();
    }
    // The rights dialog shows a writer who may do what, and changes nothing.
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    RightsDialog dialog(writer);
    EXPECT_FALSE(dialog.Save());
    ASSERT_EQ(dialogs.Texts().size(), 1);
    EXPECT_EQ(dialogs.Texts()[0], "Нет прав на управление пользователями");
    EXPECT_TRUE(dialog.findChild<QLabel*>("LabelRightsNote")->isVisibleTo(&dialog));
    EXPECT_FALSE(dialog.Table()->cellWidget(0, 1)->isEnabled());
}
