#include <gtest/gtest.h>

#include "host/Database.h"
#include "results/UnitLVResults.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
class Results : public DatabaseTest {
protected:
    void SetUp() override { OpenNew(true); }
};

// LV feeders under a supply centre, through ownership.
const char* kUnderCenter = R"(select lf.guid from "LVFiders" lf join "Nodes" nod on nod.guid=lf."OwnerGUID"
    join "Fiders" f on f.guid=nod."OwnerGUID" join "Sections" s on s.guid=f."OwnerGUID" where s."OwnerGUID"=%1)";
}  // namespace

TEST_F(Results, DeletingAtACentreRemovesExactlyThatSampleAndTypeBeneathIt)
{
    const int center = static_cast<int>(Db("select first 1 guid from \"Centers\" order by guid"));
    const int sample = static_cast<int>(Db("select min(\"SampleIdent\") from \"LVResults\""));
    // Another run of type 1 for the same sample under the centre must stay.
    const int lv = static_cast<int>(Db(QString::fromUtf8(kUnderCenter).arg(center)));
    Exec(*c_, Fmt("insert into \"LVResults\" (\"Ident\", GUID, \"SampleIdent\", \"CalcType\") values "
                  "(900001, %1, %2, 1)",
                  lv, sample));
    const QString under = Fmt("select count(*) from \"LVResults\" where guid in (%1) and \"SampleIdent\"=%2 "
                              "and \"CalcType\"=%3",
                              QString::fromUtf8(kUnderCenter).arg(center));
    const double all = Db("select count(*) from \"LVResults\"");
    const double target = Db(under.arg(sample).arg(0));
    const double balanceRows = Db("select count(*) from \"LVPResultsAdd\"");
    ASSERT_GT(target, 0);

    EXPECT_EQ(DeleteResultsLV(*c_, center, 0, sample), target);
    EXPECT_EQ(Db(under.arg(sample).arg(0)), 0);
    EXPECT_EQ(Db(under.arg(sample).arg(1)), 1);  // another calculation type
    EXPECT_EQ(Db("select count(*) from \"LVResults\""), all - target);
    EXPECT_LT(Db("select count(*) from \"LVPResultsAdd\""), balanceRows);  // the balance rows went with them
    EXPECT_EQ(Db("select count(*) from \"LVPResultsAdd\" pa left join \"LVResults\" mv on mv.\"Ident\"=pa.\"Ident\" "
                 "where mv.\"Ident\" is null"),
              0);
    // The object is found no more for that sample, but still for the others.
    EXPECT_EQ(DeleteResultsLV(*c_, center, 0, sample), 0);
}

TEST_F(Results, SamplesAndPeriodsWithResults)
{
    const QList<TLVResultSample> samples = SamplesWithResultsLV(*c_, 0);
    ASSERT_EQ(samples.size(), 3);  // the three demo years
    EXPECT_EQ(samples.first().Name, "2023г.");
    EXPECT_EQ(samples.last().Name, "2025г.");
    EXPECT_TRUE(SamplesWithResultsLV(*c_, 7).isEmpty());

    const int section = static_cast<int>(Db("select first 1 s.guid from \"Sections\" s order by s.guid"));
    const int root = static_cast<int>(Db("select first 1 guid from \"AOEnergo\""));
    const QDateTime from = samples.first().SampleDate1, to = samples.last().SampleDate2;
    auto periods = PeriodsWithResultsLV(*c_, 0, root, from, to);
    ASSERT_EQ(periods.size(), 1);
    EXPECT_EQ(periods[0].Period, 1);
    EXPECT_EQ(periods[0].Name, "Год");
    EXPECT_EQ(PeriodsWithResultsLV(*c_, 0, section, from, to).size(), 1);
    EXPECT_TRUE(PeriodsWithResultsLV(*c_, 0, section, from, to, false).isEmpty());  // the text without Sections
    EXPECT_TRUE(PeriodsWithResultsLV(*c_, 0, root, from, from.addDays(100)).isEmpty());

    // Names of the hierarchy: only objects above feeders with results, with the names the tables hold.
    const int without = static_cast<int>(Db("select max(guid) from \"LVResults\""));
    Exec(*c_, Fmt("delete from \"LVResults\" where guid=%1", without));
    const QHash<int, QString> withResults = NamesLV(*c_, 0, from, to), all = ObjectNamesLV(*c_);
    const int feeder = static_cast<int>(Db("select first 1 guid from \"LVResults\" order by guid"));
    EXPECT_FALSE(withResults.value(feeder).isEmpty());
    EXPECT_EQ(withResults.value(feeder), all.value(feeder));
    EXPECT_EQ(withResults.value(root), "АО «Облэнерго»");
    EXPECT_EQ(all.value(section), withResults.value(section));
    EXPECT_FALSE(withResults.contains(without));
    EXPECT_FALSE(all.value(without).isEmpty());
    EXPECT_TRUE(NamesLV(*c_, 0, from, from.addDays(100)).isEmpty());
}
