// Scheme workbooks into and out of a real embedded database.
#include "host/scheme/SchemeStore.h"

#include <gtest/gtest.h>

#include <cmath>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "host/fider/RegimeStore.h"
#include "host/fider/Topology038.h"
#include "host/scheme/SchemeBookFile.h"
#include "host/scheme/Substations.h"
#include "scheme/SchemeTestBooks.h"
#include "support/TestSupport.h"

using namespace testing_support;
using namespace scheme;
using scheme_tests::Book;
using scheme_tests::GoodBook;

namespace {
class SchemeStoreTest : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(false);
        QString error;
        tp_ = AddSubstation(*c_, "ТП-1", 0, error);
        ASSERT_GT(tp_, 0) << error.toStdString();
        Exec(*c_, "insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", \"SampleDate2\") "
                  "values (1, '2025г.', 1, '2025-01-01', '2026-01-01')");
        Exec(*c_, "insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", \"SampleDate2\") "
                  "values (2, '2024г.', 1, '2024-01-01', '2025-01-01')");
    }

    // The book through a real file, as a user's workbook would come.
    TSchemeBook ThroughFile(const TSchemeBook& book)
    {
        const QString file = folder_.Path(Fmt("book%1.xlsx", ++files_));
        QString error;
        EXPECT_TRUE(WriteSchemeBook(file, book, error)) << error.toStdString();
        std::vector<TBookProblem> problems;
        TSchemeBook read = ReadSchemeBookFile(file, problems);
        EXPECT_TRUE(problems.empty()) << ProblemTexts(problems).join('\n').toStdString();
        return read;
    }

    bool Import(const TSchemeBook& book, int sample, bool replace, QStringList* problemTexts = nullptr)
    {
        std::vector<TBookProblem> problems;
        const bool ok = TSchemeStore(*c_).Import(ThroughFile(book), {tp_, sample, replace}, summary_, problems);
        if (problemTexts)
            *problemTexts = ProblemTexts(problems);
        else
            EXPECT_TRUE(problems.empty()) << ProblemTexts(problems).join('\n').toStdString();
        return ok;
    }

    double Q(const QString& sql) { return Scalar(*c_, sql); }
    // Every row of the scheme and consumer tables, to see that a refused import changed nothing.
    QString Counts()
    {
        QStringList counts;
        for (const char* table : {"LVFiders", "LVNodes", "LVLines", "LVConsumers", "LVWLoads"})
            counts << QString::number(Q(Fmt("select count(*) from \"%1\"", table)));
        return counts.join(',');
    }
    int NodeGuid(const QString& name)
    {
        return static_cast<int>(Q(Fmt("select n.guid from \"LVNodes\" n join \"LVFiders\" f on f.guid=n.\"OwnerGUID\" "
                                      "where f.\"Name\"='Л-1' and n.\"Name\"='%1'",
                                      name)));
    }

    int tp_ = 0, files_ = 0;
    TImportSummary summary_;
};
}  // namespace

