#include "host/EditConstraints.h"

#include <cmath>
#include <limits>

#include "host/Dialogs.h"
#include "host/NumericHelpers.h"

TNumericEdit::TNumericEdit(QWidget* parent, const QString& format)
    : QLineEdit(parent), format_(format), maxValue_(std::numeric_limits<double>::infinity())
{
}

void TNumericEdit::SetValue(double value, bool negativeIsEmpty)
{
    setText(isEmptyFloat(value) || !std::isfinite(value) || (negativeIsEmpty && value < 0)
                ? QString()
                : FormatFloat(format_, value));
}

double TNumericEdit::Value() const
{
    double v = EmptyFloat();
    const QString typed = text().trimmed();
    if (typed.isEmpty() || !ParseFloat(typed, v))
        return EmptyFloat();
    return v;
}

namespace {
// The look of a field whose text is refused: the text stays, on a red ground.
const char* const kErrorStyle = "QLineEdit { background-color: #FFC7CE; color: #9C0006; }";
}  // namespace

TEditConstraints::TEditConstraints(QObject* owner) : QObject(owner) {}

void TEditConstraints::AddContraints(QLineEdit* control, const QString& caption, const TInputRule& rule, bool required)
{
    if (!entries_.contains(control)) {
        order_ << control;
        connect(control, &QObject::destroyed, this, [this, control] {
            entries_.remove(control);
            order_.removeAll(control);
        });
    }
    Entry entry;
    entry.caption = caption;
    entry.rule = rule;
    entry.required = required;
    entries_.insert(control, entry);
    if (auto* numeric = qobject_cast<TNumericEdit*>(control); numeric && std::isfinite(rule.max))
        numeric->SetMaxValue(std::min(numeric->MaxValue(), rule.max));
}

TInputValue TEditConstraints::Check(QLineEdit* control) const
{
    const auto it = entries_.constFind(control);
    // A field the user cannot edit shows the data (or a word such as "Расчет"), never a text of the user's.
    if (it == entries_.cend() || control->isReadOnly() || !control->isEnabled())
        return {EmptyFloat(), {}, {}};
    const QString text = control->text().trimmed();
    if (text.isEmpty())
        return {
            EmptyFloat(), {}, it->required ? QStringLiteral("нужно значение: %1").arg(it->rule.message) : QString()};
    TInputValue read = CheckInput(QVariant(text), it->rule);
    if (read.problem.isEmpty())
        if (auto* numeric = qobject_cast<TNumericEdit*>(control); numeric && read.number > numeric->MaxValue()) {
            read.problem =
                QStringLiteral("не больше %1").arg(FormatFloat(QStringLiteral("0.######"), numeric->MaxValue()));
            read.number = EmptyFloat();
        }
    return read;
}

QString TEditConstraints::MessageOf(QLineEdit* control, const Entry& entry, const QString& problem) const
{
    return QStringLiteral("«%1»: «%2» — %3").arg(entry.caption, control->text().trimmed(), problem);
}

void TEditConstraints::Mark(QLineEdit* control, Entry& entry, bool error)
{
    if (entry.error == error)
        return;
    entry.error = error;
    control->setStyleSheet(error ? QString::fromLatin1(kErrorStyle) : QString());
    control->setToolTip(error ? MessageOf(control, entry, Check(control).problem) : QString());
    if (!error)
        entry.told.clear();
    emit ErrorsChanged();
}

bool TEditConstraints::CheckControl(QLineEdit* control, double& value)
{
    value = EmptyFloat();
    const auto it = entries_.find(control);
    if (it == entries_.end()) {
        const QString text = control->text().trimmed();
        return text.isEmpty() || ParseFloat(text, value);
    }
    const TInputValue read = Check(control);
    if (read.problem.isEmpty()) {
        Mark(control, *it, false);
        value = read.number;
        return true;
    }
    Mark(control, *it, true);
    control->setToolTip(MessageOf(control, *it, read.problem));
    // The user is told once for a text; leaving the field again with the same text says nothing new.
    const QString text = control->text().trimmed();
    if (it->told != text) {
        it->told = text;
        host::ShowWarning(QStringLiteral("Значение не принято: %1.\nИсправьте его или отмените правку.")
                              .arg(MessageOf(control, *it, read.problem)));
    }
    control->selectAll();
    return false;
}

bool TEditConstraints::CheckConstraint()
{
    bool ok = true;
    for (QLineEdit* control : order_) {
        Entry& entry = entries_[control];
        const bool error = !Check(control).problem.isEmpty();
        Mark(control, entry, error);
        ok = ok && !error;
    }
    return ok;
}

void TEditConstraints::SetContraint(QLineEdit* control, bool error)
{
    const auto it = entries_.find(control);
    if (it != entries_.end())
        Mark(control, *it, error);
}

bool TEditConstraints::isContraint(QLineEdit* control) const
{
    const auto it = entries_.constFind(control);
    return it != entries_.cend() && it->error;
}

bool TEditConstraints::GetEnabled() const
{
    for (const Entry& e : entries_)
        if (e.error)
            return false;
    return true;
}

QStringList TEditConstraints::Errors() const
{
    QStringList errors;
    for (QLineEdit* control : order_) {
        const Entry& e = entries_[control];
        if (e.error)
            errors << MessageOf(control, e, Check(control).problem);
    }
    return errors;
}

void TEditConstraints::ClearAll()
{
    for (QLineEdit* control : order_)
        Mark(control, entries_[control], false);
}
