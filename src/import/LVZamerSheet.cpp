// The measurement workbooks' sheets: substations and LV feeders ("ТП и линии") and consumers ("Абоненты").
// Input cells carry their rules as data validation and are checked again on reading; computed cells hold a
// formula with the value the calculation gives cached beside it. The rule of each computed column is written
// beside its formula and its value, which compute the same thing.
#include <QHash>
#include <cmath>
#include <xlsxwriter.h>

#include "host/FiderHHCalcParams.h"
#include "host/InputRanges.h"
#include "host/Meters.h"
#include "host/NumericHelpers.h"
#include "host/XlsxFile.h"
#include "host/XlsxReader.h"
#include "host/fider/RegimeCalc.h"
#include "import/LVZamerColumns.h"
#include "import/ZamerSheets.h"

namespace {
using R = TLVZamerRecord;
using Consumer = TLVZamerConsumer;
using zamer::Column;
using zamer::ConsumerColumn;
QByteArray utf8(const QString& s) { return s.toUtf8(); }
const char* const kPhases[3] = {"A", "B", "C"};
const QString kSheet = QStringLiteral("ТП и линии");
const QString kConsumerSheet = QStringLiteral("Абоненты");
QString cell(int column, int row) { return GetNameCell(column, row); }
QString columnName(int column) { return GetNameCell(column, 1).chopped(1); }

// Hidden columns after the visible ones: the object, the kind of row, the rated voltage, the colours of cells,
// the editable cells as written.
constexpr int kGuidColumn = 27, kTypeColumn = 28, kUnomColumn = 29, kColoursColumn = 30, kWrittenColumn = 31;
// The consumers' sheet: the meter's column depends on the workbook, the keys do not.
constexpr int kConsumerGuid = 16, kConsumerType = 17, kConsumerOwner = 18, kConsumerWritten = 19;
int consumerMeterColumn(TLVZamerKind kind) { return kind == TLVZamerKind::W ? 10 : 15; }
constexpr int kLoadTypeColumn = 12;  // peak-load workbook

double& energy(R& r) { return r.TypeRec == R::TP ? r.W : r.W_sum; }

QString rangeOf(const QString& caption, const QString& range) { return caption + QStringLiteral(": ") + range; }
Column value(int number, const QString& caption, std::function<double&(R&)> field, TInputRule rule)
{
    rule.message = rangeOf(caption, rule.message);
    return Column{number, caption, std::move(field), std::move(rule)};
}
TInputRule hours()
{
    TInputRule r = host::ranges::IntervalHours();
    r.message += QStringLiteral("; пустая ячейка — часы интервала");
    return r;
}

// The phase triplets of both sheets.
void addPhases(std::vector<Column>& c, int first, const char* name, const char* unit,
               std::function<std::array<double, 3>&(R&)> triplet, TInputRule rule)
{
    for (int p = 0; p < 3; ++p)
        c.push_back(value(
            first + p,
            QStringLiteral("%1%2, %3").arg(QString::fromUtf8(name), QLatin1String(kPhases[p]), QString::fromUtf8(unit)),
            [triplet, p](R& r) -> double& { return triplet(r)[p]; }, rule));
}
}  // namespace

