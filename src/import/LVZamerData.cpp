#include "import/LVZamerData.h"

#include <QFile>
#include <QHash>
#include <QSet>
#include <cmath>
#include <functional>
#include <xlsxwriter.h>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "host/XlsxFile.h"
#include "host/XlsxReader.h"
#include "import/ImportSql.h"
#include "import/ZamerSheets.h"

namespace {
using R = TLVZamerRecord;
QByteArray utf8(const QString& s) { return s.toUtf8(); }
const char* const kPhases[3] = {"A", "B", "C"};

// A value column of the sheet: its number, caption and the record field behind it.
struct Column {
    int number;
    QString caption;
    std::function<double&(R&)> field;
    bool hours = false;  // a whole number of hours within a year, stored as an integer
};
// The hours of the longest year.
constexpr double kYearHours = 8784;

// The energy column holds the substation's own energy or the sum of a feeder's.
double& energy(R& r) { return r.TypeRec == R::TP ? r.W : r.W_sum; }

const std::vector<Column>& energyColumns()
{
    static const std::vector<Column> columns = [] {
        std::vector<Column> c;
        c.push_back({4, QStringLiteral("W на шинах ТП, тыс. кВт·ч"), [](R& r) -> double& { return r.W_bus; }});
        c.push_back({5, QStringLiteral("W, тыс. кВт·ч"), energy});
        for (int p = 0; p < 3; ++p) {
            const QString ph = QString::fromLatin1(kPhases[p]);
            c.push_back({6 + p, QStringLiteral("U%1, В").arg(ph), [p](R& r) -> double& { return r.U[p]; }});
            c.push_back({9 + p, QStringLiteral("I%1, А").arg(ph), [p](R& r) -> double& { return r.I[p]; }});
            c.push_back({12 + p, QStringLiteral("Imax%1, А").arg(ph), [p](R& r) -> double& { return r.Imax[p]; }});
            c.push_back({15 + p, QStringLiteral("cosφ%1, о.е.").arg(ph), [p](R& r) -> double& { return r.CosFi[p]; }});
        }
        c.push_back({18, QStringLiteral("T, ч"), [](R& r) -> double& { return r.T; }, true});
        c.push_back({19, QStringLiteral("Kдп, о.е."), [](R& r) -> double& { return r.Kdp; }});
        c.push_back({20, QStringLiteral("Kзап, о.е."), [](R& r) -> double& { return r.Kzap; }});
        c.push_back({21, QStringLiteral("Kф², о.е."), [](R& r) -> double& { return r.sqrKfg; }});
        c.push_back({25, QStringLiteral("Температура, °С"), [](R& r) -> double& { return r.Temperature; }});
        return c;
    }();
    return columns;
}

const std::vector<Column>& peakColumns()
{
    static const std::vector<Column> columns = [] {
        std::vector<Column> c;
        c.push_back({4, QStringLiteral("Wa, тыс. кВт·ч"), energy});
        for (int p = 0; p < 3; ++p) {
            const QString ph = QString::fromLatin1(kPhases[p]);
            c.push_back({5 + p, QStringLiteral("U%1, В").arg(ph), [p](R& r) -> double& { return r.U[p]; }});
            c.push_back({8 + p, QStringLiteral("I%1, А").arg(ph), [p](R& r) -> double& { return r.I[p]; }});
            c.push_back({11 + p, QStringLiteral("cosφ%1, о.е.").arg(ph), [p](R& r) -> double& { return r.CosFi[p]; }});
        }
        c.push_back({14, QStringLiteral("T, ч"), [](R& r) -> double& { return r.T; }, true});
        c.push_back({15, QStringLiteral("Tmax, ч"), [](R& r) -> double& { return r.Tmax; }, true});
        c.push_back({16, QStringLiteral("τ, ч"), [](R& r) -> double& { return r.Tau; }});
        c.push_back({17, QStringLiteral("Kдп, о.е."), [](R& r) -> double& { return r.Kdp; }});
        c.push_back({18, QStringLiteral("Kзап, о.е."), [](R& r) -> double& { return r.Kzap; }});
        c.push_back({19, QStringLiteral("Температура, °С"), [](R& r) -> double& { return r.Temperature; }});
        return c;
    }();
    return columns;
}

const std::vector<Column>& valueColumns(TLVZamerKind kind)
{
    return kind == TLVZamerKind::W ? energyColumns() : peakColumns();
}

// The computed columns of a worksheet row: number, caption and formula.
struct Computed {
    int number;
    const char* caption;
    QString (*formula)(int row);
};

// Service columns after the sheet's own: the object, the kind of row, the rated voltage, the meter and the
// colours of single cells.
constexpr int kGuidColumn = 26, kTypeColumn = 27, kUnomColumn = 28, kMeterColumn = 29, kColoursColumn = 30;

QString cell(int column, int row) { return GetNameCell(column, row); }

// The formulas of the computed columns. Energy sheet: the mean head current, the mean power from the energy and
// the hours, the relative hours of greatest losses from the fill factor.
QString meanCurrent(int row, int first)
{
    return QStringLiteral("IF(AND(ISNUMBER(%1),ISNUMBER(%2),ISNUMBER(%3)),(%1+%2+%3)/3,\"\")")
        .arg(cell(first, row), cell(first + 1, row), cell(first + 2, row));
}
QString meanPower(int row, int hours, int energyColumn)
{
    return QStringLiteral("1000000/(%1*1000)*%2").arg(cell(hours, row), cell(energyColumn, row));
}
QString lossFactor(int row, int kzap) { return QStringLiteral("(1+2*%1)*%1/3").arg(cell(kzap, row)); }

const std::vector<Computed>& computedColumns(TLVZamerKind kind)
{
    static const std::vector<Computed> energy = {
        {22, "Iср, А", [](int row) { return meanCurrent(row, 9); }},
        {23, "Pср, кВт", [](int row) { return meanPower(row, 18, 5); }},
        {24, "τ, о.е.", [](int row) { return lossFactor(row, 20); }},
    };
    // Peak sheet: the fill factor that the relative hours of greatest losses stand for, then as above.
    static const std::vector<Computed> peak = {
        {20, "Kзап по τ, о.е.",
         [](int row) { return QStringLiteral("(sqrt(1/9+8/3*%1/%2)-1/3)*3/4").arg(cell(16, row), cell(14, row)); }},
        {22, "Iср, А", [](int row) { return meanCurrent(row, 8); }},
        {23, "Pср, кВт", [](int row) { return meanPower(row, 14, 4); }},
        {24, "τ, о.е.", [](int row) { return lossFactor(row, 18); }},
    };
    return kind == TLVZamerKind::W ? energy : peak;
}

quint64 objectKey(int kind, int guid) { return (static_cast<quint64>(kind) << 32) | static_cast<quint32>(guid); }

bool same(double a, double b)
{
    if (isEmptyFloat(a) || isEmptyFloat(b))
        return isEmptyFloat(a) && isEmptyFloat(b);
    return CompareFloat(a, b) == 0;
}

double number(const QVariant& v)
{
    if (!v.isValid())
        return EmptyFloat();
    if (v.typeId() == QMetaType::Double)
        return v.toDouble();
    double d = EmptyFloat();
    return ParseFloat(v.toString(), d) ? d : EmptyFloat();
}

// Hours and other whole numbers: NULL when not given, or when too large for the column (never wrapped).
QVariant whole(double value)
{
    if (isEmptyFloat(value) || !(std::fabs(value) < 2147483647.0))
        return QVariant();
    return QVariant(static_cast<int>(std::lround(value)));
}

void bindPhases(TFDQuery& q, const R& r, bool withMax)
{
    for (int p = 0; p < 3; ++p) {
        const QString ph = QString::fromLatin1(kPhases[p]);
        q.ParamFloat(QStringLiteral("U") + ph, r.U[p]).ParamFloat(QStringLiteral("I") + ph, r.I[p]);
        if (withMax)
            q.ParamFloat(QStringLiteral("Imax") + ph, r.Imax[p]);
        q.ParamFloat(QStringLiteral("CosFi") + ph, r.CosFi[p]);
    }
}

void phasesOf(R& r)
{
    const std::array<double, 3>* triplets[4] = {&r.U, &r.I, &r.Imax, &r.CosFi};
    for (int t = 0; t < 4; ++t)
        r.Phases[t] = std::none_of(triplets[t]->begin(), triplets[t]->end(), [](double v) { return isEmptyFloat(v); });
}
}  // namespace

