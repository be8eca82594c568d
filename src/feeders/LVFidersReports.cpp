#include "feeders/LVFidersReports.h"

#include <QFile>
#include <QFileInfo>
#include <cmath>

#include "feeders/FeedersSql.h"
#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "results/LVMeasuredLosses.h"

namespace {
using Calc = TLVFiderSampleCalc;
constexpr int kValueColumns = 14;  // the columns of valueCells
constexpr int kResultColumns = 9;  // of them, the calculated ones after the voltages
// A stored value that differs from the calculated one by more than this (half of the last decimal shown
// of dP, Wa and dW) is named under the table.
constexpr double kStoredTolerance = 0.0005;

bool given(double v) { return !isEmptyFloat(v) && std::isfinite(v); }
QString num(double v, const char* pattern)
{
    return given(v) ? FormatFloat(QString::fromLatin1(pattern), v) : QString();
}
QString dateText(const QDate& date) { return date.toString(QStringLiteral("dd.MM.yyyy")); }
QString esc(const QString& text) { return text.toHtmlEscaped(); }

QString th(const QString& text) { return QStringLiteral("<th>%1</th>").arg(text); }
// A cell of a value: numbers and dates are not broken across lines.
QString td(const QString& text, bool bold = false, const char* align = "right")
{
    return QStringLiteral("<td align='%1' style='white-space:nowrap'>%2</td>")
        .arg(QLatin1String(align), bold && !text.isEmpty() ? QStringLiteral("<b>%1</b>").arg(text) : text);
}
QString infoRow(const QString& caption, const QString& value)
{
    return QStringLiteral("<tr><td>%1</td><td><b>%2</b></td></tr>").arg(caption, value);
}
QString tableStart() { return QStringLiteral("<table border='1' cellspacing='0' cellpadding='3' width='100%'>"); }

QString statusText(Calc::Status status)
{
    switch (status) {
    case Calc::Status::Incomplete:
        return QStringLiteral("не рассчитан: не заданы токи, напряжения, провод, длина или cos φ");
    case Calc::Status::InvalidData:
        return QStringLiteral("не рассчитан: напряжение в удаленной точке выше, чем на шинах");
    case Calc::Status::Stopped: return QStringLiteral("не рассчитан: нет тока");
    case Calc::Status::Done: break;
    }
    return {};
}

QString typeLoadName(TRep_Data& data, int ident)
{
    for (const auto& t : data.TypeLoads())
        if (t.Ident == ident)
            return t.Name;
    return {};
}

QString provodText(TRep_Data& data, int ident)
{
    const TProvodRec* provod = data.Provods().GetProvodRec(ident);
    return provod ? provod->Text() : QString();
}

QString substationText(const TRep_Data::Substation& node)
{
    return node.Info.trimmed().isEmpty() ? node.Name : QStringLiteral("%1 (%2)").arg(node.Name, node.Info.trimmed());
}

// The calculated values of a sample, from the head currents to dW, as cells.
QString valueCells(const TRep_Data::Sample& s, const Calc::Result& r, bool bold)
{
    QString cells;
    for (int p = 0; p < 3; ++p)
        cells += td(num(s.I[p], "0.##"), bold);
    cells += td(num(r.Umean, "0.00"), bold) + td(num(r.U2mean, "0.00"), bold);
    if (r.status != Calc::Status::Done)
        return cells + QStringLiteral("<td colspan='%1'>%2</td>").arg(kResultColumns).arg(statusText(r.status));
    cells += td(num(r.Tmax, "0"), bold) + td(num(r.P, "0.00"), bold) + td(num(r.Wa, "0.000"), bold) +
             td(num(r.Tau, "0.00"), bold) + td(num(r.Kdp, "0.000"), bold) + td(num(r.DU, "0.000"), bold) +
             td(num(r.DPpct, "0.000"), bold) + td(num(r.DP, "0.000"), bold) + td(num(r.DW, "0.000"), bold);
    return cells;
}

QString valueHeader()
{
    return th(QStringLiteral("Iа, А")) + th(QStringLiteral("Iв, А")) + th(QStringLiteral("Iс, А")) +
           th(QStringLiteral("Uг.у. ср., В")) + th(QStringLiteral("Uу.т. ср., В")) + th(QStringLiteral("Tmax, ч")) +
           th(QStringLiteral("P, кВт")) + th(QStringLiteral("Wa, тыс. кВт·ч")) + th(QStringLiteral("τ, ч")) +
           th(QStringLiteral("Kдп")) + th(QStringLiteral("ΔU, %")) + th(QStringLiteral("ΔP, %")) +
           th(QStringLiteral("dP, кВт")) + th(QStringLiteral("dW, тыс. кВт·ч"));
}

// The stored values of a sample that the calculation does not reproduce; empty when all agree.
QString storedDifferences(const TRep_Data::Sample& s, const Calc::Result& r)
{
    if (r.status != Calc::Status::Done)
        return {};
    QStringList differences;
    auto compare = [&](const char* name, double stored, double calculated, const char* pattern) {
        if (given(stored) && given(calculated) && std::fabs(stored - calculated) > kStoredTolerance)
            differences << QStringLiteral("%1 %2 (расчет %3)")
                               .arg(QLatin1String(name), num(stored, pattern), num(calculated, pattern));
    };
    compare("P", s.P, r.P, "0.000");
    compare("Wa", s.Wa, r.Wa, "0.000");
    compare("dP", s.DP, r.DP, "0.000");
    compare("dW", s.DW, r.DW, "0.000");
    return differences.join(QStringLiteral(", "));
}

QString differenceNote(const QString& owner, const TRep_Data::Sample& s, const QString& differences)
{
    return QStringLiteral("<p>Сохраненные значения замера %1от %2 отличаются от расчетных (в отчете расчетные): %3</p>")
        .arg(owner.isEmpty() ? QString() : QStringLiteral("линии %1 ").arg(esc(owner)), dateText(s.SampleDate),
             differences);
}

QString lineHeader(TRep_Data& data, const TRep_Data::Fider& fider, const TRep_Data::Substation& node)
{
    const TRep_Data::FiderA* a = data.FindAttributes(fider.GUID);
    const TProvodRec* phase = a ? data.Provods().GetProvodRec(a->ProvodPhase) : nullptr;
    QString html = QStringLiteral("<table cellspacing='0' cellpadding='2'>") +
                   infoRow(QStringLiteral("ТП:"), esc(substationText(node))) +
                   infoRow(QStringLiteral("Характер нагрузки:"), esc(typeLoadName(data, fider.TypeLoad))) +
                   infoRow(QStringLiteral("Марка фазного провода:"), esc(phase ? phase->Text() : QString()));
    if (phase && !phase->ownNull)
        html += infoRow(QStringLiteral("Марка нулевого провода:"), esc(provodText(data, a->ProvodNull)));
    html += infoRow(QStringLiteral("Длина линии, км:"), a ? num(a->LineLength, "0.000") : QString()) +
            infoRow(QStringLiteral("cos φ расчетный:"), a ? num(a->CosFi, "0.000") : QString());
    return html + QStringLiteral("</table>");
}

QString samplesTable(TRep_Data& data, const TRep_Data::Fider& fider)
{
    const QList<TRep_Data::Sample*> samples = data.SamplesOf(fider.GUID);
    QString html = QStringLiteral("<h3>Замеры</h3>");
    if (samples.isEmpty())
        return html + QStringLiteral("<p>Замеров нет</p>");
    html += tableStart() + QStringLiteral("<tr>") + th(QStringLiteral("Дата замера")) + th(QStringLiteral("Замер")) +
            valueHeader() + QStringLiteral("</tr>");
    QString notes;
    for (TRep_Data::Sample* s : samples) {
        const Calc::Result r = CalculateStoredSample(data, fider.GUID, *s);
        const bool main = s->IsMain == 1;
        html += QStringLiteral("<tr>") + td(dateText(s->SampleDate), main, "left") +
                td(main ? QStringLiteral("основной") : QString(), main, "left") + valueCells(*s, r, main) +
                QStringLiteral("</tr>");
        if (const QString d = storedDifferences(*s, r); !d.isEmpty())
            notes += differenceNote({}, *s, d);
    }
    return html + QStringLiteral("</table>") + notes;
}

QString yearTable(TRep_Data& data, int guid)
{
    const std::vector<TRep_Data::YearSample> rows = data.YearSamples(guid);
    QString html = QStringLiteral("<h3>Годовые замеры</h3>");
    if (rows.empty())
        return html + QStringLiteral("<p>Годовых замеров нет</p>");
    html += tableStart() + QStringLiteral("<tr>") + th(QStringLiteral("Период")) +
            th(QStringLiteral("Wa, тыс. кВт·ч")) + th(QStringLiteral("T, ч")) + th(QStringLiteral("τ, ч")) +
            th(QStringLiteral("Kзап")) + th(QStringLiteral("Tmax, ч")) + th(QStringLiteral("Kдп")) +
            QStringLiteral("</tr>");
    for (const TRep_Data::YearSample& y : rows)
        html += QStringLiteral("<tr>") + td(esc(y.Period), false, "left") + td(num(y.Wa, "0.000")) + td(num(y.T, "0")) +
                td(num(y.Tau, "0.00")) + td(num(y.Kzap, "0.000")) + td(num(y.Tmax, "0")) + td(num(y.Kdp, "0.000")) +
                QStringLiteral("</tr>");
    return html + QStringLiteral("</table>");
}

// A line's main sample as the totals take it: the row the feeder editor stored ("LVPResultsA"), as the measured
// losses over the hierarchy take it, with the design cos φ; a sample not calculated has no losses.
TMeasuredSample measuredSample(const TRep_Data::Sample& main, const TRep_Data::FiderA* a)
{
    TMeasuredSample sample;
    sample.Feeder = main.GUID;
    sample.Date = main.SampleDate;
    for (int p = 0; p < 3; ++p) {
        sample.U[p] = main.U[p];
        sample.I[p] = main.I[p];
    }
    sample.CosFi = a ? a->CosFi : EmptyFloat();
    sample.P = main.P;
    sample.Wa = main.Wa;
    sample.dP = main.DP;
    sample.dW = main.DW;
    return sample;
}

// The substation, its transformer and the load of its lines measured (kW and kV·A).
QString substationInfo(const TRep_Data::Substation& node, const TMeasuredTotals& t, double load, int lines)
{
    return QStringLiteral("<table cellspacing='0' cellpadding='2'>") +
           infoRow(QStringLiteral("ТП:"), esc(substationText(node))) +
           infoRow(QStringLiteral("Трансформатор:"),
                   node.Transformer.isEmpty() ? QStringLiteral("не задан") : esc(node.Transformer)) +
           infoRow(QStringLiteral("Номинальная мощность, кВ·А:"), num(node.Snom, "0.##")) +
           infoRow(QStringLiteral("Нагрузка по основным замерам, кВт:"), num(t.P, "0.00")) +
           infoRow(QStringLiteral("Нагрузка по основным замерам, кВ·А:"), num(load, "0.00")) +
           infoRow(QStringLiteral("Загрузка трансформатора, % от Sном:"),
                   given(node.Snom) && node.Snom > 0 ? num(load / node.Snom * 100, "0.0") : QString()) +
           infoRow(QStringLiteral("Линий:"), QString::number(lines)) + QStringLiteral("</table>");
}

// The totals of the substation: the sums over its lines and, phase by phase, the mean voltage, the summed
// current and cos φ weighted by U·I.
QString totalsHtml(const TMeasuredTotals& t)
{
    QString html =
        QStringLiteral("<h3>Итого по ТП</h3>") + tableStart() + QStringLiteral("<tr>") + th(QString()) +
        th(QStringLiteral("P, кВт")) + th(QStringLiteral("Wa, тыс. кВт·ч")) + th(QStringLiteral("dP, кВт")) +
        th(QStringLiteral("dW, тыс. кВт·ч")) + th(QStringLiteral("dP, % от P")) + th(QStringLiteral("dW, % от Wa")) +
        th(QStringLiteral("Линий с замером")) + th(QStringLiteral("Линий без замера")) + QStringLiteral("</tr><tr>") +
        td(QStringLiteral("Итого по ТП"), true, "left") + td(num(t.P, "0.00"), true) + td(num(t.Wa, "0.000"), true) +
        td(num(t.dP, "0.000"), true) + td(num(t.dW, "0.000"), true) + td(num(t.dPPercent(), "0.000"), true) +
        td(num(t.dWPercent(), "0.000"), true) + td(QString::number(t.Measured), true) +
        td(QString::number(t.NotMeasured), true) + QStringLiteral("</tr></table>");
    html += QStringLiteral("<p></p><table border='1' cellspacing='0' cellpadding='3'><tr>") +
            th(QStringLiteral("Фаза")) + th(QStringLiteral("U ср., В")) + th(QStringLiteral("I, А")) +
            th(QStringLiteral("cos φ")) + QStringLiteral("</tr>");
    const char* phases[] = {"А", "В", "С"};
    for (int p = 0; p < 3; ++p)
        html += QStringLiteral("<tr>") + td(QString::fromUtf8(phases[p]), false, "center") + td(num(t.U[p], "0.00")) +
                td(num(t.I[p], "0.##")) + td(num(t.CosFi[p], "0.000")) + QStringLiteral("</tr>");
    return html + QStringLiteral("</table>");
}

QString document(const QString& title, const QString& body)
{
    return QStringLiteral("<html><head><meta charset='utf-8'><title>%1</title></head><body><h2>%1</h2>%2</body></html>")
        .arg(esc(title), body);
}
}  // namespace

