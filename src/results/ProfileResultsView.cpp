#include "results/ProfileResultsView.h"

#include <QChart>
#include <QChartView>
#include <QDateTimeAxis>
#include <QHeaderView>
#include <QLabel>
#include <QLineSeries>
#include <QScatterSeries>
#include <QTableWidget>
#include <QVBoxLayout>
#include <QValueAxis>
#include <algorithm>
#include <cmath>

#include "results/ProfileWorkbook.h"

namespace {
// The axis shows times of the local clock: a step's wall time is placed as that local time.
double msecs(profiles::TMinute minute)
{
    const QDateTime wall = profiles::TimeOfMinute(minute);
    return static_cast<double>(QDateTime(wall.date(), wall.time(), Qt::LocalTime).toMSecsSinceEpoch());
}

QString number(double v, int decimals)
{
    return std::isfinite(v) ? QString::number(v, 'f', decimals) : QStringLiteral("—");
}

// One chart of a series over the interval, with its peak step marked and, for the voltage, the lower limit.
QChartView* chartOf(const QString& title, const QString& unit, const std::vector<float>& values,
                    const profiles::TProfileStepSeries& s, const QString& name, double limit = std::nan(""))
{
    auto* chart = new QChart;
    chart->setTitle(title);
    chart->legend()->setAlignment(Qt::AlignRight);
    auto* line = new QLineSeries;
    line->setName(name);
    QList<QPointF> points;
    points.reserve(static_cast<qsizetype>(values.size()));
    double low = std::numeric_limits<double>::infinity(), high = -low;
    for (size_t t = 0; t < values.size(); ++t) {
        const double x = msecs(s.Start + static_cast<profiles::TMinute>(t) * s.StepMinutes);
        points.append(QPointF(x, values[t]));
        low = std::min<double>(low, values[t]);
        high = std::max<double>(high, values[t]);
    }
    line->replace(points);
    chart->addSeries(line);
    auto* peak = new QScatterSeries;
    peak->setName(QStringLiteral("Наибольшая нагрузка"));
    peak->setColor(Qt::red);
    peak->setMarkerSize(9);
    if (s.Peak >= 0 && s.Peak < static_cast<int>(values.size()))
        peak->append(msecs(s.Start + static_cast<profiles::TMinute>(s.Peak) * s.StepMinutes), values[s.Peak]);
    chart->addSeries(peak);
    QLineSeries* bound = nullptr;
    if (std::isfinite(limit) && !values.empty()) {
        bound = new QLineSeries;
        bound->setName(QStringLiteral("−10 % от номинального"));
        bound->setPen(QPen(Qt::darkGray, 1, Qt::DashLine));
        bound->append(points.front().x(), limit);
        bound->append(points.back().x(), limit);
        chart->addSeries(bound);
        low = std::min(low, limit);
        high = std::max(high, limit);
    }
    auto* time = new QDateTimeAxis;
    time->setFormat(QStringLiteral("dd.MM"));
    chart->addAxis(time, Qt::AlignBottom);
    auto* axis = new QValueAxis;
    axis->setTitleText(unit);
    if (high > low) {
        const double margin = (high - low) * 0.05;
        axis->setRange(low - margin, high + margin);
    }
    chart->addAxis(axis, Qt::AlignLeft);
    for (QAbstractSeries* series : chart->series()) {
        series->attachAxis(time);
        series->attachAxis(axis);
    }
    if (!points.isEmpty())
        time->setRange(QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(points.front().x())),
                       QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(points.back().x())));
    auto* view = new QChartView(chart);
    view->setRenderHint(QPainter::Antialiasing);
    view->setMinimumHeight(180);
    return view;
}
}  // namespace

TProfileChart::TProfileChart(const profiles::TProfileStepSeries& s, double nominal, QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("ProfileChart"));
    auto* layout = new QVBoxLayout(this);
    head_ = chartOf(QStringLiteral("Мощность головного участка"), QStringLiteral("кВт"), s.HeadP, s,
                    QStringLiteral("P головного участка"));
    loss_ =
        chartOf(QStringLiteral("Нагрузочные потери мощности"), QStringLiteral("кВт"), s.LossP, s, QStringLiteral("ΔP"));
    voltage_ = chartOf(QStringLiteral("Наименьшее фазное напряжение"), QStringLiteral("В"), s.Umin, s,
                       QStringLiteral("Uмин"), 0.9 * nominal);
    head_->setObjectName(QStringLiteral("ChartHeadPower"));
    loss_->setObjectName(QStringLiteral("ChartLosses"));
    voltage_->setObjectName(QStringLiteral("ChartVoltage"));
    for (QChartView* v : {head_, loss_, voltage_})
        layout->addWidget(v);
}

QWidget* CreateProfileComparison(const profiles::TStoredProfileRun& run, QWidget* parent)
{
    const fider::TProfileRunFigures& f = run.Figures;
    auto* page = new QWidget(parent);
    page->setObjectName(QStringLiteral("ProfileComparison"));
    auto* layout = new QVBoxLayout(page);
    const QList<QStringList> rows = ProfileComparisonRows(f);
    auto* table = new QTableWidget(rows.size(), 3, page);
    table->setObjectName(QStringLiteral("GridMethods"));
    table->setHorizontalHeaderLabels({QStringLiteral("Метод расчёта"), QStringLiteral("Нагрузочные потери, тыс. кВт·ч"),
                                      QStringLiteral("Погрешность, %")});
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (int r = 0; r < rows.size(); ++r)
        for (int c = 0; c < 3; ++c)
            table->setItem(r, c, new QTableWidgetItem(rows[r][c]));
    table->resizeColumnsToContents();
    table->horizontalHeader()->setStretchLastSection(true);
    layout->addWidget(table);
    const QString peak = profiles::MinuteText(f.PeakMinute);
    auto* text = new QLabel(
        QStringLiteral("Шаг %1 мин, шагов %2; наибольшая нагрузка головного участка: %3.\n"
                       "Головной график: %4. Наименьшее фазное напряжение %5 В; шагов с напряжением вне ±10 %: "
                       "%6 %.\nАбонентов по своим графикам: %7; по остатку головного графика: %8; по типовому графику "
                       "типа нагрузки: %9; по равномерному графику: %10; без нагрузки: %11.")
            .arg(f.StepMinutes)
            .arg(f.Steps)
            .arg(peak,
                 f.HeadMeter ? QStringLiteral("головной счетчик")
                             : QStringLiteral("расчетная мощность головного участка"),
                 number(f.Umin, 1), number(f.UOut * 100, 2))
            .arg(f.NProfile)
            .arg(f.NHead)
            .arg(f.NTypical)
            .arg(f.NFlat)
            .arg(f.NNoLoad),
        page);
    text->setObjectName(QStringLiteral("LabelProfileRun"));
    text->setWordWrap(true);
    layout->addWidget(text);
    layout->addStretch();
    return page;
}
