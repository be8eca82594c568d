#include "host/scheme/ConductorCatalogue.h"

#include <QFileInfo>
#include <cmath>
#include <xlsxwriter.h>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/TextLimits.h"
#include "host/WrittenCells.h"
#include "host/XlsxFile.h"
#include "host/XlsxReader.h"

namespace scheme {

namespace {
// Beside the columns, hidden: the values each row was written with.
constexpr int kWrittenColumn = PColumns + 1;
const char* const kCaptions[PColumns] = {"Марка", "Сечение, мм²", "r0, Ом/км", "x0, Ом/км", "Кабель", "Напряжение, кВ"};

const char* kRead = R"(select p."Ident", p."Marka", p."F", p."R0", p."X0", coalesce(t."CableFlags", 0) as "CableFlags",
    t."Unom" from "Provods" p left join "ProvodTypes" t on t."Ident"=p."ProvodType"
    order by t."Unom", p."Marka", p."F", p."Ident")";
const char* kKinds =
    R"(select "Ident", "Unom", coalesce("CableFlags", 0) as "CableFlags" from "ProvodTypes" order by "Ident")";
const char* kNewKindIdent = R"(select coalesce(max("Ident"), 0) + 1 from "ProvodTypes")";
const char* kNewKind =
    R"(insert into "ProvodTypes" ("Ident", "Unom", "Name", "CableFlags") values (:Ident, :Unom, :Name, :Cable))";
const char* kNewIdent = R"(select coalesce(max("Ident"), 0) + 1 from "Provods")";
const char* kWrite = R"(update or insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType")
    values (:Ident, :Marka, :F, :R0, :X0, :Kind) matching ("Ident"))";
const char* kDelete = R"(delete from "Provods" where "Ident"=:Ident)";
const char* kUsage = R"(select first %1 lf."Name" as "Fider", nod."Name" as "Node", l."Info" as "Section"
    from "LVLines" l join "LVFiders" lf on lf."GUID"=l."OwnerGUID" left join "Nodes" nod on nod."GUID"=lf."OwnerGUID"
    where l."ProvodPhase"=:Ident or l."ProvodNull"=:Ident
    union all
    select first %1 lf."Name", nod."Name", null from "LVFidersA" a join "LVFiders" lf on lf."GUID"=a."GUID"
    left join "Nodes" nod on nod."GUID"=lf."OwnerGUID" where a."ProvodPhase"=:Ident or a."ProvodNull"=:Ident)";

QString S(const char* sql) { return QString::fromUtf8(sql); }
bool SameVoltage(double a, double b) { return std::fabs(a - b) < 1e-6; }

QString Text(const QVariant& v)
{
    if (!v.isValid() || v.isNull())
        return {};
    return v.typeId() == QMetaType::Double ? dotFloatToStr(v.toDouble()) : v.toString().trimmed();
}

bool YesNo(const QString& text, bool& value)
{
    const QString t = text.trimmed().toCaseFolded();
    if (t.isEmpty() || t == QStringLiteral("нет") || t == QStringLiteral("0")) {
        value = false;
        return true;
    }
    if (t == QStringLiteral("да") || t == QStringLiteral("1")) {
        value = true;
        return true;
    }
    return false;
}
}  // namespace

QString ConductorCaption(int column) { return QString::fromUtf8(kCaptions[column]); }

bool SameConductor(const TCatalogueRow& a, const TCatalogueRow& b)
{
    const bool sameF = (isEmptyFloat(a.F) && isEmptyFloat(b.F)) || std::fabs(a.F - b.F) < 1e-9;
    return NameKey(a.Marka) == NameKey(b.Marka) && sameF && SameVoltage(a.Unom, b.Unom);
}