QString LineReportTitle(const QString& lineName) { return QStringLiteral("Отчет по линии %1").arg(lineName); }

QString SubstationReportTitle(const QString& nodeName) { return QStringLiteral("Отчет по ТП %1").arg(nodeName); }

TFeederImpedance FeederImpedance(const TProvod038& provods, const TRep_Data::FiderA* a)
{
    const TProvodRec* phase = a ? provods.GetProvodRec(a->ProvodPhase) : nullptr;
    const TProvodRec* null = a ? provods.GetProvodRec(a->ProvodNull) : nullptr;
    const double length = a && !isEmptyFloat(a->LineLength) ? a->LineLength : EmptyFloat();
    TFeederImpedance z;
    z.Rf = phase ? phase->R0 * length : EmptyFloat();
    z.Xf = phase ? phase->X0 * length : EmptyFloat();
    z.Rn = phase ? (phase->ownNull ? phase->R0 : (null ? null->R0 : EmptyFloat())) * length : EmptyFloat();
    return z;
}

TLVFiderSampleCalc::Result CalculateSample(TRep_Data& data, int typeLoad, const TRep_Data::Sample& sample, double cosFi,
                                           const TFeederImpedance& z, Calc::Flags& flags)
{
    Calc calc;
    calc.TmaxLookup = [&data, typeLoad](double pmin) { return data.TmaxLookup(typeLoad, pmin); };
    calc.CosLookup = [&data, typeLoad] { return data.CosOfTypeLoad(typeLoad); };
    Calc::Input in;
    for (int p = 0; p < 3; ++p) {
        in.I[p] = sample.I[p];
        in.U[p] = sample.U[p];
        in.U2[p] = sample.U2[p];
    }
    in.CosFi = cosFi;
    in.Rf = z.Rf;
    in.Xf = z.Xf;
    in.Rn = z.Rn;
    in.P = sample.P;
    in.Tmax = sample.Tmax;
    in.Krazv = sample.Krazv;
    in.Knm = sample.Knm;
    in.DP = sample.DP;
    return calc.Calculate(in, flags);
}

