// The reading of the results from the interval's rows with the hierarchy joined in memory gives the same trees
// as the former reading, which joined the hierarchy in one query and matched each result by a correlated test:
// on the demo network, for objects of every level, every period kind and sample, node by node and field by field.
#include <gtest/gtest.h>

#include <cmath>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "results/UnitLVResults.h"
#include "results/UnitLVResultsTree.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
// The former query, kept here as the reference: one row per result and balance row of every LV feeder under the
// object, the owners joined by the hierarchy, the object matched through a correlated test on the balance rows.
#define OZN3_RESULTS(E_GUID, P_GUID, FILTER)                                                                           \
    "select " E_GUID " as \"eGuidRecord\", " P_GUID " as \"pGuid\", r.guid as \"rGuid\", c.guid as \"cGuid\", "        \
    "f.guid as \"fGuid\", nod.guid as \"nodGuid\", lf.guid as \"lfGuid\", s.guid as \"sGuid\", s.\"Unom\", "           \
    "lf.\"Unom\" as \"UnomLV\", "                                                                                      \
    "coalesce(t2.\"TypeTR\", ts.\"TypeTR\") || '-' || cast(round(coalesce(t2.\"Snom\", ts.\"Snom\"), 0) as integer) "  \
    "|| ' ' || coalesce(t2.\"AddStr\", ts.\"AddStr\", '') as \"TypeTR\", "                                             \
    "r.guid as \"rGuidRecord\", p.guid as \"pGuidRecord\", mv.\"Ident\" as \"MVIdent\", pa.\"Balance\", "              \
    "pa.res as \"RES\", mv.\"T\", mv.\"UA\", mv.\"UB\", mv.\"UC\", mv.\"IA\", mv.\"IB\", mv.\"IC\", "                  \
    "mv.\"ImaxA\", mv.\"ImaxB\", mv.\"ImaxC\", mv.\"CosFiA\", mv.\"CosFiB\", mv.\"CosFiC\", mv.\"Temperature\", "      \
    "mv.\"U2A\", mv.\"U2B\", mv.\"U2C\", mv.\"Lm\", mv.\"L23\", mv.\"L1\", mv.\"Kdp\", mv.\"sqrKfg\", "                \
    "mv.\"Krazv\", mv.\"HeadEndSize\", mv.\"HeadEndLength\", mv.\"dWdop\", mv.\"dPdop\", "                             \
    "pa.\"Pgen\", pa.\"Qgen\", pa.\"dP\", pa.\"dQ\", pa.\"Pcalc\", pa.\"Qcalc\", pa.\"Pfakt\", pa.\"Qfakt\", "         \
    "pa.\"NAbonents\", pa.\"LsumP\", pa.\"LsumC\", pa.\"NLineP\", pa.\"NLineC\", pa.\"LsumP_off\", "                   \
    "pa.\"LsumC_off\", pa.\"NLineP_off\", pa.\"NLineC_off\", "                                                         \
    "wa.\"Wa_gen\", wa.\"Wr_gen\", wa.\"dWa\", wa.\"dWr\", wa.\"Wacalc\", wa.\"Wrcalc\", wa.\"Wafakt\", "              \
    "wa.\"Wrfakt\" "                                                                                                   \
    "from \"SamplesDates\" sd join \"Periods\" per on per.\"Ident\"=sd.\"Period\" "                                    \
    "join \"LVResults\" mv on mv.\"SampleIdent\"=sd.\"Ident\" and coalesce(mv.\"CalcType\", 0)=:CalcType "             \
    "join \"LVFiders\" lf on lf.guid=mv.guid join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "                         \
    "join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on s.guid=f.\"OwnerGUID\" "                     \
    "join \"Centers\" c on c.guid=s.\"OwnerGUID\" "                                                                    \
    "join \"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\" "                                                          \
    "join res r on r.guid=pa.res join pes p on p.guid=r.\"OwnerGUID\" "                                                \
    "left join \"Transforms2\" t2 on t2.\"Ident\"=nod.\"Transf\" "                                                     \
    "left join \"TransformsSS\" ts on ts.\"Ident\"=nod.\"Transf\" "                                                    \
    "left join \"LVWResultsAdd\" wa on wa.\"Ident\"=pa.\"Ident\" and wa.\"Balance\"=pa.\"Balance\" and wa.res=pa.res " \
    "where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 and sd.\"Period\"=:Period "                           \
    "and exists (select 1 from \"LVPResultsAdd\" pb join res rb on rb.guid=pb.res "                                    \
    "join pes pb2 on pb2.guid=rb.\"OwnerGUID\" where pb.\"Ident\"=mv.\"Ident\" and " FILTER ") "                       \
    "order by lf.guid, mv.\"Ident\", pa.res, pa.\"Balance\""

