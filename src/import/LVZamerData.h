#pragma once
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <array>
#include <functional>
#include <vector>

class ToznFDConnection;
class ToznListItemCommon;
class TXlsxWorkbook;
struct lxw_workbook;
struct TZamerFormats;
struct TWorkbookIdentity;
struct TWorkbookSave;
using TWrittenCells = QHash<int, QVariant>;
enum class TConflictChoice;

// The two measurement workbooks: energy (W) and peak load (Tmax).
enum class TLVZamerKind { W, Tmax };

// One workbook row of the measurements: a substation (kind 2) or an LV feeder (kind 3).
struct TLVZamerRecord {
    enum Kind { TP = 2, Line = 3, Consumer = 4 };
    int NumStr = 0;  // workbook row
    int Num = 0;     // running number shown in the sheet
    int Guid = 0;
    int TypeRec = TP;
    QString Name, MeterName, ColorsCells;
    QString TypeTp;  // the substation's transformer, shown by the peak-load workbook
    double Unom;
    bool inBase = false;  // a stored row exists for the interval
    bool EditT = false;
    bool EditRec = false;
    int ST = 0;  // the state of the row's meter, a code of the host's meter states
    double W, W_bus, W_sum;
    std::array<double, 3> U, I, Imax, CosFi;
    double T, Kdp, Kzap, sqrKfg, Temperature;
    double Tmax, Tau;  // the peak-load workbook
    int ColorRow = 0;
    // Whether each triplet (U, I, Imax, cos φ) allows a calculation per phase: all three values given.
    std::array<bool, 4> Phases{};
    TLVZamerRecord();
};

// One row of the consumers' sheet: a consumer of an LV feeder with its load of the interval.
struct TLVZamerConsumer {
    int NumStr = 0, Num = 0, Guid = 0, OwnerGuid = 0;
    QString Name, MeterName;
    bool inBase = false;
    bool EditRec = false;
    int ST = 0;                        // the state of the consumer's meter (kept as registered)
    double W_sum, Wr, CosFi;           // both workbooks
    double Pust;                       // energy workbook: installed power, kW
    int FlagPu = 0;                    // energy workbook: the installed power is given
    double Pz, Pi, I, Param1, Param2;  // peak-load workbook
    int LoadType = 0;                  // peak-load workbook: "TypeLoads" ident, 0 when none
    double KindCosFi;                  // cos φ of its feeder's load kind, for the reactive load
    TLVZamerConsumer();
};

// The content switches "ТП", "ТП и Линии" and "Абоненты": the clicked one toggles; "Абоненты" and "ТП и Линии"
// exclude each other; a click that would leave none on is undone. Returns whether the click was taken.
bool ApplyZamerSwitch(std::array<bool, 3>& switches, int clicked);

// The working table of the measurements of one interval for the substations (and their LV feeders) under a
// part of the network, with the workbook it is exchanged through.
class TLVZamerData {
public:
    explicit TLVZamerData(TLVZamerKind kind = TLVZamerKind::W) : kind_(kind) {}
    TLVZamerKind Kind() const { return kind_; }
    static constexpr int SheetColumns = 25;  // the sheet's own columns
    static constexpr int MeterColumn = 26;   // the meter's name, beside them
    static constexpr int FirstRow = 3;       // rows 1 and 2 hold the captions and the column numbers

    // Loads the objects under a tree item with their stored values of an interval (sample ident, hours).
    void Load(ToznFDConnection& connection, ToznListItemCommon* item, int sampleIdent, int hours, bool withLines,
              bool withConsumers = false);
    std::vector<TLVZamerRecord>& Records() { return records_; }
    const std::vector<TLVZamerRecord>& Records() const { return records_; }
    // The consumers' sheet, filled when consumers are shown.
    std::vector<TLVZamerConsumer>& Consumers() { return consumers_; }
    const std::vector<TLVZamerConsumer>& Consumers() const { return consumers_; }
    bool WithConsumers() const { return withConsumers_; }
    int SampleIdent() const { return sampleIdent_; }
    // What the workbook of the table is written for: the object chosen, the interval, the rows shown.
    TWorkbookIdentity Identity() const;
    int Hours() const { return hours_; }
    // Rows marked to be saved.
    int Pending() const;
    // The load kinds a consumer of the peak-load workbook can take, by "TypeLoads" ident.
    const QHash<int, QString>& LoadTypes() const { return loadTypes_; }