namespace zamer {
const std::vector<Column>& ValueColumns(TLVZamerKind kind)
{
    static const std::vector<Column> energyColumns = [] {
        std::vector<Column> c;
        c.push_back(value(
            4, QStringLiteral("W на шинах ТП, тыс. кВт·ч"), [](R& r) -> double& { return r.W_bus; },
            host::ranges::Energy()));
        c.back().busbars = true;
        c.push_back(value(5, QStringLiteral("W, тыс. кВт·ч"), energy, host::ranges::Energy()));
        addPhases(
            c, 6, "U", "В", [](R & r) -> auto& { return r.U; }, host::ranges::PhaseVoltage());
        addPhases(
            c, 9, "I", "А", [](R & r) -> auto& { return r.I; }, host::ranges::PhaseCurrent());
        addPhases(
            c, 12, "Imax", "А", [](R & r) -> auto& { return r.Imax; }, host::ranges::PhaseCurrent());
        addPhases(
            c, 15, "cosφ", "о.е.", [](R & r) -> auto& { return r.CosFi; }, host::ranges::PowerFactor());
        c.push_back(value(
            18, QStringLiteral("T, ч"), [](R& r) -> double& { return r.T; }, hours()));
        c.push_back(value(
            19, QStringLiteral("Kдп, о.е."), [](R& r) -> double& { return r.Kdp; }, host::ranges::AdditionalLosses()));
        c.push_back(value(
            20, QStringLiteral("Kзап, о.е."), [](R& r) -> double& { return r.Kzap; }, host::ranges::FillFactor()));
        c.push_back(value(
            21, QStringLiteral("Kф², о.е."), [](R& r) -> double& { return r.sqrKfg; },
            host::ranges::SquaredFormFactor()));
        c.push_back(value(
            25, QStringLiteral("Температура, °С"), [](R& r) -> double& { return r.Temperature; },
            host::ranges::Temperature()));
        return c;
    }();
    static const std::vector<Column> peakColumns = [] {
        std::vector<Column> c;
        c.push_back(value(4, QStringLiteral("Wa, тыс. кВт·ч"), energy, host::ranges::Energy()));
        addPhases(
            c, 5, "U", "В", [](R & r) -> auto& { return r.U; }, host::ranges::PhaseVoltage());
        addPhases(
            c, 8, "I", "А", [](R & r) -> auto& { return r.I; }, host::ranges::PhaseCurrent());
        addPhases(
            c, 11, "cosφ", "о.е.", [](R & r) -> auto& { return r.CosFi; }, host::ranges::PowerFactor());
        c.push_back(value(
            14, QStringLiteral("T, ч"), [](R& r) -> double& { return r.T; }, hours()));
        c.push_back(value(
            15, QStringLiteral("Tmax, ч"), [](R& r) -> double& { return r.Tmax; }, host::ranges::TmaxHours()));
        c.push_back(value(
            16, QStringLiteral("τ, ч"), [](R& r) -> double& { return r.Tau; }, host::ranges::TauHours()));
        c.push_back(value(
            17, QStringLiteral("Kдп, о.е."), [](R& r) -> double& { return r.Kdp; }, host::ranges::AdditionalLosses()));
        c.push_back(value(
            18, QStringLiteral("Kзап, о.е."), [](R& r) -> double& { return r.Kzap; }, host::ranges::FillFactor()));
        c.push_back(value(
            19, QStringLiteral("Температура, °С"), [](R& r) -> double& { return r.Temperature; },
            host::ranges::Temperature()));
        return c;
    }();
    return kind == TLVZamerKind::W ? energyColumns : peakColumns;
}

const std::vector<ConsumerColumn>& ConsumerColumns(TLVZamerKind kind)
{
    auto col = [](int number, const QString& caption, std::function<double&(Consumer&)> field, TInputRule rule) {
        rule.message = rangeOf(caption, rule.message);
        return ConsumerColumn{number, caption, std::move(field), std::move(rule)};
    };
    static const std::vector<ConsumerColumn> energy = {
        col(
            3, QStringLiteral("W, тыс. кВт·ч"), [](Consumer& c) -> double& { return c.W_sum; }, host::ranges::Energy()),
        col(
            4, QStringLiteral("Wr, тыс. квар·ч"), [](Consumer& c) -> double& { return c.Wr; }, host::ranges::Energy()),
        col(
            5, QStringLiteral("cosφ, о.е."), [](Consumer& c) -> double& { return c.CosFi; },
            host::ranges::PowerFactor()),
        col(
            6, QStringLiteral("Pуст, кВт"), [](Consumer& c) -> double& { return c.Pust; }, host::ranges::Power()),
    };
    static const std::vector<ConsumerColumn> peak = {
        col(
            3, QStringLiteral("Wa, тыс. кВт·ч"), [](Consumer& c) -> double& { return c.W_sum; },
            host::ranges::Energy()),
        col(
            4, QStringLiteral("Wr, тыс. квар·ч"), [](Consumer& c) -> double& { return c.Wr; }, host::ranges::Energy()),
        col(
            5, QStringLiteral("cosφ, о.е."), [](Consumer& c) -> double& { return c.CosFi; },
            host::ranges::PowerFactor()),
        col(
            6, QStringLiteral("Pз, кВт"), [](Consumer& c) -> double& { return c.Pz; }, host::ranges::Power()),
        col(
            10, QStringLiteral("Pи, кВт"), [](Consumer& c) -> double& { return c.Pi; }, host::ranges::Power()),
        col(
            11, QStringLiteral("I, А"), [](Consumer& c) -> double& { return c.I; }, host::ranges::PhaseCurrent()),
        col(
            13, QStringLiteral("Параметр 1"), [](Consumer& c) -> double& { return c.Param1; },
            TInputRule::AnyNumber(QStringLiteral("число"))),
        col(
            14, QStringLiteral("Параметр 2"), [](Consumer& c) -> double& { return c.Param2; },
            TInputRule::AnyNumber(QStringLiteral("число"))),
    };
    return kind == TLVZamerKind::W ? energy : peak;
}
}  // namespace zamer

