#include "host/Connection.h"

#include <ibase.h>

#include <QAtomicInt>
#include <QHash>
#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlRecord>

#include "host/AppLog.h"
#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "host/StatementWatch.h"

namespace {
EDatabaseError driverError(const QSqlError& error, const QString& context = {})
{
    QString text = error.databaseText().trimmed();
    if (text.isEmpty())
        text = error.text().trimmed();
    return EngineError(text, context);
}

QString uniqueConnectionName()
{
    static QAtomicInt counter;
    return QStringLiteral("ozn3-%1").arg(counter.fetchAndAddOrdered(1));
}
}  // namespace

ToznFDConnection::ToznFDConnection(TfdbDatabase* database, const QString& databaseName, const QString& user,
                                   const QString& password, const QString& role)
    : database_(database), name_(uniqueConnectionName())
{
    db_ = QSqlDatabase::addDatabase(QStringLiteral("QIBASE"), name_);
    if (!db_.isValid())
        throw EDatabaseError(QStringLiteral("Драйвер Firebird (QIBASE) не найден"));
    db_.setDatabaseName(databaseName);
    db_.setUserName(user);
    db_.setPassword(password);
    db_.setConnectOptions(role.isEmpty() ? QStringLiteral("ISC_DPB_LC_CTYPE=UTF8")
                                         : QStringLiteral("ISC_DPB_LC_CTYPE=UTF8;ISC_DPB_SQL_ROLE_NAME=%1").arg(role));
    if (!db_.open()) {
        const EDatabaseError error =
            driverError(db_.lastError(), QStringLiteral("attach %1 as %2").arg(databaseName, user));
        db_ = QSqlDatabase();
        QSqlDatabase::removeDatabase(name_);
        throw error;
    }
}

ToznFDConnection::~ToznFDConnection()
{
    watch_.reset();  // before the attachment it would cancel goes
    if (db_.isOpen()) {
        if (inTransaction_)
            db_.rollback();
        db_.close();
    }
    db_ = QSqlDatabase();
    QSqlDatabase::removeDatabase(name_);
}

void ToznFDConnection::SetLockTimeout(int milliseconds, std::function<bool()> stopRequested)
{
    lockTimeoutMs_ = std::max(0, milliseconds);
    stopRequested_ = std::move(stopRequested);
    if (!watch_ && (lockTimeoutMs_ > 0 || stopRequested_)) {
        // The engine's handle of the attachment, for cancelling its statement from the watch's thread.
        const QVariant handle = db_.driver()->handle();
        // The driver hands it out as the engine's handle type (an unsigned integer).
        const isc_db_handle attachment = handle.canConvert<isc_db_handle>() ? handle.value<isc_db_handle>() : 0;
        watch_ = std::make_unique<TStatementWatch>([attachment]() {
            isc_db_handle copy = attachment;
            ISC_STATUS_ARRAY status{};
            fb_cancel_operation(status, &copy, fb_cancel_raise);
        });
    }
}

EDatabaseError EngineError(const QString& engineText, const QString& context)
{
    const host::TEngineError translated = host::TranslateEngineError(engineText);
    host::LogLine(QStringLiteral("Firebird: %1%2")
                      .arg(QString(engineText).replace(QLatin1Char('\n'), QStringLiteral(" | ")),
                           context.isEmpty() ? QString() : QStringLiteral(" <- ") + context.simplified().left(300)));
    if (!translated.Text.isEmpty())
        return EDatabaseError(translated.Text, translated.Kind);
    return EDatabaseError(QStringLiteral("Ошибка базы данных; сообщение сервера записано в журнал программы %1")
                              .arg(host::ApplicationLogPath()),
                          translated.Kind);
}

bool IsConflict(const EDatabaseError& error)
{
    return error.Kind() == host::TEngineErrorKind::Conflict || error.Kind() == host::TEngineErrorKind::UniqueKey;
}

bool IsFatal(const EDatabaseError& error)
{
    return error.Kind() == host::TEngineErrorKind::ConnectionLost || error.Kind() == host::TEngineErrorKind::DiskFull;
}

void ToznFDConnection::StartTransaction(bool /*readOnly*/)
{
    if (inTransaction_)
        throw EDatabaseError(QStringLiteral("Транзакция уже открыта"));
    ++generation_;
    if (!db_.transaction())
        throw driverError(db_.lastError(), QStringLiteral("start transaction"));
    inTransaction_ = true;
}

void ToznFDConnection::Commit()
{
    if (!inTransaction_)
        return;
    inTransaction_ = false;
    ++generation_;
    if (!db_.commit())
        throw driverError(db_.lastError(), QStringLiteral("commit"));
}

void ToznFDConnection::Rollback()
{
    if (!inTransaction_)
        return;
    inTransaction_ = false;
    ++generation_;
    if (!db_.rollback())
        throw driverError(db_.lastError(), QStringLiteral("rollback"));
}