    // Writes the rows as a workbook (sheet "ТП и линии", and "Абоненты" when consumers are shown); false with a
    // reason.
    bool WriteWorkbook(const QString& file, QString& error) const;
    // Reads the user's values back: a row whose cells differ from the values the workbook was written with is
    // marked for saving (with those values as what the edit was based on); a row the user left as written is
    // not, whatever the database holds now. Every row and cell is checked first: a value that is not a number
    // or breaks its column's rule, a row without its hidden key or of an object not in the table refuses the
    // whole workbook, with the cells and rows named. Returns the number of rows changed, -1 with a reason.
    int ReadWorkbook(const QString& file, QString& error);
    // What the last reading took differently from what the user typed (a fill factor beside a form factor).
    const QStringList& ReadNotes() const { return notes_; }
    // The rows marked for saving that someone changed in the database since the workbook they were read from
    // was written, one line each with what the database holds now.
    QStringList Conflicts(ToznFDConnection& connection) const;
    // What the user changed in a row marked for saving: "caption: written → read" (empty for a row not read
    // from a workbook).
    QStringList PendingChanges(const TLVZamerRecord& record) const;
    QStringList PendingChanges(const TLVZamerConsumer& consumer) const;
    // Writes the marked rows into the interval's tables and their meters into the register, in one transaction
    // that first compares each row with the database (Conflicts); what a conflict does is the choice's.
    TWorkbookSave Save(ToznFDConnection& connection, TConflictChoice choice);
    // Moves the table to another interval: hours equal to the old interval's become the new interval's.
    void ChangeInterval(int sampleIdent, int hours);
    // The objects of the table that already have stored values in an interval (what a move there would replace).
    QStringList StoredIn(ToznFDConnection& connection, int sampleIdent) const;
    // The intervals that hold measurements of the kind, of any object.
    static QList<int> PeriodsWithData(ToznFDConnection& connection, TLVZamerKind kind);

    QString ColumnCaption(int column) const;
    // The computed columns' values of a row, as the workbook caches them beside their formulas (empty where
    // the formula gives an empty text): by column number.
    double ComputedValue(const TLVZamerRecord& record, int column) const;
    double ComputedValue(const TLVZamerConsumer& consumer, int column) const;

private:
    // The stored values of the interval into rows built from the tree (found by kind and object).
    void ReadStored(ToznFDConnection& connection, std::vector<TLVZamerRecord>& records) const;
    // The consumers of the feeders with their stored values of the interval; the load kinds by ident.
    std::vector<TLVZamerConsumer> ReadConsumers(ToznFDConnection& connection, QHash<int, QString>& loadTypes) const;
    void ReadMeters(ToznFDConnection& connection, std::vector<TLVZamerRecord>& records,
                    std::vector<TLVZamerConsumer>& consumers) const;
    // What a workbook row holds of a record's inputs, and the differences of two records' inputs.
    QStringList Differences(const TLVZamerRecord& from, const TLVZamerRecord& to) const;
    QStringList Differences(const TLVZamerConsumer& from, const TLVZamerConsumer& to) const;
    // The editable cells of a row as a workbook holds them, and a row's inputs parsed from its cells.
    TWrittenCells WrittenCells(const TLVZamerRecord& record) const;
    TWrittenCells WrittenCells(const TLVZamerConsumer& consumer) const;
    void ParseRow(TLVZamerRecord& into, const std::function<QVariant(int)>& cellOf, int row,
                  QStringList* problems) const;
    void ParseConsumer(TLVZamerConsumer& into, const std::function<QVariant(int)>& cellOf, int row,
                       QStringList* problems) const;
    // The written values of a row: what its edit is based on when it is marked, else its values.
    TLVZamerRecord WrittenBase(const TLVZamerRecord& record) const;
    TLVZamerConsumer WrittenBase(const TLVZamerConsumer& consumer) const;
    // The table's rows and consumers as the database holds them now.
    void ReadNow(ToznFDConnection& connection, std::vector<TLVZamerRecord>& records,
                 std::vector<TLVZamerConsumer>& consumers) const;
    // Rows in conflict take the database's values and are no longer marked.
    void KeepDatabaseValues(const std::vector<TLVZamerRecord>& now, const std::vector<TLVZamerConsumer>& consumersNow);
    QStringList ConflictsWith(const std::vector<TLVZamerRecord>& records,
                              const std::vector<TLVZamerConsumer>& consumers) const;
    void WriteConsumers(lxw_workbook* book, const TZamerFormats& formats) const;
    int ReadRows(const TXlsxWorkbook& book, int sheet, QStringList& problems, bool apply);
    int ReadConsumers(const TXlsxWorkbook& book, int sheet, QStringList& problems, bool apply);
    int SaveConsumers(ToznFDConnection& connection);
    // The marked rows into the interval's tables, inside the caller's transaction.
    int SaveEnergy(ToznFDConnection& connection);
    int SavePeak(ToznFDConnection& connection);
    // The interval's hours for a row without its own.
    double IntervalHours() const { return hours_ > 0 ? hours_ : 8760; }
    TLVZamerKind kind_;
    std::vector<TLVZamerRecord> records_;
    std::vector<TLVZamerConsumer> consumers_;
    QHash<int, QString> loadTypes_;
    QStringList notes_;
    // What each row marked by a reading was based on: the values its workbook was written with. A marked row
    // without one (carried to another interval) is stored without comparing.
    QHash<quint64, TLVZamerRecord> base_;
    QHash<int, TLVZamerConsumer> consumerBase_;
    QList<int> feeders_;
    bool withConsumers_ = false, withLines_ = false;
    int object_ = 0;
    int sampleIdent_ = 0;
    int hours_ = 0;
    double defaultKzap_ = 0.5, defaultCosFi_ = 0.9;
};
