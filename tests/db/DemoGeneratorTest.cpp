#include "db/DemoGenerator.h"

#include <gtest/gtest.h>

#include "db/SchemaInstaller.h"
#include "feeders/StoredSamples.h"
#include "host/Database.h"
#include "host/Tree.h"
#include "normative/StoredNormative.h"
#include "results/UnitLVResults.h"
#include "support/TestSupport.h"

using namespace testing_support;

TEST(DemoNetwork, EveryLevelIsPresentAndEveryLVFeederReachesTheUtility)
{
    TempFolder folder;
    auto db = OpenDatabase(NewDemoDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    TfdbTree* tree = db->GetTree();
    const db::DemoShape s = db::DemoShape::For(db::DemoSize::Small);
    int expected = 1;
    for (auto [type, factor] : {std::pair{NodeType::AOEnergo, 1},
                                {NodeType::PES, s.pes},
                                {NodeType::RES, s.resPerPes},
                                {NodeType::Centers, s.centersPerRes},
                                {NodeType::Sections, s.sectionsPerCenter},
                                {NodeType::Fiders, s.fidersPerSection},
                                {NodeType::Nodes, s.nodesPerFider}}) {
        expected *= factor;
        EXPECT_EQ(tree->CountOfType(type), expected) << type;
    }
    const int lvCount = tree->CountOfType(NodeType::LVFiders);
    EXPECT_GT(lvCount, 2 * expected);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVFiders\""), lvCount);
    EXPECT_EQ(Scalar(c, R"(select count(*) from "LVFiders" lf join "Nodes" nod on nod.guid=lf."OwnerGUID"
        join "Fiders" f on f.guid=nod."OwnerGUID" join "Sections" s on s.guid=f."OwnerGUID"
        join "Centers" c on c.guid=s."OwnerGUID" join res r on r.guid=c."OwnerGUID"
        join pes p on p.guid=r."OwnerGUID" join "AOEnergo" e on e.guid=p."OwnerGUID")"),
              lvCount);

    // Substations that own themselves, links, and every kind of low side.
    EXPECT_GE(Scalar(c, "select count(*) from \"Nodes\" where \"GUID\"=\"OwnerGUID\""), 1);
    EXPECT_GE(Scalar(c, "select count(*) from \"NodeLinks\""), 1);
    for (const char* cond : {"t.\"UnomH\"<1", "t.\"UnomH\"=1", "t.\"UnomH\">1"})
        EXPECT_GE(Scalar(c, Fmt("select count(*) from \"Nodes\" n join \"Transforms2\" t on "
                                "t.\"Ident\"=n.\"Transf\" where %1",
                                QString::fromUtf8(cond))),
                  1)
            << cond;
    EXPECT_GE(Scalar(c, "select count(*) from \"ProvodTypes\" where \"Unom\"=0.380"), 3);
    EXPECT_EQ(Scalar(c, "select count(*) from \"Provods\" where \"Ident\"=644"), 1);
    EXPECT_GE(Scalar(c, "select count(*) from \"TypeLoads\" where \"CosFi\" between 0.7 and 1"), 5);
    EXPECT_EQ(Scalar(c, "select count(*) from \"SamplesDates\" where \"Period\"=1"), s.years);
    EXPECT_EQ(Scalar(c, "select count(*) from \"SamplesDates\" where \"Period\"=4"), 12 * s.years);
    EXPECT_EQ(Scalar(c, "select count(*) from \"SamplesDates\" where \"Name\"='2024г.'"), 1);

    // Measurements, results and normative inputs.
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVPResultsA\" where \"IsMain\"=1"), lvCount);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVPSamples\""), lvCount);
    // Normative inputs for every year, each substation's years sharing one scheme.
    EXPECT_EQ(Scalar(c, "select count(distinct \"SampleIdent\") from \"LVWResultsB\""), s.years);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVWResultsB\""),
              s.years * Scalar(c, "select count(*) from \"LVFidersB\""));
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVWResultsB\" r left join \"LVFidersB\" f on f.\"Ident\"=r.\"Info\" "
                        "where f.\"Ident\" is null"),
              0);
    // Regime results by the measured head currents: every feeder with an ordinary measurement of a year,
    // none without one; schemes with consumers of every year.
    const double runs = Scalar(c, "select count(*) from \"LVResults\"");
    EXPECT_GE(runs, 0.9 * lvCount * s.years);
    EXPECT_LE(runs, Scalar(c, "select count(*) from \"LVWSamples\" where \"TypeCalc\"=0"));
    EXPECT_EQ(Scalar(c, R"(select count(*) from "LVResults" mv where not exists (select 1 from "LVWSamples" s
        where s.guid=mv.guid and s."SampleIdent"=mv."SampleIdent" and s."TypeCalc"=0))"),
              0);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVResults\" where \"LoadMode\"<>1 or \"Regime\"<>0"), 0);
    EXPECT_GE(Scalar(c, "select count(*) from \"LVNodes\" where \"Kind\"=2"), lvCount);
    EXPECT_EQ(Scalar(c, "select count(distinct \"SampleIdent\") from \"LVWLoads\""), s.years);
    for (const char* kind : {"\"Kind\"=0", "\"Kind\"=1", "\"Kind\"=2", "\"State\"=0", "\"Owner\"<>0",
                             "\"RES\" is not null", "\"Phases\"='A'"})
        EXPECT_GE(Scalar(c, Fmt("select count(*) from \"LVLines\" where %1", kind)), 1) << kind;
    EXPECT_GE(Scalar(c, "select count(*) from \"LVNodes\" where \"Kind\"=3 and \"State\"=0"), 1);
    EXPECT_GE(Scalar(c, "select count(*) from \"LVNodes\" where \"Kind\"=1"), 1);
    // Sections and nodes of the schemes: 10 to 120 sections a feeder.
    EXPECT_EQ(Scalar(c, R"(select count(*) from (select "OwnerGUID" from "LVLines" group by "OwnerGUID"
        having count(*) < 10 or count(*) > 130))"),
              0);
    EXPECT_EQ(Scalar(c, "select count(distinct \"Balance\") from \"LVPResultsAdd\""), 2);
    EXPECT_GE(Scalar(c, R"(select count(*) from (select "Ident" from "LVPResultsAdd" where "Balance"=0
        group by "Ident" having count(*) = 2))"),
              1);
    EXPECT_EQ(Scalar(c, R"(select count(*) from "LVPResultsAdd" pa left join "LVWResultsAdd" wa
        on wa."Ident"=pa."Ident" and wa."Balance"=pa."Balance" and wa.res=pa.res where wa."Ident" is null)"),
              0);
    EXPECT_GE(Scalar(c, "select count(*) from \"LVLines\""), lvCount);
    EXPECT_GE(Scalar(c, "select count(*) from \"MVResults\""), 1);
    EXPECT_GE(Scalar(c, "select count(*) from \"Transformation\" where \"UnomCH\"<=1"), 1);
}

