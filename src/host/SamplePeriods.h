#pragma once
#include <QDateTime>
#include <QString>
#include <vector>

#include "host/HostApi.h"

class ToznFDConnection;

// One measurement interval, a row of "SamplesDates".
struct OZN3HOST_API TSamplePeriodInfo {
    int Ident = 0;
    QString Name;
    int Period = 0;  // 1 year, 4 month, other codes name rows of "Periods"
    QString PeriodName;
    QDateTime SampleDate1;
    QDateTime SampleDate2;

    QString GetName() const { return Name; }
    bool isEmpty() const { return Ident == 0; }
    // Start and end as day counts (days since 30 December 1899, fractions for the time of day).
    double StartDays() const;
    double EndDays() const;
};

// Two intervals of the same kind and length.
OZN3HOST_API bool f_SamePeriods(const TSamplePeriodInfo& a, const TSamplePeriodInfo& b);
// Day count of a date-time in the host's numbering.
OZN3HOST_API double DateTimeToDays(const QDateTime& value);

// The name an interval of a year ("2026г.") or of a month ("Март 2026", month 1 to 12) is given.
OZN3HOST_API QString SamplePeriodName(int year, int month);
// The interval of a year (month 0) or of a month: the existing one with those dates, else a new row of
// "SamplesDates" committed at once. Its ident; 0 with a reason when it cannot be made.
OZN3HOST_API int CreateSamplePeriod(ToznFDConnection& connection, int year, int month, QString& error);

// The name of a kind of interval (a row of "Periods": 1 year, 4 month, …); empty when the database has no such
// kind.
OZN3HOST_API QString PeriodKindName(ToznFDConnection& connection, int code);

// The catalogue of intervals, ordered by start.
class OZN3HOST_API TSamplePeriodsList {
public:
    void Load(ToznFDConnection& connection);
    const TSamplePeriodInfo* GetPSamplePeriodInfoByIdent(int ident) const;
    int GetCount() const { return static_cast<int>(items_.size()); }
    const TSamplePeriodInfo& GetItems(int index) const { return items_.at(index); }
    const std::vector<TSamplePeriodInfo>& Items() const { return items_; }

private:
    std::vector<TSamplePeriodInfo> items_;
};
