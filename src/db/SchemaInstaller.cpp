#include "db/SchemaInstaller.h"

#include <ibase.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/Roles.h"

namespace db {

extern const char* const kSchemaSql;

QString SchemaScript() { return QString::fromUtf8(kSchemaSql); }

QStringList SplitScript(const QString& script)
{
    QString text = script;
    text.remove(QRegularExpression(QStringLiteral("/\\*.*?\\*/"), QRegularExpression::DotMatchesEverythingOption));
    static const QRegularExpression setTerm(QStringLiteral("^\\s*set\\s+term\\s+(\\S+)\\s*(\\S+)?\\s*$"),
                                            QRegularExpression::CaseInsensitiveOption);
    QStringList statements;
    QString terminator = QStringLiteral(";");
    QString current;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        const auto m = setTerm.match(line);
        if (m.hasMatch()) {
            terminator = m.captured(1);
            current.clear();
            continue;
        }
        current += line + QLatin1Char('\n');
        const QString trimmed = current.trimmed();
        if (trimmed.endsWith(terminator)) {
            const QString statement = trimmed.left(trimmed.size() - terminator.size()).trimmed();
            if (!statement.isEmpty())
                statements << statement;
            current.clear();
        }
    }
    if (!current.trimmed().isEmpty())
        statements << current.trimmed();
    return statements;
}

namespace {
QString statusText(const ISC_STATUS* status)
{
    QStringList lines;
    char buffer[512];
    const ISC_STATUS* p = status;
    while (fb_interpret(buffer, sizeof buffer, &p))
        lines << QString::fromLocal8Bit(buffer);
    return lines.join(QStringLiteral("; "));
}

bool createEmpty(const DatabaseAddress& address, QString& error)
{
    const QString sql = QStringLiteral("CREATE DATABASE '%1' USER '%2' PASSWORD '%3' PAGE_SIZE 16384 "
                                       "DEFAULT CHARACTER SET UTF8")
                            .arg(address.attachName(), FirebirdUser(), FirebirdPassword());
    const QByteArray bytes = sql.toUtf8();
    ISC_STATUS_ARRAY status{};
    isc_db_handle db = 0;
    isc_tr_handle tr = 0;
    if (isc_dsql_execute_immediate(status, &db, &tr, 0, bytes.constData(), 3, nullptr)) {
        error = EngineError(statusText(status), QStringLiteral("create database %1").arg(address.attachName())).Text();
        return false;
    }
    isc_detach_database(status, &db);
    return true;
}
}  // namespace

namespace {
bool CreateInPlace(const DatabaseAddress& address, const QString& connectionString, QString& error,
                   const QString& script);
}

bool CreateDatabase(const QString& connectionString, QString& error)
{
    return CreateDatabase(connectionString, error, SchemaScript());
}

bool CreateDatabase(const QString& connectionString, QString& error, const QString& script)
{
    DatabaseAddress address;
    if (!DatabaseAddress::parse(connectionString, address, error))
        return false;
    if (address.isServer()) {
        if (!HasServerCredentials()) {
            error = QStringLiteral("Для создания базы данных на сервере %1 задайте ISC_USER и ISC_PASSWORD")
                        .arg(address.host);
            return false;
        }
        return CreateInPlace(address, connectionString, error, script);
    }
    if (QFileInfo::exists(address.path)) {
        error = QStringLiteral("Файл уже существует: %1").arg(address.path);
        return false;
    }
    // A mistyped folder is refused rather than made: the database would end up where nobody looks for it.
    const QString dir = QFileInfo(address.path).absolutePath();
    if (!QFileInfo(dir).isDir()) {
        error = QStringLiteral("Папка %1 не найдена: создайте её или укажите другой путь к файлу базы данных").arg(dir);
        return false;
    }
    // Built beside its place and moved there only when whole: an interrupted creation leaves no file that
    // looks like a database, and the next attempt starts afresh.
    DatabaseAddress building = address;
    building.path = PartialPath(address.path);
    QFile::remove(building.path);
    if (!CreateInPlace(building, connectionString, error, script)) {
        QFile::remove(building.path);
        return false;
    }
    if (!QFile::rename(building.path, address.path)) {
        QFile::remove(building.path);
        error = QStringLiteral("Не удалось создать базу данных %1").arg(address.path);
        return false;
    }
    return true;
}

QString PartialPath(const QString& path) { return path + QStringLiteral(".part"); }

bool InstallSchema(ToznFDConnection& connection, QString& error, const QString& script)
{
    try {
        auto q = connection.NewQuery();
        // Each statement commits on its own: later statements use the tables made by earlier ones.
        for (const QString& statement : SplitScript(script)) {
            q->SetSQLText(statement);
            q->ExecSQL();
        }
        // The creator owns the database: every right of the application is theirs, and the roles are
        // there to give others.
        host::InstallRoles(connection);
        QString rightsError;
        if (!host::GrantUser(connection, FirebirdUser(), {}, host::OwnerRights(), {}, rightsError))
            throw EDatabaseError(rightsError);
    } catch (const EDatabaseError& e) {
        error = QStringLiteral("Ошибка при создании схемы базы данных: %1").arg(e.Text());
        return false;
    }
    return true;
}

namespace {
bool CreateInPlace(const DatabaseAddress& address, const QString& connectionString, QString& error,
                   const QString& script)
{
    if (!createEmpty(address, error)) {
        error = QStringLiteral("Не удалось создать базу данных %1: %2").arg(connectionString, error);
        return false;
    }
    try {
        ToznFDConnection connection(nullptr, address.attachName(), FirebirdUser(), FirebirdPassword());
        return InstallSchema(connection, error, script);
    } catch (const EDatabaseError& e) {
        error = QStringLiteral("Ошибка при создании схемы базы данных: %1").arg(e.Text());
        return false;
    }
}
}  // namespace

}  // namespace db