TLVZamerRecord::TLVZamerRecord()
    : Unom(EmptyFloat()), W(EmptyFloat()), W_bus(EmptyFloat()), W_sum(EmptyFloat()), T(EmptyFloat()), Kdp(EmptyFloat()),
      Kzap(EmptyFloat()), sqrKfg(EmptyFloat()), Temperature(EmptyFloat())
{
    for (auto* a : {&U, &I, &Imax, &CosFi})
        a->fill(EmptyFloat());
}

namespace {
using Consumer = TLVZamerConsumer;
struct ConsumerColumn {
    int number;
    QString caption;
    std::function<double&(Consumer&)> field;
};
const QString kConsumerSheet = QStringLiteral("Абоненты");
constexpr int kConsumerGuid = 10, kConsumerType = 11, kConsumerOwner = 12;

// The consumers' values: the sheet's own columns 3 to 6, then service columns after the computed ones.
const std::vector<ConsumerColumn>& consumerColumns(TLVZamerKind kind)
{
    static const std::vector<ConsumerColumn> energy = {
        {3, QStringLiteral("W, тыс. кВт·ч"), [](Consumer& c) -> double& { return c.W_sum; }},
        {4, QStringLiteral("Wr, тыс. квар·ч"), [](Consumer& c) -> double& { return c.Wr; }},
        {5, QStringLiteral("cosφ, о.е."), [](Consumer& c) -> double& { return c.CosFi; }},
        {6, QStringLiteral("Pуст, кВт"), [](Consumer& c) -> double& { return c.Pust; }},
    };
    static const std::vector<ConsumerColumn> peak = {
        {3, QStringLiteral("Wa, тыс. кВт·ч"), [](Consumer& c) -> double& { return c.W_sum; }},
        {4, QStringLiteral("Wr, тыс. квар·ч"), [](Consumer& c) -> double& { return c.Wr; }},
        {5, QStringLiteral("cosφ, о.е."), [](Consumer& c) -> double& { return c.CosFi; }},
        {6, QStringLiteral("Pз, кВт"), [](Consumer& c) -> double& { return c.Pz; }},
        {13, QStringLiteral("Pи, кВт"), [](Consumer& c) -> double& { return c.Pi; }},
        {14, QStringLiteral("I, А"), [](Consumer& c) -> double& { return c.I; }},
        {16, QStringLiteral("Параметр 1"), [](Consumer& c) -> double& { return c.Param1; }},
        {17, QStringLiteral("Параметр 2"), [](Consumer& c) -> double& { return c.Param2; }},
    };
    return kind == TLVZamerKind::W ? energy : peak;
}

// The computed columns of the consumers' sheet: the apparent energy, the reactive energy by the power factor and
// the power factor by the two energies.
QString consumerFormula(int column, int row)
{
    const QString w = cell(3, row), wr = cell(4, row), cos = cell(5, row);
    switch (column) {
    case 7: return QStringLiteral("SQRT(N(%1)^2+N(%2)^2)").arg(w, wr);
    case 8: return QStringLiteral("SQRT(IF(AND(ISNUMBER(%1),%1<>0),1/%1^2-1,0))*N(%2)").arg(cos, w);
    default: return QStringLiteral("COS(ATAN(IF(AND(ISNUMBER(%1),%1<>0),N(%2)/%1,0)))").arg(w, wr);
    }
}
const char* const kConsumerComputed[3] = {"S, тыс. кВ·А·ч", "Wr по cosφ, тыс. квар·ч", "cosφ по W и Wr"};
}  // namespace

