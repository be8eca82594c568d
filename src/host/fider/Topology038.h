#pragma once
// The tree of one feeder as the solver walks it: nodes ordered from the supply centre, each with the
// section that feeds it, the phases it has and whether it is energised.
#include <QStringList>
#include <vector>

#include "host/HostApi.h"
#include "host/fider/Scheme038.h"

namespace fider {

class OZN3HOST_API TFiderTopology {
public:
    // Orders the scheme from the supply centre; a scheme that is not a radial tree gets problems
    // that name the element (a loop, a node fed twice, a section with a missing end, a consumer on a
    // phase its section does not carry, a section without a conductor).
    static TFiderTopology Build(const TFiderHHInfo& fider);

    bool Ok() const { return Problems.isEmpty(); }
    int Count() const { return static_cast<int>(Parent.size()); }

    // Per node in order (0 is the supply centre): the parent's position, the index of the feeding
    // section in the scheme's lines (-1 for the centre), the index of the node in the scheme's nodes
    // (-1 for the centre), the phases it has, and whether it is energised.
    std::vector<int> Parent, Line, SchemeNode;
    std::vector<TPhaseSet> Phases;
    std::vector<uint8_t> Energised;
    // Per consumer of the scheme: its node's position, -1 when it hangs on no node of the scheme.
    std::vector<int> ConsumerNode;
    // Scheme lines that were not reached from the supply centre.
    std::vector<int> Unreached;
    QStringList Problems;

    // The main line: the three-phase path from the centre to the farthest energised node.
    std::vector<uint8_t> OnMainLine;   // per position
    double MainLineLength = 0;         // km
    double Length23 = 0, Length1 = 0;  // off the main line: two/three-phase and single-phase sections, km
    int HeadEnd = -1;                  // scheme line index of the first main-line section
};

}  // namespace fider