TLVFiderSampleCalc::Result CalculateStoredSample(TRep_Data& data, int guid, const TRep_Data::Sample& sample)
{
    const TRep_Data::Fider* fider = data.FindFider(guid);
    const TRep_Data::FiderA* a = data.FindAttributes(guid);
    Calc::Flags flags;
    flags.currentsChanged = true;
    return CalculateSample(data, fider ? fider->TypeLoad : 0, sample, a ? a->CosFi : EmptyFloat(),
                           FeederImpedance(data.Provods(), a), flags);
}

void ApplySampleResult(TRep_Data::Sample& sample, const TLVFiderSampleCalc::Result& result)
{
    if (result.status != Calc::Status::Done)
        return;
    sample.P = result.P;
    sample.Wa = result.Wa;
    sample.Tmax = result.Tmax;
    sample.Krazv = result.Krazv;
    sample.Knm = result.Knm;
    sample.DP = result.DP;
    if (!isEmptyFloat(result.DW))
        sample.DW = result.DW;
    if (sample.state != TRep_Data::RowState::New)
        sample.state = TRep_Data::RowState::Changed;
}

TRep_Data::Sample* MainSampleOf(TRep_Data& data, int guid, int year)
{
    TRep_Data::Sample* main = nullptr;
    for (TRep_Data::Sample* s : data.SamplesOf(guid))  // in date order
        if (s->IsMain == 1 && (year <= 0 || s->SampleDate.year() == year))
            main = s;
    return main;
}

