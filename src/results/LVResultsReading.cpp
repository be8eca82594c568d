#include "results/LVResultsReading.h"

#include <algorithm>
#include <cmath>

#include "host/Connection.h"
#include "host/FastQuery.h"
#include "host/NumericHelpers.h"
#include "results/UnitLVResults.h"

void TLVHierarchy::Read(ToznFDConnection& connection)
{
    TRows q(connection, QString::fromUtf8(LVResultsSql::sHierarchy));
    for (q.Open(); q.Next();) {
        const int level = q.Int(0), guid = q.Int(1);
        if (level < 0 || level > 7)
            continue;
        owners_[level].insert(guid, q.Int(3));
        // Later tables win where two share a GUID, as in the names of every object.
        names_.insert(guid, q.Str(2));
        if (level == 4 && !q.IsNull(4))
            sectionUnom_.insert(guid, q.Float(4));
        if (level == 6 && !q.IsNull(4))
            transformerOfSubstation_.insert(guid, q.Int(4));
    }
    ReadTransformers(connection);
}

void TLVHierarchy::ReadTop(ToznFDConnection& connection)
{
    TRows q(connection, QString::fromUtf8(LVResultsSql::sHierarchyTop));
    for (q.Open(); q.Next();)
        Add(q.Int(0), q.Int(1), q.Int(3), q.Str(2));
    ReadTransformers(connection);
}

void TLVHierarchy::ReadTransformers(ToznFDConnection& connection)
{
    TRows q(connection, QString::fromUtf8(LVResultsSql::sTransformerTexts));
    for (q.Open(); q.Next();)
        transformerText_.insert(q.Int(0), q.Str(1));
}

void TLVHierarchy::Add(int level, int guid, int owner, const QString& name)
{
    owners_[level].insert(guid, owner);
    names_.insert(guid, name);
}

void TLVHierarchy::AddSection(int guid, double unom) { sectionUnom_.insert(guid, unom); }

void TLVHierarchy::AddSubstation(int guid, int transformer) { transformerOfSubstation_.insert(guid, transformer); }

double TLVHierarchy::SectionUnom(int guid) const { return sectionUnom_.value(guid, EmptyFloat()); }

QString TLVHierarchy::TransformerOf(int substation) const
{
    const auto it = transformerOfSubstation_.constFind(substation);
    return it == transformerOfSubstation_.cend() ? QString() : transformerText_.value(*it);
}

namespace {
// The result of one "LVResults" row: its feeder and its balance rows as read.
struct ResultRows {
    int ident = 0, feeder = 0;
    std::vector<TLVResultRow> rows;
};

// Column numbers of the rows query: the keys, then the result's values, then the block's; for a district, then
// the feeder's owners (ident, owner and name of the feeder, substation, 6-10 kV feeder, section and supply
// centre), the section's voltage and the substation's transformer.
constexpr int kIdentColumn = 0, kGuidColumn = 1, kResColumn = 2, kBalanceColumn = 3, kFirstValue = 4;
constexpr int kFirstOwner = kFirstValue + ResultReadCount + BlockFieldCount;
constexpr int kSectionUnom = kFirstOwner + 15, kTransformer = kSectionUnom + 1;

// The owners of a row's feeder that the district query brings with it.
void addOwners(const TRows& q, TLVHierarchy& h)
{
    for (int k = 0; k < 5; ++k) {
        const int column = kFirstOwner + 3 * k;
        if (q.IsNull(column))
            return;  // the chain stops here
        const int guid = q.Int(column);
        h.Add(7 - k, guid, q.Int(column + 1), q.Str(column + 2));
        if (k == 1 && !q.IsNull(kTransformer))
            h.AddSubstation(guid, q.Int(kTransformer));
        if (k == 3 && !q.IsNull(kSectionUnom))
            h.AddSection(guid, q.Float(kSectionUnom));
    }
}

// The rows of the interval's results, gathered by result: of every district for the utility and an enterprise,
// of the results with a block of the district for a district, of every feeder the object owns below it.
std::vector<ResultRows> readRows(ToznFDConnection& connection, int level, int guid, int calcType, const QDateTime& sd1,
                                 const QDateTime& sd2, int period, TLVHierarchy& h,
                                 const std::function<void(const QString&)>& progress)
{
    std::vector<ResultRows> results;
    progress(QStringLiteral("Чтение данных (открытие запроса)"));
    TRows q(connection, level >= 3   ? LVResultsSql::ResultRowsUnderObject(level)
                        : level == 2 ? QString::fromUtf8(LVResultsSql::sResultRowsOfRES)
                                     : QString::fromUtf8(LVResultsSql::sResultRows));
    q.Param(QStringLiteral("CalcType"), calcType);
    q.Param(QStringLiteral("sd1"), sd1).Param(QStringLiteral("sd2"), sd2);
    q.Param(QStringLiteral("Period"), period);
    if (level == 2)
        q.Param(QStringLiteral("rGUID"), guid);
    if (level >= 3)
        q.Param(QStringLiteral("GUID"), guid);
    progress(QStringLiteral("2.Основной SQl"));
    q.Open();
    progress(QStringLiteral("Чтение данных "));
    QHash<int, int> byIdent;
    while (q.Next()) {
        const int ident = q.Int(kIdentColumn);
        auto found = byIdent.constFind(ident);
        if (found == byIdent.cend()) {
            found = byIdent.insert(ident, static_cast<int>(results.size()));
            ResultRows& r = results.emplace_back();
            r.ident = ident;
            r.feeder = q.Int(kGuidColumn);
            if (level >= 2)
                addOwners(q, h);
        }
        TLVResultRow& row = results[*found].rows.emplace_back();
        row.Ident = ident;
        row.RES = q.Int(kResColumn);
        row.Balance = q.Int(kBalanceColumn);
        for (int f = 0; f < ResultReadCount; ++f)
            row.Result[f] = q.Float(kFirstValue + f);
        for (int f = 0; f < BlockFieldCount; ++f)
            row.Block[f] = q.Float(kFirstValue + ResultReadCount + f);
    }
    return results;
}

// The owners of a feeder from the substation up to the supply centre (levels 3 to 7); false when the chain is
// broken.
bool chainOf(const TLVHierarchy& h, int feeder, std::array<int, 8>& path)
{
    path[7] = feeder;
    for (int level = 7; level > 3; --level) {
        if (!h.Has(level, path[level]))
            return false;
        path[level - 1] = h.Owner(level, path[level]);
    }
    return h.Has(3, path[3]);
}

// Whether a district's blocks are under the object: the district's enterprise of the utility, the enterprise,
// the district itself.
bool districtUnder(const TLVHierarchy& h, int level, int guid, int res)
{
    const int pes = h.Owner(2, res);
    switch (level) {
    case 0: return h.Owner(1, pes) == guid;
    case 1: return pes == guid;
    default: return res == guid;
    }
}
}  // namespace

