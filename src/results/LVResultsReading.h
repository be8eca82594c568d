#pragma once
// The reading of the stored LV results under an object: the rows of the interval's results, the hierarchy of
// the utility held in memory, and the results gathered with the path of objects above each.
#include <QDateTime>
#include <QHash>
#include <QString>
#include <array>
#include <functional>
#include <vector>

#include "results/UnitLVResultsTree.h"

class ToznFDConnection;

// The utility's hierarchy as the results need it: the owner of every object by level (0 utility … 7 LV
// feeder), the names, the sections' nominal voltages and the substations' transformers. Read in two queries.
class TLVHierarchy {
public:
    // The whole hierarchy.
    void Read(ToznFDConnection& connection);
    // Only the utility, its enterprises and districts, and the transformers; the objects below are added one
    // by one as the results name them.
    void ReadTop(ToznFDConnection& connection);
    void Add(int level, int guid, int owner, const QString& name);
    void AddSection(int guid, double unom);
    void AddSubstation(int guid, int transformer);
    // The owner of an object of a level; 0 when the level has no such object.
    int Owner(int level, int guid) const { return owners_[level].value(guid, 0); }
    bool Has(int level, int guid) const { return owners_[level].contains(guid); }
    const QHash<int, QString>& Names() const { return names_; }
    double SectionUnom(int guid) const;
    QString TransformerOf(int substation) const;

private:
    void ReadTransformers(ToznFDConnection& connection);
    std::array<QHash<int, int>, 8> owners_;
    QHash<int, QString> names_;
    QHash<int, double> sectionUnom_;
    QHash<int, int> transformerOfSubstation_;
    QHash<int, QString> transformerText_;
};

struct TLVResultsReading {
    std::vector<TLVPendingResult> Results;  // ordered by feeder, then by result
    int RowCount = 0;                       // rows read, one per balance block
    QHash<int, QString> Names;              // every object of the hierarchy by GUID
};

// The results of a calculation type under an object of a level for the samples of a period kind within a
// date range, of the feeders that stand under a whole chain of owners up to a supply centre. Each block counts in
// the district that owns it: under the utility, an enterprise or a district a result is split into its
// districts' parts, each placed under its own district (its feeder's path below the district by ownership), and
// only the parts of the object's districts are taken; the run's own values (currents, lengths, the admissible
// imbalance) stay with the part of the feeder's own district. An object below a district takes its feeders
// whole. So a district opened alone shows what it shows in its enterprise's tree, and the districts add up.
TLVResultsReading ReadResultsLV(ToznFDConnection& connection, int level, int guid, int calcType, const QDateTime& sd1,
                                const QDateTime& sd2, int period, const std::function<void(const QString&)>& progress);
