#include "results/UnitLVResultsFiderXLSX.h"

#include <QFile>
#include <functional>
#include <vector>
#include <xlsxwriter.h>

#include "host/NumericHelpers.h"
#include "host/XlsxFile.h"
#include "results/LVBalance.h"
#include "results/LVResultsValues.h"
#include "results/UnitLVResultsTree.h"

TLVFiderResultsHeader::TLVFiderResultsHeader() : SectionUnom(EmptyFloat()), LineUnom(EmptyFloat()), Nodes(EmptyFloat())
{
}

QString LVRatioFormula(const QString& dividend, const QString& divisor, int factor, QChar separator)
{
    return QStringLiteral("IF(") + divisor + QStringLiteral("<>0") + separator + dividend + QLatin1Char('/') + divisor +
           QLatin1Char('*') + QString::number(factor) + separator + QStringLiteral("\"\")");
}

namespace {
using R = const TLVResultRecord&;
using Value = std::function<double(R)>;
QByteArray utf8(const QString& s) { return s.toUtf8(); }
double minus(double a, double b)
{
    return isEmptyFloat(a) && isEmptyFloat(b) ? EmptyFloat() : AC_DifferenceFloat(a, b);
}
double plus(double a, double b) { return AC_SumFloat(a, b); }
const QChar kNbsp(0x00A0);

// The block fields of one sheet: energy on "Потери электроэнергии", power on "Потери мощности".
struct Quantities {
    bool energy;
    int gen, genR, fakt, faktR, calc, calcR, loss, lossR, allowed;
    QString word, unitA, unitR;
};

const Quantities kEnergy{true,
                         bfWa_gen,
                         bfWr_gen,
                         bfWafakt,
                         bfWrfakt,
                         bfWacalc,
                         bfWrcalc,
                         bfdWa,
                         bfdWr,
                         rfdWdop,
                         QStringLiteral("электроэнергии"),
                         QStringLiteral("тыс. кВт·ч"),
                         QStringLiteral("тыс. квар·ч")};
const Quantities kPower{false,
                        bfPgen,
                        bfQgen,
                        bfPfakt,
                        bfQfakt,
                        bfPcalc,
                        bfQcalc,
                        bfdP,
                        bfdQ,
                        rfdPdop,
                        QStringLiteral("мощности"),
                        QStringLiteral("кВт"),
                        QStringLiteral("квар")};

// One sheet of the feeder's workbook. Rows are given as on the energy sheet; the power sheet lacks the
// five rows of period length and load-curve coefficients, so its rows from the temperature on stand higher.
class FiderSheet {
public:
    FiderSheet(lxw_workbook* book, const Quantities& q, R record, const TLVFiderResultsHeader& header);
    void Write();

private:
    int Row(int energyRow) const { return q_.energy || energyRow < 16 ? energyRow : energyRow - 5; }
    QString Cell(int column, int energyRow) const { return GetNameCell(column + 1, Row(energyRow)); }
    void Text(int energyRow, int column, const QString& text, lxw_format* format = nullptr);
    void Number(int energyRow, int column, double value, lxw_format* format);
    void Formula(int energyRow, int column, const QString& formula, lxw_format* format, double cached);
    void Ratio(int energyRow, int column, int dividendRow, int divisorRow, int divisorColumn, int factor);
    void HeaderBlock();
    void PhaseBlock();
    void BalanceTable();
    void LineTable();
    lxw_format* Format(const char* numberFormat, bool bold = false, bool border = true);

