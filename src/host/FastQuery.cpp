#include "host/FastQuery.h"

#include <ibase.h>

#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <cmath>
#include <cstring>
#include <ctime>
#include <vector>

#include "host/Connection.h"
#include "host/NumericHelpers.h"

namespace {
// The engine's message of a failed call, as the connection's queries word it.
[[noreturn]] void fail(const ISC_STATUS* status, const QString& what)
{
    QString text;
    const ISC_STATUS* vector = status;
    char buffer[1024];
    while (fb_interpret(buffer, sizeof buffer, &vector) > 0)
        text += (text.isEmpty() ? QString() : QStringLiteral("\n")) + QString::fromUtf8(buffer);
    throw EngineError(text.isEmpty() ? what : text, what);
}

// A described column or parameter with the buffer it is read from or bound to.
struct Slot {
    std::vector<char> data;
    short null = 0;
};

void allocate(XSQLDA* sqlda, std::vector<Slot>& buffers)
{
    buffers.resize(static_cast<size_t>(sqlda->sqld));
    for (int i = 0; i < sqlda->sqld; ++i) {
        XSQLVAR& v = sqlda->sqlvar[i];
        const int type = v.sqltype & ~1;
        buffers[i].data.assign(static_cast<size_t>(v.sqllen) + (type == SQL_VARYING ? 2 : 0) + 8, 0);
        v.sqldata = buffers[i].data.data();
        v.sqlind = &buffers[i].null;
    }
}

XSQLDA* newSqlda(int n)
{
    auto* sqlda = static_cast<XSQLDA*>(calloc(1, XSQLDA_LENGTH(std::max(1, n))));
    sqlda->version = SQLDA_VERSION1;
    sqlda->sqln = static_cast<short>(std::max(1, n));
    return sqlda;
}
}  // namespace

struct TFastQuery::Private {
    ToznFDConnection* connection = nullptr;
    isc_db_handle db = 0;
    isc_tr_handle tr = 0;
    isc_stmt_handle stmt = 0;
    QByteArray sql;
    QStringList paramNames;  // in the order of the placeholders
    std::vector<QVariant> params;
    XSQLDA* in = nullptr;
    XSQLDA* out = nullptr;
    std::vector<Slot> inSlots, outSlots;
    bool open = false;

    ~Private()
    {
        ISC_STATUS_ARRAY status{};
        if (stmt)
            isc_dsql_free_statement(status, &stmt, DSQL_drop);
        if (tr)
            isc_rollback_transaction(status, &tr);  // it only read
        free(in);
        free(out);
    }

    void bind()
    {
        for (int i = 0; i < in->sqld && i < static_cast<int>(params.size()); ++i) {
            XSQLVAR& v = in->sqlvar[i];
            const QVariant& value = params[i];
            Slot& slot = inSlots[i];
            slot.null = value.isNull() ? -1 : 0;
            v.sqlind = &slot.null;
            if (value.typeId() == QMetaType::QDateTime) {
                // The engine converts a timestamp to the parameter's own type.
                const QDateTime t = value.toDateTime();
                std::tm tm{};
                tm.tm_year = t.date().year() - 1900;
                tm.tm_mon = t.date().month() - 1;
                tm.tm_mday = t.date().day();
                tm.tm_hour = t.time().hour();
                tm.tm_min = t.time().minute();
                tm.tm_sec = t.time().second();
                slot.data.assign(sizeof(ISC_TIMESTAMP), 0);
                isc_encode_timestamp(&tm, reinterpret_cast<ISC_TIMESTAMP*>(slot.data.data()));
                v.sqltype = SQL_TIMESTAMP + 1;
                v.sqllen = sizeof(ISC_TIMESTAMP);
            } else {
                const ISC_INT64 n = value.toLongLong();
                slot.data.assign(sizeof(ISC_INT64), 0);
                std::memcpy(slot.data.data(), &n, sizeof n);
                v.sqltype = SQL_INT64 + 1;
                v.sqllen = sizeof(ISC_INT64);
                v.sqlscale = 0;
            }
            v.sqldata = slot.data.data();
        }
    }

    const XSQLVAR& column(int i) const { return out->sqlvar[i]; }
};

