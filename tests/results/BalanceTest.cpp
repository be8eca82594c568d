// The balance of a feeder and of every sum over the hierarchy: Прием = Отдача + Отпуск, Отпуск = Полезный отпуск
// + Фактические потери, and the quantities behind them, on a hand-made record and on the demo network.
#include <gtest/gtest.h>

#include <QHash>
#include <cmath>

#include "host/Database.h"
#include "host/HostObjects.h"
#include "host/NumericHelpers.h"
#include "results/LVBalance.h"
#include "results/LVResultsColumns.h"
#include "results/PesResultsLVUnit.h"
#include "results/UnitLVResultsTree.h"
#include "support/TestSupport.h"

using namespace testing_support;
using namespace results;

namespace {
// A record of given block values: (field, variant) → value; everything else empty.
class HandRecord : public TLVResultCustom {
public:
    QHash<QPair<int, int>, double> blocks;
    QHash<int, double> result;
    double GetValue(int field, int variant) const override { return blocks.value({field, variant}, EmptyFloat()); }
    double GetValueLVResult(int field) const override { return result.value(field, EmptyFloat()); }
    void Set(int field, double on, double off)
    {
        blocks[{field, VariantOnBalance}] = on;
        blocks[{field, VariantOffBalance}] = off;
        blocks[{field, VariantTotal}] = on + off;
    }
};
}  // namespace

TEST(Balance, EveryQuantityOfAFeederWithPartsOfOtherOwners)
{
    // On the utility's balance: consumers metered 80 (calculated 85), losses 5, and a measured receipt 7 above
    // what the calculation explains. Off it: consumers metered 20 (calculated 22), losses 3.
    HandRecord r;
    r.Set(bfWa_gen, 85 + 5 + 7, 22 + 3);
    r.Set(bfWafakt, 80, 20);
    r.Set(bfWacalc, 85, 22);
    r.Set(bfdWa, 5, 3);
    r.result[rfdWdop] = 4;
    const Measure E = Measure::Energy;
    EXPECT_DOUBLE_EQ(Receipt(r, E), 122);
    EXPECT_DOUBLE_EQ(OutflowConsumption(r, E, Basis::Given), 20);
    EXPECT_DOUBLE_EQ(Outflow(r, E, Basis::Given), 23);
    EXPECT_DOUBLE_EQ(Outflow(r, E, Basis::Calculated), 25);
    EXPECT_DOUBLE_EQ(Supply(r, E, Basis::Given), 99);
    EXPECT_DOUBLE_EQ(Supply(r, E, Basis::Calculated), 97);
    EXPECT_DOUBLE_EQ(Useful(r, E, Basis::Given), 80);
    EXPECT_DOUBLE_EQ(Useful(r, E, Basis::Calculated), 85);
    EXPECT_DOUBLE_EQ(ActualLosses(r, E), 19);  // 99 − 80: the losses on the balance and what nobody metered
    EXPECT_DOUBLE_EQ(Imbalance(r, E), 14);     // 19 − 5
    EXPECT_DOUBLE_EQ(NonTechnical(r, E), 10);  // 14 − 4
    EXPECT_DOUBLE_EQ(ShareOfSupply(r, E, 5), 5.0 / 99 * 100);
    // The identities.
    EXPECT_DOUBLE_EQ(Receipt(r, E), Outflow(r, E, Basis::Given) + Supply(r, E, Basis::Given));
    EXPECT_DOUBLE_EQ(Supply(r, E, Basis::Given), Useful(r, E, Basis::Given) + ActualLosses(r, E));

    // An imbalance within what the meters allow is no non-technical loss.
    r.result[rfdWdop] = 20;
    EXPECT_DOUBLE_EQ(NonTechnical(r, E), 0);
    // Nothing metered: no actual losses to speak of, and a feeder wholly on the balance gives nothing away.
    HandRecord calculated;
    calculated.blocks[{bfPgen, VariantTotal}] = 50;
    calculated.blocks[{bfPgen, VariantOnBalance}] = 50;
    calculated.blocks[{bfPcalc, VariantOnBalance}] = 48;
    calculated.blocks[{bfdP, VariantOnBalance}] = 2;
    const Measure P = Measure::Power;
    EXPECT_DOUBLE_EQ(Outflow(calculated, P, Basis::Calculated), 0);
    EXPECT_DOUBLE_EQ(Supply(calculated, P, Basis::Calculated), 50);
    EXPECT_TRUE(isEmptyFloat(ActualLosses(calculated, P)));
    EXPECT_TRUE(isEmptyFloat(NonTechnical(calculated, P)));
    EXPECT_TRUE(isEmptyFloat(Receipt(calculated, E)));
}