const char* const kFromAOEnergo = OZN3_RESULTS("p.\"OwnerGUID\"", "p.guid", "pb2.\"OwnerGUID\"=:GUID");
const char* const kFromPES = OZN3_RESULTS("0", "p.guid", "pb2.guid=:GUID");
const char* const kFromRES = OZN3_RESULTS("0", "0",
                                          "(rb.guid=:GUID or ((c.GUID=:GUID or s.GUID=:GUID or f.GUID=:GUID or "
                                          "nod.GUID=:GUID or lf.GUID=:GUID) and rb.guid=:rGUID))");
#undef OZN3_RESULTS

// The former lists of periods with results under an object, with and without the Sections test.
#define OZN3_PERIODS_WITH_RESULTS(SECTIONS)                                                                            \
    "select distinct sd.\"Period\", per.\"Name\" from \"AOEnergo\" e join pes p on p.\"OwnerGUID\"=e.guid "            \
    "join res r on r.\"OwnerGUID\"=p.guid join \"LVPResultsAdd\" pa on pa.res=r.guid "                                 \
    "join \"LVResults\" mv on pa.\"Ident\"=mv.\"Ident\" and coalesce(mv.\"CalcType\", 0)=:CalcType "                   \
    "join \"SamplesDates\" sd on sd.\"Ident\"=mv.\"SampleIdent\" join \"Periods\" per on per.\"Ident\"=sd.\"Period\" " \
    "join \"LVFiders\" lf on mv.guid=lf.guid join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "                         \
    "join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on s.guid=f.\"OwnerGUID\" "                     \
    "join \"Centers\" c on c.guid=s.\"OwnerGUID\" where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 and "    \
    "(e.GUID=:GUID or p.GUID=:GUID or r.GUID=:GUID or c.GUID=:GUID " SECTIONS                                          \
    "or f.GUID=:GUID or nod.GUID=:GUID or lf.GUID=:GUID) order by sd.\"Period\""
const char* const kPeriods = OZN3_PERIODS_WITH_RESULTS("or s.GUID=:GUID ");
// The same without the Sections test: a Section's GUID finds no periods with it.
const char* const kPeriodsNoSections = OZN3_PERIODS_WITH_RESULTS("");
#undef OZN3_PERIODS_WITH_RESULTS

const char* const kBlockColumns[BlockFieldCount] = {
    "Wa_gen",    "Wr_gen",    "Wafakt", "Wrfakt", "Wacalc",     "Wrcalc",     "dWa",      "dWr",   "Pgen",
    "Qgen",      "dP",        "dQ",     "Pfakt",  "Qfakt",      "Pcalc",      "Qcalc",    "LsumP", "LsumC",
    "LsumP_off", "LsumC_off", "NLineP", "NLineC", "NLineP_off", "NLineC_off", "NAbonents"};
