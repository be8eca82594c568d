#pragma once
// The scheme workbook of a substation: its sections and consumers as users write them in a spreadsheet,
// the checks that turn them into feeder schemes, and the way back from stored schemes to rows.
// Plain data without SQL or widgets: the command line, the scheme editor and the tests share it.
#include <QHash>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

#include "host/HostApi.h"
#include "host/fider/Scheme038.h"

namespace scheme {

inline constexpr const char* kSectionsSheet = "Участки";
inline constexpr const char* kConsumersSheet = "Абоненты";
// The name of the supply centre of every feeder in the node columns.
inline constexpr const char* kSupplyCentre = "ТП";

// Columns of "Участки" and "Абоненты", in sheet order; row 1 holds the captions.
enum TSectionColumn {
    SFider,
    SFrom,
    STo,
    SLength,
    SPhase,
    SNeutral,
    SPhases,
    SKind,
    SState,
    SOwner,
    SDevice,
    SColumns
};
enum TConsumerColumn { CFider, CNode, CName, CPhase, CPust, CEnergy, CCosFi, COwner, CColumns };
OZN3HOST_API QString SectionCaption(int column);
OZN3HOST_API QString ConsumerCaption(int column);
// The last column, "Аппарат в узле конца", may be left out of a workbook.
inline constexpr int kRequiredSectionColumns = SDevice;

// Texts of the coded columns, in the order the lists offer them.
OZN3HOST_API QStringList StateTexts();        // "Включен", "Отключен"
OZN3HOST_API QStringList SectionKindTexts();  // overhead, cable, connecting
OZN3HOST_API QStringList OwnerTexts();        // "На балансе", …
OZN3HOST_API QStringList SectionPhaseTexts();
OZN3HOST_API QStringList ConsumerPhaseTexts();

// One problem of a workbook, at a cell ("Участки!E12: …") or at a whole sheet (row 0).
struct OZN3HOST_API TBookProblem {
    QString Sheet;
    int Row = 0, Column = 0;  // 1-based; column 0: the whole row
    QString Text;
    QString ToString() const;
};
OZN3HOST_API QStringList ProblemTexts(const std::vector<TBookProblem>& problems);

// A row as the user left it: the text of every cell (numbers in their shortest form).
struct OZN3HOST_API TBookRow {
    int Row = 0;
    QStringList Cells;
    QString Cell(int column) const { return column < Cells.size() ? Cells.at(column).trimmed() : QString(); }
    bool IsEmpty() const;
};

struct TSchemeBook {
    std::vector<TBookRow> Sections, Consumers;
};

// The 0.38 kV conductors of the catalogue by the names users know them by.
class OZN3HOST_API TConductorCatalogue {
public:
    void Add(const fider::TConductor& conductor);
    // The conductor of a name (case and spaces aside); empty with a reason when unknown or ambiguous.
    std::optional<fider::TConductor> Find(const QString& name, QString& why) const;
    const fider::TConductor* ByIdent(int ident) const;
    QStringList Names() const;  // sorted, for the lists of the editor

private:
    static QString Key(const QString& name);
    std::vector<fider::TConductor> conductors_;
    QHash<QString, std::vector<int>> byName_;
    QHash<int, int> byIdent_;
};

// A checked section: names of its nodes and keys of its conductors.
struct TSchemeSection {
    int Row = 0;
    QString From, To;
    double Length = 0;  // km
    int Phase = 0;      // conductor ident; 0: none (a connecting line)
    int Neutral = 0;    // conductor ident; 0: the phase conductor
    fider::TPhaseSet Phases = fider::PhasesABC;
    fider::TSectionKind Kind = fider::TSectionKind::Overhead;
    bool SwitchedOn = true;
    fider::TBalanceOwner Owner = fider::TBalanceOwner::OnBalance;
    std::optional<bool> Device;  // a switching device at the far node, and its state
};

struct TSchemeConsumer {
    int Row = 0;
    QString Node, Name;
    fider::TPhaseSet Phases = fider::PhasesABC;
    double Pust, Energy, CosFi;  // kW, kWh, empty floats when not given
    std::optional<fider::TBalanceOwner> Owner;
};

// The scheme of one feeder of the workbook, its sections ordered from the supply centre.
struct OZN3HOST_API TFiderScheme {
    QString Name;
    int FirstRow = 0;
    std::vector<TSchemeSection> Sections;
    std::vector<TSchemeConsumer> Consumers;
    bool HasLoads() const;
};

struct OZN3HOST_API TCheckedBook {
    std::vector<TFiderScheme> Fiders;
    std::vector<TBookProblem> Problems;
    bool Ok() const { return Problems.empty(); }
    int SectionCount() const;
    int ConsumerCount() const;
};

// Checks every row and the tree of every feeder; the feeders come in the order of their first row.
OZN3HOST_API TCheckedBook CheckSchemeBook(const TSchemeBook& book, const TConductorCatalogue& catalogue);

// Rows of the stored schemes of feeders, sections ordered from the supply centre. Energies (thousand kWh
// in a scheme) are written in kWh. Node names that would be ambiguous in the workbook are made unique.
OZN3HOST_API TSchemeBook BookFromFiders(const std::vector<fider::TFiderHHInfo>& fiders);

// Names of the nodes of one feeder as the workbook writes them, by node key: the supply centre is "ТП", and a
// name that is empty, "ТП" or taken by another node gets its key in brackets.
OZN3HOST_API QHash<int, QString> BookNodeNames(const fider::TFiderHHInfo& fider);

// Names of feeders and nodes compare with case and repeated spaces aside.
OZN3HOST_API QString NameKey(const QString& name);

// Numbers of a row: empty text is an empty float; false when the text is not a number.
OZN3HOST_API bool ParseBookNumber(const QString& text, double& value);

}  // namespace scheme
