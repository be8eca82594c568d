#include "results/UnitLVResultsXLSX.h"

#include <QFile>
#include <QHash>
#include <cmath>
#include <xlsxwriter.h>

#include "host/NumericHelpers.h"
#include "host/XlsxFile.h"
#include "results/ColorsLVResult.h"
#include "results/LVResultsColumns.h"
#include "results/UnitLVResultsTree.h"

namespace {
QByteArray utf8(const QString& s) { return s.toUtf8(); }

// How a row of levels 2 to 6 with rows below it fills a column. Quantities that add up over objects
// (energies, powers, counts, lengths) are the sum of the rows below; the largest voltage loss is the largest
// below; everything else (coefficients, voltages, shares, hours, methods) is the node's own value, which its
// record already holds as the weighted figure of its objects. (The former fixed rules, MAX on worksheet column
// 31 and AVERAGE on column 111 of substation rows, are these: MAX where the column holds the maximum voltage
// loss, and the record's own value where an unweighted average of coefficients would mislead.)
enum class Rule { Own, Sum, Max };

Rule RuleOf(const TLVResultColumn& c)
{
    static const QStringList units = {QStringLiteral("тыс. кВт·ч"), QStringLiteral("тыс. квар·ч"),
                                      QStringLiteral("кВт"),        QStringLiteral("квар"),
                                      QStringLiteral("штук"),       QStringLiteral("км")};
    if (c.Text || c.Field == QLatin1String("Unom"))
        return Rule::Own;
    if (c.Field == QLatin1String("dUmax"))
        return Rule::Max;
    return units.contains(c.Caption.section(QLatin1Char('|'), -1)) ? Rule::Sum : Rule::Own;
}

// One worksheet of a results tree: the title, the column header and one row per written node.
class ResultsSheet {
public:
    ResultsSheet(const QString& file, const std::vector<const TLVResultColumn*>& columns, bool numbered)
        // Rows are written in order, each whole before the next: the workbook needs the memory of one row.
        : columns_(columns), first_(numbered ? 2 : 1), numbered_(numbered), file_(file, true)
    {
    }
    bool Start(const QString& sheetName, const QString& title, QString& error);
    void WritePlain(const TPesResultsLV& node);
    void WriteSummary(TPesResultsLV& tree, const std::array<bool, 8>& visibleRows);
    bool Finish(QString& error);

private:
    lxw_format* Font(lxw_format* f) const
    {
        format_set_font_name(f, "Times New Roman");
        return f;
    }
    lxw_format* NameFormat(int level);
    void WriteName(const TPesResultsLV& node, lxw_format* format);
    void WriteValue(const TPesResultsLV& node, size_t c);
    void WriteRow(const TPesResultsLV& node, const std::array<bool, 8>* visibleRows);
    void WriteSummaryNode(const TPesResultsLV& node, const std::array<bool, 8>& visibleRows);
    const TLVResultRecord& RecordOf(const TPesResultsLV& node) const;
    bool HasFormulas(const TPesResultsLV& node, const std::array<bool, 8>& visibleRows) const;
    // The values the cells of a written node show: its record's, or what its formula gives over the cells
    // below, so that a spreadsheet's recalculation finds the numbers already there.
    const std::vector<double>& Cells(const TPesResultsLV& node, const std::array<bool, 8>& visibleRows);
    lxw_col_t Column(size_t c) const { return static_cast<lxw_col_t>(c + first_); }

