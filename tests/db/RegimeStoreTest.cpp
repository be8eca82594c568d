// The regime calculation over stored schemes: what it reads, what it writes and replaces, the balance of
// every demo feeder, and the upgrade of a database of the former version.
#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <map>

#include "db/SchemaInstaller.h"
#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "host/SchemaUpgrade.h"
#include "host/Tree.h"
#include "host/fider/RegimeBatch.h"
#include "support/TestSupport.h"

using namespace testing_support;
using namespace fider;

namespace {
struct Stored {
    TFiderJob job;
    TCalcWInfoHHCommon run;
    int ident = 0;
};

class Regime : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        year_ = IntScalar(*c_, "select min(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
    }
    TRegimeBatchResult Run(const QList<int>& fiders, TRegimeRequest request, std::map<int, Stored>* stored = nullptr,
                           QStringList* problems = nullptr)
    {
        TRegimeBatchEvents events;
        events.Stored = [&](const TFiderJob& job, const TCalcWInfoHHCommon& run, int ident) {
            if (stored)
                (*stored)[job.Fider.Guid] = {job, run, ident};
        };
        events.Refused = [&](const TFiderJob& job, const QStringList& p) {
            if (problems)
                *problems << QString::number(job.Fider.Guid) + ": " + p.join("; ");
        };
        return RunRegimeBatch(*db_, fiders, request, events);
    }
    TRegimeRequest Request(TLoadMode mode = TLoadMode::HeadCurrents) const
    {
        TRegimeRequest r;
        r.SampleIdent = year_;
        r.Mode = mode;
        return r;
    }
    // A feeder with a scheme of its own and an ordinary measurement in the first year.
    int SchemeFeeder(int skip = 0)
    {
        return static_cast<int>(Db(Fmt("select first 1 skip %1 l.\"OwnerGUID\" from \"LVLines\" l join "
                                       "\"LVWSamples\" s on s.guid=l.\"OwnerGUID\" and s.\"SampleIdent\"=%2 "
                                       "and s.\"TypeCalc\"=0 group by l.\"OwnerGUID\" order by 1",
                                       skip, year_)));
    }
    int year_ = 0;
};

double relative(double a, double b) { return std::fabs(a - b) / std::max(1e-9, std::fabs(b)); }
}  // namespace

