#include "host/Database.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

#include "host/InitOZN.h"
#include "host/Roles.h"
#include "host/SamplePeriods.h"
#include "host/SchemaUpgrade.h"
#include "host/Tree.h"

namespace {
TCurrentDatabase* g_current = nullptr;
}

TCurrentDatabase* CurrentDatabase() { return g_current; }
void SetCurrentDatabase(TCurrentDatabase* database) { g_current = database; }

QString DefaultDatabasePath()
{
    QString dir = qEnvironmentVariable("OZN3_DATA_DIR");
    if (dir.isEmpty())
        dir = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/ozn3");
    return QDir(dir).filePath(QStringLiteral("ozn3.fdb"));
}

namespace {
QString& typedUser()
{
    static QString user;
    return user;
}
QString& typedPassword()
{
    static QString password;
    return password;
}
}  // namespace

void SetServerCredentials(const QString& user, const QString& password)
{
    typedUser() = user;
    typedPassword() = password;
}

bool HasServerCredentials()
{
    return !typedUser().isEmpty() ||
           (!qEnvironmentVariable("ISC_USER").isEmpty() && qEnvironmentVariableIsSet("ISC_PASSWORD"));
}

// An embedded database checks no password; its user is SYSDBA unless the user says otherwise.
QString FirebirdUser()
{
    if (!typedUser().isEmpty())
        return typedUser();
    const QString user = qEnvironmentVariable("ISC_USER");
    return user.isEmpty() ? QStringLiteral("SYSDBA") : user;
}

QString FirebirdPassword()
{
    if (!typedUser().isEmpty())
        return typedPassword();
    const QString password = qEnvironmentVariable("ISC_PASSWORD");
    return password.isEmpty() ? QStringLiteral("masterkey") : password;
}

QString DatabaseAddress::attachName() const
{
    if (!isServer())
        return path;
    return port > 0 ? QStringLiteral("%1/%2:%3").arg(host).arg(port).arg(path) : host + QLatin1Char(':') + path;
}

bool DatabaseAddress::parse(const QString& text, DatabaseAddress& address, QString& error)
{
    address = DatabaseAddress();
    const QString s = text.trimmed();
    if (s.isEmpty()) {
        error = QStringLiteral("Не задана строка подключения к базе данных");
        return false;
    }
    // "host[/port]:path"; a path alone is an embedded database file.
    static const QRegularExpression server(QStringLiteral("^([A-Za-z0-9_.\\-]+)(/([0-9]+))?:(.+)$"));
    const auto m = server.match(s);
    if (m.hasMatch() && !s.startsWith(QLatin1Char('/')) && !s.startsWith(QLatin1Char('.'))) {
        address.host = m.captured(1);
        address.path = m.captured(4);
        if (m.capturedLength(3) > 0) {
            bool ok = false;
            address.port = m.captured(3).toInt(&ok);
            if (!ok || address.port <= 0 || address.port > 65535) {
                error = QStringLiteral("Неверный номер порта в строке подключения: %1").arg(s);
                return false;
            }
        }
        return true;
    }
    if (s.contains(QLatin1Char(':'))) {
        error = QStringLiteral("Неверная строка подключения: %1 (ожидается путь к файлу или хост[/порт]:путь)").arg(s);
        return false;
    }
    address.path = QFileInfo(s).absoluteFilePath();
    return true;
}

TfdbDatabase::TfdbDatabase(const QString& connectionString, const QString& attachName, const QString& user,
                           const QString& password)
    : connectionString_(connectionString), attachName_(attachName), user_(user), password_(password)
{
}

TfdbDatabase::~TfdbDatabase()
{
    if (g_current == this)
        g_current = nullptr;
    query_.reset();
    privateConnections_.clear();
    defaultConnection_.reset();
}

std::unique_ptr<ToznFDConnection> TfdbDatabase::Attach()
{
    return std::make_unique<ToznFDConnection>(this, attachName_, user_, password_, role_);
}

