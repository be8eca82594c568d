#pragma once
// Generated 0.38 kV schemes of the demo network: a main line from the substation with branches,
// service drops to the consumers, overhead and cable sections of different conductors, switching
// devices, switched-off parts, parts of other owners and of a neighbouring district.
#include <QHash>
#include <functional>

#include "db/DemoRandom.h"
#include "host/HostApi.h"
#include "host/fider/Scheme038.h"

namespace db::demo {

struct SchemeRequest {
    int fider = 0;   // the feeder's GUID
    QString street;  // the street the feeder runs along
    int res = 0, neighbourRes = 0;
    double unom = 0.38;
    double loadKindCos = 0.9;
    int sections = 40;  // sections of the scheme, service drops included
};

// The conductors the schemes use, from the demo catalogue.
struct SchemeConductors {
    QHash<int, fider::TConductor> byIdent;
    fider::TConductor Get(int ident) const { return byIdent.value(ident); }
};

// A scheme with its consumers and their yearly energies (thousand kWh) in TAbonentNode038::Wa.
OZN3HOST_API fider::TFiderHHInfo MakeScheme(Random& random, const std::function<int()>& newGuid,
                                            const SchemeRequest& request, const SchemeConductors& conductors);

}  // namespace db::demo
