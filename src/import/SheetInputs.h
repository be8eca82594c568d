#pragma once
#include <QString>
#include <QStringList>
#include <QVariant>
#include <limits>

struct lxw_worksheet;

// What an input cell of a workbook accepts. The rule is written as the column's data validation, so that the
// spreadsheet refuses a wrong value as it is typed, and checked again when the workbook is read back, since a
// value pasted or written by another program passes the spreadsheet's check.
struct TInputRule {
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
TInputValue CheckInput(const QVariant& cell, const TInputRule& rule);
// "ячейка K12: «abc» — <rule's message>", the line a refusal names.
QString InputProblem(int column, int row, const QVariant& cell, const TInputRule& rule);

// Writes the rule as the data validation of rows [firstRow, lastRow] (1-based) of a column; false with a
// reason when the spreadsheet format cannot hold it.
bool WriteInputRule(lxw_worksheet* sheet, int firstRow, int lastRow, int column, const TInputRule& rule);
