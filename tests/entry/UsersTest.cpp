// The owner's dialog of roles and rights, and a database of an earlier version whose writers could change rights.
// What the commands give and take, and what a session may then do, is told on a server (tests/server).
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
