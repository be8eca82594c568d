#include "results/LVMeasuredXlsx.h"

#include <cmath>
#include <xlsxwriter.h>

#include "host/NumericHelpers.h"
#include "host/XlsxFile.h"
#include "results/ColorsLVResult.h"

namespace {
QByteArray utf8(const QString& s) { return s.toUtf8(); }
}  // namespace

double MeasuredCount(const TMeasuredTotals& t) { return t.Measured; }
double NotMeasuredCount(const TMeasuredTotals& t) { return t.NotMeasured; }

const std::vector<TMeasuredColumn>& MeasuredColumns()
{
    using T = TMeasuredTotals;
    static const std::vector<TMeasuredColumn> columns = {
        {QStringLiteral("P|кВт"), QStringLiteral("P"), [](const T& t) { return t.P; }, TMeasuredColumn::Sum},
        {QStringLiteral("Wa|тыс. кВт·ч"), QStringLiteral("Wa"), [](const T& t) { return t.Wa; }, TMeasuredColumn::Sum},
        {QStringLiteral("UA|В"), QStringLiteral("UA"), [](const T& t) { return t.U[0]; }, TMeasuredColumn::Own},
        {QStringLiteral("UB|В"), QStringLiteral("UB"), [](const T& t) { return t.U[1]; }, TMeasuredColumn::Own},
        {QStringLiteral("UC|В"), QStringLiteral("UC"), [](const T& t) { return t.U[2]; }, TMeasuredColumn::Own},
        {QStringLiteral("IA|А"), QStringLiteral("IA"), [](const T& t) { return t.I[0]; }, TMeasuredColumn::Sum},
        {QStringLiteral("IB|А"), QStringLiteral("IB"), [](const T& t) { return t.I[1]; }, TMeasuredColumn::Sum},
        {QStringLiteral("IC|А"), QStringLiteral("IC"), [](const T& t) { return t.I[2]; }, TMeasuredColumn::Sum},
        {QStringLiteral("cosφA|о.е."), QStringLiteral("CosFiA"), [](const T& t) { return t.CosFi[0]; },
         TMeasuredColumn::Own},
        {QStringLiteral("cosφB|о.е."), QStringLiteral("CosFiB"), [](const T& t) { return t.CosFi[1]; },
         TMeasuredColumn::Own},
        {QStringLiteral("cosφC|о.е."), QStringLiteral("CosFiC"), [](const T& t) { return t.CosFi[2]; },
         TMeasuredColumn::Own},
        {QStringLiteral("Потери dP|кВт"), QStringLiteral("dP"), [](const T& t) { return t.dP; }, TMeasuredColumn::Sum},
        {QStringLiteral("Потери dW|тыс. кВт·ч"), QStringLiteral("dW"), [](const T& t) { return t.dW; },
         TMeasuredColumn::Sum},
        {QStringLiteral("Потери dP|%"), QStringLiteral("dP_P"), [](const T& t) { return t.dPPercent(); },
         TMeasuredColumn::Percent},
        {QStringLiteral("Потери dW|%"), QStringLiteral("dW_P"), [](const T& t) { return t.dWPercent(); },
         TMeasuredColumn::Percent},
        {QStringLiteral("Линий с замером|шт."), QStringLiteral("Measured"), &MeasuredCount, TMeasuredColumn::Sum},
        {QStringLiteral("Линий без замера|шт."), QStringLiteral("NotMeasured"), &NotMeasuredCount,
         TMeasuredColumn::Sum},
    };
    return columns;
}

