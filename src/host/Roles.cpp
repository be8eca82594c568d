#include "host/Roles.h"

#include <QSet>
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
    error = QStringLiteral("Неизвестная роль «%1»: reader или writer").arg(role);
    return {};
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

bool HasRoles(ToznFDConnection& c)
{
    const QStringList roles = Names(c, "select rdb$role_name from rdb$roles");
    return roles.contains(S(kReaderRole)) && roles.contains(S(kWriterRole));
}

void GrantTable(ToznFDConnection& c, const QString& table)
{
    Exec(c, QStringLiteral("grant select on %1 to %2").arg(Quoted(table), S(kReaderRole)));
    Exec(c, QStringLiteral("grant select, insert, update, delete on %1 to %2").arg(Quoted(table), S(kWriterRole)));
}

void InstallRoles(ToznFDConnection& c)
{
    const QStringList roles = Names(c, "select rdb$role_name from rdb$roles");
    for (const char* role : {kReaderRole, kWriterRole})
        if (!roles.contains(S(role)))
            Exec(c, QStringLiteral("create role %1").arg(S(role)));
    const QString reader = S(kReaderRole), writer = S(kWriterRole);
    for (const QString& table :
         Names(c, "select rdb$relation_name from rdb$relations where coalesce(rdb$system_flag, 0)=0"))
        GrantTable(c, table);
    // Reports gather the runs they show in a table private to the connection: readers fill it too.
    Exec(c, QStringLiteral("grant insert, update, delete on \"tmpGUIDs\" to %1").arg(reader));
    for (const QString& procedure :
         Names(c, "select rdb$procedure_name from rdb$procedures where coalesce(rdb$system_flag, 0)=0"))
        Exec(c, QStringLiteral("grant execute on procedure %1 to %2").arg(Quoted(procedure), writer));
    for (const QString& generator :
         Names(c, "select rdb$generator_name from rdb$generators where coalesce(rdb$system_flag, 0)=0"))
        Exec(c, QStringLiteral("grant usage on generator %1 to %2").arg(Quoted(generator), writer));
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
}  // namespace

QString RoleOfUser(ToznFDConnection& c, const QString& user)
{
    const QSet<QString> held = HeldRoles(c, user);
    if (held.contains(S(kWriterRole)))
        return S(kWriterRole);
    if (held.contains(S(kReaderRole)))
        return S(kReaderRole);
    return {};
}

std::vector<TUserInfo> ListUsers(ToznFDConnection& c)
{
    std::map<QString, TUserInfo> users;
    auto q = c.NewQuery();
    q->SetSQLText(S(R"(select trim(rdb$user), trim(rdb$relation_name) from rdb$user_privileges
        where rdb$privilege='M' and rdb$relation_name in ('OZN3_READER', 'OZN3_WRITER') order by 1, 2)"));
    for (q->Open(); !q->Eof(); q->Next()) {
        TUserInfo& u = users[q->Value(0).toString()];
        u.Name = q->Value(0).toString();
        u.Roles << (q->Value(1).toString() == S(kWriterRole) ? QStringLiteral("writer") : QStringLiteral("reader"));
    }
    q->SetSQLText(S(R"(select trim("UserName"), "UserRight" from "UserRights"
        where "Granted"=1 and "PeriodIdent"=-1 and "ObjectGUID"=-1 order by 1, 2)"));
    for (q->Open(); !q->Eof(); q->Next()) {
        TUserInfo& u = users[q->Value(0).toString()];
        u.Name = q->Value(0).toString();
        u.Rights << q->Value(1).toInt();
    }
    std::vector<TUserInfo> list;
    for (auto& [name, info] : users)
        list.push_back(info);
    return list;
}

bool GrantUser(ToznFDConnection& c, const QString& user, const QString& role, const QList<int>& rights,
               const QString& newPassword, QString& error)
{
    const QString name = EngineName(user);
    if (name.isEmpty()) {
        error = QStringLiteral("Не указан пользователь");
        return false;
    }
    const QString sqlRole = role.isEmpty() ? QString() : RoleName(role, error);
    if (!role.isEmpty() && sqlRole.isEmpty())
        return false;
    for (int r : rights)
        if (std::none_of(AppRights().begin(), AppRights().end(), [r](const TAppRight& a) { return a.Number == r; })) {
            error = QStringLiteral("Неизвестное право %1").arg(r);
            return false;
        }
    if (!newPassword.isEmpty()) {
        // A user of the server's security database: outside any transaction of ours, and first.
        try {
            Exec(c, QStringLiteral("create or alter user %1 password '%2'")
                        .arg(Quoted(name), QString(newPassword).replace('\'', QStringLiteral("''"))));
        } catch (const EDatabaseError& e) {
            error = QStringLiteral("Пользователь %1 не создан: %2").arg(name, e.Text());
            return false;
        }
    }
    return TryWrite(c, QStringLiteral("%1"), error, [&] {
        if (!sqlRole.isEmpty())
            Exec(c, QStringLiteral("grant %1 to user %2").arg(sqlRole, Quoted(name)));
        for (int r : rights)
            SetRight(c, name, r, true);
    });
}

bool RevokeUser(ToznFDConnection& c, const QString& user, const QString& role, const QList<int>& rights, QString& error)
{
    const QString name = EngineName(user);
    QStringList roles;
    if (!role.isEmpty()) {
        const QString r = RoleName(role, error);
        if (r.isEmpty())
            return false;
        roles << r;
    } else if (rights.isEmpty()) {
        roles << S(kReaderRole) << S(kWriterRole);
    }
    QList<int> taken = rights;
    if (role.isEmpty() && rights.isEmpty())
        for (const TAppRight& a : AppRights())
            taken << a.Number;
    const QSet<QString> held = HeldRoles(c, name);
    return TryWrite(c, QStringLiteral("%1"), error, [&] {
        for (const QString& r : roles)
            if (held.contains(r))
                Exec(c, QStringLiteral("revoke %1 from user %2").arg(r, Quoted(name)));
        for (int r : taken)
            SetRight(c, name, r, false);
    });
}

}  // namespace host
