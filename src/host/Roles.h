#pragma once
// Who may do what in a shared database. The engine's side: two SQL roles, a reader's (reading every table,
// reports) and a writer's (changing them too), granted to the database users. The application's side: the
// rights of "UserRights" that the forms check (the workbook imports, the normative method's results only).
#include <QList>
#include <QString>
#include <QStringList>
#include <vector>

#include "host/HostApi.h"

class ToznFDConnection;

namespace host {

inline constexpr const char* kReaderRole = "OZN3_READER";
inline constexpr const char* kWriterRole = "OZN3_WRITER";

// The application's rights by number, with their names.
struct TAppRight {
    int Number;
    const char* Name;
};
OZN3HOST_API const std::vector<TAppRight>& AppRights();
// The rights an owner of a database gets: every right that allows, not the one that restricts (0).
OZN3HOST_API QList<int> OwnerRights();

// Creates the two roles when missing and grants them on every table, view, procedure and generator.
OZN3HOST_API void InstallRoles(ToznFDConnection& connection);
// Grants both roles on one table (a table added to a database that has its roles already).
OZN3HOST_API void GrantTable(ToznFDConnection& connection, const QString& table);
// Whether the database has both roles.
OZN3HOST_API bool HasRoles(ToznFDConnection& connection);
// The role a user connects with: the writer's when granted, else the reader's, else none.
OZN3HOST_API QString RoleOfUser(ToznFDConnection& connection, const QString& user);

struct TUserInfo {
    QString Name;
    QStringList Roles;
    QList<int> Rights;  // granted rights of "UserRights" for any period and object
};
// The users that hold a role or a right, by name.
OZN3HOST_API std::vector<TUserInfo> ListUsers(ToznFDConnection& connection);

// Gives a user a role ("reader" or "writer") and rights; with a password, first creates the user on the
// server. False with a reason; nothing changes then.
OZN3HOST_API bool GrantUser(ToznFDConnection& connection, const QString& user, const QString& role,
                            const QList<int>& rights, const QString& newPassword, QString& error);
// Takes a role (empty: both) and rights (empty with an empty role: all) away from a user.
OZN3HOST_API bool RevokeUser(ToznFDConnection& connection, const QString& user, const QString& role,
                             const QList<int>& rights, QString& error);

}  // namespace host
