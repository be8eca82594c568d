// The regime by metering profiles over the demo network as the command line runs it: the balance identities of
// every feeder's run, the stored rows, the same numbers in the results of the hierarchy, the methods' comparison
// summed over the tree and its workbook recalculated by LibreOffice, and a later run of another mode replacing it.
#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
double Sum(const QJsonArray& blocks, const char* field)
{
    double sum = 0;
    for (const QJsonValue& b : blocks)
        sum += b.toObject()[field].toDouble();
    return sum;
}
}  // namespace

TEST(ProfileBatch, EveryDemoFeederByProfilesKeepsTheBalanceAndTheMethodsAddUpOverTheTree)
{
    TempFolder folder;
    const QString path = NewDemoDatabase(folder);
    int sample = 0, root = 0, profiles = 0, heads = 0;
    {
        auto db = OpenDatabase(path);
        ToznFDConnection& c = *db->GetDefaultConnection();
        root = IntScalar(c, R"(select first 1 "GUID" from "AOEnergo")");
        sample = IntScalar(c, R"(select first 1 "Ident" from "SamplesDates" where "Period"=1
            order by "SampleDate1" desc)");
        profiles = IntScalar(c, R"(select count(*) from "LVProfiles" where "Kind"=0)");
        heads = IntScalar(c, R"(select count(*) from "LVProfiles" where "Kind"=1)");
        EXPECT_EQ(Scalar(c, R"(select count(*) from "LVProfiles" where "Kind"=2)"), 5);  // a typical one per load kind
    }
    ASSERT_GT(profiles, 500);
    ASSERT_GT(heads, 50);
    const QString book = folder.Path("методы.xlsx");
    const AppOutcome run =
        RunApp({"regime", "--db", path, "--node", QString::number(root), "--sample", QString::number(sample),
                "--middle", "--mode", "profiles", "--json", "--xlsx", book});
    ASSERT_EQ(run.code, 0) << run.err.toStdString();

    int calculated = 0, refused = 0, withMeter = 0, profiled = 0;
    double sumLosses = 0, sumMiddle = 0, sumMax = 0;
    QJsonObject top;
    int someFeeder = 0;
    double someFeederLosses = 0;
    for (const QByteArray& line : run.out.toUtf8().split('\n')) {
        if (line.isEmpty())
            continue;
        const QJsonObject o = QJsonDocument::fromJson(line).object();
        if (o.contains("Comparison")) {
            if (top.isEmpty())
                top = o["Comparison"].toObject();
            continue;
        }
        if (o.contains("Problems")) {
            ++refused;
            continue;
        }
        ++calculated;
        const QJsonObject p = o["Profiles"].toObject();
        const QJsonArray blocks = o["Balance"].toArray();
        const QString name = o["Name"].toString();
        EXPECT_EQ(o["Mode"].toString(), "profiles");
        // At the step of greatest head power: P at the head is the loads and the losses, per block and in all.
        EXPECT_NEAR(o["PowerBalanceResidual"].toDouble(), 0, 1e-6) << name.toStdString();
        for (const QJsonValue& v : blocks) {
            const QJsonObject b = v.toObject();
            EXPECT_NEAR(b["Pgen"].toDouble(), b["Pcalc"].toDouble() + b["dP"].toDouble(), 1e-9);
        }
        // Over the interval: received is consumption and losses, or the head meter's energy when there is one.
        const double received = Sum(blocks, "Wa_gen");
        const double losses = Sum(blocks, "dWa");
        EXPECT_NEAR(p["dWa"].toDouble(), losses, 1e-12 + 1e-12 * losses);
        if (p["HeadMeter"].toBool()) {
            ++withMeter;
            EXPECT_NEAR(received, p["HeadWa"].toDouble(), 1e-9 * received) << name.toStdString();
            EXPECT_GT(received, Sum(blocks, "Wacalc"));  // the meter sees more than the consumers' meters
        } else {
            EXPECT_NEAR(received, Sum(blocks, "Wacalc") + losses, 1e-9 * (1 + received)) << name.toStdString();
        }
        // Every supplied consumer took its loads from one source.
        EXPECT_EQ(p["NProfile"].toInt() + p["NHead"].toInt() + p["NTypical"].toInt() + p["NFlat"].toInt() +
                      p["NNoLoad"].toInt(),
                  o["Supplied"].toInt())
            << name.toStdString();
        profiled += p["NProfile"].toInt();
        EXPECT_EQ(p["Steps"].toInt(), 8760);
        EXPECT_GE(p["UOut"].toDouble(), 0);
        EXPECT_LE(p["UOut"].toDouble(), 1);
        for (const QJsonValue& n : o["Nodes"].toArray()) {
            const QJsonObject node = n.toObject();
            if (!node["Energised"].toBool() || node["Umin"].isNull())
                continue;
            for (const QJsonValue& u : node["U"].toArray()) {
                if (!u.isNull()) {
                    EXPECT_LE(node["Umin"].toDouble(), u.toDouble() + 1e-5);
                }
            }
        }
        if (std::isfinite(p["dWaMiddle"].toDouble()) && !p["dWaMiddle"].isNull() && !p["dWaMax"].isNull()) {
            sumLosses += p["dWa"].toDouble();
            sumMiddle += p["dWaMiddle"].toDouble();
            sumMax += p["dWaMax"].toDouble();
        }
        if (!someFeeder && !o["Equivalent"].toBool()) {
            someFeeder = o["GUID"].toInt();
            someFeederLosses = losses;
        }
    }
    EXPECT_GT(calculated, 450);
    EXPECT_LT(refused, 20);  // the few whose peak steps take their voltage down past what a sweep can carry
    EXPECT_GT(withMeter, 50);
    EXPECT_GT(profiled, 500);
    // The tree's top sums the feeders' three losses; the shape factor of the head misses the diversity of the
    // consumers' curves, and τ of the head's Tmax applied to every consumer's maximum overstates.
    ASSERT_FALSE(top.isEmpty());
    EXPECT_EQ(top["Level"].toInt(), 0);
    EXPECT_NEAR(top["dWa"].toDouble(), sumLosses, 1e-9 * sumLosses);
    EXPECT_NEAR(top["dWaMiddle"].toDouble(), sumMiddle, 1e-9 * sumMiddle);
    EXPECT_NEAR(top["dWaMax"].toDouble(), sumMax, 1e-9 * sumMax);
    EXPECT_NEAR(top["ErrorMiddle"].toDouble(), (sumMiddle - sumLosses) / sumLosses * 100, 1e-6);
    EXPECT_LT(top["ErrorMiddle"].toDouble(), 0);
    EXPECT_GT(top["ErrorMax"].toDouble(), 0);
    EXPECT_TRUE(run.err.contains(
        Fmt("Нагрузочные потери «%1», линий %2: по графикам нагрузки", top["Name"].toString(), top["Feeders"].toInt())))
        << run.err.toStdString();

    // The workbook's errors are formulas that give the same values.
    EXPECT_GT(ExpectFormulasAsRecalculated(book, 1), 2 * 7);

    // Stored: a run of its own load mode with its figures, nodes with their lowest voltages; the results of the
    // hierarchy show the same losses.
    {
        auto db = OpenDatabase(path);
        ToznFDConnection& c = *db->GetDefaultConnection();
        const QString where = Fmt(R"( from "LVResults" r where r."SampleIdent"=%1 and r."LoadMode"=3)", sample);
        EXPECT_EQ(Scalar(c, "select count(*)" + where), calculated);
        EXPECT_EQ(Scalar(c, R"(select count(*) from "LVProfileRuns" p join "LVResults" r on r."Ident"=p."Ident"
            where r."SampleIdent"=)" +
                                QString::number(sample)),
                  calculated);
        EXPECT_GT(Scalar(c, R"(select count(*) from "LVPResultsN" where "Umin" is not null)"), 1000);
    }
    const AppOutcome results = RunApp({"results", "--db", path, "--guid", QString::number(someFeeder), "--sample",
                                       QString::number(sample), "--json"});
    ASSERT_EQ(results.code, 0) << results.err.toStdString();
    const QJsonObject feeder = QJsonDocument::fromJson(results.out.toUtf8().split('\n').first()).object();
    EXPECT_EQ(feeder["Level"].toInt(), 7);
    EXPECT_NEAR(feeder["dWa"].toDouble(), someFeederLosses, 1e-9 * someFeederLosses);

    // A run of another mode of the same interval and kind replaces it, figures and all.
    const AppOutcome loads = RunApp({"regime", "--db", path, "--node", QString::number(root), "--sample",
                                     QString::number(sample), "--middle", "--mode", "loads"});
    ASSERT_EQ(loads.code, 0) << loads.err.toStdString();
    {
        auto db = OpenDatabase(path);
        EXPECT_EQ(Scalar(*db->GetDefaultConnection(), R"(select count(*) from "LVProfileRuns")"), 0);
        // One feeder's regime dialog keeps "По графикам нагрузки" (sample type 2) for the mean-load regime.
        Exec(*db->GetDefaultConnection(),
             Fmt(R"(insert into "LVCalcParams" (guid, "Regime", "Level", "SampleIdent", "SampleType") )"
                 R"(values (%1, 0, 0, %2, 2))",
                 someFeeder, sample));
    }
    // Without --mode each feeder follows its own: that one by profiles, the others by their loads.
    const AppOutcome own = RunApp(
        {"regime", "--db", path, "--node", QString::number(root), "--sample", QString::number(sample), "--middle"});
    ASSERT_EQ(own.code, 0) << own.err.toStdString();
    auto db = OpenDatabase(path);
    ToznFDConnection& c = *db->GetDefaultConnection();
    EXPECT_EQ(Scalar(c, Fmt(R"(select count(*) from "LVResults" where "SampleIdent"=%1 and "LoadMode"=3)", sample)), 1);
    EXPECT_EQ(
        Scalar(c, Fmt(R"(select "LoadMode" from "LVResults" where "SampleIdent"=%1 and guid=%2)", sample, someFeeder)),
        3);
    EXPECT_EQ(Scalar(c, R"(select count(*) from "LVProfileRuns")"), 1);
}