TLVZamerConsumer::TLVZamerConsumer()
    : W_sum(EmptyFloat()), Wr(EmptyFloat()), CosFi(EmptyFloat()), Pust(EmptyFloat()), Pz(EmptyFloat()),
      Pi(EmptyFloat()), I(EmptyFloat()), Param1(EmptyFloat()), Param2(EmptyFloat())
{
}

bool ApplyZamerSwitch(std::array<bool, 3>& switches, int clicked)
{
    if (clicked < 0 || clicked > 2)
        return false;
    std::array<bool, 3> next = switches;
    next[clicked] = !next[clicked];
    if (clicked == 2 && next[2])
        next[1] = false;
    if (clicked == 1 && next[1])
        next[2] = false;
    if (!next[0] && !next[1] && !next[2])
        return false;  // the clicked switch stays on
    switches = next;
    return true;
}

QString TLVZamerData::ColumnCaption(int column) const
{
    switch (column) {
    case 1: return QStringLiteral("№ п/п");
    case 2: return QStringLiteral("Наименование");
    case 3: return kind_ == TLVZamerKind::W ? QStringLiteral("Состояние") : QStringLiteral("Тип ТП");
    default:
        for (const Computed& c : computedColumns(kind_))
            if (c.number == column)
                return QString::fromUtf8(c.caption);
        for (const Column& c : valueColumns(kind_))
            if (c.number == column)
                return c.caption;
        return {};
    }
}