std::unique_ptr<TfdbDatabase> TfdbDatabase::Open(const QString& connectionString, QString& error)
{
    DatabaseAddress address;
    if (!DatabaseAddress::parse(connectionString, address, error))
        return nullptr;
    if (!address.isServer() && !QFileInfo::exists(address.path)) {
        error = QStringLiteral("Файл базы данных не найден: %1").arg(address.path);
        return nullptr;
    }
    if (address.isServer() && !HasServerCredentials()) {
        error = QStringLiteral("Для подключения к серверу %1 нужны имя пользователя и пароль: задайте ISC_USER и "
                               "ISC_PASSWORD или войдите в окне входа")
                    .arg(address.host);
        return nullptr;
    }
    std::unique_ptr<TfdbDatabase> db(
        new TfdbDatabase(connectionString, address.attachName(), FirebirdUser(), FirebirdPassword()));
    try {
        db->defaultConnection_ = db->Attach();
        auto q = db->defaultConnection_->NewQuery();
        q->SetSQLText(QStringLiteral(
            "select count(*) from rdb$relations where rdb$relation_name in ('LVFiders', 'Nodes', 'SamplesDates')"));
        q->Open();
        const int found = q->Value(0).toInt();
        q->Close();
        if (found != 3) {
            error = QStringLiteral("База данных %1 не содержит таблиц ОЗН 3 (создайте её командой ozn3 init-db)")
                        .arg(connectionString);
            return nullptr;
        }
        // A user who is given a role works with its privileges; the owner and the administrator need none.
        if (db->user_.compare(QStringLiteral("SYSDBA"), Qt::CaseInsensitive) != 0) {
            db->role_ = host::RoleOfUser(*db->defaultConnection_, db->user_);
            if (!db->role_.isEmpty())
                db->defaultConnection_ = db->Attach();
        }
        try {
            UpgradeSchema(*db->defaultConnection_);
        } catch (const EDatabaseError& e) {
            error = QStringLiteral("База данных %1 создана прежней версией программы, а дополнить её таблицы не "
                                   "удалось (нужны права владельца базы данных): %2")
                        .arg(connectionString, e.Text());
            return nullptr;
        }
        // A database made before the roles existed gets them when its owner opens it.
        if (db->role_.isEmpty() && !host::HasRoles(*db->defaultConnection_)) {
            try {
                host::InstallRoles(*db->defaultConnection_);
            } catch (const EDatabaseError&) {
                // not the owner: the database stays as it was, its owner will add them
            }
        }
    } catch (const EDatabaseError& e) {
        error = QStringLiteral("Не удалось открыть базу данных %1: %2").arg(connectionString, e.Text());
        return nullptr;
    }
    return db;
}

ToznFDConnection* TfdbDatabase::CreateConnection(bool startTransaction)
{
    privateConnections_.push_back(Attach());
    ToznFDConnection* connection = privateConnections_.back().get();
    if (startTransaction)
        connection->StartTransaction(false);
    return connection;
}

void TfdbDatabase::ReleaseConnection(ToznFDConnection* connection)
{
    std::erase_if(privateConnections_, [connection](const auto& c) { return c.get() == connection; });
}

TFDQuery* TfdbDatabase::GetQuery()
{
    if (!query_)
        query_ = defaultConnection_->NewQuery();
    return query_.get();
}

TfdbTree* TfdbDatabase::GetTree()
{
    if (!tree_) {
        tree_ = std::make_unique<TfdbTree>();
        tree_->Build(*defaultConnection_);
    }
    return tree_.get();
}

TInitOZN* TfdbDatabase::GetInit() { return Init(true); }

TSamplePeriodsList* TfdbDatabase::GetSamplePeriods()
{
    if (!periods_)
        periods_ = std::make_unique<TSamplePeriodsList>();
    periods_->Load(*defaultConnection_);
    return periods_.get();
}

bool TfdbDatabase::GetUserRights(int right) { return GetUserRightsByPeriodAndIdent(-1, -1, right); }

bool TfdbDatabase::GetUserRightsByPeriodAndIdent(int period, int ident, int right)
{
    // A row for any period (-1) or object (-1) covers every one; asking with -1 accepts any row.
    return GuardedRead(*defaultConnection_, [&] {
        auto q = defaultConnection_->NewQuery();
        q->SetSQLText(QStringLiteral(
            "select first 1 \"Granted\" from \"UserRights\" where \"UserName\"=:UserName and \"UserRight\"=:UserRight"
            " and (:Period=-1 or \"PeriodIdent\"=-1 or \"PeriodIdent\"=:Period)"
            " and (:Ident=-1 or \"ObjectGUID\"=-1 or \"ObjectGUID\"=:Ident)"
            " order by \"Granted\""));
        q->ParamByName(QStringLiteral("UserName"), user_.toUpper());
        q->ParamByName(QStringLiteral("UserRight"), right);
        q->ParamByName(QStringLiteral("Period"), period);
        q->ParamByName(QStringLiteral("Ident"), ident);
        q->Open();
        // A denial among matching rows wins ("order by Granted" puts 0 first).
        return !q->Eof() && q->Int(QStringLiteral("Granted")) != 0;
    });
}

void TfdbDatabase::SetUserRight(const QString& user, int right, bool granted, int period, int ident)
{
    auto q = defaultConnection_->NewQuery();
    q->SetSQLText(QStringLiteral("update or insert into \"UserRights\" (\"UserName\", \"UserRight\", \"PeriodIdent\", "
                                 "\"ObjectGUID\", \"Granted\")"
                                 " values (:UserName, :UserRight, :Period, :Ident, :Granted)"
                                 " matching (\"UserName\", \"UserRight\", \"PeriodIdent\", \"ObjectGUID\")"));
    q->ParamByName(QStringLiteral("UserName"), user.toUpper());
    q->ParamByName(QStringLiteral("UserRight"), right);
    q->ParamByName(QStringLiteral("Period"), period);
    q->ParamByName(QStringLiteral("Ident"), ident);
    q->ParamByName(QStringLiteral("Granted"), granted ? 1 : 0);
    q->ExecSQL();
}
