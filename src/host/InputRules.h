#pragma once
#include <QString>
#include <QStringList>
#include <QVariant>
#include <limits>

#include "host/HostApi.h"

// What an input accepts: a number within a range, a whole number, or a text. The same rule checks a field of a
// form as the user leaves it (TEditConstraints) and a cell of a workbook, where it is also written as the
// column's data validation and checked again when the workbook is read back (a value pasted or written by
// another program passes the spreadsheet's check).
struct OZN3HOST_API TInputRule {
    enum Kind { Number, Whole, Text };
    Kind kind = Number;
    double min = -std::numeric_limits<double>::infinity();
    double max = std::numeric_limits<double>::infinity();
    bool minExcluded = false;  // the lower bound itself is refused
    QStringList texts;         // the texts a Text cell takes (an empty cell always passes); none: any text
    int maxLength = 0;         // the longest text a free Text cell takes
    QString message;           // what the user is told: the caption and the range

    static TInputRule Range(double min, double max, const QString& message);
    static TInputRule AtLeast(double min, const QString& message);
    static TInputRule Above(double min, const QString& message);
    static TInputRule AboveUpTo(double min, double max, const QString& message);
    static TInputRule WholeRange(double min, double max, const QString& message);
    static TInputRule OneOf(const QStringList& texts, const QString& message);
    static TInputRule FreeText(int maxLength, const QString& message);
    // Any finite number.
    static TInputRule AnyNumber(const QString& message);

    bool Accepts(double value) const;
};

// A cell's value as read back: a number (NaN when the cell is empty), or the problem with it.
struct TInputValue {
    double number;
    QString text;     // a Text cell's text, trimmed
    QString problem;  // empty when the value is accepted
};
// Checks one read cell against its rule. A text that reads as a number ("12,5") counts as that number.
OZN3HOST_API TInputValue CheckInput(const QVariant& cell, const TInputRule& rule);
// "ячейка K12: «abc» — <rule's message>", the line a refusal names.
OZN3HOST_API QString InputProblem(int column, int row, const QVariant& cell, const TInputRule& rule);
