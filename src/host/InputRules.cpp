#include "host/InputRules.h"

#include <cmath>

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