void TLVZamerData::Load(ToznFDConnection& connection, ToznListItemCommon* item, int sampleIdent, int hours,
                        bool withLines, bool withConsumers)
{
    records_.clear();
    consumers_.clear();
    withConsumers_ = withConsumers;
    sampleIdent_ = sampleIdent;
    hours_ = hours;
    if (!item)
        return;
    // The substations under the item in the tree's order (a substation shown twice counts once), each
    // followed by its LV feeders.
    QList<int> feeders;
    std::function<void(ToznListItemCommon*)> walk = [&](ToznListItemCommon* i) {
        if (i->isLink())
            return;
        const int type = i->GetNodeType();
        if (type == NodeType::Nodes || (type == NodeType::LVFiders && withLines)) {
            R r;
            r.TypeRec = type == NodeType::Nodes ? R::TP : R::Line;
            r.Guid = i->GetIdent();
            r.Name = i->GetText();
            r.Unom = i->GetUnom();
            r.MeterName = i->GetMeterName();
            records_.push_back(r);
        }
        if (type == NodeType::LVFiders) {
            feeders.append(i->GetIdent());
            return;
        }
        for (int c = 0; c < i->GetCount(); ++c)
            walk(i->GetItems(c));
    };
    walk(item->Target());
    if (withConsumers)
        LoadConsumers(connection, feeders);
    QHash<quint64, size_t> index;
    for (size_t n = 0; n < records_.size(); ++n) {
        records_[n].Num = static_cast<int>(n) + 1;
        records_[n].NumStr = FirstRow + static_cast<int>(n);
        index.insert(objectKey(records_[n].TypeRec, records_[n].Guid), n);
    }
    auto find = [&](int kind, int guid) -> R* {
        const auto it = index.constFind(objectKey(kind, guid));
        return it == index.cend() ? nullptr : &records_[*it];
    };
    auto phases = [](const TFDQuery& q, R& r, bool withMax) {
        for (int p = 0; p < 3; ++p) {
            const QString ph = QString::fromLatin1(kPhases[p]);
            r.U[p] = q.Float(QStringLiteral("U") + ph);
            r.I[p] = q.Float(QStringLiteral("I") + ph);
            if (withMax)
                r.Imax[p] = q.Float(QStringLiteral("Imax") + ph);
            r.CosFi[p] = q.Float(QStringLiteral("CosFi") + ph);
        }
    };
    // The peak-load tables keep the same values for substations and feeders.
    auto peak = [&](const TFDQuery& q, R& r) {
        r.inBase = true;
        energy(r) = q.Float(QStringLiteral("Wa"));
        phases(q, r, false);
        for (auto [field, name] : {std::pair{&R::T, "T"},
                                   {&R::Tau, "Tau"},
                                   {&R::Kzap, "Kzap"},
                                   {&R::Tmax, "Tmax"},
                                   {&R::Kdp, "Kdp"},
                                   {&R::Temperature, "Temperature"}})
            r.*field = q.Float(QString::fromLatin1(name));
    };
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        if (kind_ == TLVZamerKind::Tmax) {
            q->SetSQLText(QString::fromUtf8(ImportSql::kTransformerTypes));
            for (q->Open(); !q->Eof(); q->Next())
                if (R* r = find(R::TP, q->Int(QStringLiteral("GUID"))))
                    r->TypeTp = q->Str(QStringLiteral("TypeTR"));
            for (auto [sql, kind] : {std::pair{ImportSql::kPTPInfo, R::TP}, {ImportSql::kLVPSamples, R::Line}}) {
                q->SetSQLText(QString::fromUtf8(sql));
                q->ParamByName(QStringLiteral("Ident"), sampleIdent);
                for (q->Open(); !q->Eof(); q->Next())
                    if (R* r = find(kind, q->Int(QStringLiteral("GUID"))))
                        peak(*q, *r);
            }
            return;
        }
        q->SetSQLText(QString::fromUtf8(ImportSql::kTPInfo));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent);
        for (q->Open(); !q->Eof(); q->Next())
            if (R* r = find(R::TP, q->Int(QStringLiteral("GUID")))) {
                r->inBase = true;
                r->W_bus = q->Float(QStringLiteral("Wa_bus"));
                phases(*q, *r, true);
                r->Kdp = q->Float(QStringLiteral("Kdp"));
                r->Temperature = q->Float(QStringLiteral("Temperature"));
            }
        q->SetSQLText(QString::fromUtf8(ImportSql::kWLoads));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent);
        for (q->Open(); !q->Eof(); q->Next())
            if (R* r = find(R::TP, q->Int(QStringLiteral("GUID")))) {
                r->inBase = true;
                r->W = q->Float(QStringLiteral("Wa"));
                r->T = q->Float(QStringLiteral("T"));
                r->Kzap = q->Float(QStringLiteral("Kzap"));
                r->sqrKfg = q->Float(QStringLiteral("sqrKfg"));
            }
        q->SetSQLText(QString::fromUtf8(ImportSql::kLVWSamples));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent);
        for (q->Open(); !q->Eof(); q->Next())
            if (R* r = find(R::Line, q->Int(QStringLiteral("GUID")))) {
                r->inBase = true;
                r->W_sum = q->Float(QStringLiteral("Wa"));
                r->T = q->Float(QStringLiteral("T"));
                phases(*q, *r, true);
                r->Kdp = q->Float(QStringLiteral("Kdp"));
                r->Kzap = q->Float(QStringLiteral("Kzap"));
                r->sqrKfg = q->Float(QStringLiteral("sqrKfg"));
                r->Temperature = q->Float(QStringLiteral("Temperature"));
            }
    });
    for (R& r : records_) {
        if (isEmptyFloat(r.T) && hours > 0)
            r.T = hours;  // the interval's hours unless the row has its own
        phasesOf(r);
    }
}

