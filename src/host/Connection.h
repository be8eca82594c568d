#pragma once
#include <QHash>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>

#include "host/HostApi.h"

class TfdbDatabase;
class TFDQuery;
class TFDStoredProc;
class TStatementWatch;

#include "host/EngineErrors.h"

// A database error in the users' words; it reaches the form that started the operation. An error the engine
// raised keeps its kind (a conflict with another user, a full disk, …); the engine's own text goes to the
// application's log when the error is made.
class OZN3HOST_API EDatabaseError : public std::runtime_error {
public:
    explicit EDatabaseError(const QString& text, host::TEngineErrorKind kind = host::TEngineErrorKind::Other)
        : std::runtime_error(text.toStdString()), kind_(kind)
    {
    }
    QString Text() const { return QString::fromStdString(what()); }
    host::TEngineErrorKind Kind() const { return kind_; }

private:
    host::TEngineErrorKind kind_;
};
// A statement that waited past the connection's lock timeout for data another user holds.
class OZN3HOST_API ELockTimeout : public EDatabaseError {
public:
    explicit ELockTimeout(const QString& text) : EDatabaseError(text, host::TEngineErrorKind::Conflict) {}
};
// A statement the user stopped while it waited.
class OZN3HOST_API EStopped : public EDatabaseError {
public:
    using EDatabaseError::EDatabaseError;
};
// The error of an engine's text: translated for the user, the engine's text written to the application's log
// with what was being done (`context`, an SQL text or an operation).
OZN3HOST_API EDatabaseError EngineError(const QString& engineText, const QString& context = {});
// Whether an error is one that a later attempt may not meet: another user's change of the same rows, a
// deadlock, a wait past the lock timeout, or a row with the same key that another user wrote meanwhile.
OZN3HOST_API bool IsConflict(const EDatabaseError& error);
// Whether the database could not be reached or written at all (connection lost, disk full): nothing more of a
// batch can be stored.
OZN3HOST_API bool IsFatal(const EDatabaseError& error);

// One attachment to the database with its transaction.
// The transaction operations keep the host's order: StartTransaction, then Commit (second)
// and Rollback (third); CommitRetaining commits and leaves a transaction open.
class OZN3HOST_API ToznFDConnection {
public:
    // With a role, the connection holds the privileges granted to that role (the user must hold it).
    ToznFDConnection(TfdbDatabase* database, const QString& databaseName, const QString& user, const QString& password,
                     const QString& role = {});
    ~ToznFDConnection();
    ToznFDConnection(const ToznFDConnection&) = delete;
    ToznFDConnection& operator=(const ToznFDConnection&) = delete;

    void StartTransaction(bool readOnly = false);
    void Commit();
    void Rollback();
    void CommitRetaining();
    bool inTransaction() const { return inTransaction_; }

    std::unique_ptr<TFDQuery> NewQuery();
    std::unique_ptr<TFDStoredProc> NewStoredProc();
    // A new key from the stored procedure "GetNewGUID".
    int GetNewGUID();

    TfdbDatabase* GetDataBase() const { return database_; }
    // Returns a connection made by TfdbDatabase::CreateConnection.
    void Release();

    // Statements that wait longer than this (for a row another user holds) are cancelled and fail with
    // ELockTimeout; 0 waits as long as it takes. `stopRequested`, when given, cancels a waiting statement
    // as soon as it says so (Ctrl-C), failing with EStopped.
    void SetLockTimeout(int milliseconds, std::function<bool()> stopRequested = {});
    int LockTimeout() const { return lockTimeoutMs_; }
    // The limit alone, the stop request staying as it is.
    void SetLockTimeoutOnly(int milliseconds) { SetLockTimeout(milliseconds, stopRequested_); }

    QSqlDatabase& qt() { return db_; }
    // Changes whenever a transaction starts or ends; statements prepared before must be prepared again.
    int Generation() const { return generation_; }
    QString UserName() const { return db_.userName(); }

private:
    TfdbDatabase* database_;
    QString name_;
    QSqlDatabase db_;
    bool inTransaction_ = false;
    int generation_ = 0;
    int lockTimeoutMs_ = 0;
    std::function<bool()> stopRequested_;
    std::unique_ptr<TStatementWatch> watch_;
    friend class TFDQuery;
};

