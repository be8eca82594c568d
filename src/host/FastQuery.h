#pragma once
#include <QDateTime>
#include <QString>
#include <QVariant>
#include <memory>

#include "host/HostApi.h"

class ToznFDConnection;
class TFDQuery;

// A read of many rows through the engine's own interface, on the connection's attachment in a read-only
// transaction of its own: each value is converted once into a number or a text, without the per-value objects
// of the Qt driver (a read of a hundred thousand rows then costs what the engine takes). It sees committed data
// only, never waits for other users' rows, and is meant for reads that the connection's own transaction has
// not touched; a database error raises EDatabaseError as the connection's queries do.
class OZN3HOST_API TFastQuery {
public:
    // The statement with named parameters (":name"), as the connection's queries take them.
    TFastQuery(ToznFDConnection& connection, const QString& sql);
    ~TFastQuery();
    TFastQuery(const TFastQuery&) = delete;
    TFastQuery& operator=(const TFastQuery&) = delete;

    TFastQuery& Param(const QString& name, int value);
    TFastQuery& Param(const QString& name, const QDateTime& value);
    void Open();
    // The next row; false after the last.
    bool Next();
    int Columns() const;
    bool IsNull(int column) const;
    double Float(int column) const;  // empty (NaN) for NULL
    int Int(int column, int whenNull = 0) const;
    QString Str(int column) const;  // empty for NULL; a date or timestamp in ISO form

private:
    struct Private;
    std::unique_ptr<Private> d;
};

// The rows of a read: through the engine's interface (TFastQuery) when the connection has no transaction open,
// so that what it reads is what the connection would read, else through the connection's own queries inside its
// transaction. Run it with Read, which opens the connection's reading where one is needed.
class OZN3HOST_API TRows {
public:
    TRows(ToznFDConnection& connection, const QString& sql);
    ~TRows();
    bool Fast() const { return fast_ != nullptr; }
    TRows& Param(const QString& name, int value);
    TRows& Param(const QString& name, const QDateTime& value);
    void Open();
    bool Next();
    bool IsNull(int column) const;
    double Float(int column) const;
    int Int(int column, int whenNull = 0) const;
    QString Str(int column) const;

private:
    std::unique_ptr<TFastQuery> fast_;
    std::unique_ptr<TFDQuery> qt_;
    bool first_ = true;
};
