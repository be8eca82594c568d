#pragma once
#include <QString>
#include <array>
#include <vector>

class ToznFDConnection;
class ToznListItemCommon;
class TXlsxWorkbook;
struct lxw_workbook;
struct lxw_format;

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
    int ST = 0;
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
    QString Name;
    bool inBase = false;
    bool EditRec = false;
    double W_sum, Wr, CosFi;           // both workbooks
    double Pust;                       // energy workbook: installed power, kW
    int FlagPu = 0;                    // energy workbook: the installed power is given
    double Pz, Pi, I, Param1, Param2;  // peak-load workbook
    int LoadType = 0;
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
    static constexpr int SheetColumns = 25;   // the columns the user sees
    static constexpr int ServiceColumns = 5;  // hidden columns that tie a row to its object
    static constexpr int FirstRow = 3;        // rows 1 and 2 hold the captions and the column numbers

    // Loads the objects under a tree item with their stored values of an interval (sample ident, hours).
    void Load(ToznFDConnection& connection, ToznListItemCommon* item, int sampleIdent, int hours, bool withLines,
              bool withConsumers = false);
    std::vector<TLVZamerRecord>& Records() { return records_; }
    const std::vector<TLVZamerRecord>& Records() const { return records_; }
    // The consumers' sheet, filled when consumers are shown.
    std::vector<TLVZamerConsumer>& Consumers() { return consumers_; }
    int SampleIdent() const { return sampleIdent_; }
    int Hours() const { return hours_; }

    // Writes the rows as a workbook (sheet "ТП и линии"); false with a reason.
    bool WriteWorkbook(const QString& file, QString& error) const;
    // Reads the user's values back; rows whose values differ from the table are marked for saving.
    // Returns the number of rows changed, -1 with a reason when the workbook cannot be read.
    int ReadWorkbook(const QString& file, QString& error);
    // Writes the marked rows into the interval's tables; returns how many were written.
    int Save(ToznFDConnection& connection);
    // Moves the table to another interval: hours equal to the old interval's become the new interval's.
    void ChangeInterval(int sampleIdent, int hours);

    QString ColumnCaption(int column) const;

private:
    void ReadRow(const TXlsxWorkbook& book, int sheet, int row, TLVZamerRecord& r);
    void LoadConsumers(ToznFDConnection& connection, const QList<int>& feeders);
    int ReadConsumers(const TXlsxWorkbook& book, int sheet);
    int SaveConsumers(ToznFDConnection& connection);
    void WriteConsumers(lxw_workbook* book, lxw_format* head, lxw_format* value, lxw_format* computed) const;
    // The marked rows into the interval's tables, inside the caller's transaction.
    int SaveEnergy(ToznFDConnection& connection);
    int SavePeak(ToznFDConnection& connection);
    TLVZamerKind kind_;
    std::vector<TLVZamerRecord> records_;
    std::vector<TLVZamerConsumer> consumers_;
    bool withConsumers_ = false;
    int sampleIdent_ = 0;
    int hours_ = 0;
};