// A query on a connection: SQL text with named parameters, forward-only reading.
// Empty floats are bound as NULL, and NULL reads back as an empty float.
class OZN3HOST_API TFDQuery {
public:
    explicit TFDQuery(ToznFDConnection& connection);

    void SetSQLText(const QString& sql);
    QString SQLText() const { return sql_; }
    TFDQuery& ParamByName(const QString& name, const QVariant& value);
    TFDQuery& ParamFloat(const QString& name, double value);
    // Binds the placeholder at a position (0-based), for statements built from column lists.
    TFDQuery& ParamByIndex(int index, const QVariant& value);

    void Open();     // runs a select and stands on the first row (Eof when none)
    void ExecSQL();  // runs a statement that writes
    bool Eof() const { return eof_; }
    void Next();

    QVariant Value(const QString& field) const;
    QVariant Value(int index) const;
    double Float(const QString& field) const;
    int Int(const QString& field, int whenNull = 0) const;
    QString Str(const QString& field) const;
    bool IsNull(const QString& field) const;
    int FieldCount() const;
    QString FieldName(int index) const;
    int RowsAffected() const;
    void Close();

private:
    void Prepare();
    void Exec();
    // Field positions by name, read once per statement: asking the driver for them on every value is slow.
    int IndexOf(const QString& field) const;
    ToznFDConnection& connection_;
    QSqlQuery query_;
    QString sql_;
    int generation_ = -1;
    QHash<QString, QVariant> named_;
    QHash<int, QVariant> positional_;
    mutable QHash<QString, int> fields_;
    bool eof_ = true;
};

// A stored procedure call: "EXECUTE PROCEDURE" with its output values.
class OZN3HOST_API TFDStoredProc {
public:
    explicit TFDStoredProc(ToznFDConnection& connection) : query_(connection) {}
    void SetProcName(const QString& name) { name_ = name; }
    void ExecProc();
    QVariant Output(const QString& field) const { return query_.Value(field); }

private:
    TFDQuery query_;
    QString name_;
};

// Runs a read in the connection's transaction, or in one of its own when none is open.
template <class F> auto GuardedRead(ToznFDConnection& connection, F&& read)
{
    const bool own = !connection.inTransaction();
    if (own)
        connection.StartTransaction(false);
    try {
        if constexpr (std::is_void_v<decltype(read())>) {
            read();
            if (own)
                connection.Rollback();
        } else {
            auto result = read();
            if (own)
                connection.Rollback();
            return result;
        }
    } catch (...) {
        if (own)
            connection.Rollback();
        throw;
    }
}

// How long a change waits for rows another user holds before it gives up with ELockTimeout.
inline constexpr int kWriteLockTimeoutMs = 10000;

// A lock timeout for a scope of changes on a connection that has none; the connection is as before after it.
class TScopedLockTimeout {
public:
    TScopedLockTimeout(ToznFDConnection& connection, int milliseconds = kWriteLockTimeoutMs)
        : connection_(connection), former_(connection.LockTimeout())
    {
        if (former_ == 0)
            connection_.SetLockTimeoutOnly(milliseconds);
    }
    ~TScopedLockTimeout()
    {
        if (former_ == 0)
            connection_.SetLockTimeoutOnly(0);
    }
    TScopedLockTimeout(const TScopedLockTimeout&) = delete;
    TScopedLockTimeout& operator=(const TScopedLockTimeout&) = delete;

private:
    ToznFDConnection& connection_;
    int former_;
};

// Runs a change in the connection's transaction, or in one of its own that is committed when the change
// succeeds and rolled back when it raises. A change of its own never waits forever for another user's rows.
template <class F> void GuardedWrite(ToznFDConnection& connection, F&& change)
{
    const bool own = !connection.inTransaction();
    std::optional<TScopedLockTimeout> limit;
    if (own)
        limit.emplace(connection);
    if (own)
        connection.StartTransaction(false);
    try {
        change();
        if (own)
            connection.Commit();
    } catch (...) {
        if (own && connection.inTransaction())
            connection.Rollback();
        throw;
    }
}

// The same, a database error becoming `error` ("%1" in `what` is the engine's text): false then.
template <class F> bool TryWrite(ToznFDConnection& connection, const QString& what, QString& error, F&& change)
{
    try {
        GuardedWrite(connection, std::forward<F>(change));
        return true;
    } catch (const EDatabaseError& e) {
        error = what.arg(e.Text());
        return false;
    }
}
