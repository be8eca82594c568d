#pragma once
// The 0.38 kV scheme of one LV feeder as the regime calculation sees it: nodes, sections and consumers.
// Plain data without database or widgets, so that the command line, the forms and the tests share it.
#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <vector>

#include "host/HostApi.h"

namespace fider {

// Kinds of node, as kept in "LVNodes"."Kind".
enum class TNodeKind : uint8_t { SupplyCentre = 0, TapPoint = 1, Consumer = 2, SwitchGear = 3, Plain = 4 };
// Kinds of section, as kept in "LVLines"."Kind".
enum class TSectionKind : uint8_t { Overhead = 0, Cable = 1, Connecting = 2 };
// Balance owners, as kept in "LVLines"."Owner" and "LVNodes"."Owner".
enum class TBalanceOwner : uint8_t { OnBalance = 0, NotOnBalance = 1, ConsumerOwned = 2, SSO = 3, SSP = 4 };
constexpr int kBalanceOwnerCount = 5;

// Balance kinds of the result rows: 0 the utility's, 4 every other owner.
constexpr int kBalanceOn = 0;
constexpr int kBalanceOff = 4;
inline int BalanceKind(TBalanceOwner owner) { return owner == TBalanceOwner::OnBalance ? kBalanceOn : kBalanceOff; }
OZN3HOST_API QString OwnerText(TBalanceOwner owner);
OZN3HOST_API std::optional<TBalanceOwner> OwnerFromText(const QString& text);
OZN3HOST_API std::optional<TBalanceOwner> OwnerFromCode(int code);
OZN3HOST_API QString SectionKindText(TSectionKind kind);
OZN3HOST_API QString NodeKindText(TNodeKind kind);

// A set of phases: bit 0 phase A, bit 1 phase B, bit 2 phase C.
using TPhaseSet = uint8_t;
constexpr TPhaseSet PhaseA = 1, PhaseB = 2, PhaseC = 4, PhasesABC = 7;
OZN3HOST_API int PhaseCount(TPhaseSet phases);
// "ABC", "AB", "A", …; empty for no phase.
OZN3HOST_API QString PhasesText(TPhaseSet phases);
// Reads "ABC", "AB", "BC", "CA", "A", "B", "C" (Latin or Cyrillic letters, any case); empty text is "ABC".
OZN3HOST_API std::optional<TPhaseSet> PhasesFromText(const QString& text);

// A conductor of the catalogue ("Provods"): resistance and reactance per km at 20 °C.
struct TConductor {
    int Ident = 0;
    QString Marka;
    double F = 0;  // cross-section, mm²
    double R0 = 0, X0 = 0;
    bool Cable = false;
    bool Known = false;  // found in the catalogue
};
// The name users know a conductor by, in the scheme workbook and in every list: brand and cross-section,
// "А-50", "АВБбШв-120"; the brand alone when the cross-section is not given.
OZN3HOST_API QString ConductorName(const QString& marka, double f);
inline QString ConductorName(const TConductor& c) { return ConductorName(c.Marka, c.F); }

// A node of the scheme. The supply centre is the feeder itself (its GUID); it has no "LVNodes" row.
struct OZN3HOST_API TNode038 {
    int Guid = 0;
    QString Name;
    TNodeKind Kind = TNodeKind::Plain;
    bool SwitchedOn = true;  // the state of a switching device; other nodes are always on
    // The class of the element in the scheme detail.
    QString ClassName() const;
};

// The consumer hanging on a consumer node, with its loads of the interval. Energies in thousand kWh.
struct OZN3HOST_API TAbonentNode038 {
    int NodeGuid = 0;
    QString Name;
    TPhaseSet Phases = PhasesABC;                // one phase, or three for a three-phase consumer
    std::optional<TBalanceOwner> Owner;          // empty: the owner of the section that feeds it
    double Wa = 0, Wr = 0, CosFi = 0, Pust = 0;  // empty floats where unknown
    // The consumer's own data, when set, wins over the scheme's node.
    bool HasEnergy() const;
};

// A section between two nodes; Node1 is meant to be the one nearer to the supply centre, but the
// calculation finds the direction itself.
struct OZN3HOST_API TLine038 {
    int Guid = 0;
    QString Name;
    int Node1 = 0, Node2 = 0;
    double Length = 0;  // km
    TSectionKind Kind = TSectionKind::Overhead;
    TPhaseSet Phases = PhasesABC;
    TConductor Phase, Neutral;
    bool SwitchedOn = true;
    TBalanceOwner Owner = TBalanceOwner::OnBalance;
    int Res = 0;  // district of the balance; 0: the substation's
    QString ClassName() const;
    bool GetKabel() const { return Kind == TSectionKind::Cable; }
    // A connecting line without a conductor joins its nodes without impedance; every other section, a
    // connecting line with a conductor too, has the impedance of its conductors.
    bool IsLink() const { return Kind == TSectionKind::Connecting && Phase.Ident == 0; }
    // Overhead or cable by construction: a connecting line counts as its conductor is built.
    bool IsCableBuilt() const
    {
        return Kind == TSectionKind::Cable || (Kind == TSectionKind::Connecting && Phase.Cable);
    }
};

class TFiderTopology;

// One LV feeder: its identity, its district, its scheme and its consumers.
class OZN3HOST_API TFiderHHInfo {
public:
    int Guid = 0;  // also the supply centre's node
    QString Name;
    int NodeGuid = 0;          // the substation
    int Res = 0;               // the substation's district of the balance ("Nodes"."RES")
    double Unom = 0.38;        // kV
    double LoadKindCosFi = 0;  // the load kind's power factor; empty when unknown
    int LoadKind = 0;          // the load kind ("TypeLoads"."Ident"); 0 when not given
    std::vector<TNode038> Nodes;
    std::vector<TLine038> Lines;
    std::vector<TAbonentNode038> Consumers;
    // True when the scheme was made from the feeder's own parameters: one section and a load at its end.
    bool Equivalent = false;

    // The supply-centre phase voltage of the nominal voltage, V (230 V for 0.38 kV, 127 V for 0.22 kV).
    double NominalPhaseVoltage() const;
    // Total length of the sections, km.
    double GetLength() const;
    // The first section of the main line (the three-phase path to the farthest node); null without sections.
    const TLine038* GetHeadEnd() const;
    // Length (km) and cross-section (mm²) of that section; empty floats without one.
    double GetHeadEndLength() const;
    double GetHeadEndSize() const;
    // The district of a section's balance.
    int ResOf(const TLine038& line) const { return line.Res ? line.Res : Res; }
    // The (district, balance kind) pairs of the feeder's balance, ordered: those of the head section, of
    // every section, and of every consumer (its own owner, or that of the section feeding it).
    std::vector<std::pair<int, int>> GetBalancesList() const;
    std::vector<std::pair<int, int>> GetBalancesList(const TFiderTopology& topology) const;
};

}  // namespace fider
