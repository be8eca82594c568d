#pragma once
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "host/SamplePeriods.h"

class ToznFDConnection;
class TFDQuery;

// Values of a balance block (one RES balance row of a result with its energy row), by field number.
// 0-7 energy (thousand kWh, thousand kvarh), 8-15 power (kW, kvar), 16-24 lines and consumers.
enum TLVBlockField {
    bfWa_gen,
    bfWr_gen,
    bfWafakt,
    bfWrfakt,
    bfWacalc,
    bfWrcalc,
    bfdWa,
    bfdWr,
    bfPgen,
    bfQgen,
    bfdP,
    bfdQ,
    bfPfakt,
    bfQfakt,
    bfPcalc,
    bfQcalc,
    bfLsumP,
    bfLsumC,
    bfLsumP_off,
    bfLsumC_off,
    bfNLineP,
    bfNLineC,
    bfNLineP_off,
    bfNLineC_off,
    bfNAbonents,
    BlockFieldCount
};
// Values of the "LVResults" part, by field number.
enum TLVResultField {
    rfT,
    rfUA,
    rfUB,
    rfUC,
    rfIA,
    rfIB,
    rfIC,
    rfImaxA,
    rfImaxB,
    rfImaxC,
    rfCosFiA,
    rfCosFiB,
    rfCosFiC,
    rfTemperature,
    rfU2A,
    rfU2B,
    rfU2C,
    rfLm,
    rfL23,
    rfL1,
    rfKdp,
    rfSqrKfg,
    rfKrazv,
    rfHeadEndSize,
    rfHeadEndLength,
    rfdWdop,
    rfdPdop,
    rfKzap,  // the load curve the run's energy was computed with (empty for runs stored without it)
    rfTau,
    rfTmax,
    ResultReadCount,  // the fields above are read from "LVResults"; those below are worked out from a result
    rfKsv = ResultReadCount,
    ResultFieldCount
};
// Quantities each result works out from its own blocks, and that sum over results as they are: a parent's
// actual losses, imbalance and non-technical losses are the sums of its children's, not a new difference of
// its sums (the non-technical part is not negative for any feeder, whatever the others are).
enum TLVDerived { dvActualW, dvActualP, dvImbalanceW, dvImbalanceP, dvNonTechnicalW, dvNonTechnicalP, DerivedCount };
// Balance variants: 0 on the utility's balance, 4 not on it, 5 both.
constexpr int VariantOnBalance = 0, VariantOffBalance = 4, VariantTotal = 5;

struct TLVBalanceBlock {
    int Balance = 0;
    int RES = 0;
    std::array<double, BlockFieldCount> Values;
    TLVBalanceBlock();
    void Add(const TLVBalanceBlock& other);
};

// One row of the results reading: a balance block of a stored result, with the result's own values and what
// the result stands under (read from the database or from the hierarchy held in memory).
struct TLVResultRow {
    int Ident = 0, Balance = 0, RES = 0;
    int NodGuid = 0;  // the substation of the feeder
    double Unom;      // the nominal voltage of its section, kV
    QString TypeTR;   // the substation's transformer
    std::array<double, ResultFieldCount> Result;
    std::array<double, BlockFieldCount> Block;
    TLVResultRow();
};

// The owners of a result: the owner ident, the RES ident and a trailing integer (-1 in GetMasRES).
struct TOwnersRes {
    int Owner = 0;
    int RES = 0;
    int Tail = 0;
};
using TMasRES = QList<TOwnersRes>;

// Base of every result holder: values reached through GetValue (a balance block) and GetValueLVResult.
class TLVResultCustom {
public:
    TLVResultCustom();
    virtual ~TLVResultCustom() = default;
    TLVResultCustom(const TLVResultCustom&) = default;
    TLVResultCustom(TLVResultCustom&&) noexcept = default;
    TLVResultCustom& operator=(const TLVResultCustom&) = default;
    TLVResultCustom& operator=(TLVResultCustom&&) noexcept = default;
    QString Name, TypeTR;
    double Unom;  // the section's nominal voltage, kV; empty where the objects below differ
    // How the load factor is found: 2 from energy, power and hours (a result stored without the form factor),
    // 0 from the form factor "sqrKfg"; -1 on a sum of results found both ways.
    int Mode = 0;
    int Level = 7;
    TOwnersRes Owners;
    TSamplePeriodInfo Period;