bool TLVZamerData::WriteWorkbook(const QString& file, QString& error) const
{
    TXlsxFile out(file);
    lxw_workbook* book = out.Open(error);
    if (!book)
        return false;
    lxw_worksheet* sheet = workbook_add_worksheet(book, utf8(QStringLiteral("ТП и линии")).constData());
    const TZamerFormats formats = AddZamerFormats(book, "0.000", "0.000");
    lxw_format *head = formats.head, *value = formats.value, *computed = formats.computed;
    lxw_format* tpName = workbook_add_format(book);
    format_set_bold(tpName);
    format_set_border(tpName, LXW_BORDER_THIN);
    for (int c = 1; c <= SheetColumns; ++c)
        WriteZamerHead(sheet, c, ColumnCaption(c), head);
    worksheet_set_row(sheet, 0, 45, nullptr);
    worksheet_set_column(sheet, 1, 1, 36, nullptr);
    worksheet_set_column(sheet, 2, static_cast<lxw_col_t>(SheetColumns - 1), 10, nullptr);
    // The service columns are there for the reading back, not for the user.
    lxw_row_col_options hidden = {1, 0, 0};
    worksheet_set_column_opt(sheet, kGuidColumn - 1, kColoursColumn - 1, 8, nullptr, &hidden);
    worksheet_freeze_panes(sheet, FirstRow - 1, 2);
    for (const R& constRecord : records_) {
        R r = constRecord;
        const auto row = static_cast<lxw_row_t>(r.NumStr - 1);
        worksheet_write_number(sheet, row, 0, r.Num, nullptr);
        worksheet_write_string(sheet, row, 1,
                               utf8((r.TypeRec == R::Line ? QStringLiteral("    ") : QString()) + r.Name).constData(),
                               r.TypeRec == R::TP ? tpName : nullptr);
        if (kind_ == TLVZamerKind::W)
            worksheet_write_number(sheet, row, 2, r.ST, value);
        else
            worksheet_write_string(sheet, row, 2, utf8(r.TypeTp).constData(), value);
        for (const Column& c : valueColumns(kind_)) {
            if (kind_ == TLVZamerKind::W && c.number == 4 && r.TypeRec != R::TP)
                continue;  // a feeder has no busbars of its own
            const double v = c.field(r);
            if (!isEmptyFloat(v))
                worksheet_write_number(sheet, row, static_cast<lxw_col_t>(c.number - 1), v, value);
            else
                worksheet_write_blank(sheet, row, static_cast<lxw_col_t>(c.number - 1), value);
        }
        for (const Computed& c : computedColumns(kind_))
            worksheet_write_formula(sheet, row, static_cast<lxw_col_t>(c.number - 1),
                                    utf8(QLatin1Char('=') + c.formula(r.NumStr)).constData(), computed);
        worksheet_write_number(sheet, row, kGuidColumn - 1, r.Guid, nullptr);
        worksheet_write_number(sheet, row, kTypeColumn - 1, r.TypeRec, nullptr);
        if (!isEmptyFloat(r.Unom))
            worksheet_write_number(sheet, row, kUnomColumn - 1, r.Unom, nullptr);
        worksheet_write_string(sheet, row, kMeterColumn - 1, utf8(r.MeterName).constData(), nullptr);
        worksheet_write_string(sheet, row, kColoursColumn - 1, utf8(r.ColorsCells).constData(), nullptr);
    }
    if (withConsumers_)
        WriteConsumers(book, head, value, computed);
    return out.Close(error);
}

void TLVZamerData::WriteConsumers(lxw_workbook* book, lxw_format* head, lxw_format* value, lxw_format* computed) const
{
    lxw_worksheet* sheet = workbook_add_worksheet(book, utf8(kConsumerSheet).constData());
    const std::vector<ConsumerColumn>& columns = consumerColumns(kind_);
    auto headCell = [&](int column, const QString& caption) { WriteZamerHead(sheet, column, caption, head); };
    headCell(1, QStringLiteral("№ п/п"));
    headCell(2, QStringLiteral("Наименование"));
    for (const ConsumerColumn& c : columns)
        if (c.number <= 9)
            headCell(c.number, c.caption);
    for (int k = 0; k < 3; ++k)
        headCell(7 + k, QString::fromUtf8(kConsumerComputed[k]));
    worksheet_set_row(sheet, 0, 45, nullptr);
    worksheet_set_column(sheet, 1, 1, 36, nullptr);
    lxw_row_col_options hidden = {1, 0, 0};
    worksheet_set_column_opt(sheet, kConsumerGuid - 1, 16, 8, nullptr, &hidden);
    for (const Consumer& constConsumer : consumers_) {
        Consumer c = constConsumer;
        const auto row = static_cast<lxw_row_t>(c.NumStr - 1);
        worksheet_write_number(sheet, row, 0, c.Num, nullptr);
        worksheet_write_string(sheet, row, 1, utf8(c.Name).constData(), nullptr);
        for (const ConsumerColumn& col : columns) {
            const double v = col.field(c);
            if (!isEmptyFloat(v))
                worksheet_write_number(sheet, row, static_cast<lxw_col_t>(col.number - 1), v, value);
            else
                worksheet_write_blank(sheet, row, static_cast<lxw_col_t>(col.number - 1), value);
        }
        for (int k = 7; k <= 9; ++k)
            worksheet_write_formula(sheet, row, static_cast<lxw_col_t>(k - 1),
                                    utf8(QLatin1Char('=') + consumerFormula(k, c.NumStr)).constData(), computed);
        worksheet_write_number(sheet, row, kConsumerGuid - 1, c.Guid, nullptr);
        worksheet_write_number(sheet, row, kConsumerType - 1, TLVZamerRecord::Consumer, nullptr);
        worksheet_write_number(sheet, row, kConsumerOwner - 1, c.OwnerGuid, nullptr);
        if (kind_ == TLVZamerKind::W)
            worksheet_write_number(sheet, row, 12, c.FlagPu, nullptr);
        else
            worksheet_write_number(sheet, row, 14, c.LoadType, nullptr);
    }
}