TEST_F(Regime, EveryDemoFeederClosesItsBalanceAndIsStoredAsCalculated)
{
    const QList<int> all = LVFidersUnder(*db_->GetTree(), db_->GetTree()->GetItems(0)->GetIdent());
    std::map<int, Stored> stored;
    QStringList problems;
    const TRegimeBatchResult result = Run(all, Request(), &stored, &problems);
    ASSERT_TRUE(result.Failure.isEmpty()) << result.Failure.toStdString();
    EXPECT_EQ(result.Total, all.size());
    EXPECT_EQ(result.Calculated + result.Refused, result.Total);
    EXPECT_GT(result.Calculated, 0.9 * result.Total) << problems.join('\n').toStdString();
    int schemes = 0;
    for (const auto& [guid, s] : stored) {
        const TCalcPWResultsHH& p = s.run.Power;
        // The snapshot: what comes in at the head is what the loads take and the lines lose.
        EXPECT_LT(relative(p.GetHeadP(), p.LoadP + p.LossP), 1e-7) << guid;
        EXPECT_LT(relative(p.GetHeadQ(), p.LoadQ + p.LossQ), 1e-7) << guid;
        // The mode reached the measured head currents of the year.
        for (int k = 0; k < 3; ++k) {
            if (s.job.Settings.HeadCurrent[k] > 0) {
                EXPECT_NEAR(p.GetI(k), s.job.Settings.HeadCurrent[k], 1e-6) << guid;
            }
        }
        // The balance: received = consumption + losses per block; the measured supply is all received.
        double pgen = 0, wagen = 0, wacalc = 0, dwa = 0;
        for (const TBalanceBlock& b : s.run.Blocks) {
            EXPECT_NEAR(b.Pgen, b.Pcalc + b.dP, 1e-9 * std::max(1.0, b.Pgen));
            pgen += b.Pgen;
            wagen += b.Wa_gen;
            wacalc += b.Wacalc;
            dwa += b.dWa;
        }
        EXPECT_LT(relative(pgen, p.GetHeadP()), 1e-7) << guid;
        EXPECT_LT(relative(wagen, s.job.Settings.Wa), 1e-9) << guid;
        EXPECT_NEAR(wacalc, p.LoadP * s.job.Settings.T / 1000, 1e-6 * std::max(1.0, wacalc)) << guid;
        EXPECT_NEAR(dwa, p.LossP * s.job.Settings.T * s.job.Settings.SqrKfg * s.job.Settings.Kdp / 1000,
                    1e-6 * std::max(1.0, dwa));
        // What was written is what was calculated.
        const QString of = Fmt(" where \"Ident\"=%1", s.ident);
        EXPECT_NEAR(Db("select sum(\"Pgen\") from \"LVPResultsAdd\"" + of), pgen, 1e-6 * std::max(1.0, pgen));
        EXPECT_NEAR(Db("select sum(\"Wa_gen\") from \"LVWResultsAdd\"" + of), wagen, 1e-6 * std::max(1.0, wagen));
        EXPECT_EQ(Db("select count(*) from \"LVPResultsAdd\"" + of), static_cast<double>(s.run.Blocks.size()));
        if (s.job.Fider.Equivalent || schemes >= 40)
            continue;
        ++schemes;
        int energised = 0;
        for (size_t pos = 1; pos < p.Nodes.size(); ++pos)
            energised += p.Nodes[pos].Energised ? 1 : 0;
        EXPECT_EQ(Db("select count(*) from \"LVPResultsN\"" + of), energised) << guid;
        EXPECT_EQ(Db("select count(*) from \"LVPResultsL\"" + of), energised) << guid;
        EXPECT_NEAR(Db("select sum(\"dP\") from \"LVPResultsL\"" + of), p.LossP, 1e-9 * std::max(1.0, p.LossP));
        EXPECT_NEAR(Db("select \"IA\" from \"LVResults\"" + of), p.GetI(0), 1e-9);
    }
    EXPECT_GE(schemes, 40);
    // One run per feeder of the year, whatever ran before.
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVResults\" where \"SampleIdent\"=%1", year_)),
              result.Calculated + Db(Fmt("select count(*) from \"LVResults\" mv where mv.\"SampleIdent\"=%1 "
                                         "and coalesce(mv.\"CalcType\", 0)<>0",
                                         year_)));
}

TEST_F(Regime, ARunReplacesTheFormerOneAndAFailingRunKeepsIt)
{
    const int feeder = SchemeFeeder();
    std::map<int, Stored> stored;
    ASSERT_EQ(Run({feeder}, Request(), &stored).Calculated, 1);
    const int first = stored.at(feeder).ident;
    ASSERT_EQ(Run({feeder}, Request(TLoadMode::Loads), &stored).Calculated, 1);
    const int second = stored.at(feeder).ident;
    EXPECT_NE(first, second);
    const QString runs = Fmt("select count(*) from \"LVResults\" where guid=%1 and \"SampleIdent\"=%2", feeder, year_);
    EXPECT_EQ(Db(runs), 1);
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVPResultsL\" where \"Ident\"=%1", first)), 0);
    EXPECT_EQ(Db(Fmt("select \"LoadMode\" from \"LVResults\" where \"Ident\"=%1", second)), 0);
    // Another calculation type is another run beside it.
    TRegimeRequest other = Request();
    other.CalcType = 3;
    ASSERT_EQ(Run({feeder}, other, &stored).Calculated, 1);
    EXPECT_EQ(Db(runs), 2);

    // A conductor missing from the catalogue: the feeder is refused and its run stays as it was.
    const double lossesBefore = Db(Fmt("select sum(\"dP\") from \"LVPResultsL\" where \"Ident\"=%1", second));
    Exec(*c_, Fmt("update \"LVLines\" set \"ProvodPhase\"=99999, \"Kind\"=0 where guid=(select first 1 guid "
                  "from \"LVLines\" where \"OwnerGUID\"=%1 order by guid)",
                  feeder));
    QStringList problems;
    const TRegimeBatchResult failed = Run({feeder}, Request(TLoadMode::Loads), nullptr, &problems);
    EXPECT_EQ(failed.Refused, 1);
    ASSERT_EQ(problems.size(), 1);
    EXPECT_TRUE(problems[0].contains("не задана марка провода или её нет в справочнике")) << problems[0].toStdString();
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVResults\" where \"Ident\"=%1", second)), 1);
    EXPECT_DOUBLE_EQ(Db(Fmt("select sum(\"dP\") from \"LVPResultsL\" where \"Ident\"=%1", second)), lossesBefore);
}

