#include <gtest/gtest.h>

#include <QDateTime>

#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
// A utility with one feeder of three substations: on 0.4 kV, on exactly 1 kV, and one that owns itself;
// a second feeder shows the first substation again as a link.
void buildSmallNetwork(ToznFDConnection& c)
{
    for (
        const char* sql :
        {R"(insert into "AOEnergo" ("GUID","Name") values (1, 'АО'))",
         R"(insert into "PES" ("GUID","Name","OwnerGUID") values (2, 'ПЭС', 1))",
         R"(insert into "RES" ("GUID","Name","OwnerGUID") values (3, 'РЭС', 2))",
         R"(insert into "Centers" ("GUID","Name","OwnerGUID") values (4, 'ПС', 3))",
         R"(insert into "Sections" ("GUID","Name","OwnerGUID","Unom") values (5, 'СШ-1', 4, 10))",
         R"(insert into "Fiders" ("GUID","Name","OwnerGUID") values (6, 'Ф-1', 5))",
         R"(insert into "Fiders" ("GUID","Name","OwnerGUID") values (10, 'Ф-2', 5))",
         R"(insert into "Transforms2" ("Ident","TypeTR","Snom","UnomH") values (1, 'ТМ', 250, 0.4))",
         R"(insert into "Transforms2" ("Ident","TypeTR","Snom","UnomH") values (2, 'ТМ', 1000, 1))",
         R"(insert into "Nodes" ("GUID","Name","Info","OwnerGUID","Transf","RES") values (7, 'ТП-7', 'ТП-7', 6, 1, 3))",
         R"(insert into "Nodes" ("GUID","Name","Info","OwnerGUID","Transf","RES") values (8, 'ТП-8', 'ТП-8', 6, 2, 3))",
         R"(insert into "Nodes" ("GUID","Name","Info","OwnerGUID","Transf","RES") values (9, 'РП-9', 'РП-9', 9, 1, 3))",
         R"(insert into "NodeLinks" ("GUID","OwnerGUID","LinkGUID") values (11, 10, 7))",
         R"(insert into "LVFiders" ("GUID","Name","OwnerGUID","TypeLoad","Unom") values (20, 'Л-1', 7, 1, 0.38))",
         R"(insert into "LVFiders" ("GUID","Name","OwnerGUID","TypeLoad","Unom") values (21, 'Л-2', 8, 1, 0.38))",
         R"(insert into "LVFiders" ("GUID","Name","OwnerGUID","TypeLoad","Unom") values (22, 'Л-3', 9, 1, 0.38))"})
        Exec(c, QString::fromUtf8(sql));
}
}  // namespace