    lxw_workbook* book_;
    lxw_worksheet* sheet_;
    const Quantities& q_;
    R record_;
    const TLVFiderResultsHeader& header_;
    lxw_format *text_, *bold_, *count_, *quantity_, *percent_, *coefficient_, *ratio_;
    // Values written so far, by 1-based worksheet row and 0-based column, for the cached formula results.
    QHash<QPair<int, int>, double> written_;
};

FiderSheet::FiderSheet(lxw_workbook* book, const Quantities& q, R record, const TLVFiderResultsHeader& header)
    : book_(book), q_(q), record_(record), header_(header)
{
    sheet_ = workbook_add_worksheet(
        book, utf8(q.energy ? QStringLiteral("Потери электроэнергии") : QStringLiteral("Потери мощности")).constData());
    text_ = Format(nullptr, false, false);
    bold_ = Format(nullptr, true);
    format_set_text_wrap(bold_);
    format_set_align(bold_, LXW_ALIGN_CENTER);
    count_ = Format("#,##0;-#,##0;");
    quantity_ = Format("#,##0.000;-#,##0.000;");
    percent_ = Format("#,##0.00;-#,##0.00;");
    coefficient_ = Format("#,##0.0;-#,##0.0;");
    ratio_ = Format("0.00");  // coefficients in relative units: fill factor, power factor, branching
}

lxw_format* FiderSheet::Format(const char* numberFormat, bool bold, bool border)
{
    lxw_format* f = workbook_add_format(book_);
    format_set_font_name(f, "Times New Roman");
    if (numberFormat)
        format_set_num_format(f, numberFormat);
    if (bold)
        format_set_bold(f);
    if (border)
        format_set_border(f, LXW_BORDER_THIN);
    return f;
}

void FiderSheet::Text(int energyRow, int column, const QString& text, lxw_format* format)
{
    worksheet_write_string(sheet_, static_cast<lxw_row_t>(Row(energyRow) - 1), static_cast<lxw_col_t>(column),
                           utf8(text).constData(), format ? format : text_);
}

void FiderSheet::Number(int energyRow, int column, double value, lxw_format* format)
{
    const auto row = static_cast<lxw_row_t>(Row(energyRow) - 1);
    written_.insert({Row(energyRow), column}, value);
    if (isEmptyFloat(value) || !std::isfinite(value))
        worksheet_write_blank(sheet_, row, static_cast<lxw_col_t>(column), format);
    else
        worksheet_write_number(sheet_, row, static_cast<lxw_col_t>(column), value, format);
}

void FiderSheet::Formula(int energyRow, int column, const QString& formula, lxw_format* format, double cached)
{
    written_.insert({Row(energyRow), column}, cached);
    const auto row = static_cast<lxw_row_t>(Row(energyRow) - 1);
    const QByteArray text = utf8(QLatin1Char('=') + formula);
    // An empty result is cached as the empty text the guarded formulas give, so that no zero shows before
    // the spreadsheet recalculates.
    if (isEmptyFloat(cached) || !std::isfinite(cached))
        worksheet_write_formula_str(sheet_, row, static_cast<lxw_col_t>(column), text.constData(), format, "");
    else
        worksheet_write_formula_num(sheet_, row, static_cast<lxw_col_t>(column), text.constData(), format, cached);
}

// A share or a per-kilometre ratio of two cells of the sheet, empty where the divisor is zero.
void FiderSheet::Ratio(int energyRow, int column, int dividendRow, int divisorRow, int divisorColumn, int factor)
{
    const double a = written_.value({Row(dividendRow), column}, EmptyFloat()),
                 b = written_.value({Row(divisorRow), divisorColumn}, EmptyFloat());
    // As the spreadsheet computes it: an empty or zero divisor gives the empty text, an empty dividend 0.
    const double cached = isEmptyFloat(b) || b == 0 ? EmptyFloat() : (isEmptyFloat(a) ? 0 : a) / b * factor;
    Formula(energyRow, column,
            LVRatioFormula(Cell(column, dividendRow), Cell(divisorColumn, divisorRow), factor, QLatin1Char(',')),
            percent_, cached);
}

void FiderSheet::HeaderBlock()
{
    auto line = [&](int row, const QString& label, const QString& value) {
        Text(row, 0, label);
        worksheet_merge_range(sheet_, static_cast<lxw_row_t>(Row(row) - 1), 2, static_cast<lxw_row_t>(Row(row) - 1), 6,
                              utf8(value).constData(), text_);
    };
    auto number = [&](int row, const QString& label, double value, lxw_format* format) {
        Text(row, 0, label);
        Number(row, 2, value, format);
    };
    line(1, QStringLiteral("Электрические сети"), header_.Pes);
    line(2, QStringLiteral("Район электрических сетей"), header_.Res);
    line(3, QStringLiteral("Центр питания"), header_.Center);
    line(4, QStringLiteral("Наименование фидера"), header_.Fider);
    number(5, QStringLiteral("Номинальное напряжение, кВ"), header_.SectionUnom, quantity_);
    line(6, QStringLiteral("Трансформаторная подстанция"), header_.Node);
    line(7, QStringLiteral("Тип трансформатора, кВ·А"), header_.TypeTR);
    line(8, QStringLiteral("Наименование линии"), header_.Line);
    number(9, QStringLiteral("Номинальное напряжение линии, кВ"), header_.LineUnom, quantity_);
    line(10, QStringLiteral("Наименование расчетного периода"), header_.PeriodName);
    if (q_.energy) {
        number(11, QStringLiteral("Расчетный период, часов"), record_.GetValueLVResult(rfT), count_);
        number(12, QStringLiteral("Коэффициент заполнения графика, о.е."), record_.Kzap(), ratio_);
        number(13, QStringLiteral("Относительное число часов наибольших потерь, о.е."), record_.Tau(), ratio_);
        number(14, QStringLiteral("Время использования максимума нагрузки, часов"), record_.Tmax(), count_);
        number(15, QStringLiteral("Коэффициент дополнительных потерь, о.е."), record_.GetValueLVResult(rfKdp), ratio_);
    }
    number(16, QStringLiteral("Температура, °С"), record_.GetValueLVResult(rfTemperature), coefficient_);
    if (!header_.Section.isEmpty())
        Text(17, 0,
             QStringLiteral("  Секция ") + header_.Section + QStringLiteral(" [") +
                 FormatFloat(QStringLiteral("0.###"), header_.SectionUnom) + QStringLiteral("кВ]"));
}

void FiderSheet::PhaseBlock()
{
    Text(19, 0, QStringLiteral("Параметры фидера"), bold_);
    const QString phases[] = {QStringLiteral("Фаза A"), QStringLiteral("Фаза В"), QStringLiteral("Фаза С"),
                              QStringLiteral("Среднее")};
    for (int c = 0; c < 4; ++c)
        Text(19, 2 + c, phases[c], bold_);
    const struct {
        const char* label;
        int field;
        lxw_format* format;
    } rows[] = {{" Напряжение в центре питания, B", rfUA, quantity_},
                {" Измеренный ток г.у., A", rfIA, quantity_},
                {"Максимальный ток г.у., A", rfImaxA, quantity_},
                {"Коэффициент мощности нагрузки головного участка, о.е.", rfCosFiA, ratio_}};
    for (int i = 0; i < 4; ++i) {
        const int row = 20 + i;
        Text(row, 0, QString::fromUtf8(rows[i].label));
        double sum = 0;
        bool any = false;
        for (int p = 0; p < 3; ++p) {
            const double v = record_.GetValueLVResult(rows[i].field + p);
            Number(row, 2 + p, v, rows[i].format);
            any = any || !isEmptyFloat(v);
            sum += isEmptyFloat(v) ? 0 : v;
        }
        // The spreadsheet counts an empty phase as 0, and so does the cached value; no phase at all, no average.
        const int r = Row(row);
        if (any)
            Formula(row, 5, QStringLiteral("(C%1+D%1+E%1)/3").arg(r), rows[i].format, sum / 3);
    }
}

void FiderSheet::BalanceTable()
{
    Text(26, 0, QStringLiteral("№ п/п"), bold_);
    Text(26, 1, QStringLiteral("Параметр"), bold_);
    worksheet_merge_range(sheet_, static_cast<lxw_row_t>(Row(26) - 1), 2, static_cast<lxw_row_t>(Row(27) - 1), 3,
                          utf8(QStringLiteral("Ед. изм.")).constData(), bold_);
    worksheet_merge_range(sheet_, static_cast<lxw_row_t>(Row(26) - 1), 4, static_cast<lxw_row_t>(Row(26) - 1), 5,
                          utf8(QStringLiteral("не на балансе")).constData(), bold_);
    Text(27, 4, QStringLiteral("ССО"), bold_);
    Text(27, 5, QStringLiteral("ССП"), bold_);
    Text(26, 6, QStringLiteral("всего"), bold_);

    const QString given = QStringLiteral("задано"), calculated = QStringLiteral("расчет");
    const QString ofSupply = QStringLiteral("% от отпуска в сеть"), ofActual = QStringLiteral("% от факт. потерь");
    const Quantities& q = q_;
    auto w = [&](const QString& text) { return text.arg(q.word); };
    // A value row: number, label, the "задано"/"расчет" cell, the unit, the value, and whether the kinds ССО and
    // ССП (columns E and F) have values of their own.
    auto row = [&](int at, const QString& number, const QString& label, const QString& kind, const QString& unit,
                   const Value& value, bool perKind) {
        if (!number.isEmpty())
            Text(at, 0, number, text_);
        if (!label.isEmpty())
            Text(at, 1, label, text_);
        Text(at, 2, kind, text_);
        Text(at, 3, unit, text_);
        for (int kind : {1, 2}) {
            if (perKind)
                Number(at, 3 + kind, value(record_.OfKind(kind)), quantity_);
            else
                Text(at, 3 + kind, QStringLiteral("-"), text_);
        }
        Number(at, 6, value(record_), quantity_);
    };
    auto pair = [&](int at, const QString& number, const QString& label, const QString& kind, const Value& a,
                    const Value& r, bool perKind) {
        row(at, number, label, kind, q.unitA, a, perKind);
        row(at + 1, {}, {}, kind, q.unitR, r, perKind);
    };
    auto share = [&](int at, const QString& unit, int dividendRow, int divisorRow) {
        Text(at, 3, unit, text_);
        Text(at, 4, QStringLiteral("-"), text_);
        Text(at, 5, QStringLiteral("-"), text_);
        Ratio(at, 6, dividendRow, divisorRow, 6, 100);
    };
    // Every value is the balance's own (LVBalance.h); the shares are formulas over the rows.
    using namespace results;
    const Measure m = q.energy ? Measure::Energy : Measure::Power;
    const Basis G = Basis::Given, C = Basis::Calculated;
    const Part A = Part::Active, Rr = Part::Reactive;
    auto receipt = [m](Part p) { return Value([=](R r) { return Receipt(r, m, p); }); };
    auto outflow = [m](Basis b, Part p) { return Value([=](R r) { return Outflow(r, m, b, p); }); };
    auto outConsumption = [m](Basis b, Part p) { return Value([=](R r) { return OutflowConsumption(r, m, b, p); }); };
    auto losses = [m](int variant, Part p) { return Value([=](R r) { return LoadLosses(r, m, variant, p); }); };
    auto supply = [m](Basis b, Part p) { return Value([=](R r) { return Supply(r, m, b, p); }); };
    auto useful = [m](Basis b, Part p) { return Value([=](R r) { return Useful(r, m, b, p); }); };
    auto actual = [m](Part p) { return Value([=](R r) { return ActualLosses(r, m, p); }); };
    const int on = VariantOnBalance, off = VariantOffBalance;

    pair(28, "1", w(QStringLiteral("Прием %1 в сеть")), {}, receipt(A), receipt(Rr), false);
    // What leaves the network is used by the consumers behind other owners' parts or lost in those parts.
    pair(30, "2", w(QStringLiteral("Отдача %1 из сети, всего")), given, outflow(G, A), outflow(G, Rr), true);
    pair(32, {}, {}, calculated, outflow(C, A), outflow(C, Rr), true);
    pair(34, "2.1", w(QStringLiteral("в том числе: расход %1")), given, outConsumption(G, A), outConsumption(G, Rr),
         true);
    pair(36, {}, {}, calculated, outConsumption(C, A), outConsumption(C, Rr), true);
    pair(38, "2.2", w(QStringLiteral("технические потери %1")), calculated, losses(off, A), losses(off, Rr), true);
    pair(40, "3", w(QStringLiteral("Отпуск %1 в сеть")), given, supply(G, A), supply(G, Rr), false);
    pair(42, {}, {}, calculated, supply(C, A), supply(C, Rr), false);
    pair(44, "4", w(QStringLiteral("Полезный отпуск %1 с учетом технических потерь на балансе потребителя, всего")),
         given, useful(G, A), useful(G, Rr), false);
    pair(46, {}, {}, calculated, useful(C, A), useful(C, Rr), false);
    pair(48, "4.1", w(QStringLiteral("в том числе: расход %1")), given, useful(G, A), useful(G, Rr), false);
    pair(50, {}, {}, calculated, useful(C, A), useful(C, Rr), false);
    // The consumers' own parts are given away (row 2): the useful supply carries no losses of theirs, and row 4.2
    // is what row 4 holds beyond row 4.1 (calculated), 0 and shown as such.
    for (const int at : {52, 53}) {
        const bool active = at == 52;
        if (active) {
            Text(at, 0, QStringLiteral("4.2"), text_);
            Text(at, 1, w(QStringLiteral("Технические потери %1")), text_);
        }
        Text(at, 2, calculated, text_);
        Text(at, 3, active ? q.unitA : q.unitR, text_);
        Text(at, 4, QStringLiteral("-"), text_);
        Text(at, 5, QStringLiteral("-"), text_);
        const int total = active ? 46 : 47, consumption = active ? 50 : 51;
        // Rows 4 and 4.1 hold the same consumption, so the difference the spreadsheet finds is 0.
        Formula(at, 6, QStringLiteral("%1-%2").arg(Cell(6, total), Cell(6, consumption)), quantity_, 0);
    }
    pair(54, "5", w(QStringLiteral("Фактические потери %1")), {}, actual(A), actual(Rr), false);
    share(56, ofSupply, 54, 40);
    pair(57, "6", w(QStringLiteral("Технические потери %1, на балансе")), {}, losses(on, A), losses(on, Rr), false);
    share(59, ofSupply, 57, 40);
    share(60, ofActual, 57, 54);
    row(
        61, "7", w(QStringLiteral("Фактический небаланс %1")), {}, q.unitA, [m](R r) { return Imbalance(r, m); },
        false);
    share(62, ofSupply, 61, 40);
    share(63, ofActual, 61, 54);
    row(
        64, "8", w(QStringLiteral("Допустимый небаланс %1")), {}, q.unitA, [m](R r) { return AllowedImbalance(r, m); },
        false);
    share(65, ofSupply, 64, 40);
    share(66, ofActual, 64, 54);
    row(
        67, "9",
        q.energy ? QStringLiteral("Объем нетехнических потерь электроэнергии")
                 : QStringLiteral("Объем нетехнических потерь мощности"),
        {}, q.unitA, [m](R r) { return NonTechnical(r, m); }, false);
    share(68, ofSupply, 67, 40);
    share(69, ofActual, 67, 54);
}

void FiderSheet::LineTable()
{
    Text(72, 0, QStringLiteral("№ п/п"), bold_);
    Text(72, 1, QStringLiteral("Параметр"), bold_);
    Text(72, 2, QStringLiteral("Ед. изм."), bold_);
    Text(72, 3, QStringLiteral("на балансе"), bold_);
    worksheet_merge_range(sheet_, static_cast<lxw_row_t>(Row(72) - 1), 4, static_cast<lxw_row_t>(Row(72) - 1), 7,
                          utf8(QStringLiteral("не на балансе")).constData(), bold_);
    const QString kinds[] = {QStringLiteral("ССО"), QStringLiteral("ССП"), QStringLiteral("потребителя+TCO"),
                             QStringLiteral("всего")};
    for (int k = 0; k < 4; ++k)
        Text(73, 4 + k, kinds[k], bold_);
    Text(72, 8, QStringLiteral("всего"), bold_);

    // Columns D to I: on the balance, the kinds ССО, ССП and the consumers' (balance kinds 1 to 3), all off the
    // balance, and the whole feeder.
    const int variants[6] = {VariantOnBalance, 1, 2, 3, VariantOffBalance, VariantTotal};
    const Quantities& q = q_;
    int number = 0;
    auto label = [&](int at, const QString& text, const QString& unit) {
        Text(at, 0, QString::number(++number), text_);
        Text(at, 1, kNbsp + text, text_);
        Text(at, 2, unit, text_);
    };
    auto perVariant = [&](int at, const QString& text, const QString& unit, const std::function<double(int)>& value,
                          lxw_format* format) {
        label(at, text, unit);
        for (int c = 0; c < 6; ++c)
            Number(at, 3 + c, value(variants[c]), format);
    };
    auto whole = [&](int at, const QString& text, const QString& unit, double value, lxw_format* format) {
        label(at, text, unit);
        for (int c = 3; c < 8; ++c)
            Text(at, c, QStringLiteral("-"), text_);
        Number(at, 8, value, format);
    };
    auto field = [&](int f) { return [this, f](int variant) { return record_.GetValue(f, variant); }; };
    auto both = [&](int a, int b, double factor) {
        return [this, a, b, factor](int variant) {
            const double s = plus(record_.GetValue(a, variant), record_.GetValue(b, variant));
            return isEmptyFloat(s) ? s : s * factor;
        };
    };
    auto w = [&](const QString& text) { return text.arg(q.word); };
    perVariant(74, w(QStringLiteral("Потери активной %1 в линиях")), q.unitA, field(q.loss), quantity_);
    perVariant(75, w(QStringLiteral("Потери реактивной %1 в линиях")), q.unitR, field(q.lossR), quantity_);
    perVariant(76, QStringLiteral("Заданная активная нагрузка в узлах"), q.unitA, field(q.fakt), quantity_);
    perVariant(77, QStringLiteral("Заданная реактивная нагрузка в узлах"), q.unitR, field(q.faktR), quantity_);
    perVariant(78, QStringLiteral("Расчетная активная нагрузка в узлах"), q.unitA, field(q.calc), quantity_);
    perVariant(79, QStringLiteral("Расчетная реактивная нагрузка в узлах"), q.unitR, field(q.calcR), quantity_);
    perVariant(
        80, w(QStringLiteral("Фактический небаланс активной %1")), q.unitA,
        [&](int v) { return minus(record_.GetValue(q.gen, v), record_.GetValue(q.fakt, v)); }, quantity_);
    perVariant(
        81, w(QStringLiteral("Фактический небаланс реактивной %1")), q.unitR,
        [&](int v) { return minus(record_.GetValue(q.genR, v), record_.GetValue(q.faktR, v)); }, quantity_);
    const QString pieces = QStringLiteral("штук"), metres = QStringLiteral("м"), km = QStringLiteral("км"),
                  units = QStringLiteral("о.е.");
    perVariant(82, QStringLiteral("Количество абонентов"), pieces, field(bfNAbonents), count_);
    whole(83, QStringLiteral("Количество узлов в линии"), pieces, header_.Nodes, count_);
    perVariant(84, QStringLiteral("Количество воздушных участков"), pieces, both(bfNLineP, bfNLineP_off, 1), count_);
    perVariant(85, QStringLiteral("Количество кабельных участков"), pieces, both(bfNLineC, bfNLineC_off, 1), count_);
    perVariant(
        86, QStringLiteral("Общее количество участков"), pieces,
        [&](int v) { return plus(both(bfNLineP, bfNLineP_off, 1)(v), both(bfNLineC, bfNLineC_off, 1)(v)); }, count_);
    perVariant(87, QStringLiteral("Длина воздушных участков (по трассе)"), metres, both(bfLsumP, bfLsumP_off, 1000),
               count_);
    perVariant(88, QStringLiteral("Длина кабельных участков (по трассе)"), metres, both(bfLsumC, bfLsumC_off, 1000),
               count_);
    perVariant(
        89, QStringLiteral("Суммарная длина участков (по трассе)"), metres,
        [&](int v) { return plus(both(bfLsumP, bfLsumP_off, 1000)(v), both(bfLsumC, bfLsumC_off, 1000)(v)); }, count_);
    // Relative power loss over relative voltage loss, both in per cent.
    const double lossShare =
        TLVResultCustom::Percent(record_.GetValue(bfdP, VariantTotal), record_.GetValue(bfPgen, VariantTotal));
    const double du = record_.dUmax();
    whole(90, QStringLiteral("Коэффициент связи отн. потерь мощности и отн. потерь напряжения"), units,
          isEmptyFloat(lossShare) || isEmptyFloat(du) || du == 0 ? EmptyFloat() : lossShare / du, ratio_);
    whole(91, QStringLiteral("Коэффициент разветвления"), units, record_.GetValueLVResult(rfKrazv), ratio_);
    whole(92, QStringLiteral("Сечение головного участка"), QStringLiteral("мм²"),
          record_.GetValueLVResult(rfHeadEndSize), coefficient_);
    const double head = record_.GetValueLVResult(rfHeadEndLength);
    whole(93, QStringLiteral("Длина головного участка"), metres, isEmptyFloat(head) ? head : head * 1000, count_);
    whole(94, QStringLiteral("Длина магистрали"), km, record_.GetValueLVResult(rfLm), quantity_);
    whole(95, QStringLiteral("Длина двухфазных и трехфазных ответвлений"), km, record_.GetValueLVResult(rfL23),
          quantity_);
    whole(96, QStringLiteral("Длина однофазных ответвлений"), km, record_.GetValueLVResult(rfL1), quantity_);
    whole(97, QStringLiteral("Эквивалентная длина линии"), km, record_.Lekv(), quantity_);
    whole(98, QStringLiteral("Эквивалентное сопротивление линии"), QStringLiteral("Ом"), Rekv(record_), quantity_);
    label(99, QStringLiteral("Отношение нагрузочных потерь в линии к суммарной длине линии"),
          q.energy ? QStringLiteral("тыс. кВт·ч/км") : QStringLiteral("кВт/км"));
    for (int c = 3; c < 8; ++c)
        Ratio(99, c, 74, 89, c, 1000);
    whole(100, QStringLiteral("Максимальные относительные потери напряжения"), QStringLiteral("%"), du, percent_);
    label(101, QStringLiteral("Отношение суммарных потерь к приему электроэнергии в сеть"), QStringLiteral("%"));
    for (int c = 3; c < 8; ++c)
        Ratio(101, c, 74, 42, 6, 100);
    label(102, w(QStringLiteral("Относительные потери %1 в линиях")), QStringLiteral("%"));
    for (int c = 3; c < 8; ++c)
        Ratio(102, c, 74, 28, 6, 100);
}

void FiderSheet::Write()
{
    worksheet_set_column(sheet_, 0, 0, 8, nullptr);
    worksheet_set_column(sheet_, 1, 1, 55, nullptr);
    worksheet_set_column(sheet_, 2, 8, 14, nullptr);
    HeaderBlock();
    PhaseBlock();
    BalanceTable();
    LineTable();
}
}  // namespace

bool WriteFiderResultsXlsx(const QString& file, const TLVResultRecord& record, const TLVFiderResultsHeader& header,
                           QString& error, const std::function<void(lxw_workbook*)>& more)
{
    TXlsxFile out(file);
    lxw_workbook* book = out.Open(error);
    if (!book)
        return false;
    for (const Quantities* q : {&kEnergy, &kPower})
        FiderSheet(book, *q, record, header).Write();
    if (more)
        more(book);
    return out.Close(error);
}
