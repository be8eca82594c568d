#pragma once
// The drawing of one LV feeder: its nodes and sections laid out around the supply centre, each with what the
// drawing shows of it (kind, state, phases, owner, the values of a stored run) and the colour of the result
// chosen. Plain data without widgets: the window, the printed page and the command line draw the same thing.
#include <QPointF>
#include <QRectF>
#include <QString>
#include <QStringList>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "feeders/Detail038Data.h"
#include "host/fider/Scheme038.h"

namespace feeders {

// The result the drawing is coloured by.
enum class TDrawColour { Voltage = 0, VoltageA, VoltageB, VoltageC, Loading, Losses };
constexpr int kDrawColourCount = 6;
// The names of the choices as the window lists them.
QString DrawColourName(TDrawColour colour);
// The command line's words: "voltage", "loading", "losses" (and "voltage-a", "voltage-b", "voltage-c").
QString DrawColourWord(TDrawColour colour);
std::optional<TDrawColour> DrawColourFromWord(const QString& word);

// The deviation of a phase voltage from the nominal that GOST 32144-2013 allows at the consumer's terminals, %.
constexpr double kGostVoltageLimit = 10.0;

// Colours as 0xRRGGBB.
using TRgb = uint32_t;
constexpr TRgb kDeEnergised = 0xA0A0A0;  // the part of the scheme behind an open switch or section
constexpr TRgb kNoResult = 0x303030;     // an element without a value of the result chosen
// The colour of a voltage deviation (%, of the nominal phase voltage): green at the nominal, through yellow and
// orange to red at the limit; beyond the limit dark red below the nominal and violet above it.
TRgb VoltageColour(double deviation);
// The colour of a share (0 the least value of the feeder, 1 the largest): blue through yellow to red.
TRgb ScaleColour(double share);
// The colours of the balance owners as the scheme panel paints them; the utility's is black.
TRgb OwnerColour(fider::TBalanceOwner owner);
// Phase colours of the drawing's consumer marks: A yellow, B green, C red, three phases black.
TRgb PhaseColour(fider::TPhaseSet phases);

struct TDrawNode {
    int Guid = 0;         // the feeder's own GUID for the supply centre
    int SchemeNode = -1;  // index in the scheme's nodes; -1 for the supply centre
    int Parent = -1;      // the node it is fed from (index in the drawing's nodes)
    int Section = -1;     // the section that feeds it (index in the drawing's sections)
    QString Name;
    fider::TNodeKind Kind = fider::TNodeKind::Plain;
    QPointF Position;
    // Where its name goes: the direction of the section that feeds it (radians, screen axes), whether nothing is
    // fed from it, and the side of that direction with fewer of its own sections (+1 the right-hand side).
    double Heading = 0;
    bool Leaf = true;
    int LabelSide = 1;
    bool Energised = true;
    bool Open = false;  // a switching device that is off
    // A consumer's mark: its name and the phases it takes.
    bool Consumer = false;
    QString ConsumerName;
    fider::TPhaseSet Phases = fider::PhasesABC;  // the consumer's, else the phases that reach the node
    fider::TBalanceOwner Owner = fider::TBalanceOwner::OnBalance;
    double Distance = 0;      // km from the supply centre along the scheme
    std::array<double, 3> U;  // phase-to-neutral voltages of the run, V; empty where absent
    double Deviation;         // % of the nominal: the phase chosen, else the phase farthest from the nominal
    TRgb Colour = kNoResult;
    TDrawNode();
    bool OtherOwner() const { return Owner != fider::TBalanceOwner::OnBalance; }
};

struct TDrawSection {
    int Guid = 0;
    int SchemeLine = -1;
    int From = -1, To = -1;  // node indices, From nearer to the supply centre
    QString Name;
    fider::TSectionKind Kind = fider::TSectionKind::Overhead;
    QString Conductor;  // "А-50"; empty for a link without a conductor
    double Length = 0;  // km
    fider::TPhaseSet Phases = fider::PhasesABC;
    bool SwitchedOn = true;
    bool Energised = true;
    fider::TBalanceOwner Owner = fider::TBalanceOwner::OnBalance;
    std::array<double, 4> I;  // A, phases and neutral; empty where absent or without a run
    double Imax, dP;          // the largest phase current, A; losses, kW
    TRgb Colour = kNoResult;
    TDrawSection();
    bool OtherOwner() const { return Owner != fider::TBalanceOwner::OnBalance; }
    // "А-50, 0,040 км"
    QString Label() const;
};

// The legend of the colouring: a title, the scale's ends and marks, each with its text.
struct TLegend {
    QString Title;
    struct Mark {
        double Value;
        QString Text;
    };
    double Low = 0, High = 1;  // the values at the ends of the scale
    std::vector<Mark> Marks;   // values on the scale with their texts, the limits of GOST among them
    bool Empty = true;         // no value of the result to colour by
};

// One point of the voltage along a line: a node on the way from the supply centre, its distance and voltages.
struct TProfilePoint {
    int Node = -1;
    QString Name;
    double Distance = 0;      // km
    std::array<double, 3> U;  // V; empty where the phase is absent
};

class TSchemeDrawing038 {
public:
    // The drawing of a feeder read with its run (Detail038::Read), coloured by a result.
    static TSchemeDrawing038 Build(const Detail038::FeederState& state, TDrawColour colour = TDrawColour::Voltage);

    QString Title;     // "ТП-221 мкр. Северный, Л-2 Садовая"
    QString Subtitle;  // the run: its interval and regime, or that the feeder has no stored run
    int FeederGuid = 0;
    bool HasRun = false;
    bool Equivalent = false;       // drawn from the feeder's own parameters: it has no scheme
    double NominalVoltage = 230;   // phase-to-neutral, V
    std::vector<TDrawNode> Nodes;  // node 0 is the supply centre
    std::vector<TDrawSection> Sections;
    QStringList Problems;  // what is wrong with the scheme (a loop, a section not connected): those parts are not drawn
    TDrawColour Colour = TDrawColour::Voltage;
    TLegend Legend;

    // Colours every node and section by a result of the run.
    void Recolour(TDrawColour colour);
    // The rectangle of the node positions.
    QRectF Bounds() const;
    int NodeIndex(int guid) const;
    int SectionIndex(int guid) const;
    // The nodes from the supply centre to the node given, with their distances and voltages.
    std::vector<TProfilePoint> VoltageAlong(int node) const;
};

}  // namespace feeders
