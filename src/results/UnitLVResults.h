#pragma once
#include <QString>

class ToznFDConnection;

#include <QDateTime>
#include <QHash>
#include <QList>

// Results queries of the LV results over the hierarchy, kept as resource strings of this unit.
namespace LVResultsSql {
extern const char* const sLevelOfGUID;
extern const char* const sDeleteResults;
extern const char* const sDeleteResultsWithoutType;
extern const char* const sLineNodeCount;
extern const char* const sSamplesWithResults;
extern const char* const sOwnerRES;
extern const char* const sObjectLevels;
// The rows (after "select … ") that join a result stored under an object of a level, as the level query joins
// them, with the object's key as :GUID; results (mv), balance rows (pa) and every level's alias are reachable.
QString ResultsUnderObject(int level);
// The kinds of period with results of a calculation type under an object of a level within a date range.
QString PeriodsWithResults(int level);
extern const char* const sResultRows;
extern const char* const sResultRowsOfRES;
// The result rows of every LV feeder an object of a supply centre or below owns (levels 3 to 7), with :GUID.
QString ResultRowsUnderObject(int level);
extern const char* const sHierarchy;
extern const char* const sHierarchyTop;
extern const char* const sObjectWithDistrict[8];
extern const char* const sTransformerTexts;
extern const char* const sNamesOfHierarchy;
extern const char* const sObjectNames;
extern const char* const sNormativeLosses;
extern const char* const sDistrictNames;
extern const char* const sFiderOwners;
}  // namespace LVResultsSql

// A sample (a row of "SamplesDates") for which results of a calculation type are stored.
struct TLVResultSample {
    int Ident = 0;
    QString Name;
    int Period = 0;
    QDateTime SampleDate1, SampleDate2;
};

// A kind of period ("Periods") for which results are stored under an object.
struct TLVResultPeriod {
    int Period = 0;
    QString Name;
};

// The hierarchy level (0 utility … 7 LV feeder) of an object under which results are stored;
// -1 when nothing is stored under it.
int FindLevelLV(ToznFDConnection& connection, int guid);

// The names of every object above the LV feeders with results in a sample range, by GUID.
QHash<int, QString> NamesLV(ToznFDConnection& connection, int calcType, const QDateTime& sd1, const QDateTime& sd2);
// The names of every object of the hierarchy, by GUID.
QHash<int, QString> ObjectNamesLV(ToznFDConnection& connection);

// Deletes the "LVResults" rows of a sample and calculation type of every LV feeder under an object
// (their balance rows go with them); returns the number of rows deleted.
int DeleteResultsLV(ToznFDConnection& connection, int guid, int calcType, int sampleIdent);
// The samples with results of a calculation type, ordered by their end (the latest last).
QList<TLVResultSample> SamplesWithResultsLV(ToznFDConnection& connection, int calcType);
// The kinds of period with results under an object within a sample range.
QList<TLVResultPeriod> PeriodsWithResultsLV(ToznFDConnection& connection, int calcType, int guid, const QDateTime& sd1,
                                            const QDateTime& sd2, bool withSections = true);
// Normative losses of energy (thousand kWh) stored by the generalised method for a sample, by element GUID.
QHash<int, double> NormativeLossesLV(ToznFDConnection& connection, int sampleIdent);
