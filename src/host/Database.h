#pragma once
#include <QList>
#include <QString>
#include <memory>
#include <vector>

#include "host/Connection.h"
#include "host/HostApi.h"

class TfdbTree;
class TInitOZN;
class TSamplePeriodsList;

// Where a database lives: an embedded file, or "host[/port]:path" on a Firebird server.
struct OZN3HOST_API DatabaseAddress {
    QString host;
    int port = 0;
    QString path;

    bool isServer() const { return !host.isEmpty(); }
    // The name the Firebird client attaches to.
    QString attachName() const;
    // Parses a connection string; false with a reason when it is malformed.
    static bool parse(const QString& text, DatabaseAddress& address, QString& error);
};

// The host's open database: its default connection, rights, parameters, tree and periods.
class OZN3HOST_API TfdbDatabase {
public:
    // Opens an existing database; on failure returns null and a user-readable reason.
    static std::unique_ptr<TfdbDatabase> Open(const QString& connectionString, QString& error);
    ~TfdbDatabase();
    TfdbDatabase(const TfdbDatabase&) = delete;
    TfdbDatabase& operator=(const TfdbDatabase&) = delete;

    QString ConnectionString() const { return connectionString_; }
    QString UserName() const { return user_; }

    ToznFDConnection* GetDefaultConnection() { return defaultConnection_.get(); }
    ToznFDConnection* CreateConnection(bool startTransaction = false);
    // A connection owned by the caller, for use on the caller's thread (a connection serves one thread).
    std::unique_ptr<ToznFDConnection> NewConnection() { return Attach(); }
    void ReleaseConnection(ToznFDConnection* connection);
    // A reusable query on the default connection.
    TFDQuery* GetQuery();

    TfdbTree* GetTree();
    TInitOZN* GetInit();
    TSamplePeriodsList* GetSamplePeriods();

    // The role the connections hold (the reader's or the writer's); empty for the owner or an administrator.
    QString Role() const { return role_; }
    // Rights are rows of "UserRights" for the connection's user.
    bool GetUserRights(int right);
    // -1 for the period or the object means any.
    bool GetUserRightsByPeriodAndIdent(int period, int ident, int right);
    void SetUserRight(const QString& user, int right, bool granted, int period = -1, int ident = -1);

private:
    TfdbDatabase(const QString& connectionString, const QString& attachName, const QString& user,
                 const QString& password);
    std::unique_ptr<ToznFDConnection> Attach();
    QString connectionString_, attachName_, user_, password_, role_;
    std::unique_ptr<ToznFDConnection> defaultConnection_;
    std::vector<std::unique_ptr<ToznFDConnection>> privateConnections_;
    std::unique_ptr<TFDQuery> query_;
    std::unique_ptr<TfdbTree> tree_;
    std::unique_ptr<TSamplePeriodsList> periods_;
};

// The host's current database is the same class.
using TCurrentDatabase = TfdbDatabase;

// The database the host has open; null when none.
OZN3HOST_API TCurrentDatabase* CurrentDatabase();
OZN3HOST_API void SetCurrentDatabase(TCurrentDatabase* database);

// The embedded default database of this user.
OZN3HOST_API QString DefaultDatabasePath();
// The Firebird user and password: those typed in the login window, else ISC_USER / ISC_PASSWORD, else (for an
// embedded database, which checks none) SYSDBA.
OZN3HOST_API QString FirebirdUser();
OZN3HOST_API QString FirebirdPassword();
// The user's own credentials for a server, typed in the login window; they take the place of ISC_USER and
// ISC_PASSWORD. A server is never reached with credentials the user did not give.
OZN3HOST_API void SetServerCredentials(const QString& user, const QString& password);
// Whether a server connection has credentials (set, or ISC_USER and ISC_PASSWORD).
OZN3HOST_API bool HasServerCredentials();