namespace {
// A computed column of either sheet: its number, caption and formula (without "="); the value the calculation
// gives comes from TLVZamerData::ComputedValue.
struct Computed {
    int number;
    const char* caption;
};
const std::vector<Computed>& computedColumns(TLVZamerKind kind)
{
    static const std::vector<Computed> energy = {{22, "Iср, А"}, {23, "Pср, кВт"}, {24, "τ, о.е."}};
    static const std::vector<Computed> peak = {
        {20, "Kзап по τ, о.е."}, {22, "Iср, А"}, {23, "Pср, кВт"}, {24, "τ, о.е."}};
    return kind == TLVZamerKind::W ? energy : peak;
}
const char* const kConsumerComputed[3] = {"S, тыс. кВ·А·ч", "Wr по cosφ, тыс. квар·ч", "cosφ по W и Wr"};

// Column numbers of the inputs the computed columns read.
struct Layout {
    int firstI, energy, hours, kzap, sqrKfg, tau, tmax;
};
Layout layoutOf(TLVZamerKind kind)
{
    return kind == TLVZamerKind::W ? Layout{9, 5, 18, 20, 21, 0, 0} : Layout{8, 4, 14, 18, 0, 16, 15};
}

QString number(double v) { return dotFloatToStr(v); }
// The hours of a row: its own when given, else the interval's.
QString hoursOf(int column, int row, double intervalHours)
{
    return QStringLiteral("IF(N(%1)>=1,%1,%2)").arg(cell(column, row), number(intervalHours));
}
double hoursOf(double own, double intervalHours) { return !isEmptyFloat(own) && own >= 1 ? own : intervalHours; }
double orZero(double v) { return isEmptyFloat(v) ? 0 : v; }
bool shareGiven(double v) { return !isEmptyFloat(v) && v > 0 && v <= 1; }
}  // namespace

// Iср: the mean of the three phase currents, only when all three are given (a per-phase calculation needs
// them all); nothing otherwise.
// Pср: the mean power of the interval, W × 10⁶ / (T × 1000) kW, with the interval's hours for a row without
// its own; a row without energy has none (0).
// τ, о.е.: the relative time of greatest losses (Kзап + 2 Kзап²) / 3 of the fill factor the calculation takes:
// from Kф² when given (Kзап = 1 / (3 Kф² − 2)), else Kзап, else the default fill factor. On the peak-load
// sheet a τ in hours comes first (through the column "Kзап по τ"), then Kзап, then Tmax / T, then the default.
// Kзап по τ: the fill factor whose τ / T is the given one, (√(1/9 + 8/3 × τ / T) − 1/3) × 3/4.
double TLVZamerData::ComputedValue(const TLVZamerRecord& r, int column) const
{
    const bool peak = kind_ == TLVZamerKind::Tmax;
    const double t = hoursOf(r.T, IntervalHours());
    switch (column) {
    case 20:
        return peak && !isEmptyFloat(r.Tau) && r.Tau >= 0 ? TFiderHHCalcParamsCommon::KzapOfTau(r.Tau / t)
                                                          : EmptyFloat();
    case 22: return r.Phases[1] ? (r.I[0] + r.I[1] + r.I[2]) / 3 : EmptyFloat();
    case 23: return 1000000 / (t * 1000) * orZero(r.TypeRec == R::TP ? r.W : r.W_sum);
    case 24: {
        if (peak && !isEmptyFloat(r.Tau) && r.Tau >= 0)
            return r.Tau / t;
        double kzap = defaultKzap_;
        if (!peak && !isEmptyFloat(r.sqrKfg))
            kzap = TFiderHHCalcParamsCommon::KzapOfSqrKfg(r.sqrKfg);
        else if (shareGiven(r.Kzap))
            kzap = r.Kzap;
        else if (peak && !isEmptyFloat(r.Tmax))
            kzap = r.Tmax / t;
        return TFiderHHCalcParamsCommon::TauOfKzap(kzap);
    }
    default: return EmptyFloat();
    }
}

namespace {
QString computedFormula(TLVZamerKind kind, int column, int row, double intervalHours, double defaultKzap)
{
    const Layout l = layoutOf(kind);
    const QString t = hoursOf(l.hours, row, intervalHours);
    switch (column) {
    case 20: {
        const QString tau = cell(l.tau, row);
        return QStringLiteral("IF(AND(ISNUMBER(%1),N(%1)>=0),(sqrt(1/9+8/3*%1/%2)-1/3)*3/4,\"\")").arg(tau, t);
    }
    case 22:
        return QStringLiteral("IF(AND(ISNUMBER(%1),ISNUMBER(%2),ISNUMBER(%3)),(%1+%2+%3)/3,\"\")")
            .arg(cell(l.firstI, row), cell(l.firstI + 1, row), cell(l.firstI + 2, row));
    case 23: return QStringLiteral("1000000/(%1*1000)*N(%2)").arg(t, cell(l.energy, row));
    default: {
        const QString kzap = cell(l.kzap, row), fallback = number(defaultKzap);
        QString k;
        if (kind == TLVZamerKind::W)
            k = QStringLiteral("IF(ISNUMBER(%1),1/(3*%1-2),IF(ISNUMBER(%2),%2,%3))")
                    .arg(cell(l.sqrKfg, row), kzap, fallback);
        else
            k = QStringLiteral("IF(ISNUMBER(%1),%2,IF(ISNUMBER(%3),%3,IF(ISNUMBER(%4),%4/%5,%6)))")
                    .arg(cell(l.tau, row), cell(20, row), kzap, cell(l.tmax, row), t, fallback);
        return QStringLiteral("(1+2*%1)*%1/3").arg(k);
    }
    }
}
}  // namespace

