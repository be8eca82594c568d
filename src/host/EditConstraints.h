#pragma once
// Input fields that check what the user types: the numeric edit control and the constraints of a form's fields.
// A value out of its range or of the wrong kind is never turned into an empty one: the field keeps the typed text
// marked, the user is told the field and its range, and the form's "Сохранить" knows that there is an error.
#include <QHash>
#include <QLineEdit>
#include <QObject>
#include <QStringList>

#include "host/HostApi.h"
#include "host/InputRules.h"

// A field of a number: shows a value in its format (nothing for an empty one) and reads the typed text back.
class OZN3HOST_API TNumericEdit : public QLineEdit {
    Q_OBJECT
public:
    explicit TNumericEdit(QWidget* parent = nullptr, const QString& format = QStringLiteral("0.######"));
    // Shows a value; an empty float or, where the data keep "not given" as a negative number, a negative one
    // shows an empty field.
    void SetValue(double value, bool negativeIsEmpty = false);
    // The number typed; an empty float for an empty field or a text that is not a number.
    double Value() const;
    // A bound of the field's own on top of its rule (for example hours no more than the interval's); infinite for
    // none.
    void SetMaxValue(double value) { maxValue_ = value; }
    double MaxValue() const { return maxValue_; }
    QString Format() const { return format_; }

private:
    QString format_;
    double maxValue_;
};

// The constraints of one form: each constrained field with its caption and rule (the rules of InputRanges, the
// ones the workbooks use). The form checks a field as the user leaves it (CheckControl) before the value reaches
// its data, and every field before it stores (CheckConstraint).
class OZN3HOST_API TEditConstraints : public QObject {
    Q_OBJECT
public:
    explicit TEditConstraints(QObject* owner = nullptr);

    // Marks a field as constrained: the caption names it in the message, the rule gives its range and kind
    // (whole or not); required: an empty field is an error too (otherwise it means "not given").
    void AddContraints(QLineEdit* control, const QString& caption, const TInputRule& rule, bool required = false);
    // Sets or clears the error mark of a field (the form clears it when the field shows its data anew).
    void SetContraint(QLineEdit* control, bool error);
    // The field is marked with an error.
    bool isContraint(QLineEdit* control) const;
    bool IsConstrained(QLineEdit* control) const { return entries_.contains(control); }

    // Checks a field as the user leaves it: true with the value (an empty float for an empty field) when the
    // text is accepted; otherwise the field keeps the text marked, the user is told why (once per text), and
    // false.
    bool CheckControl(QLineEdit* control, double& value);
    // Checks every field's text without a message, marking those in error; true when none is.
    bool CheckConstraint();
    // No field is marked: what "Сохранить" stores is what the fields show.
    bool GetEnabled() const;
    // "«caption»: «text» — range" of each field marked, in the order the fields were added.
    QStringList Errors() const;
    // Every mark cleared (the fields show the data anew).
    void ClearAll();

    // Whether a text is accepted by a field's rule (and bound): the value, or the problem. A read-only or disabled
    // field is not checked.
    TInputValue Check(QLineEdit* control) const;

signals:
    // A field was marked or cleared.
    void ErrorsChanged();

private:
    struct Entry {
        QString caption;
        TInputRule rule;
        bool required = false;
        bool error = false;
        QString told;  // the text the user was last told about
    };
    void Mark(QLineEdit* control, Entry& entry, bool error);
    QString MessageOf(QLineEdit* control, const Entry& entry, const QString& problem) const;
    QHash<QLineEdit*, Entry> entries_;
    QList<QLineEdit*> order_;
};
