#pragma once
// Who may do what in a shared database. The engine's side: three SQL roles, a reader's (reading every table,
// reports), a writer's (changing them too, but for the rights) and an administrator's (a writer who also gives
// and takes rights), granted to the database users. The application's side: the rights of "UserRights" that the
// forms check (the workbook imports, the normative method's results only). Only administrators change them:
// the database's owner, SYSDBA and the holders of the administrator's role, which the owner gives; the engine
// refuses the others, and the commands say so before they try.
#include <QList>
#include <QString>
#include <QStringList>
#include <vector>

#include "host/HostApi.h"

class ToznFDConnection;

namespace host {

inline constexpr const char* kReaderRole = "OZN3_READER";
inline constexpr const char* kWriterRole = "OZN3_WRITER";
inline constexpr const char* kAdminRole = "OZN3_ADMIN";
// The table of the application's rights: writers read it, administrators change it.
inline constexpr const char* kRightsTable = "UserRights";

// The application's rights by number, with their names.
struct TAppRight {
    int Number;
    const char* Name;
};
OZN3HOST_API const std::vector<TAppRight>& AppRights();
// The rights an owner of a database gets: every right that allows, not the one that restricts (0).
OZN3HOST_API QList<int> OwnerRights();

// Creates the roles when missing and grants them on every table, view, procedure and generator; a database whose
// roles came before the administrator's gets it, and its writers lose the right to change the rights.
OZN3HOST_API void InstallRoles(ToznFDConnection& connection);
// Grants the roles on one table (a table added to a database that has its roles already).
OZN3HOST_API void GrantTable(ToznFDConnection& connection, const QString& table);
// Whether the database has every role, its writers kept from changing the rights.
OZN3HOST_API bool HasRoles(ToznFDConnection& connection);
// The role a user connects with: the administrator's when granted, else the writer's, else the reader's, else
// none.
OZN3HOST_API QString RoleOfUser(ToznFDConnection& connection, const QString& user);

// The database's owner as the engine names it.
OZN3HOST_API QString DatabaseOwner(ToznFDConnection& connection);
// Whether a user may give and take rights: the owner, SYSDBA, or a holder of the administrator's role.
OZN3HOST_API bool IsAdministrator(ToznFDConnection& connection, const QString& user);
// The text of every refusal to a user who is not an administrator.
inline constexpr const char* kNoUserManagement = "Нет прав на управление пользователями";

struct TUserInfo {
    QString Name;
    QStringList Roles;  // "admin", "writer", "reader"
    QList<int> Rights;  // granted rights of "UserRights" for any period and object
    bool Owner = false;
};
// The users that hold a role or a right, by name, and the owner.
OZN3HOST_API std::vector<TUserInfo> ListUsers(ToznFDConnection& connection);

// Gives a user a role ("reader", "writer" or "admin") and rights; with a password, first creates the user on the
// server. Done by an administrator of the connection; the administrator's role only by the owner or SYSDBA.
// False with a reason; nothing changes then.
OZN3HOST_API bool GrantUser(ToznFDConnection& connection, const QString& user, const QString& role,
                            const QList<int>& rights, const QString& newPassword, QString& error);
// Takes a role (empty: every role) and rights (empty with an empty role: all) away from a user who holds some;
// the owner's only by the owner.
OZN3HOST_API bool RevokeUser(ToznFDConnection& connection, const QString& user, const QString& role,
                             const QList<int>& rights, QString& error);

}  // namespace host