    std::vector<const TLVResultColumn*> columns_;
    int first_;  // the 0-based worksheet column of the first value column
    bool numbered_;
    TXlsxFile file_;
    lxw_workbook* book_ = nullptr;
    lxw_worksheet* sheet_ = nullptr;
    lxw_format* name_ = nullptr;
    QHash<int, lxw_format*> levelNames_;
    std::vector<lxw_format*> formats_;
    lxw_row_t row_ = 3;
    int number_ = 0;
    QHash<const TPesResultsLV*, TLVResultRecord> feederSums_;  // the top node's own sum of its feeders
    QHash<const TPesResultsLV*, std::vector<double>> cells_;
};

bool ResultsSheet::Start(const QString& sheetName, const QString& title, QString& error)
{
    book_ = file_.Open(error);
    if (!book_)
        return false;
    sheet_ = workbook_add_worksheet(book_, utf8(sheetName.left(31)).constData());
    lxw_format* titleFormat = Font(workbook_add_format(book_));
    format_set_bold(titleFormat);
    format_set_font_size(titleFormat, 12);
    lxw_format* header = Font(workbook_add_format(book_));
    format_set_bold(header);
    format_set_text_wrap(header);
    format_set_border(header, LXW_BORDER_THIN);
    format_set_align(header, LXW_ALIGN_CENTER);
    name_ = Font(workbook_add_format(book_));
    for (const TLVResultColumn* c : columns_) {
        lxw_format* f = Font(workbook_add_format(book_));
        // The spreadsheet's own number format: thousands separated, decimals after a dot.
        format_set_num_format(f, utf8(QString(c->Format).replace(QChar(0x00A0), QLatin1Char(','))).constData());
        formats_.push_back(f);
    }
    worksheet_write_string(sheet_, 0, 0, utf8(title).constData(), titleFormat);
    if (numbered_)
        worksheet_write_string(sheet_, 2, 0, utf8(QStringLiteral("№ п/п")).constData(), header);
    const auto nameColumn = static_cast<lxw_col_t>(first_ - 1);
    worksheet_write_string(sheet_, 2, nameColumn,
                           utf8(QStringLiteral("Наименование структурного подразделения")).constData(), header);
    worksheet_set_column(sheet_, nameColumn, nameColumn, 45, nullptr);
    for (size_t c = 0; c < columns_.size(); ++c) {
        const QString caption = QString(columns_[c]->Caption).replace(QLatin1Char('|'), QLatin1Char('\n'));
        worksheet_write_string(sheet_, 2, Column(c), utf8(caption).constData(), header);
        worksheet_set_column(sheet_, Column(c), Column(c), 16, nullptr);
    }
    worksheet_set_row(sheet_, 2, 60, nullptr);
    worksheet_freeze_panes(sheet_, 3, static_cast<lxw_col_t>(first_));
    return true;
}

lxw_format* ResultsSheet::NameFormat(int level)
{
    const std::optional<uint32_t> color = ColorsLVResult::LevelRgb(level);
    if (!color)
        return name_;
    lxw_format*& f = levelNames_[level];
    if (!f) {
        f = Font(workbook_add_format(book_));
        format_set_bg_color(f, static_cast<lxw_color_t>(*color));
    }
    return f;
}

void ResultsSheet::WriteName(const TPesResultsLV& node, lxw_format* format)
{
    if (numbered_)
        worksheet_write_number(sheet_, row_, 0, ++number_, nullptr);
    worksheet_write_string(sheet_, row_, static_cast<lxw_col_t>(first_ - 1),
                           utf8(QString(node.Level() * 2, QLatin1Char(' ')) + node.Caption()).constData(), format);
}

void ResultsSheet::WriteValue(const TPesResultsLV& node, size_t c)
{
    const TLVResultColumn& column = *columns_[c];
    if (column.Text) {
        worksheet_write_string(sheet_, row_, Column(c), utf8(column.Text(RecordOf(node))).constData(), name_);
        return;
    }
    const double v = column.Value(RecordOf(node));
    if (!isEmptyFloat(v) && std::isfinite(v))
        worksheet_write_number(sheet_, row_, Column(c), v, formats_[c]);
}

void ResultsSheet::WritePlain(const TPesResultsLV& node)
{
    WriteName(node, name_);
    for (size_t c = 0; c < columns_.size(); ++c)
        WriteValue(node, c);
    ++row_;
    for (int i = 0; i < node.ChildCount(); ++i)
        WritePlain(*node.Child(i));
}

namespace {
bool written(const TPesResultsLV& node, const std::array<bool, 8>& visibleRows)
{
    return !node.Parent() || visibleRows[node.Level()];
}

// The nearest written nodes below a node, in worksheet order.
void nearestNodes(const TPesResultsLV& node, QList<const TPesResultsLV*>& nodes)
{
    for (int i = 0; i < node.ChildCount(); ++i) {
        const TPesResultsLV& c = *node.Child(i);
        if (c.ExcelRow > 0)
            nodes.append(&c);
        else
            nearestNodes(c, nodes);
    }
}

bool known(double v) { return !isEmptyFloat(v) && std::isfinite(v); }
}  // namespace

const TLVResultRecord& ResultsSheet::RecordOf(const TPesResultsLV& node) const
{
    const auto sum = feederSums_.constFind(&node);
    return sum == feederSums_.constEnd() ? node.Record() : *sum;
}

bool ResultsSheet::HasFormulas(const TPesResultsLV& node, const std::array<bool, 8>& visibleRows) const
{
    // Levels 2 to 6 with rows below them add up those rows; the others hold their record's values.
    return node.Level() >= 2 && node.Level() <= 6 && !node.ChildRows.isEmpty() &&
           (node.TypeNodeResult(visibleRows) & 16);
}

const std::vector<double>& ResultsSheet::Cells(const TPesResultsLV& node, const std::array<bool, 8>& visibleRows)
{
    if (const auto done = cells_.constFind(&node); done != cells_.constEnd())
        return *done;
    std::vector<double> values(columns_.size(), EmptyFloat());
    QList<const TPesResultsLV*> below;
    const bool formulas = HasFormulas(node, visibleRows);
    if (formulas)
        nearestNodes(node, below);
    for (size_t c = 0; c < columns_.size(); ++c) {
        const Rule rule = formulas ? RuleOf(*columns_[c]) : Rule::Own;
        if (rule == Rule::Own) {
            if (!columns_[c]->Text)
                values[c] = columns_[c]->Value(RecordOf(node));
            continue;
        }
        // As the spreadsheet computes it: empty cells are skipped, and nothing at all gives 0.
        double result = 0;
        bool any = false;
        for (const TPesResultsLV* b : below) {
            const double v = Cells(*b, visibleRows)[c];
            if (!known(v))
                continue;
            result = !any ? v : rule == Rule::Sum ? result + v : std::max(result, v);
            any = true;
        }
        values[c] = result;
    }
    return cells_[&node] = values;
}

void ResultsSheet::WriteSummary(TPesResultsLV& tree, const std::array<bool, 8>& visibleRows)
{
    // The top node's values come from its feeders, each once; the tree itself is left as the form shows it.
    if (tree.HasFeederSum(visibleRows))
        feederSums_.insert(&tree, tree.FeederSum());
    // Rows first, so that a node's formulas can name the rows of the nodes below it.
    int next = static_cast<int>(row_) + 1;  // 1-based worksheet row
    tree.ForEach([&](TPesResultsLV& n) { n.ExcelRow = written(n, visibleRows) ? next++ : 0; });
    tree.ForEach([&](TPesResultsLV& n) {
        n.ChildRows.clear();
        if (n.ExcelRow > 0) {
            QList<const TPesResultsLV*> below;
            nearestNodes(n, below);
            for (const TPesResultsLV* b : below)
                n.ChildRows.append(b->ExcelRow);
        }
    });
    cells_.clear();
    WriteSummaryNode(tree, visibleRows);
}

void ResultsSheet::WriteSummaryNode(const TPesResultsLV& node, const std::array<bool, 8>& visibleRows)
{
    if (node.ExcelRow > 0) {
        WriteName(node, NameFormat(node.Level()));
        const bool formulas = HasFormulas(node, visibleRows);
        const std::vector<double>& values = Cells(node, visibleRows);
        for (size_t c = 0; c < columns_.size(); ++c) {
            const int column = static_cast<int>(Column(c)) + 1;
            const Rule rule = formulas ? RuleOf(*columns_[c]) : Rule::Own;
            if (rule == Rule::Own) {
                WriteValue(node, c);
                continue;
            }
            const QString formula = rule == Rule::Sum ? node.fSum(column, QLatin1Char(','), visibleRows)
                                                      : node.fMax(column, QLatin1Char(','), visibleRows);
            worksheet_write_formula_num(sheet_, row_, Column(c), utf8(QLatin1Char('=') + formula).constData(),
                                        formats_[c], values[c]);
        }
        ++row_;
    }
    for (int i = 0; i < node.ChildCount(); ++i)
        WriteSummaryNode(*node.Child(i), visibleRows);
}

bool ResultsSheet::Finish(QString& error) { return file_.Close(error); }
}  // namespace

bool WriteResultsXlsx(const QString& file, const TPesResultsLV& tree,
                      const std::vector<const TLVResultColumn*>& columns, const QString& title, QString& error)
{
    ResultsSheet sheet(file, columns, false);
    if (!sheet.Start(QStringLiteral("Результаты"), title, error))
        return false;
    sheet.WritePlain(tree);
    return sheet.Finish(error);
}

bool WriteResultsSummaryXlsx(const QString& file, TPesResultsLV& tree,
                             const std::vector<const TLVResultColumn*>& columns, const QString& sheetName,
                             const QString& title, const std::array<bool, 8>& visibleRows, QString& error)
{
    ResultsSheet sheet(file, columns, true);
    if (!sheet.Start(sheetName, title, error))
        return false;
    sheet.WriteSummary(tree, visibleRows);
    return sheet.Finish(error);
}