const char* const kResultColumns[ResultFieldCount] = {"T",      "UA",     "UB",     "UC",          "IA",
                                                      "IB",     "IC",     "ImaxA",  "ImaxB",       "ImaxC",
                                                      "CosFiA", "CosFiB", "CosFiC", "Temperature", "U2A",
                                                      "U2B",    "U2C",    "Lm",     "L23",         "L1",
                                                      "Kdp",    "sqrKfg", "Krazv",  "HeadEndSize", "HeadEndLength",
                                                      "dWdop",  "dPdop"};

// The former reading: the rows of the former query gathered by result, the path from the first row.
bool FormerTree(ToznFDConnection& c, TPesResultsLV& tree, int guid, int calcType, const TLVResultSample& sample,
                int period)
{
    const int level = FindLevelLV(c, guid);
    if (level < 0)
        return false;
    const QHash<int, QString> names = ObjectNamesLV(c);
    int rGuid = guid;
    auto q = c.NewQuery();
    if (level > 2) {
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sOwnerRES));
        q->ParamByName("GUID", guid);
        q->Open();
        rGuid = q->Eof() ? 0 : q->Int("GUID");
    }
    q->SetSQLText(QString::fromUtf8(level == 0 ? kFromAOEnergo : level == 1 ? kFromPES : kFromRES));
    q->ParamByName("GUID", guid).ParamByName("CalcType", calcType);
    q->ParamByName("sd1", sample.SampleDate1).ParamByName("sd2", sample.SampleDate2).ParamByName("Period", period);
    if (level >= 2)
        q->ParamByName("rGUID", rGuid);
    const char* const startColumns[8] = {"eGuidRecord", "pGuid", "rGuid",   "cGuid",
                                         "sGuid",       "fGuid", "nodGuid", "lfGuid"};
    std::vector<TLVPendingResult> results;
    QHash<int, int> byIdent;
    int rows = 0;
    for (q->Open(); !q->Eof(); q->Next()) {
        ++rows;
        const int ident = q->Int("MVIdent");
        auto found = byIdent.constFind(ident);
        if (found == byIdent.cend()) {
            found = byIdent.insert(ident, static_cast<int>(results.size()));
            TLVPendingResult& r = results.emplace_back();
            r.ident = ident;
            for (int l = level + 1; l <= 7; ++l)
                r.path[l] = q->Int(QString::fromLatin1(startColumns[l]));
        }
        TLVPendingResult& r = results[*found];
        r.lastRow = rows;
        TLVResultRow row;
        row.Ident = ident;
        row.Balance = q->Int("Balance");
        row.RES = q->Int("RES");
        row.NodGuid = q->Int("nodGuid");
        row.Unom = q->Float("Unom");
        row.TypeTR = q->Str("TypeTR");
        for (int f = 0; f < ResultFieldCount; ++f)
            row.Result[f] = q->Float(QString::fromLatin1(kResultColumns[f]));
        for (int f = 0; f < BlockFieldCount; ++f)
            row.Block[f] = q->Float(QString::fromLatin1(kBlockColumns[f]));
        // The former reading took the record's owners from the district of the row ("rGuidRecord").
        EXPECT_EQ(q->Int("rGuidRecord"), row.RES);
        r.record.ReadRow(row, ident != 0 && r.record.ResultCount() == 0);
    }
    tree.Build(level, guid, names.value(guid), results, rows, names);
    return true;
}

// The former list of periods.
QList<int> FormerPeriods(ToznFDConnection& c, int guid, const TLVResultSample& sample, bool withSections)
{
    auto q = c.NewQuery();
    q->SetSQLText(QString::fromUtf8(withSections ? kPeriods : kPeriodsNoSections));
    q->ParamByName("CalcType", 0).ParamByName("GUID", guid);
    q->ParamByName("sd1", sample.SampleDate1).ParamByName("sd2", sample.SampleDate2);
    QList<int> periods;
    for (q->Open(); !q->Eof(); q->Next())
        periods << q->Int("Period");
    return periods;
}