TEST(DemoNetwork, ResultsAreFoundAtTheirLevel)
{
    TempFolder folder;
    auto db = OpenDatabase(NewDemoDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    // The first LV feeder with results and every owner above it.
    auto q = c.NewQuery();
    q->SetSQLText(R"(select first 1 e.guid as e, p.guid as p, r.guid as r, c.guid as c, s.guid as s, f.guid as f,
        nod.guid as nod, lf.guid as lf from "LVResults" mv join "LVFiders" lf on lf.guid=mv.guid
        join "Nodes" nod on nod.guid=lf."OwnerGUID" join "Fiders" f on f.guid=nod."OwnerGUID"
        join "Sections" s on s.guid=f."OwnerGUID" join "Centers" c on c.guid=s."OwnerGUID"
        join res r on r.guid=c."OwnerGUID" join pes p on p.guid=r."OwnerGUID" join "AOEnergo" e on e.guid=p."OwnerGUID"
        join "LVPResultsAdd" pa on pa."Ident"=mv."Ident" and pa.res=r.guid order by mv."Ident")");
    q->Open();
    ASSERT_FALSE(q->Eof());
    const char* aliases[] = {"E", "P", "R", "C", "S", "F", "NOD", "LF"};
    for (int level = 0; level < 8; ++level)
        EXPECT_EQ(FindLevelLV(c, q->Int(aliases[level])), level) << aliases[level];
    EXPECT_EQ(FindLevelLV(c, 987654321), -1);
}

TEST(DemoNetwork, GenerationIsDeterministic)
{
    TempFolder folder;
    const QString again = folder.Path("again.fdb");
    QString error;
    ASSERT_TRUE(db::CreateDatabase(again, error)) << error.toStdString();
    auto second = OpenDatabase(again);
    const db::DemoCounts counts =
        db::DemoGenerator(*second->GetDefaultConnection()).Generate(db::DemoShape::For(db::DemoSize::Small));
    RecalculateStoredNormative(*second->GetDefaultConnection());  // as `ozn3 demo-db` does
    feeders::RecalculateStoredSamples(*second->GetDefaultConnection());
    auto first = OpenDatabase(NewDemoDatabase(folder));
    EXPECT_EQ(counts.lvFiders, first->GetTree()->CountOfType(NodeType::LVFiders));
    for (const char* sql : {"select sum(\"P\") from \"LVPResultsA\"", "select sum(\"deltaWa\") from \"LVWResultsB\"",
                            "select sum(\"Wa_gen\") from \"LVWResultsAdd\"", "select max(\"GUID\") from \"LVFiders\""})
        EXPECT_DOUBLE_EQ(Scalar(*first->GetDefaultConnection(), sql), Scalar(*second->GetDefaultConnection(), sql))
            << sql;
}
