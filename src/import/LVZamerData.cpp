#include "import/LVZamerData.h"

#include <QFile>
#include <QHash>
#include <cmath>
#include <functional>
#include <xlsxwriter.h>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "host/XlsxReader.h"
#include "import/ImportSql.h"

namespace {
using R = TLVZamerRecord;
QByteArray utf8(const QString& s) { return s.toUtf8(); }
const char* const kPhases[3] = {"A", "B", "C"};

// A value column of the sheet: its number, caption and the record field behind it.
struct Column {
    int number;
    QString caption;
    std::function<double&(R&)> field;
};

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
        c.push_back({18, QStringLiteral("T, ч"), [](R& r) -> double& { return r.T; }});
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
        c.push_back({14, QStringLiteral("T, ч"), [](R& r) -> double& { return r.T; }});
        c.push_back({15, QStringLiteral("Tmax, ч"), [](R& r) -> double& { return r.Tmax; }});
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

// Hours and other whole numbers: NULL when not given.
QVariant whole(double value)
{
    return isEmptyFloat(value) ? QVariant() : QVariant(static_cast<int>(std::lround(value)));
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
                        bool withLines)
{
    records_.clear();
    sampleIdent_ = sampleIdent;
    hours_ = hours;
    if (!item)
        return;
    // The substations under the item in the tree's order (a substation shown twice counts once), each
    // followed by its LV feeders.
    std::function<void(ToznListItemCommon*)> walk = [&](ToznListItemCommon* i) {
        if (i->isLink())
            return;
        if (i->GetNodeType() == NodeType::Nodes) {
            R tp;
            tp.TypeRec = R::TP;
            tp.Guid = i->GetIdent();
            tp.Name = i->GetText();
            tp.Unom = i->GetUnom();
            tp.MeterName = i->GetMeterName();
            records_.push_back(tp);
            if (!withLines)
                return;
        }
        if (i->GetNodeType() == NodeType::LVFiders) {
            R line;
            line.TypeRec = R::Line;
            line.Guid = i->GetIdent();
            line.Name = i->GetText();
            line.Unom = i->GetUnom();
            line.MeterName = i->GetMeterName();
            records_.push_back(line);
            return;
        }
        for (int c = 0; c < i->GetCount(); ++c)
            walk(i->GetItems(c));
    };
    walk(item->Target());
    QHash<quint64, size_t> index;
    for (size_t n = 0; n < records_.size(); ++n) {
        records_[n].Num = static_cast<int>(n) + 1;
        records_[n].NumStr = FirstRow + static_cast<int>(n);
        index.insert((static_cast<quint64>(records_[n].TypeRec) << 32) | static_cast<quint32>(records_[n].Guid), n);
    }
    auto find = [&](int kind, int guid) -> R* {
        const auto it = index.constFind((static_cast<quint64>(kind) << 32) | static_cast<quint32>(guid));
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
    const QString temporary = file + QStringLiteral(".part");
    QFile::remove(temporary);
    lxw_workbook* book = workbook_new(utf8(temporary).constData());
    if (!book) {
        error = QStringLiteral("Не удалось создать файл %1").arg(file);
        return false;
    }
    lxw_worksheet* sheet = workbook_add_worksheet(book, utf8(QStringLiteral("ТП и линии")).constData());
    lxw_format* head = workbook_add_format(book);
    format_set_bold(head);
    format_set_text_wrap(head);
    format_set_border(head, LXW_BORDER_THIN);
    format_set_align(head, LXW_ALIGN_CENTER);
    lxw_format* value = workbook_add_format(book);
    format_set_num_format(value, "0.000");
    format_set_border(value, LXW_BORDER_THIN);
    lxw_format* tpName = workbook_add_format(book);
    format_set_bold(tpName);
    format_set_border(tpName, LXW_BORDER_THIN);
    lxw_format* computed = workbook_add_format(book);
    format_set_num_format(computed, "0.000");
    format_set_bg_color(computed, 0xEFEFEF);
    format_set_border(computed, LXW_BORDER_THIN);
    for (int c = 1; c <= SheetColumns; ++c) {
        worksheet_write_string(sheet, 0, static_cast<lxw_col_t>(c - 1), utf8(ColumnCaption(c)).constData(), head);
        worksheet_write_number(sheet, 1, static_cast<lxw_col_t>(c - 1), c, head);
    }
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
    const lxw_error status = workbook_close(book);
    if (status != LXW_NO_ERROR || (QFile::remove(file), !QFile::rename(temporary, file))) {
        QFile::remove(temporary);
        error = QStringLiteral("Не удалось записать файл %1").arg(file);
        return false;
    }
    return true;
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
    int changed = 0;
    for (int row = FirstRow; row <= book.RowCount(sheet); ++row) {
        const int guid = static_cast<int>(number(book.Cell(sheet, row, kGuidColumn)));
        const int kind = static_cast<int>(number(book.Cell(sheet, row, kTypeColumn)));
        for (R& r : records_)
            if (r.Guid == guid && r.TypeRec == kind) {
                const bool before = r.EditRec;
                r.NumStr = row;
                ReadRow(book, sheet, row, r);
                changed += r.EditRec && !before ? 1 : 0;
                break;
            }
    }
    return changed;
}

int TLVZamerData::Save(ToznFDConnection& connection)
{
    int written = 0;
    connection.StartTransaction(false);
    try {
        written = kind_ == TLVZamerKind::W ? SaveEnergy(connection) : SavePeak(connection);
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