// The former level: the level query itself.
int FormerLevel(ToznFDConnection& c, int guid)
{
    auto q = c.NewQuery();
    q->SetSQLText(QString::fromUtf8(LVResultsSql::sLevelOfGUID));
    q->ParamByName("GUID", guid);
    q->Open();
    return q->Eof() || q->IsNull("LEVEL") ? -1 : q->Int("LEVEL");
}

bool Same(double a, double b) { return (std::isnan(a) && std::isnan(b)) || a == b; }

// Two trees alike node by node: the same objects in the same order, every value of every record.
void ExpectSameTree(const TPesResultsLV& a, const TPesResultsLV& b, const std::string& where, int& nodes)
{
    ++nodes;
    const std::string at = where + "/" + std::to_string(a.GUID());
    ASSERT_EQ(a.GUID(), b.GUID()) << at;
    ASSERT_EQ(a.Level(), b.Level()) << at;
    EXPECT_EQ(a.Text(), b.Text()) << at;
    const TLVResultRecord &ra = a.Record(), &rb = b.Record();
    for (int f = 0; f < BlockFieldCount; ++f)
        for (int variant : {0, 1, 2, 3, 4, 5})
            EXPECT_TRUE(Same(ra.GetValue(f, variant), rb.GetValue(f, variant)))
                << at << " field " << f << " variant " << variant << ": " << ra.GetValue(f, variant) << " vs "
                << rb.GetValue(f, variant);
    for (int f = 0; f < ResultFieldCount; ++f)
        EXPECT_TRUE(Same(ra.GetValueLVResult(f), rb.GetValueLVResult(f))) << at << " result field " << f;
    EXPECT_EQ(ra.Owners.Owner, rb.Owners.Owner) << at;
    EXPECT_EQ(ra.Owners.RES, rb.Owners.RES) << at;
    EXPECT_EQ(ra.TypeTR, rb.TypeTR) << at;
    EXPECT_TRUE(Same(ra.Unom, rb.Unom)) << at;
    EXPECT_EQ(ra.Mode, rb.Mode) << at;
    EXPECT_EQ(ra.ResultCount(), rb.ResultCount()) << at;
    EXPECT_EQ(ra.CountRes(), rb.CountRes()) << at;
    EXPECT_EQ(ra.Blocks().size(), rb.Blocks().size()) << at;
    for (int i = 0; i < ra.CountRes(); ++i)
        EXPECT_EQ(ra.GetOwnersRes(i).RES, rb.GetOwnersRes(i).RES) << at;
    EXPECT_EQ(a.FiderIdents() ? a.FiderIdents()->Count() : -1, b.FiderIdents() ? b.FiderIdents()->Count() : -1) << at;
    EXPECT_EQ(a.Fiders() ? a.Fiders()->CountLVFiders() : -1, b.Fiders() ? b.Fiders()->CountLVFiders() : -1) << at;
    ASSERT_EQ(a.ChildCount(), b.ChildCount()) << at;
    for (int i = 0; i < a.ChildCount(); ++i)
        ExpectSameTree(*a.Child(i), *b.Child(i), at, nodes);
}
}  // namespace

