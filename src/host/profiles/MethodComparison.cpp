#include "host/profiles/MethodComparison.h"

#include <QStringList>
#include <cmath>
#include <limits>
#include <xlsxwriter.h>

#include "host/Connection.h"
#include "host/HostObjects.h"
#include "host/JsonLines.h"
#include "host/Tree.h"
#include "host/XlsxFile.h"
#include "host/fider/ProfileRunFigures.h"

namespace profiles {

namespace {
constexpr const char* kRuns =
    R"(select r."GUID", p."dWa", p."dWaMiddle", p."dWaMax" from "LVResults" r join "LVProfileRuns" p on p."Ident"=r."Ident"
    where r."SampleIdent"=:SampleIdent and coalesce(r."CalcType", 0)=:CalcType and r."LoadMode"=3 and r."Regime"=:Regime)";

// Adds the rows of an item and those under it; returns the item's row index, -1 when no feeder counts under it.
int collect(const ToznListItemCommon* item, int parent, const QHash<int, TFeederComparison>& feeders,
            std::vector<TComparisonRow>& rows)
{
    if (item->isLink())
        return -1;
    const size_t index = rows.size();
    TComparisonRow row;
    // A type outside the hierarchy's eight levels stands with the feeders.
    row.Level = HierarchyLevel(item->GetNodeType()) >= 0 ? HierarchyLevel(item->GetNodeType()) : 7;
    row.Guid = item->GetIdent();
    row.Parent = parent;
    row.Name = item->GetText();
    rows.push_back(row);
    if (item->GetNodeType() == NodeType::LVFiders) {
        const auto it = feeders.constFind(item->GetIdent());
        if (it == feeders.constEnd() || !std::isfinite(it->dWa) || !std::isfinite(it->dWaMiddle) ||
            !std::isfinite(it->dWaMax)) {
            rows.pop_back();
            return -1;
        }
        rows[index].Feeders = 1;
        rows[index].dWa = it->dWa;
        rows[index].dWaMiddle = it->dWaMiddle;
        rows[index].dWaMax = it->dWaMax;
        return static_cast<int>(index);
    }
    for (int i = 0; i < item->GetCount(); ++i) {
        const int child = collect(item->GetItems(i), item->GetIdent(), feeders, rows);
        if (child < 0)
            continue;
        TComparisonRow& r = rows[index];
        r.Feeders += rows[child].Feeders;
        r.dWa += rows[child].dWa;
        r.dWaMiddle += rows[child].dWaMiddle;
        r.dWaMax += rows[child].dWaMax;
    }
    if (rows[index].Feeders == 0) {
        rows.resize(index);
        return -1;
    }
    return static_cast<int>(index);
}
}  // namespace

double TComparisonRow::ErrorMiddle() const { return fider::TProfileRunFigures::Error(dWaMiddle, dWa); }
double TComparisonRow::ErrorMax() const { return fider::TProfileRunFigures::Error(dWaMax, dWa); }

QHash<int, TFeederComparison> ReadComparisons(ToznFDConnection& connection, int sampleIdent, int regime, int calcType)
{
    return GuardedRead(connection, [&] {
        QHash<int, TFeederComparison> feeders;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(kRuns));
        q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent)
            .ParamByName(QStringLiteral("CalcType"), calcType)
            .ParamByName(QStringLiteral("Regime"), regime);
        for (q->Open(); !q->Eof(); q->Next())
            feeders.insert(q->Int(QStringLiteral("GUID")),
                           {q->Float(QStringLiteral("dWa")), q->Float(QStringLiteral("dWaMiddle")),
                            q->Float(QStringLiteral("dWaMax"))});
        return feeders;
    });
}

std::vector<TComparisonRow> CompareOverTree(const TfdbTree& tree, int root,
                                            const QHash<int, TFeederComparison>& feeders)
{
    std::vector<TComparisonRow> rows;
    if (const ToznListItemCommon* item = tree.Find(root))
        collect(item, item->Parent() ? item->Parent()->GetIdent() : 0, feeders, rows);
    return rows;
}

QByteArray ComparisonJson(const TComparisonRow& row)
{
    host::JsonObjectWriter w;
    w.Number("Level", row.Level).Number("GUID", row.Guid).Number("Parent", row.Parent);
    w.Raw("Name", host::JsonString(row.Name)).Number("Feeders", row.Feeders);
    w.Number("dWa", row.dWa).Number("dWaMiddle", row.dWaMiddle).Number("dWaMax", row.dWaMax);
    w.Number("ErrorMiddle", row.ErrorMiddle()).Number("ErrorMax", row.ErrorMax());
    return w.Finish();
}

