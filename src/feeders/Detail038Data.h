#pragma once
#include <QHash>
#include <QString>
#include <QVariant>
#include <array>
#include <vector>

#include "host/fider/Scheme038.h"

class ToznFDConnection;

// The calculated state of one LV feeder's 0.38 kV scheme, element by element, for the scheme detail frame.
namespace Detail038 {

enum Table { Nodes = 0, Sections = 1 };
// The table names as the user sees them; also the first part of their settings keys.
QString TableName(Table table);

// One element of the scheme: its class, kind, switching state, balance owner and values by column field, and the
// GUID of its node or section (the feeder's own for the supply centre, 0 where the element has none).
struct Row {
    QString ClassName, DevType, State, Owner;
    QHash<QString, QVariant> Values;
    int Guid = 0;
    QVariant Value(const QString& field) const;
};

// A column of a table and the presets that show it.
// Decimals: the digits after the comma every number of the column shows (-1: as many as it has).
struct Column {
    QString Field, Caption;
    bool Default, PProfile, PMProfile, PEProfile;
    int Decimals = -1;
};
const std::vector<Column>& Columns(Table table);

// The values of one stored run of the regime calculation, by element GUID; empty floats where the run has none.
struct RunValues {
    int ident = 0, sample = 0;      // "LVResults"."Ident" and its interval; 0 without a run
    QString sampleName;             // the interval's name
    int regime = 0;                 // 0 mean loads, 1 maximum load
    std::array<double, 3> centre;   // the supply centre's phase voltages, V
    std::array<double, 3> lowest3;  // each phase's lowest voltage over the feeder, V
    double centreMean, lowest;
    QHash<int, std::array<double, 5>> nodes;     // U, UA, UB, UC, dU
    QHash<int, std::array<double, 8>> sections;  // I, dU, dP, IA, IB, IC, IN, dQ
    RunValues();
};

// One LV feeder as the frame and the drawing show it: its scheme as the regime calculation reads it (an
// equivalent one of its own parameters when it has none) and one stored run.
struct FeederState {
    bool Found = false;
    int Guid = 0;
    QString FeederName, SubstationName;
    QString CentreName;            // "ТП: … Линия …"
    QString SwitchGear, Consumer;  // the feeder editor's switching device and load, for a feeder without a scheme
    fider::TFiderHHInfo Fider;
    RunValues Run;
};

struct Scheme {
    std::array<std::vector<Row>, 2> Rows;  // by Table
    FeederState State;
};
// Reads an LV feeder with one stored run of the regime calculation ("LVResults"."Ident"), or with its latest
// ordinary run when runIdent is 0, or with its latest ordinary run of an interval when sampleIdent is given.
FeederState Read(ToznFDConnection& connection, int feederGuid, int runIdent = 0, int sampleIdent = 0);
// The rows of the two tables of a feeder read.
Scheme Rows(FeederState state);
// Reads the scheme of an LV feeder with the voltages, currents and losses of one stored run (as Read does).
Scheme Load(ToznFDConnection& connection, int feederGuid, int runIdent = 0);

// A value of a table cell: numbers as they are, a value that is not a number as "+NAN".
QVariant NumberCell(double value);

// The items of the filter tree: which table each one shows and the row filter it applies (empty: none).
struct Filter {
    QString Item;
    Table table;
    QString Expression;
    bool TopLevel;
};
const std::vector<Filter>& Filters();
// Whether a row passes a filter of the form "Field='text'" joined by " or ".
bool Matches(const Row& row, const QString& expression);

// The six colour settings, in the order they are kept.
enum Colour { OnBalance, OffBalance, ConsumerOwned, SSO, SSP, Disconnected, ColourCount };
// The colour a row takes: disconnected rows and rows of an unknown owner the disconnected colour, the others
// their owner's (an empty owner counts as on the balance).
Colour RowColour(const QString& state, const QString& owner);

// Column presets: "По умолчанию", "Профи", "Потери мощности", "Потери электроэнергии".
enum Preset { PresetDefault, PresetProfi, PresetPower, PresetEnergy, PresetCount };
QString PresetName(Preset preset);
// Which columns a preset shows; with hideRepeated a column whose cells are all empty or all equal to an
// earlier shown column's is hidden too.
std::vector<bool> PresetVisibility(Table table, Preset preset, bool hideRepeated, const std::vector<Row>& rows);

// The settings of the frame: its name and the keys of a column's width, order and visibility.
extern const QString kSettingsName;
QString ColumnKey(Table table, const QString& field, const char* what);
extern const QString kColoursKey;
// The preset chosen and its option, the drawing's colouring and labels, and the frame's splitters.
extern const QString kPresetKey, kHideRepeatedKey, kDrawColourKey, kSectionLabelsKey, kSplittersKey;

// The text of a number in a column with a given number of decimals (-1: up to three, as many as it has).
QString CellText(double value, int decimals);
}  // namespace Detail038