TEST(ResultsReading, TheReadingFromTheIntervalsRowsGivesTheFormerTreesOnEveryLevel)
{
    TempFolder folder;
    auto db = OpenDatabase(NewDemoDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    // Objects of every level: the utility, each enterprise and district, and one of each level below.
    QList<int> objects;
    for (const char* sql : {"select guid from \"AOEnergo\"", "select guid from pes", "select guid from res",
                            "select first 2 guid from \"Centers\" order by guid",
                            "select first 2 guid from \"Sections\" order by guid desc",
                            "select first 2 guid from \"Fiders\" order by guid",
                            "select first 3 nod.guid from \"Nodes\" nod where exists (select 1 from \"LVFiders\" lf "
                            "where lf.\"OwnerGUID\"=nod.guid) order by nod.guid desc",
                            "select first 3 mv.guid from \"LVResults\" mv order by mv.guid"}) {
        auto q = c.NewQuery();
        q->SetSQLText(QString::fromUtf8(sql));
        for (q->Open(); !q->Eof(); q->Next())
            objects << q->Value(0).toInt();
    }
    // A feeder balanced by two districts, under the second one.
    const int shared =
        static_cast<int>(Scalar(c, "select first 1 pa.\"Ident\" from \"LVPResultsAdd\" pa group by pa.\"Ident\" having "
                                   "count(distinct pa.res) > 1"));
    ASSERT_GT(shared, 0) << "the demo network has feeders of two districts";
    const int sharedRes = static_cast<int>(
        Scalar(c, QStringLiteral("select max(res) from \"LVPResultsAdd\" where \"Ident\"=%1").arg(shared)));
    objects << sharedRes;
    int trees = 0, nodes = 0, compared = 0;
    for (const TLVResultSample& sample : SamplesWithResultsLV(c, 0))
        for (int guid : objects)
            for (bool withSections : {true, false}) {
                QList<int> present;
                for (const TLVResultPeriod& p :
                     PeriodsWithResultsLV(c, 0, guid, sample.SampleDate1, sample.SampleDate2, withSections))
                    present << p.Period;
                EXPECT_EQ(present, FormerPeriods(c, guid, sample, withSections)) << "periods of " << guid;
            }
    for (const TLVResultSample& sample : SamplesWithResultsLV(c, 0)) {
        for (int period : {sample.Period, sample.Period == 1 ? 4 : 1})
            for (int guid : objects) {
                TPesResultsLV former(0, 0, QString(), nullptr), present(0, 0, QString(), nullptr);
                QString error;
                const bool found = FormerTree(c, former, guid, 0, sample, period);
                EXPECT_EQ(present.Open(c, guid, 0, sample.SampleDate1, sample.SampleDate2, period, error), found);
                if (!found)
                    continue;
                ++trees;
                compared += former.CountRecords() > 1 ? 1 : 0;
                ExpectSameTree(former, present, "object " + std::to_string(guid), nodes);
            }
    }
    EXPECT_GE(compared, 20) << "trees with results compared";
    // Read inside the connection's transaction (its own queries) the tree is the one read outside it (the
    // engine's interface).
    const TLVResultSample last = SamplesWithResultsLV(c, 0).last();
    for (int guid : {objects.first(), sharedRes}) {
        TPesResultsLV outside(0, 0, QString(), nullptr), inside(0, 0, QString(), nullptr);
        QString error;
        ASSERT_TRUE(outside.Open(c, guid, 0, last.SampleDate1, last.SampleDate2, last.Period, error));
        c.StartTransaction(false);
        ASSERT_TRUE(inside.Open(c, guid, 0, last.SampleDate1, last.SampleDate2, last.Period, error));
        c.Rollback();
        ExpectSameTree(outside, inside, "in a transaction", nodes);
    }
    // The level of every object of the hierarchy, with and without results under it, and of no object at all.
    auto all = c.NewQuery();
    all->SetSQLText(QString::fromUtf8(LVResultsSql::sObjectNames));
    int levels = 0, without = 0;
    for (all->Open(); !all->Eof(); all->Next()) {
        const int guid = all->Value(0).toInt(), former = FormerLevel(c, guid);
        EXPECT_EQ(FindLevelLV(c, guid), former) << "level of " << guid;
        ++levels;
        without += former < 0 ? 1 : 0;
    }
    EXPECT_EQ(FindLevelLV(c, 987654321), -1);
    EXPECT_GT(without, 0) << "objects without results are among them";
    EXPECT_GT(levels, 500);
    EXPECT_GE(nodes, 5000);
    std::printf("%d trees, %d nodes compared\n", trees, nodes);
}