QStringList ComparisonCaptions()
{
    return {QStringLiteral("Наименование"),
            QStringLiteral("Линий 0,4 кВ"),
            QStringLiteral("Потери по графикам нагрузки, тыс. кВт·ч"),
            QStringLiteral("Потери по средним нагрузкам, тыс. кВт·ч"),
            QStringLiteral("Погрешность метода средних нагрузок, %"),
            QStringLiteral("Потери по максимальной нагрузке, тыс. кВт·ч"),
            QStringLiteral("Погрешность метода максимальной нагрузки, %")};
}

std::vector<QStringList> ComparisonTexts(const std::vector<TComparisonRow>& rows)
{
    auto number = [](double v, int decimals) {
        return std::isfinite(v) ? QString::number(v, 'f', decimals) : QString();
    };
    std::vector<QStringList> texts;
    for (const TComparisonRow& r : rows)
        texts.push_back({QString(2 * r.Level, QLatin1Char(' ')) + r.Name, QString::number(r.Feeders), number(r.dWa, 3),
                         number(r.dWaMiddle, 3), number(r.ErrorMiddle(), 1), number(r.dWaMax, 3),
                         number(r.ErrorMax(), 1)});
    return texts;
}

void FillComparisonExport(TOExport& table, const QString& object, const std::vector<TComparisonRow>& rows)
{
    table.SetTitle(QStringLiteral("Сравнение методов расчета нагрузочных потерь: %1").arg(object));
    table.AddRow(ComparisonCaptions());
    for (const QStringList& row : ComparisonTexts(rows))
        table.AddRow(row);
}

bool WriteComparisonWorkbook(const QString& file, const QString& title, const std::vector<TComparisonRow>& rows,
                             QString& error)
{
    TXlsxFile xlsx(file);
    lxw_workbook* book = xlsx.Open(error);
    if (!book)
        return false;
    lxw_worksheet* sheet = workbook_add_worksheet(book, "Сравнение методов");
    lxw_format* bold = workbook_add_format(book);
    format_set_bold(bold);
    lxw_format* header = workbook_add_format(book);
    format_set_bold(header);
    format_set_text_wrap(header);
    format_set_border(header, LXW_BORDER_THIN);
    lxw_format* energy = workbook_add_format(book);
    format_set_num_format(energy, "#,##0.000");
    lxw_format* percent = workbook_add_format(book);
    format_set_num_format(percent, "0.0");
    std::vector<lxw_format*> indents;
    for (int level = 0; level <= 7; ++level) {
        lxw_format* f = workbook_add_format(book);
        format_set_indent(f, level);
        if (level < 7)
            format_set_bold(f);
        indents.push_back(f);
    }
    worksheet_write_string(sheet, 0, 0, title.toUtf8().constData(), bold);
    const QStringList captions = ComparisonCaptions();
    for (int c = 0; c < captions.size(); ++c)
        worksheet_write_string(sheet, 2, c, captions[c].toUtf8().constData(), header);
    worksheet_set_column(sheet, 0, 0, 48, nullptr);
    worksheet_set_column(sheet, 1, 6, 16, nullptr);
    worksheet_set_row(sheet, 2, 45, nullptr);
    for (size_t i = 0; i < rows.size(); ++i) {
        const TComparisonRow& r = rows[i];
        const lxw_row_t row = static_cast<lxw_row_t>(3 + i);
        const QString excelRow = QString::number(row + 1);
        worksheet_write_string(sheet, row, 0, r.Name.toUtf8().constData(), indents[std::clamp(r.Level, 0, 7)]);
        worksheet_write_number(sheet, row, 1, r.Feeders, nullptr);
        worksheet_write_number(sheet, row, 2, r.dWa, energy);
        worksheet_write_number(sheet, row, 3, r.dWaMiddle, energy);
        worksheet_write_number(sheet, row, 5, r.dWaMax, energy);
        // The errors as formulas of the cells beside them, with the values the calculation found.
        auto errorCell = [&](int column, const QString& method, double value) {
            const QString formula = QStringLiteral("=IF(C%1>0,(%2%1-C%1)/C%1*100,\"\")").arg(excelRow, method);
            if (std::isfinite(value))
                worksheet_write_formula_num(sheet, row, column, formula.toUtf8().constData(), percent, value);
            else
                worksheet_write_formula_str(sheet, row, column, formula.toUtf8().constData(), percent, "");
        };
        errorCell(4, QStringLiteral("D"), r.ErrorMiddle());
        errorCell(6, QStringLiteral("F"), r.ErrorMax());
    }
    worksheet_freeze_panes(sheet, 3, 1);
    return xlsx.Close(error);
}

}  // namespace profiles