void TLVZamerData::ReadRow(const TXlsxWorkbook& book, int sheet, int row, R& r)
{
    R read = r;
    const bool energySheet = kind_ == TLVZamerKind::W;
    if (energySheet) {
        const double state = number(book.Cell(sheet, row, 3));
        read.ST = isEmptyFloat(state) ? 0 : static_cast<int>(std::lround(state));
    }
    for (const Column& c : valueColumns(kind_)) {
        if (energySheet && c.number == 4 && r.TypeRec != R::TP)
            continue;
        c.field(read) = number(book.Cell(sheet, row, c.number));
    }
    // The form factor, when given, decides the load curve; the fill factor is read only in its absence.
    if (energySheet && !isEmptyFloat(read.sqrKfg))
        read.Kzap = r.Kzap;
    read.MeterName = book.Cell(sheet, row, kMeterColumn).toString();
    read.ColorsCells = book.Cell(sheet, row, kColoursColumn).toString();
    phasesOf(read);
    bool changed = read.ST != r.ST || read.MeterName != r.MeterName;
    for (const Column& c : valueColumns(kind_))
        changed = changed || !same(c.field(read), c.field(r));
    if (!changed)
        return;
    read.EditT = !same(read.T, r.T);
    read.EditRec = true;
    r = read;
}

int TLVZamerData::ReadWorkbook(const QString& file, QString& error)
{
    TXlsxWorkbook book;
    if (!book.Open(file, error))
        return -1;
    const int sheet = book.SheetIndex(QStringLiteral("ТП и линии"));
    if (sheet < 0) {
        error = QStringLiteral("В книге %1 нет листа \"ТП и линии\"").arg(file);
        return -1;
    }
    // Hours beyond a year (or beyond what an integer column holds) are refused before anything is taken
    // from the workbook, each with its cell.
    QStringList problems;
    for (int row : book.RowNumbers(sheet)) {
        if (row < FirstRow)
            continue;
        for (const Column& c : valueColumns(kind_)) {
            const double v = number(book.Cell(sheet, row, c.number));
            if (c.hours && !isEmptyFloat(v) && !(v >= 0 && v <= kYearHours))
                problems << QStringLiteral("ячейка %1: «%2» = %3 — число часов от 0 до %4")
                                .arg(GetNameCell(c.number, row), c.caption, QString::number(v, 'g', 17))
                                .arg(kYearHours);
        }
    }
    if (!problems.isEmpty()) {
        error = QStringLiteral("Книга %1 не прочитана, данные не изменены:\n%2").arg(file, problems.mid(0, 20).join('\n'));
        return -1;
    }
    int changed = 0;
    if (const int consumers = book.SheetIndex(kConsumerSheet); consumers >= 0)
        changed += ReadConsumers(book, consumers);
    // A row of the sheet finds its object by kind and ident, whatever order the user left the rows in.
    QHash<quint64, R*> byObject;
    for (R& r : records_)
        byObject.insert(objectKey(r.TypeRec, r.Guid), &r);
    for (int row = FirstRow; row <= book.RowCount(sheet); ++row) {
        const double guid = number(book.Cell(sheet, row, kGuidColumn)),
                     kind = number(book.Cell(sheet, row, kTypeColumn));
        if (isEmptyFloat(guid) || isEmptyFloat(kind))
            continue;
        R* r = byObject.value(objectKey(static_cast<int>(kind), static_cast<int>(guid)));
        if (!r)
            continue;
        const bool before = r->EditRec;
        r->NumStr = row;
        ReadRow(book, sheet, row, *r);
        changed += r->EditRec && !before ? 1 : 0;
    }
    return changed;
}

int TLVZamerData::Save(ToznFDConnection& connection)
{
    int written = 0;
    TScopedLockTimeout limit(connection);
    connection.StartTransaction(false);
    try {
        written = kind_ == TLVZamerKind::W ? SaveEnergy(connection) : SavePeak(connection);
        written += SaveConsumers(connection);
        connection.Commit();
    } catch (...) {
        connection.Rollback();
        throw;
    }
    for (R& r : records_)
        if (r.EditRec) {
            r.EditRec = false;
            r.EditT = false;
            r.inBase = true;
        }
    for (Consumer& c : consumers_)
        if (c.EditRec) {
            c.EditRec = false;
            c.inBase = true;
        }
    return written;
}