std::vector<TBookProblem> CheckConductors(const std::vector<TCatalogueRow>& rows, const QString& sheet)
{
    std::vector<TBookProblem> problems;
    for (size_t i = 0; i < rows.size(); ++i) {
        const TCatalogueRow& r = rows[i];
        const auto problem = [&](int column, const QString& text) {
            problems.push_back({sheet, r.Row, column + 1, text});
        };
        if (r.Marka.trimmed().isEmpty())
            problem(PMarka, QStringLiteral("не указана марка"));
        else if (const QString tooLong = host::TextProblem(r.Marka, host::kConductorMarka); !tooLong.isEmpty())
            problem(PMarka, tooLong);
        if (!isEmptyFloat(r.F) && !(r.F > 0))
            problem(PF, QStringLiteral("сечение должно быть больше 0"));
        if (!(r.R0 > 0))
            problem(PR0, QStringLiteral("r0 должно быть больше 0"));
        if (!(r.X0 >= 0))
            problem(PX0, QStringLiteral("x0 не может быть отрицательным"));
        if (!(r.Unom > 0))
            problem(PUnom, QStringLiteral("напряжение должно быть больше 0"));
        for (size_t j = 0; j < i; ++j)
            if (SameConductor(rows[j], r)) {
                problem(PMarka, QStringLiteral("провод «%1» %2 кВ уже есть в строке %3")
                                    .arg(r.Name(), dotFloatToStr(r.Unom))
                                    .arg(rows[j].Row));
                break;
            }
    }
    return problems;
}

std::vector<TCatalogueRow> ReadConductorBook(const QString& file, std::vector<TBookProblem>& problems)
{
    std::vector<TCatalogueRow> rows;
    TXlsxWorkbook book;
    QString error;
    if (!book.Open(file, error)) {
        problems.push_back({QFileInfo(file).fileName(), 0, 0, error});
        return rows;
    }
    const QString sheet = book.SheetNames().value(0);
    for (int c = 0; c < PColumns; ++c)
        if (Text(book.Cell(0, 1, c + 1)).simplified() != ConductorCaption(c))
            problems.push_back({sheet, 1, c + 1,
                                QStringLiteral("ожидается заголовок «%1», а не «%2»")
                                    .arg(ConductorCaption(c), Text(book.Cell(0, 1, c + 1)))});
    for (int r : book.RowNumbers(0)) {
        if (r < 2)
            continue;
        QStringList cells;
        for (int c = 0; c < PColumns; ++c)
            cells << Text(book.Cell(0, r, c + 1));
        if (cells.join(QString()).trimmed().isEmpty())
            continue;
        TCatalogueRow row;
        row.Row = r;
        row.Marka = cells[PMarka].simplified();
        const auto number = [&](int column, double& value, double empty) {
            if (!ParseBookNumber(cells[column], value))
                problems.push_back({sheet, r, column + 1, QStringLiteral("«%1» не число").arg(cells[column])});
            else if (isEmptyFloat(value))
                value = empty;
        };
        number(PF, row.F, EmptyFloat());
        number(PR0, row.R0, EmptyFloat());
        number(PX0, row.X0, 0);
        number(PUnom, row.Unom, EmptyFloat());
        if (!YesNo(cells[PCable], row.Cable))
            problems.push_back(
                {sheet, r, PCable + 1, QStringLiteral("«%1»: ожидается «да» или «нет»").arg(cells[PCable])});
        TWrittenCells written;
        if (ReadWrittenCells(book.Cell(0, r, kWrittenColumn), written)) {
            row.Written = true;
            row.WrittenR0 = written.value(PR0 + 1).toDouble();
            row.WrittenX0 = written.value(PX0 + 1).toDouble();
            row.WrittenCable = written.value(PCable + 1).toString() == QStringLiteral("да");
        }
        rows.push_back(row);
    }
    const auto more = CheckConductors(rows, sheet);
    problems.insert(problems.end(), more.begin(), more.end());
    return rows;
}