// S: the apparent energy √(W² + Wr²), an empty energy counting 0.
// Wr по cosφ: W × tg φ of the consumer's cos φ, else its feeder's load kind's, else the default (the cos φ the
// calculation takes when the reactive energy is not given).
// cosφ по W и Wr: the cos φ the calculation takes for the consumer: from its energies when both are given and
// W is above 0, else as above.
double TLVZamerData::ComputedValue(const TLVZamerConsumer& c, int column) const
{
    switch (column) {
    case 7: return std::sqrt(orZero(c.W_sum) * orZero(c.W_sum) + orZero(c.Wr) * orZero(c.Wr));
    case 8:
        return fider::ConsumerTanPhi(EmptyFloat(), EmptyFloat(), c.CosFi, c.KindCosFi, defaultCosFi_) * orZero(c.W_sum);
    case 9: return std::cos(std::atan(fider::ConsumerTanPhi(c.W_sum, c.Wr, c.CosFi, c.KindCosFi, defaultCosFi_)));
    default: return EmptyFloat();
    }
}

namespace {
QString consumerFormula(const Consumer& c, int column, int row, double defaultCos)
{
    const QString w = cell(3, row), wr = cell(4, row), cos = cell(5, row);
    // The cos φ the calculation takes without energies: the consumer's, its load kind's, the default.
    const double fallback = shareGiven(c.KindCosFi) ? c.KindCosFi : defaultCos;
    const QString cosTaken = QStringLiteral("IF(AND(ISNUMBER(%1),N(%1)>0,N(%1)<=1),%1,%2)").arg(cos, number(fallback));
    switch (column) {
    case 7: return QStringLiteral("SQRT(N(%1)^2+N(%2)^2)").arg(w, wr);
    case 8: return QStringLiteral("SQRT(1/%1^2-1)*N(%2)").arg(cosTaken, w);
    default:
        return QStringLiteral("COS(ATAN(IF(AND(N(%1)>0,ISNUMBER(%2)),%2/%1,SQRT(1-%3^2)/%3)))").arg(w, wr, cosTaken);
    }
}
}  // namespace

TWorkbookIdentity TLVZamerData::Identity() const
{
    TWorkbookIdentity id;
    id.Kind = kind_ == TLVZamerKind::W ? QStringLiteral("w") : QStringLiteral("tmax");
    id.Object = object_;
    id.Sample = sampleIdent_;
    id.Lines = withLines_;
    id.Consumers = withConsumers_;
    return id;
}

QString TLVZamerData::ColumnCaption(int column) const
{
    switch (column) {
    case 1: return QStringLiteral("№ п/п");
    case 2: return QStringLiteral("Наименование");
    case 3: return kind_ == TLVZamerKind::W ? QStringLiteral("Состояние счетчика") : QStringLiteral("Тип ТП");
    case MeterColumn: return QStringLiteral("Счетчик");
    default:
        for (const Computed& c : computedColumns(kind_))
            if (c.number == column)
                return QString::fromUtf8(c.caption);
        for (const Column& c : zamer::ValueColumns(kind_))
            if (c.number == column)
                return c.caption;
        return {};
    }
}

namespace {
TInputRule stateRule()
{
    return TInputRule::OneOf(
        MeterStateNames(),
        QStringLiteral("Состояние счетчика: одно из «%1»").arg(MeterStateNames().join(QStringLiteral("», «"))));
}
TInputRule meterRule()
{
    return TInputRule::FreeText(kMeterNameLength, QStringLiteral("Счетчик: не более %1 знаков").arg(kMeterNameLength));
}

// The colour of a row's name tells its state: to be saved, stored for the interval, or not stored.
lxw_format* nameFormat(bool edited, bool stored, const TZamerFormats& f)
{
    return edited ? f.edited : stored ? f.name : f.notStored;
}

void hideColumns(lxw_worksheet* sheet, int first, int last)
{
    lxw_row_col_options hidden = {1, 0, 0};
    worksheet_set_column_opt(sheet, static_cast<lxw_col_t>(first - 1), static_cast<lxw_col_t>(last - 1), 8, nullptr,
                             &hidden);
}
}  // namespace

