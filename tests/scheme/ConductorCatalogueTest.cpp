// The conductor catalogue: the brands a new database has, its workbook, and storing with the places in use.
#include "host/scheme/ConductorCatalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <xlsxwriter.h>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "host/scheme/SchemeStore.h"
#include "support/TestSupport.h"

using namespace testing_support;
using namespace scheme;

namespace {
class ConductorCatalogueTest : public DatabaseTest {
protected:
    void SetUp() override { OpenNew(false); }
    double Q(const QString& sql) { return Scalar(*c_, sql); }

    // A catalogue sheet written cell by cell, as a user would type it.
    QString Sheet(const std::vector<QStringList>& rows)
    {
        const QString file = folder_.Path(Fmt("provoda%1.xlsx", ++files_));
        lxw_workbook* book = workbook_new(file.toUtf8().constData());
        lxw_worksheet* sheet = workbook_add_worksheet(book, "Провода");
        for (size_t r = 0; r < rows.size(); ++r)
            for (int c = 0; c < rows[r].size(); ++c) {
                bool number = false;
                const double value = rows[r][c].toDouble(&number);
                if (number && r > 0)
                    worksheet_write_number(sheet, lxw_row_t(r), lxw_col_t(c), value, nullptr);
                else if (!rows[r][c].isEmpty())
                    worksheet_write_string(sheet, lxw_row_t(r), lxw_col_t(c), rows[r][c].toUtf8().constData(), nullptr);
            }
        EXPECT_EQ(workbook_close(book), LXW_NO_ERROR);
        return file;
    }
    const QStringList captions_{"Марка", "Сечение, мм²", "r0, Ом/км", "x0, Ом/км", "Кабель", "Напряжение, кВ"};

    int files_ = 0;
};
}  // namespace

TEST_F(ConductorCatalogueTest, ANewDatabaseHasTheUsualBrandsEachFoundByItsName)
{
    const TConductorCatalogue catalogue = ReadCatalogue(*c_);
    const QStringList names = catalogue.Names();
    EXPECT_EQ(names.size(), Q("select count(*) from \"Provods\""));
    for (const QString& name : names) {
        QString why;
        EXPECT_TRUE(catalogue.Find(name, why).has_value()) << why.toStdString();
    }
    QString why;
    const auto a50 = catalogue.Find("а-50", why);
    ASSERT_TRUE(a50.has_value());
    EXPECT_EQ(a50->Ident, 644);  // the default conductor of a new LV feeder
    EXPECT_DOUBLE_EQ(a50->R0, 0.64);
    const auto cable = catalogue.Find("АВБбШв-240", why);
    ASSERT_TRUE(cable.has_value());
    EXPECT_TRUE(cable->Cable);
    EXPECT_TRUE(catalogue.Find("СИП-2-70", why).has_value());
    EXPECT_TRUE(catalogue.Find("СИП-4-16", why).has_value());
}

