#pragma once
#include <QChar>
#include <QString>
#include <functional>

class TLVResultRecord;
struct lxw_workbook;

// What the header block of a feeder's results workbook names: the owners of the feeder and the period.
struct TLVFiderResultsHeader {
    QString Pes, Res, Center, Section, Fider, Node, TypeTR, Line, PeriodName;
    double SectionUnom, LineUnom;  // kV
    double Nodes;                  // the nodes of the line's scheme; empty without a scheme
    TLVFiderResultsHeader();
};

// A guarded ratio as a worksheet formula: "IF(" divisor "<>0" sep dividend "/" divisor "*" factor sep ""
// ")" — empty text where the divisor is zero. The separator is "," in a workbook file and ";" for the
// host's export object.
QString LVRatioFormula(const QString& dividend, const QString& divisor, int factor, QChar separator);

// Writes the results of one LV feeder (its record at level 7) as a workbook with the sheets "Потери
// электроэнергии" and "Потери мощности": header block, phase block, balance table and line table. False
// with a reason when the file cannot be written; an existing file is replaced only by a whole workbook.
// `more` adds sheets after those two.
bool WriteFiderResultsXlsx(const QString& file, const TLVResultRecord& record, const TLVFiderResultsHeader& header,
                           QString& error, const std::function<void(lxw_workbook*)>& more = {});
