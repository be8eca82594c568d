#include "host/SamplePeriods.h"

#include "host/Connection.h"

double DateTimeToDays(const QDateTime& value)
{
    if (!value.isValid())
        return 0;
    static const QDate epoch(1899, 12, 30);
    return epoch.daysTo(value.date()) + value.time().msecsSinceStartOfDay() / 86400000.0;
}

double TSamplePeriodInfo::StartDays() const { return DateTimeToDays(SampleDate1); }
double TSamplePeriodInfo::EndDays() const { return DateTimeToDays(SampleDate2); }

bool f_SamePeriods(const TSamplePeriodInfo& a, const TSamplePeriodInfo& b)
{
    return a.Period == b.Period && a.SampleDate1.daysTo(a.SampleDate2) == b.SampleDate1.daysTo(b.SampleDate2);
}

QString SamplePeriodName(int year, int month)
{
    static const char* const months[] = {"Январь", "Февраль", "Март",     "Апрель",  "Май",    "Июнь",
                                         "Июль",   "Август",  "Сентябрь", "Октябрь", "Ноябрь", "Декабрь"};
    if (month < 1 || month > 12)
        return QStringLiteral("%1г.").arg(year);
    return QStringLiteral("%1 %2").arg(QString::fromUtf8(months[month - 1])).arg(year);
}

namespace {
// The interval of a kind and dates: the stored one, else a new row; its ident.
int FindOrInsertInterval(ToznFDConnection& connection, int period, const QDateTime& d1, const QDateTime& d2,
                         const QString& name)
{
    auto q = connection.NewQuery();
    q->SetSQLText(QStringLiteral(
        R"(select "Ident" from "SamplesDates" where "Period"=:Period and "SampleDate1"=:d1 and "SampleDate2"=:d2)"));
    q->ParamByName(QStringLiteral("Period"), period)
        .ParamByName(QStringLiteral("d1"), d1)
        .ParamByName(QStringLiteral("d2"), d2);
    q->Open();
    if (!q->Eof())
        return q->Int(QStringLiteral("Ident"));
    q->Close();
    q->SetSQLText(QStringLiteral(R"(select gen_id("IdentGen", 1) from rdb$database)"));
    q->Open();
    const int next = q->Value(0).toInt();
    q->Close();
    q->SetSQLText(QStringLiteral(R"(insert into "SamplesDates" ("Ident", "Name", "Period", "SampleDate1",
        "SampleDate2") values (:Ident, :Name, :Period, :d1, :d2))"));
    q->ParamByName(QStringLiteral("Ident"), next)
        .ParamByName(QStringLiteral("Name"), name)
        .ParamByName(QStringLiteral("Period"), period)
        .ParamByName(QStringLiteral("d1"), d1)
        .ParamByName(QStringLiteral("d2"), d2);
    q->ExecSQL();
    return next;
}
}  // namespace

int CreateSamplePeriod(ToznFDConnection& connection, int year, int month, QString& error)
{
    if (year < 1900 || year > 2200 || month < 0 || month > 12) {
        error = QStringLiteral("Интервал %1 не может быть создан: год от 1900 до 2200, месяц от 1 до 12").arg(year);
        return 0;
    }
    const QDate start(year, month == 0 ? 1 : month, 1);
    const QDateTime d1(start, QTime(0, 0)), d2(month == 0 ? start.addYears(1) : start.addMonths(1), QTime(0, 0));
    const int period = month == 0 ? 1 : 4;
    int ident = 0;
    auto make = [&] {
        GuardedWrite(connection,
                     [&] { ident = FindOrInsertInterval(connection, period, d1, d2, SamplePeriodName(year, month)); });
    };
    try {
        try {
            make();
        } catch (const EDatabaseError& e) {
            // Another user made the same interval meanwhile: the second look finds theirs.
            if (e.Kind() != host::TEngineErrorKind::UniqueKey || connection.inTransaction())
                throw;
            make();
        }
    } catch (const EDatabaseError& e) {
        error = QStringLiteral("Интервал %1 не создан: %2").arg(SamplePeriodName(year, month), e.Text());
        return 0;
    }
    return ident;
}

void TSamplePeriodsList::Load(ToznFDConnection& connection)
{
    items_.clear();
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QStringLiteral(
            "select sd.\"Ident\", sd.\"Name\", sd.\"Period\", p.\"Name\" as \"PeriodName\", sd.\"SampleDate1\","
            " sd.\"SampleDate2\" from \"SamplesDates\" sd left join \"Periods\" p on p.\"Ident\"=sd.\"Period\""
            " order by sd.\"SampleDate1\", sd.\"SampleDate2\""));
        for (q->Open(); !q->Eof(); q->Next()) {
            TSamplePeriodInfo info;
            info.Ident = q->Int(QStringLiteral("Ident"));
            info.Name = q->Str(QStringLiteral("Name"));
            info.Period = q->Int(QStringLiteral("Period"));
            info.PeriodName = q->Str(QStringLiteral("PeriodName"));
            info.SampleDate1 = q->Value(QStringLiteral("SampleDate1")).toDateTime();
            info.SampleDate2 = q->Value(QStringLiteral("SampleDate2")).toDateTime();
            items_.push_back(info);
        }
    });
}

const TSamplePeriodInfo* TSamplePeriodsList::GetPSamplePeriodInfoByIdent(int ident) const
{
    for (const auto& item : items_)
        if (item.Ident == ident)
            return &item;
    return nullptr;
}

QString PeriodKindName(ToznFDConnection& connection, int code)
{
    return GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QStringLiteral("select \"Name\" from \"Periods\" where \"Ident\"=:Ident"));
        q->ParamByName(QStringLiteral("Ident"), code);
        q->Open();
        return q->Eof() ? QString() : q->Str(QStringLiteral("Name"));
    });
}