    virtual double GetValue(int field, int variant) const;
    virtual double GetValueLVResult(int field) const;
    virtual int CountRes() const { return 1; }
    virtual TOwnersRes GetOwnersRes(int index) const { return Owners; }
    virtual void SetResIdx(int index) {}
    virtual double dUmax() const;
    // The value of a derived quantity summed over the results the holder stands for; none when it is worked out
    // from the holder's blocks instead.
    virtual std::optional<double> Summed(int which) const;
    // Whether any balance block of a variant is there.
    virtual bool HasBlocks(int variant) const;

    // Indicators; every one is empty when an operand is empty or a divisor is zero.
    double Kzap() const;
    double Tau() const;
    double Tmax() const;
    static double Percent(double a, double b);
    double deltaPline(int variant) const;
    double deltaWline(int variant) const;
    double Igu() const;
    double Lekv() const;
    double GetValueZero(int field, int variant) const;
    // The name of the loss calculation method the load factor stands for.
    QString MethodName() const;
    // Normative loss of energy of the object by the generalised method, thousand kWh (empty when none).
    double Normative;
};

// The values of one object: the "LVResults" part and its balance blocks; at level 7 the blocks are also
// listed per RES. CountRes offers all of that list but its last RES (the count less one), as the host expects:
// a feeder of two districts is offered as a whole.
class TLVResultRecord : public TLVResultCustom {
public:
    TLVResultRecord();
    // Takes a results row; a later row of the same result adds its block.
    void ReadRow(const TLVResultRow& row, bool firstRowOfResult);
    // Adds another record's values: energies, powers, lengths and counts add up; the regime values
    // are kept as means, the hours as the longest.
    void AddRecord(const TLVResultRecord& other);
    // Once a result's rows are read: works out what the result stands for as a whole (its coefficient Кн/м, the
    // derived quantities), so that sums add the results' own values.
    void FinishResult(int mainRes);
    // Keeps only the blocks of a district (a result split over districts); the run's own values stay with the
    // part that carries them (`withRunValues`), the others carry blocks only.
    TLVResultRecord PartOfDistrict(int res, bool withRunValues) const;
    // The districts of the record's blocks, in order.
    QList<int> Districts() const;
    // Builds the per-RES list at level 7.
    void BuildResList();

    double GetValue(int field, int variant) const override;
    double GetValueLVResult(int field) const override;
    std::optional<double> Summed(int which) const override;
    bool HasBlocks(int variant) const override;
    int CountRes() const override;
    TOwnersRes GetOwnersRes(int index) const override;
    void SetResIdx(int index) override;
    // Back to the feeder as a whole after SetResIdx.
    void ClearResIdx();
    int ResIdx() const { return resIdx_; }
    TMasRES GetMasRES() const;
    // A copy holding only the blocks of one balance kind (0 on the utility's balance, 4 not on it, 5 all).
    TLVResultRecord OfKind(int kind) const;
    // A copy holding only the last balance block of the record.
    TLVResultRecord LastBlockOnly() const;
    const std::vector<TLVBalanceBlock>& Blocks() const { return blocks_; }
    int ResultCount() const { return results_; }

private:
    struct ResBlock {
        int RES;
        std::vector<int> rows;  // indexes of the blocks of this RES
    };
    std::vector<TLVBalanceBlock> blocks_;
    std::vector<ResBlock> resList_;
    int resIdx_ = -1;
    int wholeRes_ = 0;  // the owners' RES of the whole feeder, while a RES of the list is current
    std::array<double, ResultFieldCount> sums_;
    std::array<int, ResultFieldCount> counts_{};
    // The derived quantities of this record: summed over results, or worked out from its blocks.
    std::array<double, DerivedCount> DerivedValues() const;
    std::array<double, DerivedCount> derived_;
    bool derivedSummed_ = false;  // derived_ holds sums over results (else worked out from the blocks)
    int results_ = 0;
};

