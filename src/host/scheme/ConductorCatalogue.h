#pragma once
// The conductor catalogue ("Provods" with their kinds "ProvodTypes") as users keep it: one workbook
// sheet to exchange it, the checks of its rows, and storing, with the places a conductor is used.
#include <QList>
#include <QStringList>
#include <vector>

#include "host/HostApi.h"
#include "host/scheme/SchemeBook.h"

class ToznFDConnection;

namespace scheme {

inline constexpr const char* kConductorsSheet = "Провода";
enum TConductorColumn { PMarka, PF, PR0, PX0, PCable, PUnom, PColumns };
OZN3HOST_API QString ConductorCaption(int column);

// One conductor: brand, cross-section (mm², empty float when not given), r0 and x0 (Ohm/km at 20 °C),
// cable or wire, and the voltage of its kind (kV).
struct TCatalogueRow {
    int Ident = 0;  // 0: not stored yet
    int Row = 0;    // the row of the workbook or of the dialog's table
    QString Marka;
    double F = 0, R0 = 0, X0 = 0;
    bool Cable = false;
    double Unom = 0.38;
    // The values the row was written with, when the product wrote the workbook (kept hidden beside the row): they
    // tell the user's edit from a change made in the database since. A row without them is the user's own.
    bool Written = false;
    double WrittenR0 = 0, WrittenX0 = 0;
    bool WrittenCable = false;
    QString Name() const { return fider::ConductorName(Marka, F); }
};

// A conductor is the same as another when brand, cross-section and voltage are.
OZN3HOST_API bool SameConductor(const TCatalogueRow& a, const TCatalogueRow& b);
// Problems of the rows: missing brand, numbers out of range, a conductor twice.
OZN3HOST_API std::vector<TBookProblem> CheckConductors(const std::vector<TCatalogueRow>& rows, const QString& sheet);

// Reads and checks the first sheet of a workbook (row 1 the captions).
OZN3HOST_API std::vector<TCatalogueRow> ReadConductorBook(const QString& file, std::vector<TBookProblem>& problems);
OZN3HOST_API bool WriteConductorBook(const QString& file, const std::vector<TCatalogueRow>& rows, QString& error);

class OZN3HOST_API TConductorStore {
public:
    explicit TConductorStore(ToznFDConnection& connection) : connection_(connection) {}
    // Every conductor of the catalogue, by voltage, brand and cross-section.
    std::vector<TCatalogueRow> Read();
    // Adds the new conductors and updates the ones already there, in one transaction. A row of a workbook the
    // product wrote that the user left as written is not written, whatever the catalogue holds now; one the user
    // changed whose conductor was changed in the database since the workbook was written is a conflict: nothing is
    // stored unless overwrite lets the workbook's values win (conflicts lists them).
    bool Import(const std::vector<TCatalogueRow>& rows, int& added, int& updated, QString& error,
                bool overwrite = false, QStringList* conflicts = nullptr);
    // The scheme sections and feeders that use a conductor ("линия «…» ТП «…», участок «…»"), at most `limit`.
    QStringList Usage(int ident, int limit = 10);
    // Stores the edited catalogue: rows without an ident are added, the others updated, and `deleted`
    // removed; a conductor in use is not removed and nothing is stored.
    bool Save(const std::vector<TCatalogueRow>& rows, const QList<int>& deleted, QString& error);

private:
    int KindOf(const TCatalogueRow& row);
    void Write(const TCatalogueRow& row, int ident);
    ToznFDConnection& connection_;
};

}  // namespace scheme