TEST_F(SchemeStoreTest, ABlankDatabaseTakesAWorkbookThatTheCalculationAndTheTreeThenSee)
{
    ASSERT_TRUE(Import(GoodBook().book, 1, false));
    EXPECT_EQ(summary_.ToString(),
              "Загружено: линий 2 (новых 2), узлов 6, участков 6, абонентов 2, нагрузок интервала 1");

    const QString line = "select %1 from \"LVLines\" l join \"LVNodes\" n on n.guid=l.\"Node2\" where n.\"Name\"='%2'";
    EXPECT_EQ(Q(Fmt("select count(*) from \"LVFiders\" where \"OwnerGUID\"=%1", tp_)), 2);
    EXPECT_DOUBLE_EQ(Q(line.arg("l.\"LineLength\"", "1")), 0.05);
    EXPECT_EQ(Q(line.arg("l.\"ProvodPhase\"", "1")), 644);  // А-50 of the default catalogue
    EXPECT_EQ(Q(line.arg("l.\"ProvodNull\"", "1")), 642);   // А-35
    EXPECT_EQ(Q(line.arg("l.\"Node1\"", "1")), Q("select guid from \"LVFiders\" where \"Name\"='Л-1'"));
    EXPECT_EQ(Q(line.arg("l.\"State\"", "2")), 0);
    EXPECT_EQ(Q(line.arg("l.\"Owner\"", "2")), 3);  // ССО
    EXPECT_EQ(Q(line.arg("l.\"Phase\"", "4")), 1);
    EXPECT_EQ(Q(line.arg("l.\"Kind\"", "Кабель")), 1);
    EXPECT_EQ(Q(line.arg("l.\"Kind\"", "5")), 2);
    EXPECT_EQ(Q(line.arg("coalesce(l.\"ProvodPhase\", 0)", "5")), 0);
    const QString node = "select %1 from \"LVNodes\" where \"Name\"='%2'";
    EXPECT_EQ(Q(node.arg("\"Kind\"", "1")), 1);  // a tap point: fed once, feeding two
    EXPECT_EQ(Q(node.arg("\"Kind\"", "2")), 3);  // the switching device, off
    EXPECT_EQ(Q(node.arg("\"State\"", "2")), 0);
    EXPECT_EQ(Q(node.arg("\"Kind\"", "4")), 2);
    EXPECT_EQ(Q(node.arg("\"Kind\"", "3")), 4);
    EXPECT_EQ(Q(node.arg("\"Owner\"", "5")), 1);  // "Не на балансе"
    EXPECT_DOUBLE_EQ(
        Q(Fmt("select w.\"Wa\" from \"LVWLoads\" w where w.\"SampleIdent\"=1 and w.guid=%1", NodeGuid("4"))),
        3.5005);  // 3500.5 kWh in thousand kWh
    EXPECT_DOUBLE_EQ(Q(Fmt("select \"Pust\" from \"LVConsumers\" where \"SampleIdent\"=1 and guid=%1", NodeGuid("4"))),
                     12);

    // The regime calculation reads what was stored as a tree with its consumers.
    fider::TRegimeRequest request;
    request.SampleIdent = 1;
    const int l1 = static_cast<int>(Q("select guid from \"LVFiders\" where \"Name\"='Л-1'"));
    const auto jobs = fider::TRegimeReader(*c_, 0.5, 0.9).Read({l1}, request);
    ASSERT_EQ(jobs.size(), 1u);
    EXPECT_TRUE(jobs[0].Problems.isEmpty()) << jobs[0].Problems.join('\n').toStdString();
    EXPECT_FALSE(jobs[0].Fider.Equivalent);
    EXPECT_EQ(jobs[0].Fider.Lines.size(), 5u);
    ASSERT_EQ(jobs[0].Fider.Consumers.size(), 2u);
    const auto topology = fider::TFiderTopology::Build(jobs[0].Fider);
    EXPECT_TRUE(topology.Ok()) << topology.Problems.join('\n').toStdString();
    EXPECT_EQ(topology.Count(), 6);

    // The tree shows the new LV feeders under the substation, enabled by its 10/0.4 kV transformer.
    TfdbTree tree;
    tree.Build(*c_);
    ToznListItemCommon* tp = tree.Find(tp_);
    ASSERT_NE(tp, nullptr);
    ASSERT_EQ(tp->GetCount(), 2);
    EXPECT_EQ(tp->GetItems(0)->GetText(), "Л-1");
    EXPECT_TRUE(tp->GetItems(0)->isEnabled());
}

TEST_F(SchemeStoreTest, AnyProblemStoresNothingAndAStoredSchemeIsReplacedOnlyWhenAsked)
{
    ASSERT_TRUE(Import(GoodBook().book, 1, false));
    const QString before = Counts();
    QStringList problems;

    Book bad = GoodBook();
    bad.S({"Л-3", "ТП", "1", "0.05", "А-35х", "", "", "", "", "", ""});
    EXPECT_FALSE(Import(bad.book, 1, true, &problems));
    EXPECT_EQ(problems, QStringList{"Участки!E8: марка «А-35х» не найдена в справочнике проводов"});
    EXPECT_EQ(Counts(), before);

    EXPECT_FALSE(Import(GoodBook().book, 1, false, &problems));
    EXPECT_EQ(problems,
              (QStringList{"Участки!A2: у линии «Л-1» уже есть схема в базе (участков: 5); она не заменяется без "
                           "согласия на замену",
                           "Участки!A4: у линии «Л-2» уже есть схема в базе (участков: 1); она не заменяется без "
                           "согласия на замену"}));
    EXPECT_EQ(TSchemeStore(*c_).FidersWithSchemes(GoodBook().book, tp_), (QStringList{"Л-1", "Л-2"}));
    EXPECT_FALSE(Import(GoodBook().book, 99, true, &problems));
    EXPECT_EQ(problems, QStringList{"Интервал 99 не найден"});
    EXPECT_EQ(Counts(), before);

    // Another interval's energies of the consumers at "4" and "5"; then "5" leaves the scheme and "6" comes.
    const int node4 = NodeGuid("4"), node5 = NodeGuid("5");
    Exec(*c_, Fmt("insert into \"LVWLoads\" (\"SampleIdent\", guid, \"Wa\") values (2, %1, 2.5)", node4));
    Exec(*c_, Fmt("insert into \"LVWLoads\" (\"SampleIdent\", guid, \"Wa\") values (2, %1, 7.5)", node5));
    Book changed;
    changed.S({"Л-1", "ТП", "1", "0.06", "А-50", "", "", "", "", "", ""})
        .S({"Л-1", "1", "4", "0.02", "А-35", "", "B", "", "", "", ""})
        .S({"Л-1", "1", "6", "0.02", "А-35", "", "", "", "", "", ""});
    changed.C({"Л-1", "4", "Дом 1", "B", "", "4000", "", ""});
    ASSERT_TRUE(Import(changed.book, 1, true));
    EXPECT_EQ(summary_.Replaced, QStringList{"Л-1"});
    EXPECT_EQ(NodeGuid("4"), node4);  // a node that stays keeps its key
    EXPECT_EQ(Q(Fmt("select count(*) from \"LVNodes\" where guid=%1", node5)), 0);
    EXPECT_EQ(Q(Fmt("select count(*) from \"LVWLoads\" where guid=%1", node5)), 0);
    EXPECT_DOUBLE_EQ(Q(Fmt("select \"Wa\" from \"LVWLoads\" where \"SampleIdent\"=2 and guid=%1", node4)), 2.5);
    EXPECT_DOUBLE_EQ(Q(Fmt("select \"Wa\" from \"LVWLoads\" where \"SampleIdent\"=1 and guid=%1", node4)), 4.0);
    EXPECT_EQ(
        Q("select count(*) from \"LVLines\" l join \"LVFiders\" f on f.guid=l.\"OwnerGUID\" where f.\"Name\"='Л-1'"),
        3);
    EXPECT_EQ(
        Q("select count(*) from \"LVLines\" l join \"LVFiders\" f on f.guid=l.\"OwnerGUID\" where f.\"Name\"='Л-2'"),
        1);
}