TFastQuery::TFastQuery(ToznFDConnection& connection, const QString& sql) : d(std::make_unique<Private>())
{
    d->connection = &connection;
    // Named parameters become the engine's placeholders, in order (texts in quotes left alone).
    static const QRegularExpression token(QStringLiteral(R"('[^']*'|"[^"]*"|:([A-Za-z_][A-Za-z0-9_]*))"));
    QString text;
    int from = 0;
    for (auto it = token.globalMatch(sql); it.hasNext();) {
        const auto m = it.next();
        if (m.captured(1).isEmpty())
            continue;
        text += sql.mid(from, m.capturedStart() - from) + QLatin1Char('?');
        d->paramNames << m.captured(1);
        from = m.capturedEnd();
    }
    text += sql.mid(from);
    d->sql = text.toUtf8();
    d->params.resize(static_cast<size_t>(d->paramNames.size()));
    const QVariant handle = connection.qt().driver()->handle();
    d->db = handle.canConvert<isc_db_handle>() ? handle.value<isc_db_handle>() : 0;
}

TFastQuery::~TFastQuery() = default;

TFastQuery& TFastQuery::Param(const QString& name, int value)
{
    for (int i = 0; i < d->paramNames.size(); ++i)
        if (d->paramNames[i].compare(name, Qt::CaseInsensitive) == 0)
            d->params[i] = QVariant(value);
    return *this;
}

TFastQuery& TFastQuery::Param(const QString& name, const QDateTime& value)
{
    for (int i = 0; i < d->paramNames.size(); ++i)
        if (d->paramNames[i].compare(name, Qt::CaseInsensitive) == 0)
            d->params[i] = QVariant(value);
    return *this;
}

void TFastQuery::Open()
{
    if (!d->db)
        throw EDatabaseError(QStringLiteral("Нет соединения с базой данных"));
    ISC_STATUS_ARRAY status{};
    static const char tpb[] = {isc_tpb_version3, isc_tpb_read, isc_tpb_read_committed, isc_tpb_rec_version,
                               isc_tpb_nowait};
    if (isc_start_transaction(status, &d->tr, 1, &d->db, static_cast<unsigned short>(sizeof tpb), tpb))
        fail(status, QStringLiteral("Не удалось начать чтение"));
    if (isc_dsql_allocate_statement(status, &d->db, &d->stmt))
        fail(status, QStringLiteral("Не удалось подготовить запрос"));
    d->out = newSqlda(64);
    if (isc_dsql_prepare(status, &d->tr, &d->stmt, 0, d->sql.constData(), SQL_DIALECT_V6, d->out))
        fail(status, QStringLiteral("Не удалось подготовить запрос"));
    if (d->out->sqld > d->out->sqln) {
        const int n = d->out->sqld;
        free(d->out);
        d->out = newSqlda(n);
        if (isc_dsql_describe(status, &d->stmt, SQL_DIALECT_V6, d->out))
            fail(status, QStringLiteral("Не удалось описать запрос"));
    }
    allocate(d->out, d->outSlots);
    d->in = newSqlda(std::max(1, static_cast<int>(d->params.size())));
    if (isc_dsql_describe_bind(status, &d->stmt, SQL_DIALECT_V6, d->in))
        fail(status, QStringLiteral("Не удалось описать параметры"));
    if (d->in->sqld > d->in->sqln) {
        const int n = d->in->sqld;
        free(d->in);
        d->in = newSqlda(n);
        if (isc_dsql_describe_bind(status, &d->stmt, SQL_DIALECT_V6, d->in))
            fail(status, QStringLiteral("Не удалось описать параметры"));
    }
    d->inSlots.resize(static_cast<size_t>(d->in->sqld));
    d->bind();
    if (isc_dsql_execute(status, &d->tr, &d->stmt, SQL_DIALECT_V6, d->in->sqld > 0 ? d->in : nullptr))
        fail(status, QStringLiteral("Не удалось выполнить запрос"));
    d->open = true;
}

bool TFastQuery::Next()
{
    if (!d->open)
        return false;
    ISC_STATUS_ARRAY status{};
    const ISC_STATUS fetched = isc_dsql_fetch(status, &d->stmt, SQL_DIALECT_V6, d->out);
    if (fetched == 100) {
        d->open = false;
        return false;
    }
    if (fetched != 0)
        fail(status, QStringLiteral("Не удалось прочитать строку"));
    return true;
}

int TFastQuery::Columns() const { return d->out ? d->out->sqld : 0; }

bool TFastQuery::IsNull(int column) const
{
    const XSQLVAR& v = d->column(column);
    return (v.sqltype & 1) && *v.sqlind < 0;
}

double TFastQuery::Float(int column) const
{
    if (IsNull(column))
        return EmptyFloat();
    const XSQLVAR& v = d->column(column);
    const double scale = v.sqlscale < 0 ? std::pow(10.0, -v.sqlscale) : 1.0;
    switch (v.sqltype & ~1) {
    case SQL_DOUBLE:
    case SQL_D_FLOAT: {
        double x;
        std::memcpy(&x, v.sqldata, sizeof x);
        return x;
    }
    case SQL_FLOAT: {
        float x;
        std::memcpy(&x, v.sqldata, sizeof x);
        return x;
    }
    case SQL_SHORT: {
        short x;
        std::memcpy(&x, v.sqldata, sizeof x);
        return x / scale;
    }
    case SQL_LONG: {
        ISC_LONG x;
        std::memcpy(&x, v.sqldata, sizeof x);
        return x / scale;
    }
    case SQL_INT64: {
        ISC_INT64 x;
        std::memcpy(&x, v.sqldata, sizeof x);
        return static_cast<double>(x) / scale;
    }
    case SQL_VARYING:
    case SQL_TEXT: {
        double x = EmptyFloat();
        return ParseFloat(Str(column), x) ? x : EmptyFloat();
    }
    default: return EmptyFloat();  // a date or another kind that is not a number
    }
}

int TFastQuery::Int(int column, int whenNull) const
{
    if (IsNull(column))
        return whenNull;
    return static_cast<int>(std::llround(Float(column)));
}

QString TFastQuery::Str(int column) const
{
    if (IsNull(column))
        return {};
    const XSQLVAR& v = d->column(column);
    switch (v.sqltype & ~1) {
    case SQL_VARYING: {
        short length;
        std::memcpy(&length, v.sqldata, sizeof length);
        return QString::fromUtf8(v.sqldata + 2, length);
    }
    case SQL_TEXT: return QString::fromUtf8(v.sqldata, v.sqllen).trimmed();
    case SQL_TYPE_DATE: {
        std::tm tm{};
        isc_decode_sql_date(reinterpret_cast<const ISC_DATE*>(v.sqldata), &tm);
        return QDate(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday).toString(Qt::ISODate);
    }
    case SQL_TIMESTAMP: {
        std::tm tm{};
        isc_decode_timestamp(reinterpret_cast<const ISC_TIMESTAMP*>(v.sqldata), &tm);
        return QDateTime(QDate(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday), QTime(tm.tm_hour, tm.tm_min, tm.tm_sec))
            .toString(Qt::ISODate);
    }
    default: return QString::number(Float(column), 'g', 17);
    }
}

TRows::TRows(ToznFDConnection& connection, const QString& sql)
{
    if (connection.inTransaction()) {
        qt_ = connection.NewQuery();
        qt_->SetSQLText(sql);
    } else {
        fast_ = std::make_unique<TFastQuery>(connection, sql);
    }
}

TRows::~TRows() = default;

TRows& TRows::Param(const QString& name, int value)
{
    if (fast_)
        fast_->Param(name, value);
    else
        qt_->ParamByName(name, value);
    return *this;
}

TRows& TRows::Param(const QString& name, const QDateTime& value)
{
    if (fast_)
        fast_->Param(name, value);
    else
        qt_->ParamByName(name, value);
    return *this;
}

void TRows::Open()
{
    first_ = true;
    if (fast_)
        fast_->Open();
    else
        qt_->Open();
}

bool TRows::Next()
{
    if (fast_)
        return fast_->Next();
    if (!first_)
        qt_->Next();
    first_ = false;
    return !qt_->Eof();
}

bool TRows::IsNull(int column) const { return fast_ ? fast_->IsNull(column) : qt_->Value(column).isNull(); }

double TRows::Float(int column) const
{
    if (fast_)
        return fast_->Float(column);
    const QVariant v = qt_->Value(column);
    return v.isNull() ? EmptyFloat() : v.toDouble();
}

int TRows::Int(int column, int whenNull) const
{
    if (fast_)
        return fast_->Int(column, whenNull);
    const QVariant v = qt_->Value(column);
    return v.isNull() ? whenNull : v.toInt();
}

QString TRows::Str(int column) const { return fast_ ? fast_->Str(column) : qt_->Value(column).toString(); }