// One stored result ("Ident") of one LV feeder: its record and its balance blocks, one per distinct pair
// (balance kind, RES).
class TIdentLV {
public:
    explicit TIdentLV(int ident) : ident_(ident) {}
    int Ident() const { return ident_; }
    // Takes a record of this result; below level 7 a pair not yet present gets a block of its own.
    void AddRecord(const TLVResultRecord& record, int level);
    const TLVResultRecord& Record() const { return record_; }
    int BlockCount() const { return static_cast<int>(pairs_.size()); }

private:
    int ident_;
    TLVResultRecord record_;
    std::vector<std::pair<int, int>> pairs_;  // (balance kind, RES)
};

// One LV feeder with its stored results.
class TLVFiderIdents {
public:
    explicit TLVFiderIdents(int guid) : guid_(guid) {}
    int GUID() const { return guid_; }
    // The feeder's entry for a result, appended when missing.
    TIdentLV& Ident(int ident);
    int Count() const { return static_cast<int>(idents_.size()); }
    // Adds every result of the feeder into a sum.
    void AddSum(TLVResultRecord& sum) const;
    void ClearIdents() { idents_.clear(); }

private:
    int guid_;
    std::vector<std::unique_ptr<TIdentLV>> idents_;
};

// The LV feeders under a node of level 0 or 1, each once however many districts its balances name. A tree's
// top nodes list the entries its leaves own; a list of its own owns its entries.
class TFiders_LV {
public:
    // Passes a record on to its feeder's entry (created when missing) and returns the entry.
    TLVFiderIdents& AddRecord(int fiderGuid, int ident, const TLVResultRecord& record, int level);
    // Takes the last balance block of a record into the feeder's entry (created and listed when missing) and
    // returns the entry.
    TLVFiderIdents& AddLVFider(int fiderGuid, int ident, const TLVResultRecord& record);
    // Lists a feeder's entry that a leaf of the tree owns, once.
    void AddLeaf(const TLVFiderIdents& leaf);
    void AddSum(TLVResultRecord& sum) const;
    int CountLVFiders() const { return static_cast<int>(items_.size()); }
    const TLVFiderIdents& GetItemLVFider(int index) const { return *items_.at(index); }
    void Clear()
    {
        items_.clear();
        owned_.clear();
        byGuid_.clear();
        leaves_.clear();
    }

private:
    TLVFiderIdents& Owned(int fiderGuid);
    std::vector<const TLVFiderIdents*> items_;
    std::vector<std::unique_ptr<TLVFiderIdents>> owned_;
    QHash<int, const TLVFiderIdents*> byGuid_;
    QSet<const TLVFiderIdents*> leaves_;
};

// A stored result gathered from its rows, with the idents of the objects above it (one per level, from the
// level below the object the reading started at) and the number of the last of its rows.
struct TLVPendingResult {
    std::array<int, 8> path{};
    int ident = 0;
    int lastRow = 0;
    TLVResultRecord record;
    QList<int> districts;  // every district the whole result has blocks of
    int ownerRes = 0;      // the district of the feeder's supply centre
};

// A node of the results tree: one object of the hierarchy with its record and children.
class TPesResultsLV {
public:
    TPesResultsLV(int level, int guid, const QString& text, TPesResultsLV* parent);
    int Level() const { return level_; }
    int GUID() const { return guid_; }
    QString Text() const { return text_; }
    TPesResultsLV* Parent() const { return parent_; }
    int ChildCount() const { return static_cast<int>(children_.size()); }
    TPesResultsLV* Child(int i) const { return children_.at(i).get(); }
    TLVResultRecord& Record() { return record_; }
    const TLVResultRecord& Record() const { return record_; }
    // What the user must know besides the name: the other districts a shared feeder's parts are in, or the
    // district a supply centre belongs to when it stands under another district for a part of a feeder there.
    QString Note() const { return note_; }
    // The name with its note, as the grid, the reports and the workbooks show it.
    QString Caption() const { return note_.isEmpty() ? text_ : QStringLiteral("%1 (%2)").arg(text_, note_); }

