// The reading of the results from the interval's rows with the hierarchy joined in memory: the periods and levels
// the former queries found, and the same trees inside and outside the connection's transaction. (What the trees
// hold is checked against the stored rows by ResultsAgreeTest.)
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

TEST(ResultsReading, PeriodsLevelsAndTheSameTreeInsideAndOutsideATransaction)
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
        IntScalar(c, "select first 1 pa.\"Ident\" from \"LVPResultsAdd\" pa group by pa.\"Ident\" having "
                     "count(distinct pa.res) > 1");
    ASSERT_GT(shared, 0) << "the demo network has feeders of two districts";
    const int sharedRes =
        static_cast<int>(Scalar(c, Fmt("select max(res) from \"LVPResultsAdd\" where \"Ident\"=%1", shared)));
    objects << sharedRes;
    int trees = 0, nodes = 0;
    for (const TLVResultSample& sample : SamplesWithResultsLV(c, 0))
        for (int guid : objects)
            for (bool withSections : {true, false}) {
                QList<int> present;
                for (const TLVResultPeriod& p :
                     PeriodsWithResultsLV(c, 0, guid, sample.SampleDate1, sample.SampleDate2, withSections))
                    present << p.Period;
                EXPECT_EQ(present, FormerPeriods(c, guid, sample, withSections)) << "periods of " << guid;
            }
    // Every object with results opens, on every level; the trees hold nodes.
    for (const TLVResultSample& sample : SamplesWithResultsLV(c, 0))
        for (int guid : objects) {
            TPesResultsLV present(0, 0, QString(), nullptr);
            QString error;
            if (!present.Open(c, guid, 0, sample.SampleDate1, sample.SampleDate2, sample.Period, error))
                continue;
            ++trees;
            nodes += present.CountRecords();
        }
    EXPECT_GE(trees, 20) << "trees with results opened";
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
    EXPECT_GE(nodes, 1000);
    std::printf("%d trees, %d nodes compared\n", trees, nodes);
}