TEST_F(Regime, ModesReachTheMeasurementsAndStoredParametersComeFirst)
{
    const int feeder = SchemeFeeder(1);
    const QString sample = Fmt(" from \"LVWSamples\" where guid=%1 and \"SampleIdent\"=%2", feeder, year_);
    std::map<int, Stored> stored;
    ASSERT_EQ(Run({feeder}, Request(TLoadMode::Energy), &stored).Calculated, 1);
    const Stored& energy = stored.at(feeder);
    const double wa = Db("select \"Wa\"" + sample);
    EXPECT_NEAR(energy.run.Power.GetHeadP() * 8760 / 1000, wa, 1e-6);
    EXPECT_DOUBLE_EQ(energy.job.Settings.T, 8760);
    EXPECT_DOUBLE_EQ(energy.job.Settings.Temperature, Db("select \"Temperature\"" + sample));

    // The maximum-load regime by the measured maximum currents: stored without a shape factor.
    TRegimeRequest maximum = Request(TLoadMode::HeadCurrents);
    maximum.Regime = TRegimeKind::Maximum;
    maximum.CalcType = 1;
    ASSERT_EQ(Run({feeder}, maximum, &stored).Calculated, 1);
    EXPECT_NEAR(stored.at(feeder).run.Power.GetI(2), Db("select \"ImaxC\"" + sample), 1e-6);
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVResults\" where guid=%1 and \"CalcType\"=1 and \"sqrKfg\" "
                     "is null and \"Regime\"=1",
                     feeder)),
              1);

    // Stored current parameters of the same interval win over the measurement; of another, they do not.
    Exec(*c_, Fmt("insert into \"LVCalcParams\" (guid, \"Regime\", \"Level\", \"SampleIdent\", "
                  "\"SampleType\", \"Temperature\", \"UA\") values (%1, 0, 0, %2, 1, 30, 225)",
                  feeder, year_));
    TRegimeRequest byStored = Request();
    byStored.Mode.reset();
    ASSERT_EQ(Run({feeder}, byStored, &stored).Calculated, 1);
    EXPECT_EQ(stored.at(feeder).job.Settings.Mode, TLoadMode::Loads);  // the stored mode 1 of the mean regime
    EXPECT_DOUBLE_EQ(stored.at(feeder).job.Settings.Temperature, 30);
    EXPECT_DOUBLE_EQ(stored.at(feeder).job.Settings.U[0], 225);
    EXPECT_DOUBLE_EQ(stored.at(feeder).job.Settings.U[1], Db("select \"UB\"" + sample));
    Exec(*c_, Fmt("update \"LVCalcParams\" set \"SampleIdent\"=%1 where guid=%2", year_ + 1, feeder));
    ASSERT_EQ(Run({feeder}, byStored, &stored).Calculated, 1);
    EXPECT_DOUBLE_EQ(stored.at(feeder).job.Settings.Temperature, Db("select \"Temperature\"" + sample));
}

