#pragma once
// Metering profiles in the database ("LVProfiles"): the names an imported file may use under a substation,
// storing a checked file, and reading the profiles of a feeder, of a whole interval feeder by feeder, and the
// typical ones of the load kinds. The only place of the profiles that speaks SQL.
#include <QStringList>
#include <memory>
#include <vector>

#include "host/HostApi.h"
#include "host/profiles/ProfileImport.h"

class ToznFDConnection;
class TFDQuery;

namespace profiles {

// The intervals of the database ("SamplesDates").
OZN3HOST_API std::vector<TProfileInterval> ReadIntervals(ToznFDConnection& connection);
// What a file may name under a substation; false with the reason when the node is not a substation.
OZN3HOST_API bool ReadProfileTargets(ToznFDConnection& connection, int nodeGuid, TProfileTargets& targets,
                                     QString& error);

class OZN3HOST_API TProfileStore {
public:
    explicit TProfileStore(ToznFDConnection& connection) : connection_(connection) {}
    // The profiles of the list that the interval already has.
    std::vector<const TStoredProfile*> Existing(int sampleIdent, const std::vector<TStoredProfile>& profiles);
    // Stores the profiles (replacing those of the same objects) in one transaction of its own: all or nothing.
    // Raises EDatabaseError.
    void Save(int sampleIdent, const std::vector<TStoredProfile>& profiles);
    // A feeder's profiles of an interval (consumers first, then the head meter). A row whose series cannot be
    // read is a problem, and left out.
    std::vector<TStoredProfile> ReadFider(int sampleIdent, int fiderGuid, QStringList& problems);
    // The typical profiles of the load kinds ("Guid" is the load kind).
    std::vector<TStoredProfile> ReadTypical(int sampleIdent, QStringList& problems);
    // How many consumers' and head profiles an interval has under a substation.
    void Count(int sampleIdent, int nodeGuid, int& consumers, int& heads);

private:
    ToznFDConnection& connection_;
};

// Loading a file into a substation: read, checked whole against the substation and the interval, and stored
// all or nothing. A profile the interval already has is refused unless `replace`.
struct OZN3HOST_API TProfileLoad {
    TProfileImport Check;  // the file and its problems
    QStringList Existing;  // what the interval already has, when not replacing
    QString Error;         // the substation, or the database
    bool Stored = false;
    int Consumers = 0, Heads = 0, Replaced = 0;
    QString Created;               // the interval made for the file, when none held it
    QString Summary() const;       // what was stored
    QStringList Problems() const;  // every reason nothing was stored
};
OZN3HOST_API TProfileLoad LoadProfileFile(ToznFDConnection& connection, const QString& file, int nodeGuid,
                                          int sampleIdent, bool replace);

// The same for the windows: a file whose consumers already have profiles of the interval is stored in their
// place when the user agrees (a question through the host's dialogs service).
OZN3HOST_API TProfileLoad LoadProfileFileAsking(ToznFDConnection& connection, const QString& file, int nodeGuid,
                                                int sampleIdent);

// A row of a profile query (the columns of ProfileSql::kColumns); false with a problem when its series is
// damaged.
bool ProfileOfRow(const TFDQuery& q, TStoredProfile& profile, QString& problem);

}  // namespace profiles
