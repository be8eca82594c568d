#include "import/SheetInputs.h"

#include <cmath>
#include <vector>
#include <xlsxwriter.h>

#include "host/NumericHelpers.h"

TInputRule TInputRule::Range(double min, double max, const QString& message)
{
    TInputRule r;
    r.min = min;
    r.max = max;
    r.message = message;
    return r;
}

TInputRule TInputRule::AtLeast(double min, const QString& message)
{
    return Range(min, std::numeric_limits<double>::infinity(), message);
}

TInputRule TInputRule::Above(double min, const QString& message)
{
    TInputRule r = AtLeast(min, message);
    r.minExcluded = true;
    return r;
}

TInputRule TInputRule::AboveUpTo(double min, double max, const QString& message)
{
    TInputRule r = Range(min, max, message);
    r.minExcluded = true;
    return r;
}

TInputRule TInputRule::WholeRange(double min, double max, const QString& message)
{
    TInputRule r = Range(min, max, message);
    r.kind = Whole;
    return r;
}

TInputRule TInputRule::OneOf(const QStringList& texts, const QString& message)
{
    TInputRule r;
    r.kind = Text;
    r.texts = texts;
    r.message = message;
    return r;
}

TInputRule TInputRule::FreeText(int maxLength, const QString& message)
{
    TInputRule r;
    r.kind = Text;
    r.maxLength = maxLength;
    r.message = message;
    return r;
}

TInputRule TInputRule::AnyNumber(const QString& message)
{
    TInputRule r;
    r.message = message;
    return r;
}

bool TInputRule::Accepts(double v) const
{
    if (!std::isfinite(v) || v < min || v > max || (minExcluded && v == min))
        return false;
    return kind != Whole || v == std::floor(v);
}

TInputValue CheckInput(const QVariant& cell, const TInputRule& rule)
{
    TInputValue out{EmptyFloat(), {}, {}};
    if (!cell.isValid())
        return out;
    if (rule.kind == TInputRule::Text) {
        out.text =
            cell.typeId() == QMetaType::Double ? QString::number(cell.toDouble(), 'g', 15) : cell.toString().trimmed();
        const bool accepted = rule.texts.isEmpty() ? out.text.size() <= rule.maxLength
                                                   : out.text.isEmpty() || rule.texts.contains(out.text);
        if (!accepted)
            out.problem = rule.message;
        return out;
    }
    double v = EmptyFloat();
    if (cell.typeId() == QMetaType::Double)
        v = cell.toDouble();
    else if (cell.toString().trimmed().isEmpty())
        return out;  // a cell left with spaces only is an empty one
    else if (!ParseFloat(cell.toString(), v))
        v = EmptyFloat();
    if (!rule.Accepts(v)) {
        out.problem = rule.message;
        return out;
    }
    out.number = v;
    return out;
}

QString InputProblem(int column, int row, const QVariant& cell, const TInputRule& rule)
{
    const QString shown =
        cell.typeId() == QMetaType::Double ? QString::number(cell.toDouble(), 'g', 17) : cell.toString();
    return QStringLiteral("ячейка %1: «%2» — %3").arg(GetNameCell(column, row), shown, rule.message);
}

namespace {
// A bound the format writes as a number: an infinite one is no bound at all.
bool bounded(double v) { return std::isfinite(v); }
}  // namespace

bool WriteInputRule(lxw_worksheet* sheet, int firstRow, int lastRow, int column, const TInputRule& rule)
{
    if (lastRow < firstRow)
        return true;
    lxw_data_validation v{};
    v.ignore_blank = LXW_VALIDATION_ON;
    v.show_error = LXW_VALIDATION_ON;
    v.error_type = LXW_VALIDATION_ERROR_TYPE_STOP;
    const QByteArray title = QStringLiteral("Недопустимое значение").toUtf8();
    // The format keeps at most 255 characters of a message.
    QByteArray message = rule.message.left(255).toUtf8();
    v.error_title = const_cast<char*>(title.constData());
    v.error_message = const_cast<char*>(message.constData());
    std::vector<QByteArray> items;
    std::vector<char*> pointers;
    QByteArray formula;
    const QString cell = GetNameCell(column, firstRow);
    if (rule.kind == TInputRule::Text && rule.texts.isEmpty()) {
        v.validate = LXW_VALIDATION_TYPE_LENGTH;
        v.criteria = LXW_VALIDATION_CRITERIA_LESS_THAN_OR_EQUAL_TO;
        v.value_number = rule.maxLength;
    } else if (rule.kind == TInputRule::Text) {
        // The format holds a list of at most 255 characters; a longer one is checked on reading only.
        if (rule.texts.join(QLatin1Char(',')).size() > 255)
            return true;
        v.validate = LXW_VALIDATION_TYPE_LIST;
        for (const QString& t : rule.texts)
            items.push_back(t.toUtf8());
        for (QByteArray& i : items)
            pointers.push_back(i.data());
        pointers.push_back(nullptr);
        v.value_list = pointers.data();
    } else if (rule.minExcluded || (!bounded(rule.min) && !bounded(rule.max))) {
        // A bound that is itself refused, or none at all, takes a formula: the built-in kinds close their ranges.
        v.validate = LXW_VALIDATION_TYPE_CUSTOM_FORMULA;
        QStringList terms{QStringLiteral("ISNUMBER(%1)").arg(cell)};
        if (bounded(rule.min))
            terms << QStringLiteral("%1%2%3").arg(cell, rule.minExcluded ? ">" : ">=", dotFloatToStr(rule.min));
        if (bounded(rule.max))
            terms << QStringLiteral("%1<=%2").arg(cell, dotFloatToStr(rule.max));
        if (rule.kind == TInputRule::Whole)
            terms << QStringLiteral("%1=INT(%1)").arg(cell);
        formula = QStringLiteral("AND(%1)").arg(terms.join(QLatin1Char(','))).toUtf8();
        v.value_formula = formula.data();
    } else {
        v.validate = rule.kind == TInputRule::Whole ? LXW_VALIDATION_TYPE_INTEGER : LXW_VALIDATION_TYPE_DECIMAL;
        if (bounded(rule.min) && bounded(rule.max)) {
            v.criteria = LXW_VALIDATION_CRITERIA_BETWEEN;
            v.minimum_number = rule.min;
            v.maximum_number = rule.max;
        } else if (bounded(rule.min)) {
            v.criteria = LXW_VALIDATION_CRITERIA_GREATER_THAN_OR_EQUAL_TO;
            v.value_number = rule.min;
        } else {
            v.criteria = LXW_VALIDATION_CRITERIA_LESS_THAN_OR_EQUAL_TO;
            v.value_number = rule.max;
        }
    }
    return worksheet_data_validation_range(sheet, static_cast<lxw_row_t>(firstRow - 1),
                                           static_cast<lxw_col_t>(column - 1), static_cast<lxw_row_t>(lastRow - 1),
                                           static_cast<lxw_col_t>(column - 1), &v) == LXW_NO_ERROR;
}