TEST(RegimeUpgrade, ADatabaseOfTheFormerVersionOpensUpgradedWithEveryRow)
{
    TempFolder folder;
    const QString path = NewFormerSchemaDatabase(folder);
    {
        // Rows as the former version wrote them: a feeder of one section with its conductor.
        ToznFDConnection old(nullptr, path, FirebirdUser(), FirebirdPassword());
        for (const char* sql :
             {"insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", \"SampleDate2\") values "
              "(1, '2024г.', 1, '2024-01-01', '2025-01-01')",
              "insert into \"Nodes\" (guid, \"Name\", \"RES\") values (5, 'ТП-1', 3)",
              "insert into \"LVFiders\" (guid, \"Name\", \"OwnerGUID\", \"TypeLoad\", \"Unom\") values (10, 'Л-1', 5, "
              "1, "
              "0.38)",
              "insert into \"Provods\" (\"Ident\", \"Marka\", \"F\", \"R0\", \"X0\", \"ProvodType\") values (644, 'А', "
              "50, "
              "0.64, 0.325, 1)",
              "insert into \"LVNodes\" (guid, \"Name\", \"OwnerGUID\", \"TabOrder\") values (11, 'Опора 1', 10, 1)",
              "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"LineLength\", \"Kpl\", "
              "\"Phase\", \"ProvodPhase\", \"TabOrder\") values (12, 10, 10, 11, 'Пролет 1', 0.04, 1, 3, 644, 1)",
              "insert into \"LVResults\" (\"Ident\", guid, \"SampleIdent\", \"CalcType\") values (1, 10, 1, 0)",
              "insert into \"LVPResultsN\" (\"Ident\", guid, \"U\") values (1, 11, 228)"})
            Exec(old, QString::fromUtf8(sql));
    }
    auto db = OpenDatabase(path);
    ASSERT_TRUE(db);
    ToznFDConnection& c = *db->GetDefaultConnection();
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVLines\" where guid=12 and \"Kind\" is null and \"LineLength\"=0.04"),
              1);
    EXPECT_EQ(Scalar(c, "select \"U\" from \"LVPResultsN\" where guid=11"), 228);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVPResultsN\" where \"UA\" is null"), 1);
    EXPECT_EQ(UpgradeSchema(c), 0) << "a second opening finds nothing to add";
    EXPECT_EQ(Scalar(c, "select count(*) from \"Meters\""), 0) << "the register of meters is added empty";
    // Every column of the present schema is there: a new database and the upgraded one agree.
    const QString columns = "select count(*) from rdb$relation_fields where rdb$relation_name in ('LVNodes', "
                            "'LVLines', 'LVResults', 'LVPResultsN', 'LVPResultsL', 'Meters')";
    const QString fresh = NewSchemaDatabase(folder, "fresh.fdb");
    auto freshDb = OpenDatabase(fresh);
    EXPECT_EQ(Scalar(c, columns), Scalar(*freshDb->GetDefaultConnection(), columns));

    // The old scheme reads with its kinds taken from the conductor.
    TRegimeReader reader(c, 0.5, 0.9);
    TRegimeRequest request;
    request.SampleIdent = 1;
    const std::vector<TFiderJob> jobs = reader.Read({10}, request);
    EXPECT_DOUBLE_EQ(reader.IntervalHours(1), 8784);  // a leap year
    ASSERT_EQ(jobs.size(), 1u);
    const TFiderHHInfo& f = jobs[0].Fider;
    EXPECT_FALSE(f.Equivalent);
    EXPECT_EQ(f.Res, 3);
    ASSERT_EQ(f.Lines.size(), 1u);
    EXPECT_EQ(f.Lines[0].Kind, TSectionKind::Overhead);
    EXPECT_EQ(f.Lines[0].Phases, PhasesABC);
    EXPECT_DOUBLE_EQ(f.Lines[0].Neutral.R0, 0.64);
    EXPECT_EQ(CalculateRegime(f, jobs[0].Settings).Problems, QStringList{"В схеме нет абонентов"});
}

