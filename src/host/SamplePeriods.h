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