QString LineReportHtml(TRep_Data& data, int guid)
{
    const TRep_Data::Fider* fider = data.FindFider(guid);
    if (!fider)
        return {};
    const TRep_Data::Substation node = data.ReadSubstation();
    return document(LineReportTitle(fider->Name),
                    lineHeader(data, *fider, node) + samplesTable(data, *fider) + yearTable(data, guid));
}

QString SubstationReportHtml(TRep_Data& data, const QString& title, int year)
{
    const TRep_Data::Substation node = data.ReadSubstation();
    TMeasuredAccumulator totals;
    double load = EmptyFloat();  // kV·A: Σ P / cos φ of the lines measured
    QString rows, notes;
    int lines = 0;
    for (const TRep_Data::Fider& fider : data.Fiders()) {
        if (fider.state == TRep_Data::RowState::Deleted)
            continue;
        ++lines;
        rows += QStringLiteral("<tr>") + td(esc(fider.Name), false, "left");
        const TRep_Data::Sample* main = MainSampleOf(data, fider.GUID, year);
        if (!main) {
            totals.AddNotMeasured();
            rows += QStringLiteral("<td colspan='%1'>нет замера</td></tr>").arg(kValueColumns + 1);
            continue;
        }
        const Calc::Result r = CalculateStoredSample(data, fider.GUID, *main);
        const TMeasuredSample sample = measuredSample(*main, data.FindAttributes(fider.GUID));
        totals.Add(sample);  // a sample not calculated counts its line as not measured
        if (!given(sample.dP))
            notes += QStringLiteral("<p>Основной замер линии %1 от %2 не рассчитан в редакторе линий и в итог по ТП "
                                    "не вошел</p>")
                         .arg(esc(fider.Name), dateText(main->SampleDate));
        else if (given(sample.P) && given(sample.CosFi) && sample.CosFi > 0)
            load = AC_SumFloat(load, sample.P / sample.CosFi);
        rows += td(dateText(main->SampleDate), false, "left") + valueCells(*main, r, false) + QStringLiteral("</tr>");
        if (const QString d = storedDifferences(*main, r); !d.isEmpty())
            notes += differenceNote(fider.Name, *main, d);
    }
    const TMeasuredTotals t = totals.Totals();  // the load and totals of the lines measured

    QString html = substationInfo(node, t, load, lines);

    html += (year > 0 ? QStringLiteral("<h3>Основные замеры линий за %1 год</h3>").arg(year)
                      : QStringLiteral("<h3>Основные замеры линий</h3>")) +
            tableStart() + QStringLiteral("<tr>") + th(QStringLiteral("Линия")) + th(QStringLiteral("Дата замера")) +
            valueHeader() + QStringLiteral("</tr>") + rows + QStringLiteral("</table>") + notes;

    html += totalsHtml(t);
    return document(title.isEmpty() ? SubstationReportTitle(node.Name) : title, html);
}

QString LineReportHtml(ToznFDConnection& connection, int guid, QString& title)
{
    // Read in a transaction of its own when the connection has none open.
    return GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(FeedersSql::kNodeOfLVFider));
        q->ParamByName(QStringLiteral("GUID"), guid);
        q->Open();
        if (q->Eof())
            return QString();
        TRep_Data data(nullptr, connection);
        data.OpenFiders(q->Int(QStringLiteral("OwnerGUID")));
        const TRep_Data::Fider* fider = data.FindFider(guid);
        if (!fider)
            return QString();
        title = LineReportTitle(fider->Name);
        return LineReportHtml(data, guid);
    });
}

QString SubstationReportHtml(ToznFDConnection& connection, int nodeGuid, int year, QString& title)
{
    return GuardedRead(connection, [&] {
        TRep_Data data(nullptr, connection);
        data.OpenFiders(nodeGuid);
        const TRep_Data::Substation node = data.ReadSubstation();
        if (!node.Found)
            return QString();
        title = SubstationReportTitle(node.Name);
        return SubstationReportHtml(data, {}, year);
    });
}