bool TLVZamerData::WriteWorkbook(const QString& file, QString& error) const
{
    TXlsxFile out(file);
    lxw_workbook* book = out.Open(error);
    if (!book)
        return false;
    lxw_worksheet* sheet = workbook_add_worksheet(book, utf8(kSheet).constData());
    const TZamerFormats formats = AddZamerFormats(book, "0.000", "0.000");
    lxw_format* tpName = workbook_add_format(book);
    format_set_bold(tpName);
    format_set_border(tpName, LXW_BORDER_THIN);
    for (int c = 1; c <= MeterColumn; ++c)
        WriteZamerHead(sheet, c, ColumnCaption(c), formats.head);
    worksheet_set_row(sheet, 0, 45, nullptr);
    worksheet_set_column(sheet, 1, 1, 36, nullptr);
    worksheet_set_column(sheet, 2, static_cast<lxw_col_t>(SheetColumns - 1), 10, nullptr);
    worksheet_set_column(sheet, MeterColumn - 1, MeterColumn - 1, 16, nullptr);
    hideColumns(sheet, kGuidColumn, kWrittenColumn);  // the keys are there for the reading back, not for the user
    worksheet_freeze_panes(sheet, FirstRow - 1, 2);
    const bool energySheet = kind_ == TLVZamerKind::W;
    for (const R& constRecord : records_) {
        R r = constRecord;
        const int row = r.NumStr;
        const auto xr = static_cast<lxw_row_t>(row - 1);
        worksheet_write_number(sheet, xr, 0, r.Num, formats.key);
        worksheet_write_string(sheet, xr, 1,
                               utf8((r.TypeRec == R::Line ? QStringLiteral("    ") : QString()) + r.Name).constData(),
                               r.EditRec || !r.inBase ? nameFormat(r.EditRec, r.inBase, formats)
                                                      : (r.TypeRec == R::TP ? tpName : formats.name));
        if (energySheet)
            worksheet_write_string(sheet, xr, 2, utf8(MeterStateNames().value(r.ST)).constData(), formats.value);
        else
            worksheet_write_string(sheet, xr, 2, utf8(r.TypeTp).constData(), formats.key);
        for (const Column& c : zamer::ValueColumns(kind_)) {
            if (c.busbars && r.TypeRec != R::TP)
                worksheet_write_blank(sheet, xr, static_cast<lxw_col_t>(c.number - 1), formats.computed);
            else
                WriteInputNumber(sheet, row, c.number, c.field(r), formats.value);
        }
        for (const Computed& c : computedColumns(kind_))
            WriteFormulaWithValue(sheet, row, c.number,
                                  computedFormula(kind_, c.number, row, IntervalHours(), defaultKzap_),
                                  ComputedValue(r, c.number), formats.computed);
        worksheet_write_string(sheet, xr, MeterColumn - 1, utf8(r.MeterName).constData(), formats.value);
        worksheet_write_number(sheet, xr, kGuidColumn - 1, r.Guid, formats.key);
        worksheet_write_number(sheet, xr, kTypeColumn - 1, r.TypeRec, formats.key);
        if (!isEmptyFloat(r.Unom))
            worksheet_write_number(sheet, xr, kUnomColumn - 1, r.Unom, formats.key);
        worksheet_write_string(sheet, xr, kColoursColumn - 1, utf8(r.ColorsCells).constData(), formats.key);
        worksheet_write_string(sheet, xr, kWrittenColumn - 1,
                               utf8(WrittenCellsText(WrittenCells(WrittenBase(r)))).constData(), formats.key);
    }
    const int lastRow = FirstRow + static_cast<int>(records_.size()) - 1;
    bool rules = true;
    for (const Column& c : zamer::ValueColumns(kind_))
        rules = WriteInputRule(sheet, FirstRow, lastRow, c.number, c.rule) && rules;
    if (energySheet)
        rules = WriteInputRule(sheet, FirstRow, lastRow, 3, stateRule()) && rules;
    rules = WriteInputRule(sheet, FirstRow, lastRow, MeterColumn, meterRule()) && rules;
    if (energySheet) {
        // Kзап is not taken beside a given Kф²: the cell says so by its colour.
        lxw_conditional_format unused{};
        unused.type = LXW_CONDITIONAL_TYPE_FORMULA;
        const QByteArray test =
            QStringLiteral("=AND(ISNUMBER(%1),ISNUMBER(%2))").arg(cell(21, FirstRow), cell(20, FirstRow)).toUtf8();
        unused.value_string = const_cast<char*>(test.constData());
        lxw_format* struck = workbook_add_format(book);
        format_set_font_strikeout(struck);
        format_set_font_color(struck, 0x808080);
        unused.format = struck;
        if (lastRow >= FirstRow)
            worksheet_conditional_format_range(sheet, FirstRow - 1, 19, static_cast<lxw_row_t>(lastRow - 1), 19,
                                               &unused);
    }
    ProtectZamerSheet(sheet);
    if (withConsumers_)
        WriteConsumers(book, formats);
    WriteWorkbookIdentity(book, Identity());
    if (!rules) {
        error = QStringLiteral("Книга %1 не записана: правила ввода не помещаются в книгу").arg(file);
        return false;
    }
    return out.Close(error);
}