int TLVZamerData::SaveEnergy(ToznFDConnection& connection)
{
    auto tpInfo = connection.NewQuery(), loads = connection.NewQuery(), samples = connection.NewQuery();
    tpInfo->SetSQLText(QString::fromUtf8(ImportSql::kSaveTPInfo));
    loads->SetSQLText(QString::fromUtf8(ImportSql::kSaveWLoads));
    samples->SetSQLText(QString::fromUtf8(ImportSql::kSaveLVWSamples));
    int written = 0;
    // The tables in their order: substations' measurements, their loads, then the feeders'.
    for (const R& r : records_)
        if (r.EditRec && r.TypeRec == R::TP) {
            tpInfo->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_)
                .ParamByName(QStringLiteral("GUID"), r.Guid);
            tpInfo->ParamFloat(QStringLiteral("Wa_bus"), r.W_bus);
            bindPhases(*tpInfo, r, true);
            tpInfo->ParamFloat(QStringLiteral("Kdp"), r.Kdp).ParamFloat(QStringLiteral("Temperature"), r.Temperature);
            tpInfo->ExecSQL();
        }
    for (const R& r : records_)
        if (r.EditRec && r.TypeRec == R::TP) {
            loads->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_).ParamByName(QStringLiteral("GUID"), r.Guid);
            loads->ParamFloat(QStringLiteral("Wa"), r.W).ParamByName(QStringLiteral("T"), whole(r.T));
            loads->ParamFloat(QStringLiteral("Kzap"), r.Kzap).ParamFloat(QStringLiteral("sqrKfg"), r.sqrKfg);
            loads->ExecSQL();
            ++written;
        }
    for (const R& r : records_)
        if (r.EditRec && r.TypeRec == R::Line) {
            samples->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_)
                .ParamByName(QStringLiteral("GUID"), r.Guid);
            samples->ParamFloat(QStringLiteral("Wa"), r.W_sum).ParamByName(QStringLiteral("T"), whole(r.T));
            bindPhases(*samples, r, true);
            samples->ParamFloat(QStringLiteral("Kdp"), r.Kdp).ParamFloat(QStringLiteral("Kzap"), r.Kzap);
            samples->ParamFloat(QStringLiteral("sqrKfg"), r.sqrKfg);
            samples->ParamFloat(QStringLiteral("Temperature"), r.Temperature);
            samples->ExecSQL();
            ++written;
        }
    return written;
}

int TLVZamerData::SavePeak(ToznFDConnection& connection)
{
    // Substations, then feeders: each kind has one table of the same values.
    auto tp = connection.NewQuery(), line = connection.NewQuery();
    tp->SetSQLText(QString::fromUtf8(ImportSql::kSavePTPInfo));
    line->SetSQLText(QString::fromUtf8(ImportSql::kSaveLVPSamples));
    int written = 0;
    for (auto [kind, q] : {std::pair{R::TP, tp.get()}, {R::Line, line.get()}})
        for (R& r : records_)
            if (r.EditRec && r.TypeRec == kind) {
                q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_).ParamByName(QStringLiteral("GUID"), r.Guid);
                bindPhases(*q, r, false);
                q->ParamFloat(QStringLiteral("Kdp"), r.Kdp).ParamFloat(QStringLiteral("Wa"), energy(r));
                q->ParamByName(QStringLiteral("T"), whole(r.T)).ParamFloat(QStringLiteral("Tau"), r.Tau);
                q->ParamFloat(QStringLiteral("Kzap"), r.Kzap).ParamByName(QStringLiteral("Tmax"), whole(r.Tmax));
                q->ParamFloat(QStringLiteral("Temperature"), r.Temperature);
                q->ExecSQL();
                ++written;
            }
    return written;
}

void TLVZamerData::ChangeInterval(int sampleIdent, int hours)
{
    for (R& r : records_) {
        // Hours the user left at the old interval's follow the new one; hours of their own stay.
        if (!isEmptyFloat(r.T) && CompareFloat(r.T, hours_) == 0)
            r.T = hours;
        // What the table carries over is the new interval's until the user changes it: rows with values are
        // to be saved there.
        bool any = false;
        for (const Column& c : valueColumns(kind_))
            any = any || (&c.field(r) != &r.T && !isEmptyFloat(c.field(r)));
        r.EditRec = any;
        r.inBase = false;
    }
    sampleIdent_ = sampleIdent;
    hours_ = hours;
}

