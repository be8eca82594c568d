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
