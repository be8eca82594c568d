#pragma once
// The pages that a feeder's results window shows for a run by metering profiles: the head power, the losses and
// the lowest phase voltage over the interval with the step of greatest load marked, and the losses of the same
// consumers by the mean-load and maximum-load methods beside those of the profiles.
#include <QWidget>

#include "host/profiles/ProfileFeeder.h"

class QChartView;

// Three charts one above the other, on one time axis.
class TProfileChart : public QWidget {
    Q_OBJECT
public:
    // `nominal`: the nominal phase voltage, V, whose −10 % the voltage chart draws.
    TProfileChart(const profiles::TProfileStepSeries& series, double nominal, QWidget* parent = nullptr);
    QChartView* HeadView() const { return head_; }
    QChartView* LossView() const { return loss_; }
    QChartView* VoltageView() const { return voltage_; }

private:
    QChartView *head_, *loss_, *voltage_;
};

// The comparison of the methods and the figures of the run, as a table and a few lines of text.
QWidget* CreateProfileComparison(const profiles::TStoredProfileRun& run, QWidget* parent);