void TLVZamerData::WriteConsumers(lxw_workbook* book, const TZamerFormats& formats) const
{
    lxw_worksheet* sheet = workbook_add_worksheet(book, utf8(kConsumerSheet).constData());
    const std::vector<ConsumerColumn>& columns = zamer::ConsumerColumns(kind_);
    const int meter = consumerMeterColumn(kind_);
    auto headCell = [&](int column, const QString& caption) { WriteZamerHead(sheet, column, caption, formats.head); };
    headCell(1, QStringLiteral("№ п/п"));
    headCell(2, QStringLiteral("Наименование"));
    for (const ConsumerColumn& c : columns)
        headCell(c.number, c.caption);
    for (int k = 0; k < 3; ++k)
        headCell(7 + k, QString::fromUtf8(kConsumerComputed[k]));
    if (kind_ == TLVZamerKind::Tmax)
        headCell(kLoadTypeColumn, QStringLiteral("Вид нагрузки"));
    headCell(meter, QStringLiteral("Счетчик"));
    worksheet_set_row(sheet, 0, 45, nullptr);
    worksheet_set_column(sheet, 1, 1, 36, nullptr);
    worksheet_set_column(sheet, 2, static_cast<lxw_col_t>(meter - 1), 11, nullptr);
    if (kind_ == TLVZamerKind::Tmax)
        worksheet_set_column(sheet, kLoadTypeColumn - 1, kLoadTypeColumn - 1, 24, nullptr);
    hideColumns(sheet, kConsumerGuid, kConsumerWritten);
    worksheet_freeze_panes(sheet, FirstRow - 1, 2);
    for (const Consumer& constConsumer : consumers_) {
        Consumer c = constConsumer;
        const int row = c.NumStr;
        const auto xr = static_cast<lxw_row_t>(row - 1);
        worksheet_write_number(sheet, xr, 0, c.Num, formats.key);
        worksheet_write_string(sheet, xr, 1, utf8(c.Name).constData(), nameFormat(c.EditRec, c.inBase, formats));
        for (const ConsumerColumn& col : columns)
            WriteInputNumber(sheet, row, col.number, col.field(c), formats.value);
        for (int k = 7; k <= 9; ++k)
            WriteFormulaWithValue(sheet, row, k, consumerFormula(c, k, row, defaultCosFi_), ComputedValue(c, k),
                                  formats.computed);
        if (kind_ == TLVZamerKind::Tmax)
            worksheet_write_string(sheet, xr, kLoadTypeColumn - 1, utf8(loadTypes_.value(c.LoadType)).constData(),
                                   formats.value);
        worksheet_write_string(sheet, xr, static_cast<lxw_col_t>(meter - 1), utf8(c.MeterName).constData(),
                               formats.value);
        worksheet_write_number(sheet, xr, kConsumerGuid - 1, c.Guid, formats.key);
        worksheet_write_number(sheet, xr, kConsumerType - 1, TLVZamerRecord::Consumer, formats.key);
        worksheet_write_number(sheet, xr, kConsumerOwner - 1, c.OwnerGuid, formats.key);
        worksheet_write_string(sheet, xr, kConsumerWritten - 1,
                               utf8(WrittenCellsText(WrittenCells(WrittenBase(c)))).constData(), formats.key);
    }
    const int lastRow = FirstRow + static_cast<int>(consumers_.size()) - 1;
    for (const ConsumerColumn& col : columns)
        WriteInputRule(sheet, FirstRow, lastRow, col.number, col.rule);
    if (kind_ == TLVZamerKind::Tmax)
        WriteInputRule(sheet, FirstRow, lastRow, kLoadTypeColumn,
                       TInputRule::OneOf(loadTypes_.values(), QStringLiteral("Вид нагрузки: один из справочника")));
    WriteInputRule(sheet, FirstRow, lastRow, meter, meterRule());
    ProtectZamerSheet(sheet);
}

namespace {
bool same(double a, double b)
{
    if (isEmptyFloat(a) || isEmptyFloat(b))
        return isEmptyFloat(a) && isEmptyFloat(b);
    return CompareFloat(a, b) == 0;
}

quint64 objectKey(int kind, int guid) { return (static_cast<quint64>(kind) << 32) | static_cast<quint32>(guid); }

// A key of a hidden column: a whole number of the integer range, or -1.
int keyOf(const QVariant& v)
{
    if (v.typeId() != QMetaType::Double)
        return -1;
    const double d = v.toDouble();
    return d == std::floor(d) && std::fabs(d) < 2147483647.0 ? static_cast<int>(d) : -1;
}

void phasesOf(R& r)
{
    const std::array<double, 3>* triplets[4] = {&r.U, &r.I, &r.Imax, &r.CosFi};
    for (int t = 0; t < 4; ++t)
        r.Phases[t] = std::none_of(triplets[t]->begin(), triplets[t]->end(), [](double v) { return isEmptyFloat(v); });
}
}  // namespace

TWrittenCells TLVZamerData::WrittenCells(const R& constRecord) const
{
    R r = constRecord;
    TWrittenCells cells;
    for (const Column& c : zamer::ValueColumns(kind_))
        if (!c.busbars || r.TypeRec == R::TP)
            cells.insert(c.number, c.field(r));
    if (kind_ == TLVZamerKind::W)
        cells.insert(3, MeterStateNames().value(r.ST));
    cells.insert(MeterColumn, r.MeterName);
    return cells;
}

