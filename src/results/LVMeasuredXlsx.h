#pragma once
#include <QString>
#include <QStringList>

#include "results/LVMeasuredLosses.h"

// The columns of the measured losses, in the order the table, the workbook and the command show them.
struct TMeasuredColumn {
    QString Caption;  // "group|unit" where the caption has two lines
    QString Field;    // the command's name of the value
    double (*Value)(const TMeasuredTotals&);
    enum Kind { Sum, Own, Percent } Kind;  // how a node row of the workbook fills it from the rows below
};
const std::vector<TMeasuredColumn>& MeasuredColumns();
// The number of measured and not measured feeders, as numbers for the columns.
double MeasuredCount(const TMeasuredTotals& t);
double NotMeasuredCount(const TMeasuredTotals& t);

// Writes the measured losses of a tree as a workbook: one row per node, levels coloured as in the results grid,
// a node's sums as live formulas over the rows of the nodes below it (empty where none of them has a value),
// the losses in per cent as formulas of the row, each formula with the value it gives beside it. False with a
// reason.
bool WriteMeasuredXlsx(const QString& file, TMeasuredNode& tree, const QString& title, QString& error);
