#include "results/ProfileWorkbook.h"

#include <QList>
#include <QStringList>
#include <cmath>
#include <xlsxwriter.h>

namespace {
QString number(double v, int decimals)
{
    return std::isfinite(v) ? QString::number(v, 'f', decimals) : QStringLiteral("—");
}

constexpr const char* kSteps = "По шагам";

// A line chart of one column of the steps' sheet against the times, with the peak's column as a marker.
lxw_chart* chartOf(lxw_workbook* book, const char* title, const char* unit, lxw_col_t column, lxw_row_t last)
{
    lxw_chart* chart = workbook_add_chart(book, LXW_CHART_LINE);
    chart_title_set_name(chart, title);
    lxw_chart_series* line = chart_add_series(chart, nullptr, nullptr);
    chart_series_set_categories(line, kSteps, 1, 0, last, 0);
    chart_series_set_values(line, kSteps, 1, column, last, column);
    chart_series_set_name_range(line, kSteps, 0, column);
    lxw_chart_line thin = {};
    thin.width = 0.75;
    chart_series_set_line(line, &thin);
    lxw_chart_series* peak = chart_add_series(chart, nullptr, nullptr);
    chart_series_set_categories(peak, kSteps, 1, 0, last, 0);
    chart_series_set_values(peak, kSteps, 1, column + 3, last, column + 3);
    chart_series_set_name(peak, "Наибольшая нагрузка");
    lxw_chart_line none = {};
    none.none = LXW_TRUE;
    chart_series_set_line(peak, &none);
    chart_series_set_marker_type(peak, LXW_CHART_MARKER_CIRCLE);
    chart_series_set_marker_size(peak, 7);
    lxw_chart_fill red = {};
    red.color = LXW_COLOR_RED;
    chart_series_set_marker_fill(peak, &red);
    chart_axis_set_name(chart->y_axis, unit);
    chart_axis_set_num_format(chart->x_axis, "dd.mm");
    chart_legend_set_position(chart, LXW_CHART_LEGEND_BOTTOM);
    chart_show_blanks_as(chart, LXW_CHART_BLANKS_AS_GAP);
    return chart;
}
}  // namespace

void AddProfileSheets(lxw_workbook* book, const profiles::TStoredProfileRun& run, const profiles::TProfileStepSeries& s)
{
    lxw_worksheet* steps = workbook_add_worksheet(book, kSteps);
    lxw_format* time = workbook_add_format(book);
    format_set_num_format(time, "dd.mm.yyyy hh:mm");
    lxw_format* bold = workbook_add_format(book);
    format_set_bold(bold);
    format_set_text_wrap(bold);
    const char* captions[] = {"Начало шага",
                              "Мощность головного участка, кВт",
                              "Нагрузочные потери мощности, кВт",
                              "Наименьшее фазное напряжение, В",
                              "Наибольшая нагрузка, кВт",
                              "Потери в шаг наибольшей нагрузки, кВт",
                              "Напряжение в шаг наибольшей нагрузки, В"};
    for (lxw_col_t c = 0; c < 7; ++c)
        worksheet_write_string(steps, 0, c, captions[c], bold);
    worksheet_set_column(steps, 0, 0, 17, nullptr);
    worksheet_set_column(steps, 1, 6, 15, nullptr);
    worksheet_set_row(steps, 0, 45, nullptr);
    const size_t n = s.HeadP.size();
    for (size_t t = 0; t < n; ++t) {
        const lxw_row_t row = static_cast<lxw_row_t>(t + 1);
        // Excel's days since 1899-12-30 of the wall time of the step's start.
        const double days =
            static_cast<double>(s.Start + static_cast<profiles::TMinute>(t) * s.StepMinutes) / 1440.0 + 25569.0;
        worksheet_write_number(steps, row, 0, days, time);
        const float values[] = {s.HeadP[t], s.LossP[t], s.Umin[t]};
        for (lxw_col_t c = 0; c < 3; ++c) {
            worksheet_write_number(steps, row, c + 1, values[c], nullptr);
            if (static_cast<int>(t) == s.Peak)
                worksheet_write_number(steps, row, c + 4, values[c], nullptr);
        }
    }
    worksheet_freeze_panes(steps, 1, 1);

    lxw_worksheet* charts = workbook_add_worksheet(book, "Графики");
    const lxw_row_t last = static_cast<lxw_row_t>(n);
    lxw_chart_options size = {};
    size.x_scale = 2.4;
    size.y_scale = 1.1;
    worksheet_insert_chart_opt(charts, 0, 0, chartOf(book, "Мощность головного участка", "кВт", 1, last), &size);
    worksheet_insert_chart_opt(charts, 18, 0, chartOf(book, "Нагрузочные потери мощности", "кВт", 2, last), &size);
    worksheet_insert_chart_opt(charts, 36, 0, chartOf(book, "Наименьшее фазное напряжение", "В", 3, last), &size);

    lxw_worksheet* methods = workbook_add_worksheet(book, "Сравнение методов");
    const char* heads[] = {"Метод расчёта", "Нагрузочные потери, тыс. кВт·ч", "Погрешность, %"};
    for (lxw_col_t c = 0; c < 3; ++c)
        worksheet_write_string(methods, 0, c, heads[c], bold);
    worksheet_set_column(methods, 0, 0, 52, nullptr);
    worksheet_set_column(methods, 1, 2, 18, nullptr);
    lxw_format* energy = workbook_add_format(book);
    format_set_num_format(energy, "0.000");
    lxw_format* percent = workbook_add_format(book);
    format_set_num_format(percent, "0.0");
    const fider::TProfileRunFigures& f = run.Figures;
    const QList<QStringList> rows = ProfileComparisonRows(f);
    const double values[] = {f.dWa, f.dWaMiddle, f.dWaMax};
    const double errors[] = {std::nan(""), f.ErrorMiddle(), f.ErrorMax()};
    for (int r = 0; r < rows.size(); ++r) {
        const lxw_row_t row = static_cast<lxw_row_t>(r + 1);
        worksheet_write_string(methods, row, 0, rows[r][0].toUtf8().constData(), nullptr);
        if (std::isfinite(values[r]))
            worksheet_write_number(methods, row, 1, values[r], energy);
        if (r > 0) {
            // The error of a method against the profiles, from the cells above it.
            const QString formula = QStringLiteral("=IF(B2>0,(B%1-B2)/B2*100,\"\")").arg(row + 1);
            if (std::isfinite(errors[r]))
                worksheet_write_formula_num(methods, row, 2, formula.toUtf8().constData(), percent, errors[r]);
            else
                worksheet_write_formula_str(methods, row, 2, formula.toUtf8().constData(), percent, "");
        }
    }
}

QList<QStringList> ProfileComparisonRows(const fider::TProfileRunFigures& f)
{
    return {
        {QStringLiteral("По графикам нагрузки"), number(f.dWa, 3), QString()},
        {QStringLiteral("По средним нагрузкам (Kф² = %1)").arg(number(f.SqrKfg, 3)), number(f.dWaMiddle, 3),
         number(f.ErrorMiddle(), 1)},
        {QStringLiteral("По максимальной нагрузке (Tmax = %1 ч, τ = %2)").arg(number(f.Tmax, 0), number(f.TauRel, 3)),
         number(f.dWaMax, 3), number(f.ErrorMax(), 1)}};
}
