#include "import/SheetInputs.h"

#include <cmath>
#include <vector>
#include <xlsxwriter.h>

#include "host/NumericHelpers.h"

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
