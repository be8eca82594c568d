#include <gtest/gtest.h>

#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "normative/AverageCrossSection.h"
#include "normative/LVNormativMethodDBUnit.h"
#include "support/TestSupport.h"

using namespace testing_support;
using S = TLVNormativSample0;

namespace {
// Years 2022 to 2025 (idents 1 to 4); element 500 has schemes stored for 2022 (scheme 10, Lma 1)
// and 2025 (scheme 20, Lma 2), none for 2023 or 2024.
class Store : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(false);
        for (int y = 2022; y <= 2025; ++y)
            Exec(*c_, Fmt("insert into \"SamplesDates\" (\"Ident\",\"Name\",\"Period\",\"SampleDate1\","
                          "\"SampleDate2\") values (%1, '%2г.', 1, '%2-01-01', '%3-01-01')",
                          y - 2021, y, y + 1));
        for (auto [ident, lma] : {std::pair{10, 1.0}, {20, 2.0}})
            Exec(*c_, Fmt("insert into \"LVFidersB\" (\"Ident\",\"CosFi\",\"Unom\",\"F\",\"NLines\",\"dp\","
                          "\"kzap\",\"dn\",\"Lma\") values (%1, 0.92, 0, 50, 2, 0.6, 0.5, 0.1, %2)",
                          ident, lma));
        Exec(*c_, "insert into \"LVWResultsB\" (\"SampleIdent\",GUID,\"Wa\",\"Wa_bus\",T,\"Info\") "
                  "values (1, 500, 300, 15, 8760, 10)");
        Exec(*c_,
             "insert into \"LVWResultsB\" (\"SampleIdent\",GUID,\"Wa\",T,\"Info\") values (4, 500, 400, 8760, 20)");
        Exec(*c_, "set generator \"LVFidersBIdent\" to 100");
        periods_ = db_->GetSamplePeriods();
    }
    const TSamplePeriodInfo& Year(int year) { return *periods_->GetPSamplePeriodInfoByIdent(year - 2021); }

    TSamplePeriodsList* periods_ = nullptr;
};
}  // namespace

TEST_F(Store, StoredRowOrNearestSchemeWithEmptyEnergies)
{
    TLVNormativeStore store(*c_);
    S s;
    ASSERT_TRUE(store.Load(s, 500, Year(2022)));
    EXPECT_EQ(s.Info, 10);
    EXPECT_DOUBLE_EQ(s.GetWa(), 300);
    EXPECT_DOUBLE_EQ(s.GetWa_bus(), 15);
    EXPECT_EQ(s.GetNLines(), 2);
    EXPECT_DOUBLE_EQ(s.GetLength(S::Lma), 1);
    EXPECT_EQ(s.GetLength(S::Lms), -1);

    // 2024 lies between: the earlier period wins over the later one.
    ASSERT_TRUE(store.Load(s, 500, Year(2024)));
    EXPECT_EQ(s.Info, 10);
    EXPECT_EQ(s.GetWa(), -1);
    EXPECT_EQ(s.GetWa_bus(), -1);
    EXPECT_EQ(s.GetT(), 8784);  // the requested year's hours
    EXPECT_EQ(s.Classify(), S::Outcome::NoSupply);
    // Before every stored period: the earliest later one.
    Exec(*c_, "delete from \"LVWResultsB\" where \"SampleIdent\"=1");
    ASSERT_TRUE(store.Load(s, 500, Year(2023)));
    EXPECT_EQ(s.Info, 20);
    EXPECT_FALSE(store.Load(s, 777, Year(2023)));
    EXPECT_EQ(s.Info, 0);
    EXPECT_EQ(s.GetLength(S::Lma), -1);
}

TEST_F(Store, BulkLoadingChoosesLikeSingleLoading)
{
    Exec(*c_, "insert into \"LVWResultsB\" (\"SampleIdent\",GUID,\"Wa\",T,\"Info\") values (4, 600, 50, 8760, 20)");
    for (int year : {2022, 2023, 2024, 2025}) {
        TLVNormativeStore single(*c_), bulk(*c_);
        bulk.Preload(Year(year));
        for (int guid : {500, 600, 700}) {
            S a, b;
            const bool foundA = single.Load(a, guid, Year(year));
            const bool foundB = bulk.Load(b, guid, Year(year));
            EXPECT_EQ(foundA, foundB) << year << " " << guid;
            EXPECT_EQ(a.Info, b.Info) << year << " " << guid;
            EXPECT_EQ(a.GetWa(), b.GetWa());
            EXPECT_EQ(a.GetT(), b.GetT());
            EXPECT_EQ(a.GetLength(S::Lma), b.GetLength(S::Lma));
        }
    }
}