    // What the reading and the building report as they go ("Чтение данных", "Заполнение данных: …"): the host's
    // progress display unless set otherwise.
    void SetProgressText(std::function<void(const QString&)> report) { report_ = std::move(report); }
    // Finds the object's level and builds the tree of its results; false ("Не найден GUID") when nothing
    // is stored under it.
    bool Open(ToznFDConnection& connection, int guid, int calcType, const QDateTime& sd1, const QDateTime& sd2,
              int period, QString& error);
    // Builds the tree of an object from its results as the reading gathered them (in the order of their feeders
    // and idents), with the names of the objects; reports "Заполнение данных" as it goes.
    void Build(int level, int guid, const QString& text, std::vector<TLVPendingResult>& results, int rowCount,
               const QHash<int, QString>& names);
    // The first direct child with this ident.
    TPesResultsLV* FindGUID(int guid) const;
    // The node reached from this one by a path of idents, one per level below it (empty: this node).
    TPesResultsLV* FindNodeByAdress(const QList<int>& path);
    // The node of this subtree written at a worksheet row (1-based, set by the export); none when no node is.
    TPesResultsLV* FindExcelRow(int row);
    // The nearest node above that is of a level (the parent for -1); none above the top.
    TPesResultsLV* ParentNode(int level = -1) const;
    // The node and every node below it.
    int CountRecords() const;
    // A top node of level 0 or 1 takes its values from its feeders, each once, when LV feeders are rows.
    void AddSum(const std::array<bool, 8>& visibleRows);
    // Whether AddSum applies to this node, and the record it would take (the node's own normative, owners and
    // period kept); the tree stays as it is.
    bool HasFeederSum(const std::array<bool, 8>& visibleRows) const;
    TLVResultRecord FeederSum() const;
    const TFiders_LV* Fiders() const { return fidersLV_.get(); }
    const TLVFiderIdents* FiderIdents() const { return fiderIdents_.get(); }
    int SumChilds() const { return CountRecords(); }
    void Clear();
    // A child for an object, created when missing.
    TPesResultsLV* AddRow(int level, int guid, const QString& text) { return Ensure(level, guid, text); }
    // Copies another node's own values (level, ident, text, record), or those and everything below it.
    void Assign(const TPesResultsLV& other);
    void AssignFull(const TPesResultsLV& other);
    // Appends copies of another node's children.
    void CopyChilds(const TPesResultsLV& other);
    // Sets every node's normative loss: the one stored for its own object (once, where the object stands
    // twice), else the sum of its children's.
    void SetNormative(const QHash<int, double>& byGuid);
    // Sets the worksheet rows of the children from their own rows, for the formulas.
    void FillChilds();

    // Flags for drawing and summing: 1 no parent, 4 own level visible, 2 no visible level below,
    // 8 + 16 exactly one visible level below, 16 more.
    int TypeNodeResult(const std::array<bool, 8>& visibleRows) const;
    // Worksheet formulas over the children's rows (rows set by the export).
    QString fSum(int column, QChar separator, const std::array<bool, 8>& visibleRows) const;
    QString fAvg(int column, QChar separator, const std::array<bool, 8>& visibleRows) const;
    QString fMax(int column, QChar separator, const std::array<bool, 8>& visibleRows) const;
    QList<int> ChildRows;  // worksheet rows of the children, set by the export
    int ExcelRow = 0;

    // Visits the node and everything below it, parents first.
    template <class F> void ForEach(F&& f)
    {
        f(*this);
        for (auto& c : children_)
            c->ForEach(f);
    }

private:
    TPesResultsLV* Ensure(int level, int guid, const QString& text);
    // Places one stored result under its LV feeder (path: the idents of the levels below this node).
    void AddResult(TLVPendingResult& result, const QHash<int, QString>& names);
    void SumRecords();
    void SetNormative(const QHash<int, double>& byGuid, QSet<int>& counted);
    QString Formula(const QString& word, int column, QChar separator, const std::array<bool, 8>& visibleRows) const;
    int level_, guid_;
    QString text_, note_;
    std::function<void(const QString&)> report_;
    TPesResultsLV* parent_;
    std::vector<std::unique_ptr<TPesResultsLV>> children_;
    QHash<int, TPesResultsLV*> childByGuid_;  // the first child of each ident
    TLVResultRecord record_;
    std::unique_ptr<TLVFiderIdents> fiderIdents_;  // level 7
    std::unique_ptr<TFiders_LV> fidersLV_;         // levels 0 and 1
};
