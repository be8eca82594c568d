#pragma once
// The methods side by side: for every LV feeder run by metering profiles, its load losses by the profiles and by
// the mean-load and maximum-load methods for the same consumers and interval, summed over the network tree, with
// the errors of the two methods; read from the stored runs, shown by the command line, the workbook and the
// window alike.
#include <QHash>
#include <QString>
#include <vector>

#include "host/HostApi.h"

class ToznFDConnection;
class TfdbTree;
class TOExport;

namespace profiles {

// The three losses of one feeder's run, thousand kWh.
struct OZN3HOST_API TFeederComparison {
    double dWa = 0, dWaMiddle = 0, dWaMax = 0;
};

// One row of the comparison: an object of the tree with the sums of the feeders under it.
struct OZN3HOST_API TComparisonRow {
    int Level = 0;  // 0 utility … 6 substation, 7 LV feeder
    int Guid = 0, Parent = 0;
    QString Name;
    int Feeders = 0;  // LV feeders summed (those whose three losses are all known)
    double dWa = 0, dWaMiddle = 0, dWaMax = 0;
    double ErrorMiddle() const;  // per cent of the profiles' losses; empty without them
    double ErrorMax() const;
};

// The stored runs by profiles of an interval, regime kind and calculation type, by feeder.
OZN3HOST_API QHash<int, TFeederComparison> ReadComparisons(ToznFDConnection& connection, int sampleIdent, int regime,
                                                           int calcType);
// The rows of the objects under `root` (itself first, then its children depth first) that have feeders with
// runs under them. A substation fed twice counts under its own feeder only.
OZN3HOST_API std::vector<TComparisonRow> CompareOverTree(const TfdbTree& tree, int root,
                                                         const QHash<int, TFeederComparison>& feeders);
// One row as a JSON line: Level, GUID, Parent, Name, Feeders, dWa, dWaMiddle, dWaMax, ErrorMiddle, ErrorMax.
OZN3HOST_API QByteArray ComparisonJson(const TComparisonRow& row);
// The rows as a workbook sheet "Сравнение методов" (objects indented by level; errors as formulas).
OZN3HOST_API bool WriteComparisonWorkbook(const QString& file, const QString& title,
                                          const std::vector<TComparisonRow>& rows, QString& error);
// Column captions of the table, as the workbook and the window show them.
OZN3HOST_API QStringList ComparisonCaptions();
// The rows as the texts of a table (objects indented by level), under the captions.
OZN3HOST_API std::vector<QStringList> ComparisonTexts(const std::vector<TComparisonRow>& rows);
// The table into the host's export object, titled with the object's name.
OZN3HOST_API void FillComparisonExport(TOExport& table, const QString& object, const std::vector<TComparisonRow>& rows);

}  // namespace profiles