bool WriteConductorBook(const QString& file, const std::vector<TCatalogueRow>& rows, QString& error)
{
    TXlsxFile out(file);
    lxw_workbook* book = out.Open(error);
    if (!book)
        return false;
    lxw_format* bold = workbook_add_format(book);
    format_set_bold(bold);
    lxw_worksheet* sheet = workbook_add_worksheet(book, kConductorsSheet);
    const double widths[PColumns] = {18, 12, 10, 10, 8, 14};
    for (int c = 0; c < PColumns; ++c) {
        worksheet_write_string(sheet, 0, lxw_col_t(c), kCaptions[c], bold);
        worksheet_set_column(sheet, lxw_col_t(c), lxw_col_t(c), widths[c], nullptr);
    }
    worksheet_freeze_panes(sheet, 1, 0);
    lxw_row_col_options hidden = {1, 0, 0};
    worksheet_set_column_opt(sheet, kWrittenColumn - 1, kWrittenColumn - 1, 8, nullptr, &hidden);
    lxw_row_t r = 1;
    for (const TCatalogueRow& row : rows) {
        // The values as written, so that reading the workbook back takes only what the user changed.
        const TWrittenCells written{{PR0 + 1, row.R0}, {PX0 + 1, row.X0}, {PCable + 1, row.Cable ? "да" : "нет"}};
        worksheet_write_string(sheet, r, kWrittenColumn - 1, WrittenCellsText(written).toUtf8().constData(), nullptr);
        worksheet_write_string(sheet, r, PMarka, row.Marka.toUtf8().constData(), nullptr);
        if (!isEmptyFloat(row.F))
            worksheet_write_number(sheet, r, PF, row.F, nullptr);
        worksheet_write_number(sheet, r, PR0, row.R0, nullptr);
        worksheet_write_number(sheet, r, PX0, row.X0, nullptr);
        worksheet_write_string(sheet, r, PCable, row.Cable ? "да" : "нет", nullptr);
        worksheet_write_number(sheet, r, PUnom, row.Unom, nullptr);
        ++r;
    }
    return out.Close(error);
}

std::vector<TCatalogueRow> TConductorStore::Read()
{
    return GuardedRead(connection_, [&] {
        std::vector<TCatalogueRow> rows;
        auto q = connection_.NewQuery();
        q->SetSQLText(S(kRead));
        for (q->Open(); !q->Eof(); q->Next()) {
            TCatalogueRow r;
            r.Ident = q->Int(QStringLiteral("Ident"));
            r.Row = static_cast<int>(rows.size()) + 2;
            r.Marka = q->Str(QStringLiteral("Marka")).trimmed();
            r.F = q->Float(QStringLiteral("F"));
            r.R0 = q->Float(QStringLiteral("R0"));
            r.X0 = q->Float(QStringLiteral("X0"));
            r.Cable = q->Int(QStringLiteral("CableFlags")) != 0;
            r.Unom = q->Float(QStringLiteral("Unom"));
            rows.push_back(r);
        }
        return rows;
    });
}

int TConductorStore::KindOf(const TCatalogueRow& row)
{
    auto q = connection_.NewQuery();
    q->SetSQLText(S(kKinds));
    for (q->Open(); !q->Eof(); q->Next())
        if (SameVoltage(q->Float(QStringLiteral("Unom")), row.Unom) &&
            (q->Int(QStringLiteral("CableFlags")) != 0) == row.Cable)
            return q->Int(QStringLiteral("Ident"));
    q->SetSQLText(S(kNewKindIdent));
    q->Open();
    const int ident = q->Value(0).toInt();
    q->SetSQLText(S(kNewKind));
    q->ParamByName(QStringLiteral("Ident"), ident);
    q->ParamByName(QStringLiteral("Unom"), row.Unom);
    q->ParamByName(QStringLiteral("Name"), QStringLiteral("%1 %2 кВ")
                                               .arg(row.Cable ? QStringLiteral("Кабель") : QStringLiteral("Провод"),
                                                    FormatFloat(QStringLiteral("0.###"), row.Unom)));
    q->ParamByName(QStringLiteral("Cable"), row.Cable ? 1 : 0);
    q->ExecSQL();
    return ident;
}

void TConductorStore::Write(const TCatalogueRow& row, int ident)
{
    const int kind = KindOf(row);
    auto q = connection_.NewQuery();
    q->SetSQLText(S(kWrite));
    q->ParamByName(QStringLiteral("Ident"), ident);
    q->ParamByName(QStringLiteral("Marka"), row.Marka.simplified());
    q->ParamFloat(QStringLiteral("F"), row.F);
    q->ParamFloat(QStringLiteral("R0"), row.R0);
    q->ParamFloat(QStringLiteral("X0"), row.X0);
    q->ParamByName(QStringLiteral("Kind"), kind);
    q->ExecSQL();
}

namespace {
int NewIdent(ToznFDConnection& c)
{
    auto q = c.NewQuery();
    q->SetSQLText(S(kNewIdent));
    q->Open();
    return q->Value(0).toInt();
}

}  // namespace

