#pragma once
// The reading of the stored LV results under an object: the rows of the interval's results, the hierarchy of
// the utility held in memory, and the results gathered with the path of objects above each.
#include <QDateTime>
#include <QHash>
#include <QString>
#include <array>
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
// date range. A result is taken when its feeder stands under a whole chain of owners up to a supply centre and
// one of its balance rows is the object's: a row of a district of the utility (level 0), of the enterprise (1),
// of the district itself (2), or of the object's district for an object below it (3 to 7) that owns the
// feeder. Each result keeps those of its balance rows whose district and enterprise exist; its path of objects
// above the supply centre is that of its first balance row (by district, then balance kind).
TLVResultsReading ReadResultsLV(ToznFDConnection& connection, int level, int guid, int calcType, const QDateTime& sd1,
                                const QDateTime& sd2, int period);