TEST_F(Regime, CommandLinePrintsASnapshotThatClosesAndLogsRefusals)
{
    const int feeder = SchemeFeeder(2);
    const int tp = static_cast<int>(Db(Fmt("select \"OwnerGUID\" from \"LVFiders\" where guid=%1", feeder)));
    db_.reset();
    const QString log = folder_.Path("regime.log");
    const AppOutcome app =
        RunApp({"regime", "--db", folder_.Path("demo.fdb"), "--node", QString::number(tp), "--sample",
                QString::number(year_), "--middle", "--mode", "loads", "--json", "--log", log});
    EXPECT_EQ(app.code, 0) << app.err.toStdString();
    int lines = 0;
    for (const QByteArray& line : app.out.toUtf8().split('\n')) {
        if (line.isEmpty())
            continue;
        ++lines;
        const QJsonObject o = QJsonDocument::fromJson(line).object();
        if (o.contains("Problems"))
            continue;
        // The numbers carry all their digits: the balance closes when recomputed from the printed values.
        double losses = 0;
        for (const QJsonValue& s : o["Sections"].toArray())
            if (!s.toObject()["dP"].isNull())
                losses += s.toObject()["dP"].toDouble();
        EXPECT_NEAR(losses, o["LossP"].toDouble(), 1e-9 * std::max(1.0, losses));
        EXPECT_LT(std::fabs(o["HeadP"].toDouble() - o["LoadP"].toDouble() - losses), 1e-7 * o["HeadP"].toDouble());
        for (const QJsonValue& n : o["Nodes"].toArray())
            EXPECT_EQ(n.toObject()["U"].toArray().size(), 3);
        EXPECT_GE(o["UnbalanceRatio"].toDouble(), 0.99);
    }
    EXPECT_EQ(lines, static_cast<int>(Scalar(*OpenDatabase(folder_.Path("demo.fdb"))->GetDefaultConnection(),
                                             Fmt("select count(*) from \"LVFiders\" where \"OwnerGUID\"=%1", tp))));
    EXPECT_TRUE(QFile::exists(log));

    const AppOutcome bad = RunApp({"regime", "--db", folder_.Path("demo.fdb"), "--node", "1", "--sample",
                                   QString::number(year_), "--max", "--mode", "energy"});
    EXPECT_EQ(bad.code, 2);
    EXPECT_TRUE(bad.err.contains("только в режиме средних нагрузок"));
}

TEST_F(Regime, AWriteTheDatabaseRefusesKeepsThatFeedersRunAndStoresTheOthers)
{
    const int feeder = SchemeFeeder();
    const int tp = static_cast<int>(Db(Fmt("select \"OwnerGUID\" from \"LVFiders\" where guid=%1", feeder)));
    const QList<int> all = LVFidersUnder(*db_->GetTree(), tp);
    ASSERT_GE(all.size(), 2);
    std::map<int, Stored> stored;
    ASSERT_EQ(Run(all, Request(TLoadMode::Loads), &stored).Failure, QString());
    ASSERT_TRUE(stored.count(feeder));
    const int former = stored.at(feeder).ident;
    // The database refuses one section row of the feeder.
    const int line = static_cast<int>(Db(Fmt("select first 1 guid from \"LVLines\" where \"OwnerGUID\"=%1 "
                                             "order by guid",
                                             feeder)));
    Exec(*c_, "create exception \"RegimeTestRefusal\" 'отказ записи'");
    Exec(*c_, Fmt("create trigger \"RegimeTestRefusal\" for \"LVPResultsL\" before insert as begin "
                  "if (new.guid = %1) then exception \"RegimeTestRefusal\"; end",
                  line));
    stored.clear();
    QStringList problems;
    const TRegimeBatchResult result = Run(all, Request(TLoadMode::Loads), &stored, &problems);
    EXPECT_TRUE(result.Failure.isEmpty());
    EXPECT_EQ(result.Refused, 1);
    EXPECT_EQ(result.Calculated, all.size() - 1);
    ASSERT_EQ(problems.size(), 1);
    EXPECT_TRUE(problems[0].contains("отказ записи")) << problems[0].toStdString();
    EXPECT_FALSE(stored.count(feeder));
    // The refused feeder keeps its former run whole; every other feeder has its new run only.
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVResults\" where guid=%1 and \"SampleIdent\"=%2", feeder, year_)), 1);
    EXPECT_EQ(Db(Fmt("select \"Ident\" from \"LVResults\" where guid=%1 and \"SampleIdent\"=%2", feeder, year_)),
              former);
    EXPECT_GT(Db(Fmt("select count(*) from \"LVPResultsL\" where \"Ident\"=%1", former)), 0);
    for (const auto& [guid, s] : stored)
        EXPECT_EQ(Db(Fmt("select \"Ident\" from \"LVResults\" where guid=%1 and \"SampleIdent\"=%2 and "
                         "coalesce(\"CalcType\", 0)=0",
                         guid, year_)),
                  s.ident);
}