TEST_F(ConductorCatalogueTest, AWorkbookIsCheckedWholeThenAddsAndUpdatesBrands)
{
    const double before = Q("select count(*) from \"Provods\"");
    std::vector<TBookProblem> problems;
    ReadConductorBook(Sheet({captions_,
                             {"А", "150", "0.21", "0.29", "нет", "0.38"},
                             {"а", "150", "0.2", "0.29", "нет", "0.38"},
                             {"АС", "95", "-1", "0.3", "может", "0.38"}}),
                      problems);
    EXPECT_EQ(ProblemTexts(problems), (QStringList{"Провода!E4: «может»: ожидается «да» или «нет»",
                                                   "Провода!A3: провод «а-150» 0.38 кВ уже есть в строке 2",
                                                   "Провода!C4: r0 должно быть больше 0"}));
    EXPECT_EQ(Q("select count(*) from \"Provods\""), before);

    problems.clear();
    const auto rows = ReadConductorBook(Sheet({captions_,
                                               {"А", "50", "0.6", "0.325", "нет", "0.38"},
                                               {"А", "150", "0.21", "0.29", "", "0.38"},
                                               {"АС", "95", "0.306", "0.4", "нет", "10"}}),
                                        problems);
    ASSERT_TRUE(problems.empty()) << ProblemTexts(problems).join('\n').toStdString();
    int added = 0, updated = 0;
    QString error;
    ASSERT_TRUE(TConductorStore(*c_).Import(rows, added, updated, error)) << error.toStdString();
    EXPECT_EQ(added, 2);
    EXPECT_EQ(updated, 1);
    EXPECT_DOUBLE_EQ(Q("select \"R0\" from \"Provods\" where \"Ident\"=644"), 0.6);
    EXPECT_DOUBLE_EQ(Q("select p.\"R0\" from \"Provods\" p where p.\"Marka\"='А' and p.\"F\"=150"), 0.21);
    // A 10 kV wire gets a kind of its own, and stays out of the 0.38 kV lists.
    EXPECT_EQ(Q("select t.\"Unom\" from \"Provods\" p join \"ProvodTypes\" t on t.\"Ident\"=p.\"ProvodType\" "
                "where p.\"Marka\"='АС' and p.\"F\"=95"),
              10);
    QString why;
    EXPECT_FALSE(ReadCatalogue(*c_).Find("АС-95", why).has_value());

    // What is exported and read back unchanged writes nothing, whatever the catalogue holds by then.
    const QString file = folder_.Path("export.xlsx");
    ASSERT_TRUE(WriteConductorBook(file, TConductorStore(*c_).Read(), error)) << error.toStdString();
    EXPECT_EQ(GarbledTexts(file), QStringList());
    Exec(*c_, "update \"Provods\" set \"R0\"=0.95 where \"Ident\"=642");  // another user, after the export
    problems.clear();
    const auto again = ReadConductorBook(file, problems);
    ASSERT_TRUE(problems.empty()) << ProblemTexts(problems).join('\n').toStdString();
    ASSERT_TRUE(TConductorStore(*c_).Import(again, added, updated, error)) << error.toStdString();
    EXPECT_EQ(added, 0);
    EXPECT_EQ(updated, 0);
    EXPECT_DOUBLE_EQ(Q("select \"R0\" from \"Provods\" where \"Ident\"=642"), 0.95);

    // The user changes that conductor and another in the exported workbook: the first is a conflict, and nothing
    // is stored unless the workbook's values are to win.
    const auto row = [&](const char* marka, double f) {
        for (const TCatalogueRow& r : again)
            if (r.Marka == QString::fromUtf8(marka) && r.F == f)
                return r.Row;
        return 0;
    };
    const int a35 = row("А", 35), a50 = row("А", 50);
    ASSERT_GT(a35, 0);
    ASSERT_GT(a50, 0);
    TypeTextIntoCell(file, 1, GetNameCell(PX0 + 1, a35), "0.35");
    TypeTextIntoCell(file, 1, GetNameCell(PR0 + 1, a50), "0.65");
    problems.clear();
    const auto edited = ReadConductorBook(file, problems);
    ASSERT_TRUE(problems.empty());
    QStringList conflicts;
    EXPECT_FALSE(TConductorStore(*c_).Import(edited, added, updated, error, false, &conflicts));
    ASSERT_EQ(conflicts.size(), 1);
    EXPECT_TRUE(conflicts[0].startsWith(Fmt("строка %1, «А-35»: в базе после выгрузки книги r0 0,95", a35)))
        << conflicts[0].toStdString();
    EXPECT_DOUBLE_EQ(Q("select \"R0\" from \"Provods\" where \"Ident\"=644"),
                     0.6);  // the other one is not stored either
    ASSERT_TRUE(TConductorStore(*c_).Import(edited, added, updated, error, true));
    EXPECT_EQ(updated, 2);
    EXPECT_DOUBLE_EQ(Q("select \"R0\" from \"Provods\" where \"Ident\"=642"), 0.92);  // as the workbook has it
    EXPECT_DOUBLE_EQ(Q("select \"X0\" from \"Provods\" where \"Ident\"=642"), 0.35);
    EXPECT_DOUBLE_EQ(Q("select \"R0\" from \"Provods\" where \"Ident\"=644"), 0.65);
}

TEST_F(ConductorCatalogueTest, AConductorInUseIsNotDeletedAndTheMessageSaysWhere)
{
    Exec(*c_, "insert into \"Nodes\" (guid, \"Name\") values (10, 'ТП-5')");
    Exec(*c_, "insert into \"LVFiders\" (guid, \"Name\", \"OwnerGUID\") values (11, 'Л-1', 10)");
    Exec(*c_, "insert into \"LVLines\" (guid, \"OwnerGUID\", \"Node1\", \"Node2\", \"Info\", \"ProvodPhase\", "
              "\"ProvodNull\") "
              "values (12, 11, 11, 13, 'Пролет 1', 645, 641)");
    TConductorStore store(*c_);
    EXPECT_EQ(store.Usage(641), QStringList{"линия «Л-1» ТП «ТП-5», участок «Пролет 1»"});
    const double before = Q("select count(*) from \"Provods\"");
    QString error;
    EXPECT_FALSE(store.Save(store.Read(), {643, 641}, error));
    EXPECT_EQ(error, "Провод «А-25» используется и не может быть удален: линия «Л-1» ТП «ТП-5», участок «Пролет 1»");
    EXPECT_EQ(Q("select count(*) from \"Provods\""), before);  // the unused one of the same save stays too

    std::vector<TCatalogueRow> rows = store.Read();
    rows.erase(std::remove_if(rows.begin(), rows.end(), [](const TCatalogueRow& r) { return r.Ident == 643; }),
               rows.end());
    TCatalogueRow added;
    added.Marka = "А";
    added.F = 185;
    added.R0 = 0.17;
    added.X0 = 0.28;
    rows.push_back(added);
    ASSERT_TRUE(store.Save(rows, {643}, error)) << error.toStdString();
    EXPECT_EQ(Q("select count(*) from \"Provods\" where \"Ident\"=643"), 0);
    EXPECT_DOUBLE_EQ(Q("select \"R0\" from \"Provods\" where \"Marka\"='А' and \"F\"=185"), 0.17);
    EXPECT_EQ(Q("select count(*) from \"Provods\""), before);
}
