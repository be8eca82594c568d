#include "feeders/VoltageProfileView.h"

#include <QChart>
#include <QChartView>
#include <QLabel>
#include <QLegendMarker>
#include <QLineSeries>
#include <QStackedLayout>
#include <QValueAxis>
#include <algorithm>
#include <cmath>

#include "host/NumericHelpers.h"

namespace feeders {

namespace {
QColor rgb(TRgb c) { return QColor::fromRgb(static_cast<QRgb>(c)); }

const QString kHint = QStringLiteral("Выберите на схеме абонента или узел: здесь будет напряжение фаз от центра "
                                     "питания до него.");
}  // namespace

TVoltageProfileView::TVoltageProfileView(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("VoltageProfileView"));
    stack_ = new QStackedLayout(this);
    hint_ = new QLabel(kHint, this);
    hint_->setObjectName(QStringLiteral("lblProfileHint"));
    hint_->setWordWrap(true);
    hint_->setAlignment(Qt::AlignCenter);
    hint_->setMargin(12);
    chart_ = new QChart;
    chart_->legend()->setAlignment(Qt::AlignBottom);
    chart_->setMargins(QMargins(4, 4, 4, 4));
    chartView_ = new QChartView(chart_, this);
    chartView_->setObjectName(QStringLiteral("ProfileChart"));
    chartView_->setRenderHint(QPainter::Antialiasing);
    stack_->addWidget(hint_);
    stack_->addWidget(chartView_);
    stack_->setCurrentWidget(hint_);
}

void TVoltageProfileView::ShowPath(const TSchemeDrawing038& drawing, int node)
{
    chart_->removeAllSeries();
    for (QAbstractAxis* axis : chart_->axes())
        chart_->removeAxis(axis);
    for (auto& p : points_)
        p.clear();
    if (node < 0 || node >= static_cast<int>(drawing.Nodes.size())) {
        hint_->setText(kHint);
        stack_->setCurrentWidget(hint_);
        return;
    }
    const TDrawNode& target = drawing.Nodes[node];
    const std::vector<TProfilePoint> path = drawing.VoltageAlong(node);
    double low = drawing.NominalVoltage, high = drawing.NominalVoltage, far = 0;
    for (const TProfilePoint& p : path)
        for (int k = 0; k < 3; ++k)
            if (!isEmptyFloat(p.U[k])) {
                points_[k] << QPointF(p.Distance, p.U[k]);
                low = std::min(low, p.U[k]);
                high = std::max(high, p.U[k]);
                far = std::max(far, p.Distance);
            }
    if (!target.Energised || (points_[0].isEmpty() && points_[1].isEmpty() && points_[2].isEmpty())) {
        for (auto& p : points_)
            p.clear();
        hint_->setText(!drawing.HasRun ? QStringLiteral("Режим линии не рассчитан: напряжений нет.")
                       : !target.Energised ? QStringLiteral("«%1» без напряжения: за отключенным аппаратом или "
                                                            "участком.")
                                                 .arg(target.Name)
                                           : QStringLiteral("В расчете нет напряжений «%1».").arg(target.Name));
        stack_->setCurrentWidget(hint_);
        return;
    }
    far = std::max(far, 0.001);
    auto* axisX = new QValueAxis;
    axisX->setTitleText(QStringLiteral("От центра питания, км"));
    axisX->setRange(0, far);
    axisX->setLabelFormat(QStringLiteral("%.2f"));
    auto* axisY = new QValueAxis;
    axisY->setTitleText(QStringLiteral("Напряжение, В"));
    const double u = drawing.NominalVoltage, limit = kGostVoltageLimit / 100;
    axisY->setRange(std::floor(std::min(low, u * (1 - limit)) - 2), std::ceil(std::max(high, u * (1 + limit)) + 2));
    axisY->setLabelFormat(QStringLiteral("%.0f"));
    chart_->addAxis(axisX, Qt::AlignBottom);
    chart_->addAxis(axisY, Qt::AlignLeft);
    auto add = [&](QLineSeries* series) {
        chart_->addSeries(series);
        series->attachAxis(axisX);
        series->attachAxis(axisY);
    };
    for (double bound : {u * (1 - limit), u * (1 + limit)}) {
        auto* line = new QLineSeries;
        line->setName(QStringLiteral("ГОСТ ±10 %"));
        line->append(0, bound);
        line->append(far, bound);
        line->setPen(QPen(QColor(120, 120, 120), 1.5, Qt::DashLine));
        add(line);
    }
    // Short names: the legend shares the narrow panel's width with four entries.
    const char* const names[3] = {"A", "B", "C"};
    const fider::TPhaseSet phases[3] = {fider::PhaseA, fider::PhaseB, fider::PhaseC};
    for (int k = 0; k < 3; ++k) {
        if (points_[k].isEmpty())
            continue;
        auto* series = new QLineSeries;
        series->setName(QString::fromUtf8(names[k]));
        series->append(points_[k]);
        series->setPen(QPen(rgb(PhaseColour(phases[k])), 2.2));
        series->setPointsVisible(true);
        add(series);
    }
    // One entry for the two limit lines.
    const QList<QLegendMarker*> markers = chart_->legend()->markers();
    if (markers.size() > 1)
        markers[1]->setVisible(false);
    chart_->setTitle(QStringLiteral("Напряжение до «%1»").arg(target.Name));
    stack_->setCurrentWidget(chartView_);
}

QList<QPointF> TVoltageProfileView::PhasePoints(int phase) const { return points_[phase]; }

QString TVoltageProfileView::Title() const { return Plotted() ? chart_->title() : QString(); }

bool TVoltageProfileView::Plotted() const { return stack_->currentWidget() == chartView_; }

}  // namespace feeders
