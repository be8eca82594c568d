#include "results/LVResultsReading.h"

#include <algorithm>
#include <cmath>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/Progress.h"
#include "results/UnitLVResults.h"

void TLVHierarchy::Read(ToznFDConnection& connection)
{
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sHierarchy));
        for (q->Open(); !q->Eof(); q->Next()) {
            const int level = q->Value(0).toInt(), guid = q->Value(1).toInt();
            if (level < 0 || level > 7)
                continue;
            const QVariant owner = q->Value(3), value = q->Value(4);
            owners_[level].insert(guid, owner.isNull() ? 0 : owner.toInt());
            // Later tables win where two share a GUID, as in the names of every object.
            names_.insert(guid, q->Value(2).toString());
            if (level == 4 && !value.isNull())
                sectionUnom_.insert(guid, value.toDouble());
            if (level == 6 && !value.isNull())
                transformerOfSubstation_.insert(guid, static_cast<int>(value.toDouble()));
        }
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sTransformerTexts));
        for (q->Open(); !q->Eof(); q->Next())
            transformerText_.insert(q->Value(0).toInt(), q->Value(1).toString());
    });
}

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

// Column numbers of the rows query: the keys, then the result's values, then the block's.
constexpr int kIdentColumn = 0, kGuidColumn = 1, kResColumn = 2, kBalanceColumn = 3, kFirstValue = 4;

double number(const QVariant& v) { return v.isNull() ? EmptyFloat() : v.toDouble(); }

// The rows of the interval's results, gathered by result.
std::vector<ResultRows> readRows(ToznFDConnection& connection, int level, int rGuid, int calcType, const QDateTime& sd1,
                                 const QDateTime& sd2, int period)
{
    host::Progress& progress = host::progress();
    std::vector<ResultRows> results;
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        progress.SetText(QStringLiteral("Чтение данных (открытие запроса)"));
        q->SetSQLText(QString::fromUtf8(level >= 2 ? LVResultsSql::sResultRowsOfRES : LVResultsSql::sResultRows));
        q->ParamByName(QStringLiteral("CalcType"), calcType);
        q->ParamByName(QStringLiteral("sd1"), sd1).ParamByName(QStringLiteral("sd2"), sd2);
        q->ParamByName(QStringLiteral("Period"), period);
        if (level >= 2)
            q->ParamByName(QStringLiteral("rGUID"), rGuid);
        progress.SetText(QStringLiteral("2.Основной SQl"));
        q->Open();
        progress.SetText(QStringLiteral("Чтение данных "));
        QHash<int, int> byIdent;
        for (; !q->Eof(); q->Next()) {
            const int ident = q->Value(kIdentColumn).toInt();
            auto found = byIdent.constFind(ident);
            if (found == byIdent.cend()) {
                found = byIdent.insert(ident, static_cast<int>(results.size()));
                ResultRows& r = results.emplace_back();
                r.ident = ident;
                r.feeder = q->Value(kGuidColumn).toInt();
            }
            TLVResultRow& row = results[*found].rows.emplace_back();
            row.Ident = ident;
            row.RES = q->Value(kResColumn).toInt();
            row.Balance = q->Value(kBalanceColumn).toInt();
            for (int f = 0; f < ResultFieldCount; ++f)
                row.Result[f] = number(q->Value(kFirstValue + f));
            for (int f = 0; f < BlockFieldCount; ++f)
                row.Block[f] = number(q->Value(kFirstValue + ResultFieldCount + f));
        }
    });
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

// Whether a balance row is of the object: the district's enterprise of the utility, the enterprise, the
// district, or the object's district for an object below it that owns the feeder.
bool rowOfObject(const TLVHierarchy& h, int level, int guid, int rGuid, const std::array<int, 8>& chain,
                 const TLVResultRow& row)
{
    const int pes = h.Owner(2, row.RES);
    switch (level) {
    case 0: return h.Owner(1, pes) == guid;
    case 1: return pes == guid;
    case 2: return row.RES == guid;
    default: return row.RES == rGuid && std::find(chain.begin() + 3, chain.end(), guid) != chain.end();
    }
}
}  // namespace

TLVResultsReading ReadResultsLV(ToznFDConnection& connection, int level, int guid, int calcType, const QDateTime& sd1,
                                const QDateTime& sd2, int period)
{
    host::Progress& progress = host::progress();
    progress.SetText(QStringLiteral("1.Активация дерева (ОЗН)"));
    TLVHierarchy h;
    h.Read(connection);
    // The district of an object below it, by ownership; a district is its own.
    int rGuid = guid;
    if (level > 2) {
        rGuid = guid;
        for (int l = level; l > 2; --l)
            rGuid = h.Owner(l, rGuid);
    }
    std::vector<ResultRows> read = readRows(connection, level, rGuid, calcType, sd1, sd2, period);
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
        if (std::none_of(r.rows.begin(), r.rows.end(),
                         [&](const TLVResultRow& row) { return rowOfObject(h, level, guid, rGuid, path, row); }))
            continue;
        std::sort(r.rows.begin(), r.rows.end(), [](const TLVResultRow& a, const TLVResultRow& b) {
            return std::tie(a.RES, a.Balance) < std::tie(b.RES, b.Balance);
        });
        // Above the supply centre the path follows the first balance row.
        const int firstRes = r.rows.front().RES;
        path[2] = firstRes;
        path[1] = level <= 1 ? h.Owner(2, firstRes) : 0;
        path[0] = level == 0 ? h.Owner(1, path[1]) : 0;
        TLVPendingResult& pending = reading.Results.emplace_back();
        pending.ident = r.ident;
        pending.path = path;
        const QString typeTR = h.TransformerOf(path[6]);
        const double unom = h.SectionUnom(path[4]);
        for (TLVResultRow& row : r.rows) {
            ++reading.RowCount;
            row.NodGuid = path[6];
            row.TypeTR = typeTR;
            row.Unom = unom;
            pending.record.ReadRow(row, r.ident != 0 && pending.record.ResultCount() == 0);
        }
        pending.lastRow = reading.RowCount;
    }
    reading.Names = h.Names();
    return reading;
}
