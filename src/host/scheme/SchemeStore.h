#pragma once
// The scheme workbook and the database: the conductor catalogue the checks need, loading a checked
// workbook into a substation, and reading stored schemes back as workbook rows. The only place of the
// scheme exchange that speaks SQL.
#include <QStringList>
#include <vector>

#include "host/HostApi.h"
#include "host/scheme/SchemeBook.h"

class ToznFDConnection;

namespace scheme {

// The conductors of the 0.38 kV kinds ("ProvodTypes"."Unom" = 0.380).
OZN3HOST_API TConductorCatalogue ReadCatalogue(ToznFDConnection& connection);

struct TImportOptions {
    int NodeGuid = 0;      // the substation ("Nodes")
    int SampleIdent = 0;   // the interval of the consumers' energies; 0: the energies are not stored
    bool Replace = false;  // a feeder's stored scheme is replaced rather than refused
};

struct OZN3HOST_API TImportSummary {
    int Fiders = 0, NewFiders = 0, Nodes = 0, Sections = 0, Consumers = 0, Loads = 0;
    QStringList Replaced;  // feeders whose former scheme was replaced
    QStringList Warnings;  // what was read but not stored
    QList<int> FiderGuids;
    struct Created {
        int Guid;
        QString Name;
        double Unom;
    };
    std::vector<Created> NewFiderList;  // the LV feeders the workbook created, for the network tree
    QString ToString() const;
};

class OZN3HOST_API TSchemeStore {
public:
    explicit TSchemeStore(ToznFDConnection& connection) : connection_(connection) {}

    // Checks the workbook, then against the database (the substation, the interval, the feeders that
    // already have a scheme), and stores it in one transaction: all or nothing. False with the problems.
    // A replaced feeder keeps the keys of the nodes whose names stay, so that the consumers' data of other
    // intervals stay with them; the data of the nodes that go are deleted with them.
    bool Import(const TSchemeBook& book, const TImportOptions& options, TImportSummary& summary,
                std::vector<TBookProblem>& problems);
    // The feeders of the workbook that already have a scheme under the substation.
    QStringList FidersWithSchemes(const TSchemeBook& book, int nodeGuid);

    // Removes the scheme of one LV feeder with its consumers' data of every interval; the feeder stays and
    // is calculated from its own parameters. False with a reason.
    bool ClearScheme(int fiderGuid, QString& error);

    // The rows of the stored schemes under an object: every LV feeder of a substation, or one LV feeder;
    // with an interval, the consumers' energies of it. False with a reason when the object is neither.
    bool Export(int guid, int sampleIdent, TSchemeBook& book, QString& error);

private:
    ToznFDConnection& connection_;
};

}  // namespace scheme
