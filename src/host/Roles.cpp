#include "host/Roles.h"

#include <QList>
#include <QSet>
#include <algorithm>
#include <map>

#include "host/Connection.h"

namespace host {

namespace {
QString S(const char* text) { return QString::fromUtf8(text); }

// A user name as the engine keeps it: plain names in capitals, quoted ones as they are.
QString EngineName(const QString& user) { return user.trimmed().toUpper(); }
QString Quoted(const QString& name)
{
    return QLatin1Char('"') + QString(name).replace('"', QStringLiteral("\"\"")) + QLatin1Char('"');
}

void Exec(ToznFDConnection& c, const QString& sql)
{
    auto q = c.NewQuery();
    q->SetSQLText(sql);
    q->ExecSQL();
}

QStringList Names(ToznFDConnection& c, const char* sql)
{
    QStringList names;
    auto q = c.NewQuery();
    q->SetSQLText(S(sql));
    for (q->Open(); !q->Eof(); q->Next())
        names << q->Value(0).toString().trimmed();
    return names;
}

QString RoleName(const QString& role, QString& error)
{
    const QString r = role.trimmed().toLower();
    if (r == QLatin1String("reader"))
        return S(kReaderRole);
    if (r == QLatin1String("writer"))
        return S(kWriterRole);
    if (r == QLatin1String("admin"))
        return S(kAdminRole);
    error = QStringLiteral("Неизвестная роль «%1»: reader, writer или admin").arg(role);
    return {};
}

QString ShortRoleName(const QString& sqlRole)
{
    if (sqlRole == S(kAdminRole))
        return QStringLiteral("admin");
    if (sqlRole == S(kWriterRole))
        return QStringLiteral("writer");
    return QStringLiteral("reader");
}

bool IsSysdba(const QString& name) { return name == QLatin1String("SYSDBA"); }

// A user name the engine takes: at most the length of the rights' column, printable.
bool CheckUserName(const QString& name, QString& error)
{
    if (name.isEmpty()) {
        error = QStringLiteral("Не указан пользователь");
        return false;
    }
    if (name.toUcs4().size() > 63) {
        error = QStringLiteral("Имя пользователя длиннее 63 знаков: %1").arg(name.left(20) + QStringLiteral("…"));
        return false;
    }
    for (const QChar ch : name)
        if (!ch.isPrint()) {
            error = QStringLiteral("Имя пользователя содержит непечатаемый знак");
            return false;
        }
    return true;
}

void SetRight(ToznFDConnection& c, const QString& user, int right, bool granted)
{
    auto q = c.NewQuery();
    q->SetSQLText(
        S(R"(update or insert into "UserRights" ("UserName", "UserRight", "PeriodIdent", "ObjectGUID", "Granted")
        values (:UserName, :UserRight, -1, -1, :Granted) matching ("UserName", "UserRight", "PeriodIdent", "ObjectGUID"))"));
    q->ParamByName(QStringLiteral("UserName"), user);
    q->ParamByName(QStringLiteral("UserRight"), right);
    q->ParamByName(QStringLiteral("Granted"), granted ? 1 : 0);
    q->ExecSQL();
}
}  // namespace

const std::vector<TAppRight>& AppRights()
{
    static const std::vector<TAppRight> rights = {{0, "только результаты нормативного метода"},
                                                  {12, "загрузка замеров W"},
                                                  {13, "загрузка замеров Tmax"},
                                                  {14, "загрузка обобщенных данных"}};
    return rights;
}

QList<int> OwnerRights() { return {12, 13, 14}; }

namespace {
QStringList ExistingRoles(ToznFDConnection& c) { return Names(c, "select rdb$role_name from rdb$roles"); }

// Whether the writers may still change the rights (a database whose roles came before the administrator's).
bool WritersChangeRights(ToznFDConnection& c)
{
    auto q = c.NewQuery();
    q->SetSQLText(S(R"(select count(*) from rdb$user_privileges where rdb$user=:Role and rdb$relation_name=:TableName
        and rdb$privilege in ('I', 'U', 'D'))"));
    q->ParamByName(QStringLiteral("Role"), S(kWriterRole));
    q->ParamByName(QStringLiteral("TableName"), S(kRightsTable));
    q->Open();
    return q->Value(0).toInt() > 0;
}
}  // namespace

bool HasRoles(ToznFDConnection& c)
{
    const QStringList roles = ExistingRoles(c);
    return roles.contains(S(kReaderRole)) && roles.contains(S(kWriterRole)) && roles.contains(S(kAdminRole)) &&
           !WritersChangeRights(c);
}

void GrantTable(ToznFDConnection& c, const QString& table)
{
    const QString quoted = Quoted(table);
    Exec(c, QStringLiteral("grant select on %1 to %2").arg(quoted, S(kReaderRole)));
    Exec(c, QStringLiteral("grant select, insert, update, delete on %1 to %2").arg(quoted, S(kAdminRole)));
    Exec(c, table == S(kRightsTable)
                ? QStringLiteral("grant select on %1 to %2").arg(quoted, S(kWriterRole))
                : QStringLiteral("grant select, insert, update, delete on %1 to %2").arg(quoted, S(kWriterRole)));
}

void InstallRoles(ToznFDConnection& c)
{
    const QStringList roles = ExistingRoles(c);
    for (const char* role : {kReaderRole, kWriterRole, kAdminRole})
        if (!roles.contains(S(role)))
            Exec(c, QStringLiteral("create role %1").arg(S(role)));
    const QString reader = S(kReaderRole);
    for (const QString& table :
         Names(c, "select rdb$relation_name from rdb$relations where coalesce(rdb$system_flag, 0)=0"))
        GrantTable(c, table);
    // Reports gather the runs they show in a table private to the connection: readers fill it too.
    Exec(c, QStringLiteral("grant insert, update, delete on \"tmpGUIDs\" to %1").arg(reader));
    for (const QString& procedure :
         Names(c, "select rdb$procedure_name from rdb$procedures where coalesce(rdb$system_flag, 0)=0"))
        for (const char* role : {kWriterRole, kAdminRole})
            Exec(c, QStringLiteral("grant execute on procedure %1 to %2").arg(Quoted(procedure), S(role)));
    for (const QString& generator :
         Names(c, "select rdb$generator_name from rdb$generators where coalesce(rdb$system_flag, 0)=0"))
        for (const char* role : {kWriterRole, kAdminRole})
            Exec(c, QStringLiteral("grant usage on generator %1 to %2").arg(Quoted(generator), S(role)));
    // Writers of a database from before the administrator's role could change the rights; no longer.
    if (WritersChangeRights(c))
        Exec(
            c,
            QStringLiteral("revoke insert, update, delete on %1 from %2").arg(Quoted(S(kRightsTable)), S(kWriterRole)));
}

namespace {
QSet<QString> HeldRoles(ToznFDConnection& c, const QString& user)
{
    auto q = c.NewQuery();
    q->SetSQLText(
        S(R"(select trim(rdb$relation_name) from rdb$user_privileges where rdb$user=:UserName and rdb$privilege='M')"));
    q->ParamByName(QStringLiteral("UserName"), EngineName(user));
    QSet<QString> held;
    for (q->Open(); !q->Eof(); q->Next())
        held.insert(q->Value(0).toString());
    return held;
}

bool HasRightRows(ToznFDConnection& c, const QString& user)
{
    auto q = c.NewQuery();
    q->SetSQLText(S(R"(select count(*) from "UserRights" where "UserName"=:UserName)"));
    q->ParamByName(QStringLiteral("UserName"), EngineName(user));
    q->Open();
    return q->Value(0).toInt() > 0;
}
}  // namespace

QString RoleOfUser(ToznFDConnection& c, const QString& user)
{
    const QSet<QString> held = HeldRoles(c, user);
    for (const char* role : {kAdminRole, kWriterRole, kReaderRole})
        if (held.contains(S(role)))
            return S(role);
    return {};
}

QString DatabaseOwner(ToznFDConnection& c)
{
    return GuardedRead(c, [&] {
        auto q = c.NewQuery();
        q->SetSQLText(S("select trim(mon$owner) from mon$database"));
        q->Open();
        return q->Eof() ? QString() : q->Value(0).toString();
    });
}

bool IsAdministrator(ToznFDConnection& c, const QString& user)
{
    const QString name = EngineName(user);
    if (IsSysdba(name) || name == DatabaseOwner(c))
        return true;
    return GuardedRead(c, [&] { return HeldRoles(c, name).contains(S(kAdminRole)); });
}

std::vector<TUserInfo> ListUsers(ToznFDConnection& c)
{
    std::map<QString, TUserInfo> users;
    const QString owner = DatabaseOwner(c);
    GuardedRead(c, [&] {
        auto q = c.NewQuery();
        q->SetSQLText(S(R"(select trim(rdb$user), trim(rdb$relation_name) from rdb$user_privileges
            where rdb$privilege='M' and rdb$relation_name in ('OZN3_READER', 'OZN3_WRITER', 'OZN3_ADMIN')
            and rdb$user_type=8 order by 1)"));
        for (q->Open(); !q->Eof(); q->Next()) {
            TUserInfo& u = users[q->Value(0).toString()];
            u.Name = q->Value(0).toString();
            const QString role = ShortRoleName(q->Value(1).toString());
            if (!u.Roles.contains(role))
                u.Roles << role;
        }
        q->SetSQLText(S(R"(select trim("UserName"), "UserRight" from "UserRights"
            where "Granted"=1 and "PeriodIdent"=-1 and "ObjectGUID"=-1 order by 1, 2)"));
        for (q->Open(); !q->Eof(); q->Next()) {
            TUserInfo& u = users[q->Value(0).toString()];
            u.Name = q->Value(0).toString();
            u.Rights << q->Value(1).toInt();
        }
    });
    if (!owner.isEmpty())
        users[owner].Name = owner;
    std::vector<TUserInfo> list;
    for (auto& [name, info] : users) {
        // The strongest role first, as the list reads.
        std::sort(info.Roles.begin(), info.Roles.end(), [](const QString& a, const QString& b) {
            const QStringList order{QStringLiteral("admin"), QStringLiteral("writer"), QStringLiteral("reader")};
            return order.indexOf(a) < order.indexOf(b);
        });
        info.Owner = name == owner;
        list.push_back(info);
    }
    return list;
}

namespace {
// The caller may manage users; the administrator's role only the owner or SYSDBA gives and takes.
bool MayManage(ToznFDConnection& c, const QString& sqlRole, QString& error)
{
    const QString caller = EngineName(c.UserName());
    if (!IsAdministrator(c, caller)) {
        error = S(kNoUserManagement);
        return false;
    }
    if (sqlRole == S(kAdminRole) && !IsSysdba(caller) && caller != DatabaseOwner(c)) {
        error = QStringLiteral("%1: роль администратора дает и отнимает только владелец базы данных")
                    .arg(S(kNoUserManagement));
        return false;
    }
    return true;
}

bool KnownRights(const QList<int>& rights, QString& error)
{
    for (int r : rights)
        if (std::none_of(AppRights().begin(), AppRights().end(), [r](const TAppRight& a) { return a.Number == r; })) {
            error = QStringLiteral("Неизвестное право %1").arg(r);
            return false;
        }
    return true;
}
}  // namespace

bool GrantUser(ToznFDConnection& c, const QString& user, const QString& role, const QList<int>& rights,
               const QString& newPassword, QString& error)
{
    const QString name = EngineName(user);
    if (!CheckUserName(name, error))
        return false;
    const QString sqlRole = role.isEmpty() ? QString() : RoleName(role, error);
    if (!role.isEmpty() && sqlRole.isEmpty())
        return false;
    if (!KnownRights(rights, error) || !MayManage(c, sqlRole, error))
        return false;
    if (!newPassword.isEmpty()) {
        // A user of the server's security database: outside any transaction of ours, and first.
        try {
            Exec(c, QStringLiteral("create or alter user %1 password '%2'")
                        .arg(Quoted(name), QString(newPassword).replace('\'', QStringLiteral("''"))));
        } catch (const EDatabaseError& e) {
            error = QStringLiteral("Пользователь %1 не создан на сервере: %2").arg(name, e.Text());
            return false;
        }
    }
    return TryWrite(c, QStringLiteral("%1"), error, [&] {
        if (sqlRole == S(kAdminRole)) {
            // An administrator gives the other roles to users, so holds them with the admin option.
            Exec(c, QStringLiteral("grant %1 to user %2").arg(sqlRole, Quoted(name)));
            for (const char* r : {kReaderRole, kWriterRole})
                Exec(c, QStringLiteral("grant %1 to user %2 with admin option").arg(S(r), Quoted(name)));
        } else if (!sqlRole.isEmpty()) {
            Exec(c, QStringLiteral("grant %1 to user %2").arg(sqlRole, Quoted(name)));
        }
        for (int r : rights)
            SetRight(c, name, r, true);
    });
}

bool RevokeUser(ToznFDConnection& c, const QString& user, const QString& role, const QList<int>& rights, QString& error)
{
    const QString name = EngineName(user);
    if (!CheckUserName(name, error))
        return false;
    QStringList roles;
    if (!role.isEmpty()) {
        const QString r = RoleName(role, error);
        if (r.isEmpty())
            return false;
        roles << r;
    } else if (rights.isEmpty()) {
        roles << S(kAdminRole) << S(kReaderRole) << S(kWriterRole);
    }
    if (!KnownRights(rights, error))
        return false;
    const QSet<QString> held = GuardedRead(c, [&] { return HeldRoles(c, name); });
    if (!MayManage(c, held.contains(S(kAdminRole)) && roles.contains(S(kAdminRole)) ? S(kAdminRole) : QString(), error))
        return false;
    const QString owner = DatabaseOwner(c);
    if (name == owner && EngineName(c.UserName()) != owner) {
        error = QStringLiteral("%1: права владельца базы данных %2 может изменить только он сам")
                    .arg(S(kNoUserManagement), owner);
        return false;
    }
    if (held.isEmpty() && !GuardedRead(c, [&] { return HasRightRows(c, name); })) {
        error = QStringLiteral("Пользователь %1 не найден: у него нет ни ролей, ни прав в этой базе данных").arg(name);
        return false;
    }
    QList<int> taken = rights;
    if (role.isEmpty() && rights.isEmpty())
        for (const TAppRight& a : AppRights())
            taken << a.Number;
    return TryWrite(c, QStringLiteral("%1"), error, [&] {
        for (const QString& r : roles) {
            if (!held.contains(r))
                continue;
            Exec(c, QStringLiteral("revoke %1 from user %2").arg(r, Quoted(name)));
            // The former administrator keeps the writer's or reader's role, but no longer gives it.
            if (r == S(kAdminRole) && !roles.contains(S(kWriterRole)))
                for (const char* other : {kReaderRole, kWriterRole})
                    if (held.contains(S(other)))
                        Exec(c, QStringLiteral("revoke admin option for %1 from user %2").arg(S(other), Quoted(name)));
        }
        for (int r : taken)
            SetRight(c, name, r, false);
    });
}

}  // namespace host
