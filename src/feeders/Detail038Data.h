#pragma once
#include <QHash>
#include <QString>
#include <QVariant>
#include <array>
#include <vector>

class ToznFDConnection;

// The calculated state of one LV feeder's 0.38 kV scheme, element by element, for the scheme detail frame.
namespace Detail038 {

enum Table { Nodes = 0, Sections = 1 };
// The table names as the user sees them; also the first part of their settings keys.
QString TableName(Table table);

// One element of the scheme: its class, kind, switching state, balance owner and values by column field.
struct Row {
    QString ClassName, DevType, State, Owner;
    QHash<QString, QVariant> Values;
    QVariant Value(const QString& field) const;
};

// A column of a table and the presets that show it.
struct Column {
    QString Field, Caption;
    bool Default, PProfile, PMProfile, PEProfile;
};
const std::vector<Column>& Columns(Table table);

struct Scheme {
    std::array<std::vector<Row>, 2> Rows;  // by Table
};
// Reads the scheme of an LV feeder with the voltages, currents and losses of one stored run of the regime
// calculation ("LVResults"."Ident"), or of its latest ordinary run when runIdent is 0.
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
}  // namespace Detail038