TEST(Tree, HierarchyWithLinksWithoutSelfOwnedNodes)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    buildSmallNetwork(c);
    TfdbTree* tree = db->GetTree();

    ASSERT_EQ(tree->GetCount(), 1);
    EXPECT_EQ(tree->GetItems(0)->GetNodeType(), NodeType::AOEnergo);
    EXPECT_EQ(tree->Find(2)->GetNodeType(), NodeType::PES);
    EXPECT_EQ(tree->Find(3)->GetNodeType(), NodeType::RES);
    EXPECT_EQ(tree->Find(4)->GetNodeType(), NodeType::Centers);
    EXPECT_EQ(tree->Find(5)->GetNodeType(), NodeType::Sections);
    EXPECT_EQ(tree->Find(6)->GetNodeType(), NodeType::Fiders);
    EXPECT_DOUBLE_EQ(tree->Find(6)->GetUnom(), 10);
    EXPECT_EQ(tree->Find(7)->GetNodeType(), NodeType::Nodes);
    EXPECT_EQ(tree->Find(7)->Parent(), tree->Find(6));
    EXPECT_EQ(tree->Find(20)->GetNodeType(), NodeType::LVFiders);

    // The substation that owns itself is nowhere, nor are its feeders.
    EXPECT_EQ(tree->Find(9), nullptr);
    EXPECT_EQ(tree->Find(22), nullptr);
    EXPECT_EQ(tree->Find(6)->GetCount(), 2);
    EXPECT_EQ(tree->CountOfType(NodeType::Nodes), 2);

    // The second feeder holds a link to the first substation.
    ToznListItemCommon* f2 = tree->Find(10);
    ASSERT_EQ(f2->GetCount(), 1);
    ToznListItemCommon* link = f2->GetItems(0);
    EXPECT_TRUE(link->isLink());
    EXPECT_EQ(link->GetNodeType(), NodeType::Nodes);
    EXPECT_EQ(link->GetReferenceType(), RefTypeLink);
    EXPECT_EQ(link->Target(), tree->Find(7));
    EXPECT_EQ(link->GetCount(), 0);
    EXPECT_EQ(tree->Find(11), nullptr);  // found by the item it links to, never by itself

    // Only a low side below 1 kV makes an LV feeder enabled.
    EXPECT_TRUE(tree->Find(20)->isEnabled());
    EXPECT_FALSE(tree->Find(21)->isEnabled());
    Exec(c, R"(update "Nodes" set "Transf"=1 where "GUID"=8)");
    Exec(c, R"(update "Nodes" set "Transf"=2 where "GUID"=7)");
    tree->LVUpdateEnabled(c, {21});  // only the listed feeder is refreshed
    EXPECT_TRUE(tree->Find(21)->isEnabled());
    EXPECT_TRUE(tree->Find(20)->isEnabled());
    tree->LVUpdateEnabled(c);
    EXPECT_FALSE(tree->Find(20)->isEnabled());

    double unom = EmptyFloat();
    ToznListItemCommon* created = tree->CreateFiderHH(8, 30, 0, "Л-новая", unom);
    ASSERT_NE(created, nullptr);
    EXPECT_DOUBLE_EQ(unom, 0.38);
    EXPECT_EQ(created->Parent(), tree->Find(8));
    EXPECT_EQ(tree->Find(30), created);
    double given = 0.22;
    EXPECT_EQ(tree->CreateFiderHH(6, 31, 0, "не ТП", given), nullptr);
    tree->CreateFiderHH(8, 32, 0, "Л-220", given);
    EXPECT_DOUBLE_EQ(given, 0.22);
}

TEST(SamplePeriods, CatalogueOrderedByStartWithPeriodNames)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    Exec(c, R"(insert into "SamplesDates" ("Ident","Name","Period","SampleDate1","SampleDate2")
               values (5, 'Март 2024', 4, '2024-03-01', '2024-04-01'))");
    Exec(c, R"(insert into "SamplesDates" ("Ident","Name","Period","SampleDate1","SampleDate2")
               values (6, '2024г.', 1, '2024-01-01', '2025-01-01'))");
    Exec(c, R"(insert into "SamplesDates" ("Ident","Name","Period","SampleDate1","SampleDate2")
               values (7, 'Май 2024', 4, '2024-05-01', '2024-06-01'))");
    TSamplePeriodsList* list = db->GetSamplePeriods();
    ASSERT_EQ(list->GetCount(), 3);
    EXPECT_EQ(list->GetItems(0).Ident, 6);
    EXPECT_EQ(list->GetItems(1).Ident, 5);
    const TSamplePeriodInfo* year = list->GetPSamplePeriodInfoByIdent(6);
    ASSERT_NE(year, nullptr);
    EXPECT_EQ(year->GetName(), "2024г.");
    EXPECT_EQ(year->PeriodName, "Год");
    EXPECT_DOUBLE_EQ(year->EndDays() - year->StartDays(), 366);  // a leap year
    EXPECT_DOUBLE_EQ(year->StartDays(), 45292);                  // 1 January 2024 in the host's day count
    EXPECT_EQ(list->GetPSamplePeriodInfoByIdent(99), nullptr);
    EXPECT_FALSE(f_SamePeriods(*list->GetPSamplePeriodInfoByIdent(5), *year));
    EXPECT_TRUE(f_SamePeriods(*list->GetPSamplePeriodInfoByIdent(5), *list->GetPSamplePeriodInfoByIdent(7)));
}
