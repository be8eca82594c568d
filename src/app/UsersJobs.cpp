// Users of a shared database, their roles and the application's rights, without a window.
#include <cstdio>

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
    "  ozn3 users grant USER --db CONNECTION [--role reader|writer] [--right N ...] [--password PASSWORD]\n"
    "  ozn3 users revoke USER --db CONNECTION [--role reader|writer] [--right N ...]";

QString RightName(int number)
{
    for (const host::TAppRight& r : host::AppRights())
        if (r.Number == number)
            return QString::fromUtf8(r.Name);
    return {};
}

// Every "--right N" of the command; false when one is not a number.
bool Rights(const QStringList& args, QList<int>& rights)
{
    for (int i = 0; i + 1 < args.size(); ++i)
        if (args.at(i) == QLatin1String("--right")) {
            bool ok = false;
            rights << args.at(i + 1).toInt(&ok);
            if (!ok) {
                err(QStringLiteral("--right: «%1» не число").arg(args.at(i + 1)));
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
        out(QStringLiteral("%1: роли %2; права %3")
                .arg(u.Name, u.Roles.isEmpty() ? QStringLiteral("нет") : u.Roles.join(QStringLiteral(", ")),
                     rights.isEmpty() ? QStringLiteral("нет") : rights.join(QStringLiteral(", "))));
    }
    return 0;
}
}  // namespace

int Users(const QStringList& args)
{
    const QString action = args.value(1);
    const QString connection = Option(args, QStringLiteral("--db"));
    if (connection.isEmpty() ||
        (action != QLatin1String("--db") && action != QLatin1String("grant") && action != QLatin1String("revoke"))) {
        err(QString::fromUtf8(kUsage));
        return 2;
    }
    const QString user = action.startsWith(QLatin1String("--")) ? QString() : args.value(2);
    const QString role = Option(args, QStringLiteral("--role"));
    QList<int> rights;
    if (!Rights(args, rights))
        return 2;
    if (!action.startsWith(QLatin1String("--")) && (user.isEmpty() || user.startsWith(QLatin1String("--")))) {
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
        if (action.startsWith(QLatin1String("--")))
            return List(c);
        const bool ok = action == QLatin1String("grant")
                            ? host::GrantUser(c, user, role, rights, Option(args, QStringLiteral("--password")), error)
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
