#pragma once
// The voltage along the line: the three phase voltages at every node from the supply centre to the node chosen
// on the drawing, against the distance, with the limits of GOST 32144-2013 (±10 % of the nominal) marked.
#include <QList>
#include <QPointF>
#include <QWidget>
#include <array>

#include "feeders/SchemeDrawing038.h"

class QChart;
class QChartView;
class QLabel;
class QStackedLayout;

namespace feeders {

class TVoltageProfileView : public QWidget {
    Q_OBJECT
public:
    explicit TVoltageProfileView(QWidget* parent = nullptr);
    // Plots the voltages on the way to a node of the drawing; a node out of range shows the hint instead.
    void ShowPath(const TSchemeDrawing038& drawing, int node);
    // What is plotted: the phase series' points (distance, V) and the chart's title; empty without a plot.
    QList<QPointF> PhasePoints(int phase) const;
    QString Title() const;
    bool Plotted() const;

private:
    QChart* chart_;
    QChartView* chartView_;
    QLabel* hint_;
    QStackedLayout* stack_;
    std::array<QList<QPointF>, 3> points_;
};

}  // namespace feeders