TEST_F(SchemeStoreTest, ADemoSubstationExportedAndLoadedElsewhereGivesTheSameWorkbook)
{
    TempFolder demoFolder;
    auto demo = OpenDatabase(NewDemoDatabase(demoFolder));
    ToznFDConnection& d = *demo->GetDefaultConnection();
    // The substation with the most sections, and the latest year.
    const int tp = IntScalar(d, "select first 1 lf.\"OwnerGUID\" from \"LVLines\" l join \"LVFiders\" lf on "
                                "lf.guid=l.\"OwnerGUID\" group by lf.\"OwnerGUID\" order by count(*) desc");
    const int year = IntScalar(d, "select max(\"Ident\") from \"SamplesDates\" where \"Period\"=1");
    TSchemeBook first, second;
    QString error;
    ASSERT_TRUE(TSchemeStore(d).Export(tp, year, first, error)) << error.toStdString();
    const int sections = IntScalar(d, Fmt("select count(*) from \"LVLines\" l join \"LVFiders\" lf on "
                                          "lf.guid=l.\"OwnerGUID\" where lf.\"OwnerGUID\"=%1",
                                          tp));
    ASSERT_EQ(static_cast<int>(first.Sections.size()), sections);
    ASSERT_FALSE(first.Consumers.empty());

    Exec(*c_, Fmt("insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", \"SampleDate2\") "
                  "values (%1, 'Год', 1, '2023-01-01', '2024-01-01')",
                  year));
    ASSERT_TRUE(Import(first, year, false));
    EXPECT_EQ(summary_.Sections, sections);
    ASSERT_TRUE(TSchemeStore(*c_).Export(tp_, year, second, error)) << error.toStdString();

    // Feeders come in the order of their names on both sides; energies are compared as numbers.
    ASSERT_EQ(second.Sections.size(), first.Sections.size());
    for (size_t i = 0; i < first.Sections.size(); ++i)
        EXPECT_EQ(second.Sections[i].Cells, first.Sections[i].Cells) << "section row " << i + 2;
    ASSERT_EQ(second.Consumers.size(), first.Consumers.size());
    for (size_t i = 0; i < first.Consumers.size(); ++i) {
        QStringList a = first.Consumers[i].Cells, b = second.Consumers[i].Cells;
        double wa = 0, wb = 0;
        ASSERT_TRUE(ParseBookNumber(a.takeAt(CEnergy), wa) && ParseBookNumber(b.takeAt(CEnergy), wb));
        EXPECT_EQ(b, a) << "consumer row " << i + 2;
        if (isEmptyFloat(wa))
            EXPECT_TRUE(isEmptyFloat(wb));
        else
            EXPECT_NEAR(wb, wa, 1e-9 * std::fabs(wa));
    }

    EXPECT_FALSE(TSchemeStore(*c_).Export(-5, 0, second, error));
    EXPECT_EQ(error, "-5 — не ТП и не линия 0,4 кВ");
}
