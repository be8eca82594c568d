#pragma once
// Reading the measured samples of LV feeders ("LVPResultsA" with the feeders' design cos φ of "LVFidersA").
#include <QDate>
#include <QList>
#include <vector>

#include "results/LVMeasuredLosses.h"

class ToznFDConnection;

// The years with samples of any of the feeders, in order.
QList<int> MeasuredYears(ToznFDConnection& connection, const std::vector<int>& feeders);
// The dates of the samples of the feeders within a year, in order.
QList<QDate> MeasuredDates(ToznFDConnection& connection, const std::vector<int>& feeders, int year);
// One sample per feeder for a year: its main sample when it falls in the year, or, when dates are given, its
// latest sample on one of them. Feeders without one have none.
std::vector<TMeasuredSample> MeasuredSamples(ToznFDConnection& connection, const std::vector<int>& feeders, int year,
                                             const QList<QDate>& dates = {});