namespace {
constexpr int kFirstRow = 4;    // 1-based: the title, an empty row and the captions go first
constexpr int kNameColumn = 1;  // 1-based
constexpr int kMaxArguments = 250;

int columnOf(const QString& field)
{
    const auto& columns = MeasuredColumns();
    for (size_t c = 0; c < columns.size(); ++c)
        if (columns[c].Field == field)
            return kNameColumn + 1 + static_cast<int>(c);
    return 0;
}

// SUM over cells, nested where there are more than a spreadsheet function takes.
QString sumOf(const QStringList& cells)
{
    if (cells.size() <= kMaxArguments)
        return QStringLiteral("SUM(%1)").arg(cells.join(QLatin1Char(',')));
    QStringList parts;
    for (int i = 0; i < cells.size(); i += kMaxArguments)
        parts << sumOf(cells.mid(i, kMaxArguments));
    return sumOf(parts);
}
QString countOf(const QStringList& cells)
{
    if (cells.size() <= kMaxArguments)
        return QStringLiteral("COUNT(%1)").arg(cells.join(QLatin1Char(',')));
    QStringList parts;
    for (int i = 0; i < cells.size(); i += kMaxArguments)
        parts << countOf(cells.mid(i, kMaxArguments));
    return parts.join(QLatin1Char('+'));
}

class MeasuredSheet {
public:
    MeasuredSheet(const QString& file) : file_(file, true) {}
    bool Write(TMeasuredNode& tree, const QString& title, QString& error)
    {
        book_ = file_.Open(error);
        if (!book_)
            return false;
        sheet_ = workbook_add_worksheet(book_, utf8(QStringLiteral("Потери 0,38 кВ")).constData());
        Head(title);
        // Rows first, so that a node's formulas can name the rows of the nodes below it.
        int next = kFirstRow;
        tree.ForEach([&](TMeasuredNode& n) { n.Row = next++; });
        tree.ForEach([&](const TMeasuredNode& n) { Row(n); });
        return file_.Close(error);
    }

private:
    void Head(const QString& title)
    {
        lxw_format* bold = workbook_add_format(book_);
        format_set_bold(bold);
        format_set_font_size(bold, 12);
        worksheet_write_string(sheet_, 0, 0, utf8(title).constData(), bold);
        lxw_format* head = workbook_add_format(book_);
        format_set_bold(head);
        format_set_text_wrap(head);
        format_set_border(head, LXW_BORDER_THIN);
        format_set_align(head, LXW_ALIGN_CENTER);
        const auto captionRow = static_cast<lxw_row_t>(kFirstRow - 2);
        worksheet_write_string(sheet_, captionRow, kNameColumn - 1,
                               utf8(QStringLiteral("Наименование структурного подразделения")).constData(), head);
        worksheet_set_column(sheet_, kNameColumn - 1, kNameColumn - 1, 45, nullptr);
        const auto& columns = MeasuredColumns();
        for (size_t c = 0; c < columns.size(); ++c) {
            const auto col = static_cast<lxw_col_t>(kNameColumn + c);
            worksheet_write_string(
                sheet_, captionRow, col,
                utf8(QString(columns[c].Caption).replace(QLatin1Char('|'), QStringLiteral(",\n"))).constData(), head);
            worksheet_set_column(sheet_, col, col, 13, nullptr);
            lxw_format* f = workbook_add_format(book_);
            format_set_num_format(f, columns[c].Kind == TMeasuredColumn::Sum && c >= columns.size() - 2 ? "0"
                                     : columns[c].Field.startsWith(QLatin1String("CosFi"))              ? "0.000"
                                                                                                        : "#,##0.000");
            formats_.push_back(f);
        }
        worksheet_set_row(sheet_, captionRow, 45, nullptr);
        worksheet_freeze_panes(sheet_, kFirstRow - 1, kNameColumn);
    }

    lxw_format* NameFormat(int level)
    {
        lxw_format*& f = names_[level];
        if (!f) {
            f = workbook_add_format(book_);
            if (const std::optional<uint32_t> color = ColorsLVResult::LevelRgb(level))
                format_set_bg_color(f, static_cast<lxw_color_t>(*color));
        }
        return f;
    }

    void Row(const TMeasuredNode& n)
    {
        const auto r = static_cast<lxw_row_t>(n.Row - 1);
        worksheet_write_string(sheet_, r, kNameColumn - 1,
                               utf8(QString(n.Level * 2, QLatin1Char(' ')) + n.Text).constData(), NameFormat(n.Level));
        const auto& columns = MeasuredColumns();
        for (size_t c = 0; c < columns.size(); ++c) {
            const int column = kNameColumn + 1 + static_cast<int>(c);
            const double value = columns[c].Value(n.Totals);
            QString formula;
            if (columns[c].Kind == TMeasuredColumn::Sum && !n.Children.empty()) {
                // A node's sum is the sum of the rows below it, nothing where none of them has a value.
                QStringList cells;
                for (const auto& child : n.Children)
                    cells << GetNameCell(column, child->Row);
                formula = QStringLiteral("IF(%1=0,\"\",%2)").arg(countOf(cells), sumOf(cells));
            } else if (columns[c].Kind == TMeasuredColumn::Percent) {
                const bool power = columns[c].Field == QLatin1String("dP_P");
                const QString loss = GetNameCell(columnOf(power ? QStringLiteral("dP") : QStringLiteral("dW")), n.Row);
                const QString base = GetNameCell(columnOf(power ? QStringLiteral("P") : QStringLiteral("Wa")), n.Row);
                formula = QStringLiteral("IF(AND(ISNUMBER(%1),ISNUMBER(%2),%2<>0),%1/%2*100,\"\")").arg(loss, base);
            }
            const auto col = static_cast<lxw_col_t>(column - 1);
            const bool known = !isEmptyFloat(value) && std::isfinite(value);
            if (formula.isEmpty()) {
                if (known)
                    worksheet_write_number(sheet_, r, col, value, formats_[c]);
            } else if (known) {
                worksheet_write_formula_num(sheet_, r, col, utf8(QLatin1Char('=') + formula).constData(), formats_[c],
                                            value);
            } else {
                worksheet_write_formula_str(sheet_, r, col, utf8(QLatin1Char('=') + formula).constData(), formats_[c],
                                            "");
            }
        }
    }

    TXlsxFile file_;
    lxw_workbook* book_ = nullptr;
    lxw_worksheet* sheet_ = nullptr;
    std::vector<lxw_format*> formats_;
    std::array<lxw_format*, 8> names_{};
};
}  // namespace

bool WriteMeasuredXlsx(const QString& file, TMeasuredNode& tree, const QString& title, QString& error)
{
    MeasuredSheet sheet(file);
    return sheet.Write(tree, title, error);
}
