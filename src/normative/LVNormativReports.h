#pragma once
#include <QList>
#include <QString>
#include <memory>
#include <vector>

#include "host/SamplePeriods.h"
#include "normative/LVNormativSumObjectsUnit.h"

class ToznFDConnection;
class ToznListItemCommon;

// One row of the summary by levels: an object of the hierarchy with the aggregate of the elements below it.
struct TNormativeSummaryRow {
    int Depth = 0;
    QString LevelName;  // "АО", "ПЭС", "РЭС", "ЦП", "Фидер", "ТП" or "Линии"
    int NodeType = 0;
    const TLVBResultsCommon* Node = nullptr;
    bool Element = false;  // an element with a stored result, or one period of it
};

// What a summary sums.
struct TSummaryScope {
    // Empty: each element's result of the period. Otherwise the periods summed for each element (the months
    // of the period): an element is the sum of its results over them, its hours added, its lines and lengths
    // those of its latest scheme.
    std::vector<TSamplePeriodInfo> Periods;
    // The item's own stored result is left out and the elements below it are summed.
    bool BelowOnly = false;
};

// The intervals with any stored normative result.
QList<int> PeriodsWithResults(ToznFDConnection& connection);

// The months (intervals of kind 4) inside a period, by start; a month is inside itself.
std::vector<TSamplePeriodInfo> MonthsOf(const TSamplePeriodInfo& period, const std::vector<TSamplePeriodInfo>& all);

// The normative results stored for a period under a tree item, summed level by level (sections are not
// a level of their own). Elements with a stored result are the leaves.
class TNormativeSummary {
public:
    TNormativeSummary(ToznFDConnection& connection, ToznListItemCommon* item, const TSamplePeriodInfo& period,
                      const TSummaryScope& scope = {});
    ~TNormativeSummary();
    // Null when nothing is stored under the item.
    const TLVBResultsCommon* Root() const { return root_.get(); }
    // Every object with stored elements below it, from the top, children after their parent.
    const std::vector<TNormativeSummaryRow>& Rows() const { return rows_; }
    int ElementCount() const { return elements_; }

private:
    std::unique_ptr<TLVBResultsCommon> root_;
    std::vector<TNormativeSummaryRow> rows_;
    int elements_ = 0;
};

// The level name of a tree node type in the summary; empty for a type that is not a level of its own.
QString NormativeLevelName(int nodeType);

// The report of one item: the names of its owners, then the aggregated inputs and results, as an HTML
// table. Energies "#,##0.000", shares "#,##0.00", counts "#,##0", coefficients "0.###"; ranges "lower-upper".
QString NormativeReportHtml(ToznFDConnection& connection, ToznListItemCommon* item, const TSamplePeriodInfo& period,
                            const TSummaryScope& scope = {});
// The summary by levels as an HTML table: lengths and the losses in thousand kWh, per cent and per km.
QString NormativeSummaryHtml(const TNormativeSummary& summary, bool detailed);
// The file name of the report saved for the spreadsheet application.
QString NormativeReportFileName(const QString& element, const QString& period);
