#pragma once
// What a feeder's results workbook adds for a run by metering profiles: the steps of the interval ("По шагам":
// head power, losses and lowest phase voltage of each step), their charts with the step of greatest load marked
// ("Графики"), and the losses by the methods side by side ("Сравнение методов").
#include <QList>
#include <QStringList>

#include "host/profiles/ProfileFeeder.h"

struct lxw_workbook;

void AddProfileSheets(lxw_workbook* book, const profiles::TStoredProfileRun& run,
                      const profiles::TProfileStepSeries& series);

// The texts of the comparison of the methods, in the window and the workbook alike: rows of method, losses
// (thousand kWh), error (%).
QList<QStringList> ProfileComparisonRows(const fider::TProfileRunFigures& figures);
