#pragma once
#include <QString>
#include <QStringList>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "host/SamplePeriods.h"

class ToznFDConnection;
class TfdbTree;
class TFDQuery;
class TLVNormativSample0;
struct TWorkbookSave;
enum class TConflictChoice;

// The generalised data of one network element for one sample period, as the workbook of the normative method
// holds it. Absent values are empty floats (NaN); T is a whole number of hours, -1 when absent.
class TDataAnaliz {
public:
    enum Flags { HasLoss = 2, SupplyBelowBusbars = 4 };
    static constexpr int LengthCount = 15;  // in the order of TLVNormativSample0::Length

    TDataAnaliz();
    void Clear();
    // The stored result of the sample with its scheme; without one, the scheme of the nearest stored period
    // with the energies empty. False when the element has neither.
    bool ReadRecord(ToznFDConnection& connection, int guid, const TSamplePeriodInfo& period);
    // The statements of a reading, prepared once for many elements.
    struct Statements {
        explicit Statements(ToznFDConnection& connection);
        ~Statements();
        std::unique_ptr<TFDQuery> record, nearest, scheme;
    };
    bool ReadRecord(Statements& statements, int guid, const TSamplePeriodInfo& period);
    // Stores the inputs (a new scheme key when there is none) and the results of the sample.
    void SaveRecord(ToznFDConnection& connection, int guid, int sampleIdent);
    static void DeleteRecord(ToznFDConnection& connection, int guid, int sampleIdent);

    // The results by the normative model for the current inputs (empty when they cannot be computed).
    double Lekv() const;
    double ku() const;
    double k038() const;
    double dWa() const;
    // Sets the results and the flags from the inputs.
    void Calculate();
    // The normative model holding the record's inputs: every derived value of the workbook is its.
    TLVNormativSample0 Model() const;

    double Wa, Wa_bus;
    int T = -1;
    int Info = 0;
    double CosFi;
    int Unom = 0;  // 0 "400/230", 1 "220/127"
    double F, NLines, dp, kzap, dn;
    std::array<double, LengthCount> Lengths;
    double LekvValue, kuValue, k038Value, deltaWa;
    int Flags = 0;
    bool Stored = false;  // the period has a result of its own (not only the scheme of another period)

private:
    void ToSample(TLVNormativSample0& sample) const;
};

// A node of the elements shown: a row of the workbook with its data, and its children.
class TNodeSocial {
public:
    TNodeSocial(int guid, const QString& name) : GUID(guid), Name(name) {}
    virtual ~TNodeSocial();
    int Count() const { return static_cast<int>(children_.size()); }
    // The child at an index; "Не верный индекс" outside the list.
    TNodeSocial& GetItem(int index) const;
    TNodeSocial& Add(int guid, const QString& name);
    void ClearChildren() { children_.clear(); }

    int GUID;
    QString Name;
    TDataAnaliz Data;
    bool Edited = false;
    // What an edited row was based on: the values its workbook was written with, or its stored values before
    // the energies were filled in. Compared with the database before it is stored.
    std::optional<TDataAnaliz> Base;

private:
    std::vector<std::unique_ptr<TNodeSocial>> children_;
};

// The workbook side: the elements of a level under a start object for a period, their worksheet rows and formulas.
class TNodeSocialHigh : public TNodeSocial {
public:
    // Level codes: 0 "AO энерго", 1 "ПЭС", 2 "РЭС", 3 "ЦП", 4 "Фидер", 5 "ТП", 6 "Линии 0.4 кв".
    static QStringList LevelNames();
    static constexpr int FirstRow = 3;

    TNodeSocialHigh() : TNodeSocial(0, {}) {}
    // Reads the rows of a level under an object (of any level above) with their data of the period.
    void Open(ToznFDConnection& connection, int startGuid, int level, const TSamplePeriodInfo& period);
    // The same rows for another period; "Не найден SampleIdent" when the period has no sample row.
    void ChangePeriod(ToznFDConnection& connection, const TSamplePeriodInfo& period);
    // Energies of every row from the measurements and calculations of the period, as the normative form's
    // energy button takes them (the rows found in the network tree given). Answers how many rows took each
    // energy from each source ("Трансформация в сеть: <source>: N").
    QStringList FillEnergies(ToznFDConnection& connection, const TfdbTree& tree);
    int Level() const { return level_; }
    // Rows marked to be saved.
    int Pending() const;
    TSamplePeriodInfo Period() const { return period_; }

    // The worksheet: rows from FirstRow, inputs in cells, derived values as formulas. Per-material and building-
    // input columns can be hidden. False with a reason.
    bool WriteWorkbook(const QString& file, bool materials, bool inputs, QString& error) const;
    // Whether the workbook shows the row of column captions (it is always written, hidden when off).
    void SetCaptionsShown(bool shown) { captionsShown_ = shown; }
    // Reads the inputs back: a row whose inputs differ from the values the workbook was written with is marked
    // (a row left as written is not, whatever the database holds now). A wrong cell, a row without its hidden key
    // or of an element not shown refuses the whole workbook. The count changed, -1 with a reason.
    int ReadWorkbook(const QString& file, QString& error);
    // The marked rows someone changed in the database since they were read, with what the database holds now.
    QStringList Conflicts(ToznFDConnection& connection) const;
    // What the user changed in a marked row: "caption: before → after".
    static QStringList Differences(const TDataAnaliz& from, const TDataAnaliz& to);
    // Stores the marked rows in one transaction that first compares them with the database (Conflicts); what a
    // conflict does is the choice's.
    TWorkbookSave Save(ToznFDConnection& connection, TConflictChoice choice);

    // The formula of one derived cell of a worksheet row (no leading "=").
    static QString f_WaSum(int row);
    static QString f_LmEkv(int row);
    static QString f_L23Ekv(int row);
    static QString f_L23iEkv(int row);
    static QString f_L23EkvSum(int row);
    static QString f_L1Ekv(int row);
    static QString f_L1iEkv(int row);
    static QString f_L1EkvSum(int row);
    static QString f_L23aSum(int row);
    static QString f_L23sSum(int row);
    static QString f_L23mSum(int row);
    static QString f_L1aSum(int row);
    static QString f_L1sSum(int row);
    static QString f_L1mSum(int row);
    static QString f_Lsum(int row);
    static QString f_Lavg(int row);
    static QString f_Lekv(int row);
    static QString f_ku(int row);
    static QString f_k038(int row);
    static QString f_dWa(int row);
    static QString f_dWaProc(int row);
    static QString f_dWaL(int row);
    static QString f_SI(int row);

private:
    void ReadData(ToznFDConnection& connection);
    // The marked rows in conflict with the database, each with its stored values now.
    std::vector<std::pair<TNodeSocial*, TDataAnaliz>> ConflictRows(ToznFDConnection& connection) const;
    int level_ = 5;
    bool captionsShown_ = true;
    TSamplePeriodInfo period_;
};