bool TConductorStore::Import(const std::vector<TCatalogueRow>& rows, int& added, int& updated, QString& error,
                             bool overwrite, QStringList* conflicts)
{
    added = updated = 0;
    const std::vector<TCatalogueRow> stored = Read();
    auto find = [&](const TCatalogueRow& row) {
        return std::find_if(stored.begin(), stored.end(),
                            [&](const TCatalogueRow& s) { return SameConductor(s, row); });
    };
    auto sameValues = [](double r0, double x0, bool cable, const TCatalogueRow& b) {
        return CompareFloat(r0, b.R0) == 0 && CompareFloat(x0, b.X0) == 0 && cable == b.Cable;
    };
    // A row left as written is not the user's edit; a row the user changed over a conductor changed since is a
    // conflict.
    QStringList clashes;
    std::vector<const TCatalogueRow*> changed;
    for (const TCatalogueRow& row : rows) {
        const auto same = find(row);
        if (row.Written && sameValues(row.WrittenR0, row.WrittenX0, row.WrittenCable, row))
            continue;
        if (row.Written && same != stored.end() && !sameValues(row.WrittenR0, row.WrittenX0, row.WrittenCable, *same))
            clashes << QStringLiteral("строка %1, «%2»: в базе после выгрузки книги r0 %3, x0 %4, кабель %5")
                           .arg(row.Row)
                           .arg(row.Name(), FormatFloat(QStringLiteral("0.###"), same->R0),
                                FormatFloat(QStringLiteral("0.###"), same->X0),
                                same->Cable ? QStringLiteral("да") : QStringLiteral("нет"));
        changed.push_back(&row);
    }
    if (conflicts)
        *conflicts = clashes;
    if (!clashes.isEmpty() && !overwrite) {
        error = QStringLiteral("Справочник проводов не сохранен: эти провода изменены в базе после выгрузки книги "
                               "и изменены в книге:\n%1")
                    .arg(clashes.join(QLatin1Char('\n')));
        return false;
    }
    int a = 0, u = 0;
    const bool ok = TryWrite(connection_, QStringLiteral("Справочник проводов не сохранен: %1"), error, [&] {
        for (const TCatalogueRow* changedRow : changed) {
            const TCatalogueRow& row = *changedRow;
            const auto same = find(row);
            if (same != stored.end()) {
                Write(row, same->Ident);
                ++u;
            } else {
                Write(row, NewIdent(connection_));
                ++a;
            }
        }
    });
    if (ok) {
        added = a;
        updated = u;
    }
    return ok;
}

QStringList TConductorStore::Usage(int ident, int limit)
{
    return GuardedRead(connection_, [&] {
        QStringList places;
        auto q = connection_.NewQuery();
        q->SetSQLText(S(kUsage).arg(limit));
        q->ParamByName(QStringLiteral("Ident"), ident);
        for (q->Open(); !q->Eof() && places.size() < limit; q->Next()) {
            QString place = QStringLiteral("линия «%1» ТП «%2»")
                                .arg(q->Str(QStringLiteral("Fider")), q->Str(QStringLiteral("Node")));
            const QString section = q->Str(QStringLiteral("Section"));
            place += section.isEmpty() ? QStringLiteral(", расчет без схемы")
                                       : QStringLiteral(", участок «%1»").arg(section);
            places << place;
        }
        return places;
    });
}

bool TConductorStore::Save(const std::vector<TCatalogueRow>& rows, const QList<int>& deleted, QString& error)
{
    for (int ident : deleted) {
        const QStringList places = Usage(ident, 5);
        if (!places.isEmpty()) {
            QString name = QString::number(ident);
            for (const TCatalogueRow& r : Read())
                if (r.Ident == ident)
                    name = r.Name();
            error = QStringLiteral("Провод «%1» используется и не может быть удален: %2")
                        .arg(name, places.join(QStringLiteral("; ")));
            return false;
        }
    }
    return TryWrite(connection_, QStringLiteral("Справочник проводов не сохранен: %1"), error, [&] {
        for (int ident : deleted) {
            auto q = connection_.NewQuery();
            q->SetSQLText(S(kDelete));
            q->ParamByName(QStringLiteral("Ident"), ident);
            q->ExecSQL();
        }
        for (const TCatalogueRow& row : rows)
            Write(row, row.Ident ? row.Ident : NewIdent(connection_));
    });
}

}  // namespace scheme