void ToznFDConnection::CommitRetaining()
{
    if (!inTransaction_)
        return;
    Commit();
    StartTransaction(false);
}

std::unique_ptr<TFDQuery> ToznFDConnection::NewQuery() { return std::make_unique<TFDQuery>(*this); }

std::unique_ptr<TFDStoredProc> ToznFDConnection::NewStoredProc() { return std::make_unique<TFDStoredProc>(*this); }

int ToznFDConnection::GetNewGUID()
{
    auto proc = NewStoredProc();
    proc->SetProcName(QStringLiteral("GetNewGUID"));
    proc->ExecProc();
    return proc->Output(QStringLiteral("GUID")).toInt();
}

void ToznFDConnection::Release()
{
    if (database_)
        database_->ReleaseConnection(this);
    else
        delete this;
}

TFDQuery::TFDQuery(ToznFDConnection& connection) : connection_(connection), query_(connection.qt())
{
    query_.setForwardOnly(true);
}

void TFDQuery::SetSQLText(const QString& sql)
{
    sql_ = sql;
    named_.clear();
    positional_.clear();
    Prepare();
}

void TFDQuery::Prepare()
{
    eof_ = true;
    fields_.clear();
    // The driver ties a prepared statement to the transaction it was prepared in.
    generation_ = connection_.Generation();
    if (!query_.prepare(sql_))
        throw driverError(query_.lastError(), sql_);
}

TFDQuery& TFDQuery::ParamByName(const QString& name, const QVariant& value)
{
    named_.insert(name.startsWith(':') ? name : QLatin1Char(':') + name, value);
    return *this;
}

TFDQuery& TFDQuery::ParamFloat(const QString& name, double value)
{
    return ParamByName(name, isEmptyFloat(value) ? QVariant() : QVariant(value));
}

TFDQuery& TFDQuery::ParamByIndex(int index, const QVariant& value)
{
    positional_.insert(index, value);
    return *this;
}

void TFDQuery::Exec()
{
    if (generation_ != connection_.Generation())
        Prepare();
    for (auto it = named_.cbegin(); it != named_.cend(); ++it)
        query_.bindValue(it.key(), it.value());
    for (auto it = positional_.cbegin(); it != positional_.cend(); ++it)
        query_.bindValue(it.key(), it.value());
    TStatementWatch* watch = connection_.watch_.get();
    if (watch)
        watch->Arm(connection_.lockTimeoutMs_, connection_.stopRequested_);
    const bool ok = query_.exec();
    bool stopped = false;
    const bool late = watch && watch->Disarm(stopped);
    if (ok)
        return;
    if (stopped)
        throw EStopped(QStringLiteral("Остановлено пользователем"));
    if (late)
        throw ELockTimeout(QStringLiteral("Данные заняты другим пользователем: ожидание дольше %1 с прервано")
                               .arg(connection_.lockTimeoutMs_ / 1000.0));
    throw driverError(query_.lastError(), sql_);
}

void TFDQuery::Open()
{
    Exec();
    eof_ = !query_.next();
}

void TFDQuery::ExecSQL()
{
    Exec();
    eof_ = true;
}

void TFDQuery::Next() { eof_ = !query_.next(); }

int TFDQuery::IndexOf(const QString& field) const
{
    if (fields_.isEmpty()) {
        const QSqlRecord record = query_.record();
        for (int i = 0; i < record.count(); ++i) {
            fields_.insert(record.fieldName(i), i);
            fields_.insert(record.fieldName(i).toUpper(), i);
        }
    }
    // Names usually come as the statement spells them; other spellings match without regard to case.
    const auto it = fields_.constFind(field);
    return it != fields_.cend() ? *it : fields_.value(field.toUpper(), -1);
}

QVariant TFDQuery::Value(const QString& field) const
{
    const int index = IndexOf(field);
    return index >= 0 ? query_.value(index) : QVariant();
}

QVariant TFDQuery::Value(int index) const { return query_.value(index); }

double TFDQuery::Float(const QString& field) const
{
    const QVariant v = Value(field);
    return v.isNull() ? EmptyFloat() : v.toDouble();
}

int TFDQuery::Int(const QString& field, int whenNull) const
{
    const QVariant v = Value(field);
    return v.isNull() ? whenNull : v.toInt();
}

QString TFDQuery::Str(const QString& field) const { return Value(field).toString(); }

bool TFDQuery::IsNull(const QString& field) const { return Value(field).isNull(); }

int TFDQuery::FieldCount() const { return query_.record().count(); }

QString TFDQuery::FieldName(int index) const { return query_.record().fieldName(index); }

int TFDQuery::RowsAffected() const { return query_.numRowsAffected(); }

void TFDQuery::Close()
{
    query_.finish();
    eof_ = true;
}

void TFDStoredProc::ExecProc()
{
    query_.SetSQLText(QStringLiteral("EXECUTE PROCEDURE \"%1\"").arg(name_));
    query_.Open();
}