namespace {
double Column(const std::vector<TLVResultColumn>& columns, const QString& field, const TLVResultRecord& r)
{
    for (const TLVResultColumn& c : columns)
        if (c.Field == field)
            return c.Value(r);
    ADD_FAILURE() << field.toStdString();
    return EmptyFloat();
}
double Known(double v) { return isEmptyFloat(v) ? 0 : v; }
}  // namespace

TEST(Balance, TheIdentitiesHoldOnEveryNodeOfTheDemoNetwork)
{
    TempFolder folder;
    auto db = OpenDatabase(NewDemoDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    const int root = IntScalar(c, "select first 1 guid from \"AOEnergo\"");
    for (const TSamplePeriodInfo& year : db->GetSamplePeriods()->Items()) {
        if (!year.Name.endsWith("г."))
            continue;  // the demo's results are of years
        TPesResultsLV tree(0, 0, {}, nullptr);
        QString error;
        ASSERT_TRUE(tree.Open(c, root, 0, year.SampleDate1, year.SampleDate2, 1, error)) << error.toStdString();
        int nodes = 0, withLosses = 0;
        tree.ForEach([&](TPesResultsLV& node) {
            const TLVResultRecord& r = node.Record();
            const double gen = Column(EnergyColumns(), "Wa_gen", r);
            if (isEmptyFloat(gen))
                return;
            ++nodes;
            const auto& e = EnergyColumns();
            const auto& p = PowerColumns();
            const double scale = 1e-9 * std::max(1.0, std::fabs(gen));
            EXPECT_NEAR(gen, Column(e, "WafactAll", r) + Column(e, "WaoutAll", r), scale);
            EXPECT_NEAR(gen, Column(e, "WacalcAll", r) + Column(e, "WaoutCalcAll", r), scale);
            // What came in at the head is the calculated consumption on and off the balance and every load loss:
            // the regime's conservation seen through the balance columns.
            const double pgen = Column(p, "Pgen", r);
            EXPECT_NEAR(pgen, Column(p, "PcalcAll", r) + Column(p, "Pcalc", r) + Known(Column(p, "dP0", r)),
                        1e-9 * std::max(1.0, pgen))
                << node.Text().toStdString();
            // Load losses are a modest share of what went into the network, and never a negative amount of
            // non-technical losses.
            for (const double share : {Column(p, "dP_P", r), Column(e, "dWa_P", r)}) {
                if (isEmptyFloat(share))
                    continue;
                ++withLosses;
                EXPECT_GT(share, 0) << node.Text().toStdString();
                EXPECT_LT(share, 40) << node.Text().toStdString();
            }
            const double nonTechnical = Column(e, "dWtech", r);
            EXPECT_TRUE(isEmptyFloat(nonTechnical) || nonTechnical >= 0) << node.Text().toStdString();
            // Every share is of the given Отпуск; the non-technical losses are the imbalance beyond what the
            // meters allow.
            const double supply = Column(e, "WaoutAll", r);
            auto ofSupply = [&](const char* field, const char* share) {
                const double v = Column(e, field, r), pct = Column(e, share, r);
                if (isEmptyFloat(v) || isEmptyFloat(pct))
                    return;
                EXPECT_NEAR(pct / 100 * supply, v, 1e-9 * std::max(1.0, std::fabs(v))) << share;
            };
            for (const auto& [field, share] : {std::pair{"dW", "dW_P"},
                                               {"dWdop", "dWdop_P"},
                                               {"dWtech", "dWtech_P"},
                                               {"dWa0", "dWa0_P"},
                                               {"dWa4", "dWa4_P"},
                                               {"dWa", "dWa_P"}})
                ofSupply(field, share);
            // A feeder's non-technical losses are its imbalance beyond what the meters allow; a node's are the sum of
            // its children's (a feeder's excess is not cancelled by another feeder's shortfall).
            const double imbalance = Column(e, "dW", r), allowed = Known(Column(e, "dWdop", r));
            if (node.ChildCount() == 0 && !isEmptyFloat(imbalance)) {
                EXPECT_NEAR(nonTechnical, std::max(0.0, imbalance - allowed),
                            1e-9 * std::max(1.0, std::fabs(imbalance)));
            } else if (node.ChildCount() > 0) {
                double children = 0;
                for (int i = 0; i < node.ChildCount(); ++i)
                    children += Known(Column(e, "dWtech", node.Child(i)->Record()));
                EXPECT_NEAR(nonTechnical, children, 1e-9 * std::max(1.0, children)) << node.Text().toStdString();
            }
        });
        EXPECT_GT(nodes, 10) << year.Name.toStdString();
        EXPECT_GT(withLosses, 10) << year.Name.toStdString();
    }
}