TWrittenCells TLVZamerData::WrittenCells(const Consumer& constConsumer) const
{
    Consumer c = constConsumer;
    TWrittenCells cells;
    for (const ConsumerColumn& col : zamer::ConsumerColumns(kind_))
        cells.insert(col.number, col.field(c));
    if (kind_ == TLVZamerKind::Tmax)
        cells.insert(kLoadTypeColumn, loadTypes_.value(c.LoadType));
    cells.insert(consumerMeterColumn(kind_), c.MeterName);
    return cells;
}

namespace {
// The cells of a workbook row, by column; a problem with a cell is added with its address (problems may be null
// for values the program wrote itself).
using CellOf = std::function<QVariant(int column)>;
TInputValue parsed(const CellOf& cellOf, int row, int column, const TInputRule& rule, QStringList* problems)
{
    const QVariant v = cellOf(column);
    const TInputValue read = CheckInput(v, rule);
    if (!read.problem.isEmpty() && problems)
        *problems << InputProblem(column, row, v, rule);
    return read;
}

// Checks the keys of the rows of a sheet: every row below the captions must name an object of the table, once.
// Returns the object's row, or null with the problem added.
template <class Row>
Row* rowOf(const QHash<quint64, Row*>& byKey, quint64 key, bool keyRead, int row, const QString& keyCells,
           QHash<quint64, int>& seen, QStringList& problems)
{
    if (!keyRead) {
        problems << QStringLiteral("строка %1: нет ключа строки (скрытые ячейки %2 пусты или изменены) — строка, "
                                   "добавленная в книгу или потерявшая ключ, не может быть сохранена")
                        .arg(row)
                        .arg(keyCells);
        return nullptr;
    }
    Row* found = byKey.value(key);
    if (!found) {
        problems << QStringLiteral("строка %1: нет такого элемента в книге (код %2)").arg(row).arg(key & 0xFFFFFFFFu);
        return nullptr;
    }
    if (const auto it = seen.constFind(key); it != seen.cend()) {
        problems << QStringLiteral("строка %1: «%2» уже в строке %3").arg(row).arg(found->Name.trimmed()).arg(*it);
        return nullptr;
    }
    seen.insert(key, row);
    return found;
}
}  // namespace

void TLVZamerData::ParseRow(R& into, const std::function<QVariant(int)>& cellOf, int row, QStringList* problems) const
{
    if (kind_ == TLVZamerKind::W)
        into.ST = std::max(0, MeterStateCode(parsed(cellOf, row, 3, stateRule(), problems).text));
    for (const Column& c : zamer::ValueColumns(kind_))
        if (!c.busbars || into.TypeRec == R::TP)
            c.field(into) = parsed(cellOf, row, c.number, c.rule, problems).number;
    into.MeterName = parsed(cellOf, row, MeterColumn, meterRule(), problems).text;
}

void TLVZamerData::ParseConsumer(Consumer& into, const std::function<QVariant(int)>& cellOf, int row,
                                 QStringList* problems) const
{
    for (const ConsumerColumn& col : zamer::ConsumerColumns(kind_))
        col.field(into) = parsed(cellOf, row, col.number, col.rule, problems).number;
    if (kind_ == TLVZamerKind::Tmax) {
        QHash<QString, int> loadTypeByName;
        for (auto it = loadTypes_.cbegin(); it != loadTypes_.cend(); ++it)
            loadTypeByName.insert(it.value(), it.key());
        const TInputRule loadTypeRule =
            TInputRule::OneOf(loadTypes_.values(), QStringLiteral("Вид нагрузки: один из справочника"));
        into.LoadType = loadTypeByName.value(parsed(cellOf, row, kLoadTypeColumn, loadTypeRule, problems).text);
    }
    into.MeterName = parsed(cellOf, row, consumerMeterColumn(kind_), meterRule(), problems).text;
}

