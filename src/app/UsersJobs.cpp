// Users of a shared database, their roles and the application's rights, without a window.
#include <cstdio>

#include "app/CliArgs.h"
#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/Roles.h"

namespace cli {

namespace {
const char* const kUsage =
    "Использование:\n"
    "  ozn3 users --db CONNECTION\n"
    "  ozn3 users grant USER --db CONNECTION [--role reader|writer|admin] [--right N ...] [--password PASSWORD]\n"
    "  ozn3 users revoke USER --db CONNECTION [--role reader|writer|admin] [--right N ...]";

QString RightName(int number)
{
    for (const host::TAppRight& r : host::AppRights())
        if (r.Number == number)
            return QString::fromUtf8(r.Name);
    return {};
}

// Every value of "--right"; false when one is not a number.
bool Rights(const QStringList& values, QList<int>& rights)
{
    for (const QString& v : values) {
        bool ok = false;
        rights << v.toInt(&ok);
        if (!ok) {
            err(QStringLiteral("--right: «%1» не число").arg(v));
            return false;
        }
    }
    return true;
}

int List(ToznFDConnection& c)
{
    for (const host::TUserInfo& u : host::ListUsers(c)) {
        QStringList rights;
        for (int r : u.Rights)
            rights << QStringLiteral("%1 (%2)").arg(r).arg(RightName(r));
        out(QStringLiteral("%1%2: роли %3; права %4")
                .arg(u.Name, u.Owner ? QStringLiteral(" (владелец)") : QString(),
                     u.Roles.isEmpty() ? QStringLiteral("нет") : u.Roles.join(QStringLiteral(", ")),
                     rights.isEmpty() ? QStringLiteral("нет") : rights.join(QStringLiteral(", "))));
    }
    return 0;
}
}  // namespace

int Users(const QStringList& args)
{
    const QString action = args.value(1);
    const bool list = action.startsWith(QLatin1String("--")) || action.isEmpty();
    if (!list && action != QLatin1String("grant") && action != QLatin1String("revoke")) {
        err(QStringLiteral("Неизвестное действие: %1\n%2").arg(action, QString::fromUtf8(kUsage)));
        return 2;
    }
    TArgs a;
    QString parseError;
    const TOptionKinds kinds = list ? TOptionKinds{{"--db"}, {}, {}, 0}
                               : action == QLatin1String("grant")
                                   ? TOptionKinds{{"--db", "--role", "--password"}, {"--right"}, {}, 1}
                                   : TOptionKinds{{"--db", "--role"}, {"--right"}, {}, 1};
    if (!a.Parse(args, list ? 1 : 2, kinds, parseError)) {
        err(parseError + QLatin1Char('\n') + QString::fromUtf8(kUsage));
        return 2;
    }
    const QString connection = a.Value(QStringLiteral("--db"));
    if (connection.isEmpty()) {
        err(QStringLiteral("Не указана база данных (--db)\n%1").arg(QString::fromUtf8(kUsage)));
        return 2;
    }
    const QString user = a.Positional(0);
    const QString role = a.Value(QStringLiteral("--role"));
    QList<int> rights;
    if (!Rights(a.Values(QStringLiteral("--right")), rights))
        return 2;
    if (!list && user.isEmpty()) {
        err(QStringLiteral("Не указан пользователь\n%1").arg(QString::fromUtf8(kUsage)));
        return 2;
    }
    if (action == QLatin1String("grant") && role.isEmpty() && rights.isEmpty()) {
        err(QStringLiteral("Укажите роль (--role) или права (--right)\n%1").arg(QString::fromUtf8(kUsage)));
        return 2;
    }
    QString error;
    std::unique_ptr<TfdbDatabase> database;
    try {
        database = TfdbDatabase::Open(connection, error);
        if (!database) {
            err(error);
            return 1;
        }
        ToznFDConnection& c = *database->GetDefaultConnection();
        if (list)
            return List(c);
        const bool ok = action == QLatin1String("grant")
                            ? host::GrantUser(c, user, role, rights, a.Value(QStringLiteral("--password")), error)
                            : host::RevokeUser(c, user, role, rights, error);
        if (!ok) {
            err(error);
            return 1;
        }
        out(action == QLatin1String("grant") ? QStringLiteral("Пользователю %1 выданы права").arg(user.toUpper())
                                             : QStringLiteral("У пользователя %1 отозваны права").arg(user.toUpper()));
        return List(c);
    } catch (const EDatabaseError& e) {
        err(e.Text());
        return 1;
    }
}

}  // namespace cli