TLVResultsReading ReadResultsLV(ToznFDConnection& connection, int level, int guid, int calcType, const QDateTime& sd1,
                                const QDateTime& sd2, int period, const std::function<void(const QString&)>& progress)
{
    progress(QStringLiteral("1.Активация дерева (ОЗН)"));
    TLVHierarchy h;
    // The utility and its enterprises need every object; a district and what it holds, only the owners of the
    // feeders its results name (brought by the query), itself and its district.
    QString name;
    if (level <= 1) {
        h.Read(connection);
    } else {
        h.ReadTop(connection);
        TRows q(connection, QString::fromUtf8(LVResultsSql::sObjectWithDistrict[level]));
        q.Param(QStringLiteral("GUID"), guid);
        q.Open();
        if (q.Next())
            name = q.Str(0);
    }
    std::vector<ResultRows> read = readRows(connection, level, guid, calcType, sd1, sd2, period, h, progress);
    // Results in the order of their feeders and idents; a result's rows by district, then balance kind.
    std::sort(read.begin(), read.end(), [](const ResultRows& a, const ResultRows& b) {
        return std::tie(a.feeder, a.ident) < std::tie(b.feeder, b.ident);
    });
    TLVResultsReading reading;
    for (ResultRows& r : read) {
        std::array<int, 8> path{};
        if (!chainOf(h, r.feeder, path))
            continue;
        // Balance rows of a district or enterprise missing from the hierarchy are not the result's.
        std::erase_if(r.rows,
                      [&](const TLVResultRow& row) { return !h.Has(2, row.RES) || !h.Has(1, h.Owner(2, row.RES)); });
        if (r.rows.empty())
            continue;
        std::sort(r.rows.begin(), r.rows.end(), [](const TLVResultRow& a, const TLVResultRow& b) {
            return std::tie(a.RES, a.Balance) < std::tie(b.RES, b.Balance);
        });
        const QString typeTR = h.TransformerOf(path[6]);
        const double unom = h.SectionUnom(path[4]);
        TLVResultRecord whole;
        for (TLVResultRow& row : r.rows) {
            ++reading.RowCount;
            row.NodGuid = path[6];
            row.TypeTR = typeTR;
            row.Unom = unom;
            whole.ReadRow(row, r.ident != 0 && whole.ResultCount() == 0);
        }
        std::vector<TLVResultRow>().swap(r.rows);  // the rows are in the record now
        // The feeder's own district (by its supply centre) carries the run's values; the others their blocks.
        const int ownerRes = h.Owner(3, path[3]);
        whole.FinishResult(ownerRes);
        const QList<int> districts = whole.Districts();
        const int mainRes = districts.contains(ownerRes) ? ownerRes : districts.value(0);
        if (level >= 3) {
            // An object below a district shows its feeders whole, every district's part of them.
            TLVPendingResult& pending = reading.Results.emplace_back();
            pending.ident = r.ident;
            pending.path = path;
            pending.districts = districts;
            pending.ownerRes = ownerRes;
            pending.record = std::move(whole);
            pending.lastRow = reading.RowCount;
            continue;
        }
        // Above it, each district's blocks count in that district, wherever the feeder stands by ownership.
        for (int res : districts) {
            if (!districtUnder(h, level, guid, res))
                continue;
            TLVPendingResult& pending = reading.Results.emplace_back();
            pending.ident = r.ident;
            pending.path = path;
            pending.path[2] = res;
            pending.path[1] = level <= 1 ? h.Owner(2, res) : 0;
            pending.path[0] = level == 0 ? h.Owner(1, pending.path[1]) : 0;
            pending.districts = districts;
            pending.ownerRes = ownerRes;
            pending.record = whole.PartOfDistrict(res, res == mainRes);
            pending.lastRow = reading.RowCount;
        }
    }
    reading.Names = h.Names();
    if (level >= 2 && !reading.Names.contains(guid))
        reading.Names.insert(guid, name);
    return reading;
}
