#pragma once
// The regime calculation's reading: schemes, loads and parameters of an interval (its writing is
// RegimeWriter). With the writer, the only place of the calculation that speaks SQL.
#include <QList>
#include <QStringList>
#include <QVariant>
#include <memory>
#include <vector>

#include "host/HostApi.h"
#include "host/fider/RegimeSettings.h"

class ToznFDConnection;
class TFDQuery;

namespace fider {

// One feeder ready to calculate: its scheme with the consumers' loads and the resolved settings.
// Problems found while reading (an unknown owner code, a bad phase text) refuse the feeder.
struct OZN3HOST_API TFiderJob {
    TFiderHHInfo Fider;
    TRegimeSettings Settings;
    QStringList Problems;
};

// The conductor of a catalogue row with the columns "Ident", "Marka", "F", "R0", "X0" and "CableFlags";
// known when its resistance is. A row without a reactance counts its resistance only.
OZN3HOST_API TConductor ConductorOfRow(const TFDQuery& q);

class OZN3HOST_API TRegimeReader {
public:
    TRegimeReader(ToznFDConnection& connection, double defaultKzap, double defaultCosFi);
    // Reads the feeders (in the order given) for the request's interval. A few feeders are read one by
    // one; many are read table by table for the whole interval. A feeder that does not exist is left out.
    std::vector<TFiderJob> Read(const QList<int>& fiders, const TRegimeRequest& request);
    // Hours of an interval ("SamplesDates"); 0 when it does not exist.
    double IntervalHours(int sampleIdent);

private:
    ToznFDConnection& connection_;
    double defaultKzap_, defaultCosFi_;
};

}  // namespace fider