void TLVZamerData::LoadConsumers(ToznFDConnection& connection, const QList<int>& feeders)
{
    const QSet<int> under(feeders.begin(), feeders.end());
    QHash<int, size_t> index;
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(ImportSql::kConsumers));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent_);
        for (q->Open(); !q->Eof(); q->Next()) {
            Consumer c;
            c.OwnerGuid = q->Int(QStringLiteral("OwnerGUID"));
            if (!under.contains(c.OwnerGuid))
                continue;
            c.Guid = q->Int(QStringLiteral("GUID"));
            c.Name = q->Str(QStringLiteral("Name"));
            c.Pust = q->Float(QStringLiteral("Pust"));
            c.FlagPu = q->Int(QStringLiteral("flagPu"));
            index.insert(c.Guid, consumers_.size());
            consumers_.push_back(c);
        }
        q->SetSQLText(QString::fromUtf8(kind_ == TLVZamerKind::W ? ImportSql::kLVWLoads : ImportSql::kLVPLoads));
        q->ParamByName(QStringLiteral("Ident"), sampleIdent_);
        for (q->Open(); !q->Eof(); q->Next()) {
            const auto it = index.constFind(q->Int(QStringLiteral("GUID")));
            if (it == index.cend())
                continue;
            Consumer& c = consumers_[*it];
            c.inBase = true;
            c.W_sum = q->Float(QStringLiteral("Wa"));
            c.Wr = q->Float(QStringLiteral("Wr"));
            c.CosFi = q->Float(QStringLiteral("CosFi"));
            if (kind_ == TLVZamerKind::Tmax) {
                for (auto [field, name] : {std::pair{&Consumer::Pz, "Pz"},
                                           {&Consumer::Pi, "Pi"},
                                           {&Consumer::I, "I"},
                                           {&Consumer::Param1, "Param1"},
                                           {&Consumer::Param2, "Param2"}})
                    c.*field = q->Float(QString::fromLatin1(name));
                c.LoadType = q->Int(QStringLiteral("LoadType"));
            }
        }
    });
    for (size_t n = 0; n < consumers_.size(); ++n) {
        consumers_[n].Num = static_cast<int>(n) + 1;
        consumers_[n].NumStr = FirstRow + static_cast<int>(n);
    }
}

int TLVZamerData::ReadConsumers(const TXlsxWorkbook& book, int sheet)
{
    int changed = 0;
    QHash<int, Consumer*> byGuid;
    for (Consumer& c : consumers_)
        byGuid.insert(c.Guid, &c);
    for (int row = FirstRow; row <= book.RowCount(sheet); ++row) {
        const int guid = static_cast<int>(number(book.Cell(sheet, row, kConsumerGuid)));
        Consumer* found = byGuid.value(guid);
        if (!found)
            continue;
        Consumer& c = *found;
        Consumer read = c;
        bool edited = false;
        for (const ConsumerColumn& col : consumerColumns(kind_)) {
            col.field(read) = number(book.Cell(sheet, row, col.number));
            edited = edited || !same(col.field(read), col.field(c));
        }
        if (edited) {
            changed += c.EditRec ? 0 : 1;
            read.EditRec = true;
            read.NumStr = row;
            c = read;
        }
    }
    return changed;
}

int TLVZamerData::SaveConsumers(ToznFDConnection& connection)
{
    auto loads = connection.NewQuery(), consumers = connection.NewQuery();
    loads->SetSQLText(
        QString::fromUtf8(kind_ == TLVZamerKind::W ? ImportSql::kSaveLVWLoads : ImportSql::kSaveLVPLoads));
    consumers->SetSQLText(QString::fromUtf8(ImportSql::kSaveConsumer));
    int written = 0;
    // The loads first, then the consumers' own values.
    for (const Consumer& c : consumers_) {
        if (!c.EditRec)
            continue;
        loads->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_).ParamByName(QStringLiteral("GUID"), c.Guid);
        loads->ParamFloat(QStringLiteral("Wa"), c.W_sum).ParamFloat(QStringLiteral("Wr"), c.Wr);
        loads->ParamFloat(QStringLiteral("CosFi"), c.CosFi);
        if (kind_ == TLVZamerKind::Tmax) {
            loads->ParamFloat(QStringLiteral("Pz"), c.Pz).ParamFloat(QStringLiteral("Pi"), c.Pi);
            loads->ParamFloat(QStringLiteral("I"), c.I).ParamByName(QStringLiteral("LoadType"), c.LoadType);
            loads->ParamFloat(QStringLiteral("Param1"), c.Param1).ParamFloat(QStringLiteral("Param2"), c.Param2);
        }
        loads->ExecSQL();
        ++written;
    }
    if (kind_ == TLVZamerKind::W)
        for (const Consumer& c : consumers_)
            if (c.EditRec) {
                consumers->ParamByName(QStringLiteral("SampleIdent"), sampleIdent_)
                    .ParamByName(QStringLiteral("GUID"), c.Guid);
                consumers->ParamFloat(QStringLiteral("Pust"), c.Pust)
                    .ParamByName(QStringLiteral("flagPu"), isEmptyFloat(c.Pust) ? 0 : 1);
                consumers->ExecSQL();
            }
    return written;
}