TEST_F(Regime, AFeederWithoutASchemeIsOneSectionOfItsParametersWithItsLoadAtTheEnd)
{
    const int feeder = SchemeFeeder();
    for (const char* table : {"LVLines", "LVNodes"})
        Exec(*c_, Fmt("delete from \"%1\" where \"OwnerGUID\"=%2", table, feeder));
    Exec(*c_, Fmt("update \"LVFidersA\" set \"ProvodPhase\"=644, \"ProvodNull\"=640, \"LineLength\"=0.5, "
                  "\"CosFi\"=1 where guid=%1",
                  feeder));
    std::map<int, Stored> stored;
    ASSERT_EQ(Run({feeder}, Request(TLoadMode::Loads), &stored).Calculated, 1);
    const Stored& s = stored.at(feeder);
    EXPECT_TRUE(s.job.Fider.Equivalent);
    // The measured energy of the year over its hours, balanced over three phases of A-50 with A-16 neutral.
    const double wa = Db(Fmt("select \"Wa\" from \"LVWSamples\" where guid=%1 and \"SampleIdent\"=%2", feeder, year_));
    const double perPhase = wa * 1e6 / 8760 / 3, u = s.job.Settings.U[0];
    ASSERT_NEAR(s.job.Settings.U[1], u, 1e-9);
    const double r = 0.64 * 0.5 * (1 + 0.004 * (s.job.Settings.Temperature - 20)), x = 0.325 * 0.5;
    // |E|² = (U + P·R/U)² + (P·X/U)² for a unity power factor load at U, solved by iteration.
    double load = u;
    for (int i = 0; i < 100; ++i)
        load = std::sqrt(u * u - std::pow(perPhase * x / load, 2)) - perPhase * r / load;
    EXPECT_NEAR(s.run.Power.LossP, 3 * std::pow(perPhase / load, 2) * r / 1000, 1e-6 * s.run.Power.LossP);
    EXPECT_NEAR(s.run.Power.Sections[1].I[3], 0, 1e-6) << "a balanced load: nothing in the neutral";
    const QString of = Fmt(" where \"Ident\"=%1", s.ident);
    EXPECT_EQ(Db("select count(*) from \"LVPResultsN\"" + of), 0) << "no rows of elements it does not have";
    EXPECT_EQ(Db("select count(*) from \"LVPResultsAdd\"" + of), 1);
    EXPECT_NEAR(Db("select \"HeadEndLength\" from \"LVResults\"" + of), 0.5, 1e-12);

    // Without a measured energy the same feeder has no load to calculate.
    Exec(*c_, Fmt("update \"LVWSamples\" set \"Wa\"=null where guid=%1", feeder));
    QStringList problems;
    EXPECT_EQ(Run({feeder}, Request(TLoadMode::Loads), nullptr, &problems).Refused, 1);
    ASSERT_EQ(problems.size(), 1);
    EXPECT_TRUE(problems[0].contains("Нет схемы линии, а отпуск электроэнергии")) << problems[0].toStdString();
}