int TLVZamerData::ReadRows(const TXlsxWorkbook& book, int sheet, QStringList& problems, bool apply)
{
    // A row of the sheet finds its object by kind and ident, whatever order the user left the rows in.
    QHash<quint64, R*> byObject;
    for (R& r : records_)
        byObject.insert(objectKey(r.TypeRec, r.Guid), &r);
    const bool energySheet = kind_ == TLVZamerKind::W;
    const QString keyCells = columnName(kGuidColumn) + QStringLiteral(", ") + columnName(kTypeColumn);
    QHash<quint64, int> seen;
    int changed = 0;
    for (int row : book.RowNumbers(sheet)) {
        if (row < FirstRow)
            continue;
        const int kind = keyOf(book.Cell(sheet, row, kTypeColumn)), guid = keyOf(book.Cell(sheet, row, kGuidColumn));
        R* found = rowOf(byObject, objectKey(kind, guid), kind >= 0 && guid >= 0, row, keyCells, seen, problems);
        if (!found)
            continue;
        R& r = *found;
        TWrittenCells written;
        if (!ReadWrittenCells(book.Cell(sheet, row, kWrittenColumn), written)) {
            problems << QStringLiteral("строка %1: нет записанных значений строки (скрытая ячейка %2) — неизвестно, "
                                       "что в ней изменено; запишите книгу заново")
                            .arg(row)
                            .arg(cell(kWrittenColumn, row));
            continue;
        }
        R read = r, base = r;
        ParseRow(
            read, [&](int column) { return book.Cell(sheet, row, column); }, row, &problems);
        ParseRow(
            base, [&](int column) { return written.value(column); }, row, nullptr);
        read.ColorsCells = book.Cell(sheet, row, kColoursColumn).toString();
        if (!apply)
            continue;
        const quint64 key = objectKey(r.TypeRec, r.Guid);
        // The form factor, when given, decides the load curve; the fill factor is read only in its absence, and
        // one typed beside it is named rather than dropped unseen.
        if (energySheet && !isEmptyFloat(read.sqrKfg) && !same(read.Kzap, base.Kzap)) {
            notes_ << QStringLiteral("ячейка %1: Kзап = %2 не принят — форма графика задана Kф² (ячейка %3)")
                          .arg(cell(20, row), isEmptyFloat(read.Kzap) ? QStringLiteral("пусто") : number(read.Kzap),
                               cell(21, row));
            read.Kzap = base.Kzap;
        }
        phasesOf(read);
        phasesOf(base);
        if (Differences(base, read).isEmpty()) {
            // As written: nothing of the user's, whatever the database holds now. A row marked by an earlier
            // reading that the user put back is no longer to be saved.
            if (r.EditRec && base_.contains(key)) {
                base.NumStr = r.NumStr;
                r = base;
                r.EditRec = false;
                base_.remove(key);
            }
            continue;
        }
        if (!r.EditRec && Differences(r, read).isEmpty())
            continue;  // the database holds the user's values already: nothing to store
        read.EditT = !same(read.T, base.T);
        read.EditRec = true;
        read.NumStr = row;
        changed += r.EditRec ? 0 : 1;
        r = read;
        base.EditRec = false;
        base_.insert(key, base);
    }
    return changed;
}

int TLVZamerData::ReadConsumers(const TXlsxWorkbook& book, int sheet, QStringList& problems, bool apply)
{
    QHash<quint64, Consumer*> byGuid;
    for (Consumer& c : consumers_)
        byGuid.insert(objectKey(R::Consumer, c.Guid), &c);
    const QString keyCells = columnName(kConsumerGuid);
    QHash<quint64, int> seen;
    int changed = 0;
    for (int row : book.RowNumbers(sheet)) {
        if (row < FirstRow)
            continue;
        const int guid = keyOf(book.Cell(sheet, row, kConsumerGuid));
        Consumer* found = rowOf(byGuid, objectKey(R::Consumer, guid), guid >= 0, row, keyCells, seen, problems);
        if (!found)
            continue;
        Consumer& c = *found;
        TWrittenCells written;
        if (!ReadWrittenCells(book.Cell(sheet, row, kConsumerWritten), written)) {
            problems << QStringLiteral("лист «%1», строка %2: нет записанных значений строки — запишите книгу заново")
                            .arg(kConsumerSheet)
                            .arg(row);
            continue;
        }
        Consumer read = c, base = c;
        ParseConsumer(
            read, [&](int column) { return book.Cell(sheet, row, column); }, row, &problems);
        ParseConsumer(
            base, [&](int column) { return written.value(column); }, row, nullptr);
        if (!apply)
            continue;
        if (Differences(base, read).isEmpty()) {
            if (c.EditRec && consumerBase_.contains(c.Guid)) {
                base.NumStr = c.NumStr;
                c = base;
                c.EditRec = false;
                consumerBase_.remove(c.Guid);
            }
            continue;
        }
        if (!c.EditRec && Differences(c, read).isEmpty())
            continue;  // the database holds the user's values already: nothing to store
        changed += c.EditRec ? 0 : 1;
        read.EditRec = true;
        read.NumStr = row;
        c = read;
        base.EditRec = false;
        consumerBase_.insert(c.Guid, base);
    }
    return changed;
}

int TLVZamerData::ReadWorkbook(const QString& file, QString& error)
{
    notes_.clear();
    TXlsxWorkbook book;
    if (!book.Open(file, error))
        return -1;
    const int sheet = book.SheetIndex(kSheet);
    if (sheet < 0) {
        error = QStringLiteral("В книге %1 нет листа \"%2\"").arg(file, kSheet);
        return -1;
    }
    // A workbook written for another interval or other objects would put its values on the wrong rows.
    error = IdentityMismatch(book, Identity(), file);
    if (!error.isEmpty())
        return -1;
    const int consumers = withConsumers_ ? book.SheetIndex(kConsumerSheet) : -1;
    // Every cell is checked before anything is taken: one wrong value leaves the whole table as it was.
    QStringList problems;
    ReadRows(book, sheet, problems, false);
    if (consumers >= 0)
        ReadConsumers(book, consumers, problems, false);
    if (!problems.isEmpty()) {
        error = ReadRefusal(file, problems);
        return -1;
    }
    int changed = ReadRows(book, sheet, problems, true);
    if (consumers >= 0)
        changed += ReadConsumers(book, consumers, problems, true);
    return changed;
}