TEST_F(Store, SavingAnEarlierSchemeAddsARowForTheSameInputs)
{
    TLVNormativeStore store(*c_);
    S s;
    s.Ident = 500;
    ASSERT_TRUE(store.Load(s, 500, Year(2023)));
    s.SetWa(250);
    ASSERT_EQ(s.Classify(), S::Outcome::Saved);
    store.Save(s, Year(2023).Ident);
    EXPECT_EQ(Scalar(*c_, "select \"Info\" from \"LVWResultsB\" where \"SampleIdent\"=2 and GUID=500"), 10);
    EXPECT_EQ(Scalar(*c_, "select count(*) from \"LVFidersB\""), 2);
    EXPECT_DOUBLE_EQ(Scalar(*c_, "select \"deltaWa\" from \"LVWResultsB\" where \"SampleIdent\"=2"), s.deltaWa());
    EXPECT_EQ(Scalar(*c_, "select count(*) from \"LVWResultsB\" where \"SampleIdent\"=2 and \"Wa_bus\" is null"),
              1);  // an empty value is stored as NULL

    // A repeated save of the same element and period replaces its row.
    s.SetWa(260);
    store.Save(s, Year(2023).Ident);
    EXPECT_EQ(Scalar(*c_, "select count(*) from \"LVWResultsB\" where \"SampleIdent\"=2"), 1);
    EXPECT_EQ(Scalar(*c_, "select \"Wa\" from \"LVWResultsB\" where \"SampleIdent\"=2"), 260);

    // An element without a scheme gets a new key from the generator.
    S fresh;
    fresh.Ident = 900;
    fresh.SetWa(100);
    fresh.SetF(50);
    fresh.Setdp(0.5);
    fresh.Setdn(0.1);
    fresh.SetLength(S::L1a, 0.4);
    store.Save(fresh, 1);
    EXPECT_EQ(fresh.Info, 101);
    EXPECT_DOUBLE_EQ(Scalar(*c_, "select \"L1a\" from \"LVFidersB\" where \"Ident\"=101"), 0.4);
    EXPECT_EQ(Scalar(*c_, "select count(*) from \"LVFidersB\" where \"Ident\"=101 and \"Lma\" is null"), 1);

    store.Delete(900, 1);
    EXPECT_EQ(Scalar(*c_, "select count(*) from \"LVWResultsB\" where GUID=900"), 0);
}

TEST_F(Store, CrossSectionRowsKeptWithTheScheme)
{
    TLVNormativeStore store(*c_);
    TAverageCrossSection sections;
    sections.SetItem(6, {100, 100});
    sections.SetItem(0, {100, 0});
    store.SaveSections(10, sections);
    TAverageCrossSection back;
    store.LoadSections(10, back);
    EXPECT_TRUE(back.isEqual(sections));
    EXPECT_FALSE(back.Modified());
    EXPECT_DOUBLE_EQ(back.AverageF(), (95.0 * 200 + 10 * 100) / 300);
    // Deleting the scheme takes its rows with it.
    Exec(*c_, "delete from \"LVWResultsB\" where \"Info\"=10");
    Exec(*c_, "delete from \"LVFidersB\" where \"Ident\"=10");
    EXPECT_EQ(Scalar(*c_, "select count(*) from \"LVFidersBSections\""), 0);
}

TEST_F(Store, ChangingASchemeOfAnotherYearCopiesItAndLeavesThatYearIntact)
{
    TLVNormativeStore store(*c_);
    TAverageCrossSection sections;
    sections.SetItem(4, {300, 0});
    store.SaveSections(10, sections);
    auto lma = [&](int info) { return Scalar(*c_, Fmt("select \"Lma\" from \"LVFidersB\" where \"Ident\"=%1", info)); };
    auto infoOf = [&](int year) {
        return static_cast<int>(Scalar(
            *c_, Fmt("select \"Info\" from \"LVWResultsB\" where GUID=500 and \"SampleIdent\"=%1", year - 2021)));
    };

    // 2023 opens with the scheme of 2022; its main line is changed and saved.
    S s;
    s.Ident = 500;
    ASSERT_TRUE(store.Load(s, 500, Year(2023)));
    ASSERT_EQ(s.Info, 10);
    s.SetWa(250);
    s.SetLength(S::Lma, 1.5);
    store.Save(s, Year(2023).Ident);
    EXPECT_EQ(s.Info, 101);  // a copy under a new key
    EXPECT_EQ(infoOf(2023), 101);
    EXPECT_DOUBLE_EQ(lma(101), 1.5);
    EXPECT_DOUBLE_EQ(Scalar(*c_, "select \"F\" from \"LVFidersB\" where \"Ident\"=101"), 50);
    // 2022 keeps the inputs its result came from, and the copy has the cross-section table too.
    EXPECT_EQ(infoOf(2022), 10);
    EXPECT_DOUBLE_EQ(lma(10), 1.0);
    TAverageCrossSection copied;
    store.LoadSections(101, copied);
    EXPECT_TRUE(copied.isEqual(sections));

    // The scheme of 2023 is now its own: a further change is written in place.
    S again;
    again.Ident = 500;
    ASSERT_TRUE(store.Load(again, 500, Year(2023)));
    again.SetLength(S::Lma, 1.75);
    store.Save(again, Year(2023).Ident);
    EXPECT_EQ(again.Info, 101);
    EXPECT_DOUBLE_EQ(lma(101), 1.75);
    EXPECT_EQ(Scalar(*c_, "select count(*) from \"LVFidersB\""), 3);

    // A row of 2024 saved with only its energy refers to the scheme of 2025 (nothing to copy)…
    S energyOnly;
    energyOnly.Ident = 500;
    ASSERT_TRUE(store.Load(energyOnly, 500, Year(2024)));
    ASSERT_EQ(energyOnly.Info, 101);  // the nearest earlier year, 2023
    energyOnly.SetWa(260);
    store.Save(energyOnly, Year(2024).Ident);
    EXPECT_EQ(infoOf(2024), 101);
    EXPECT_EQ(Scalar(*c_, "select count(*) from \"LVFidersB\""), 3);
    // …and since 2023 and 2024 share it, changing it for 2023 copies it again.
    ASSERT_TRUE(store.Load(again, 500, Year(2023)));
    again.SetF(70);
    store.Save(again, Year(2023).Ident);
    EXPECT_EQ(infoOf(2023), 102);
    EXPECT_EQ(infoOf(2024), 101);
    EXPECT_DOUBLE_EQ(Scalar(*c_, "select \"F\" from \"LVFidersB\" where \"Ident\"=101"), 50);
    EXPECT_DOUBLE_EQ(Scalar(*c_, "select \"F\" from \"LVFidersB\" where \"Ident\"=102"), 70);
}
