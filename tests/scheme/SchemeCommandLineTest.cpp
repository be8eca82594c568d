// The scheme commands as a newcomer runs them on a blank database.
#include <gtest/gtest.h>

#include <QFile>

#include "host/scheme/SchemeBookFile.h"
#include "scheme/SchemeTestBooks.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
using Outcome = AppOutcome;
Outcome Ozn3(const QStringList& args) { return RunApp(args); }
}  // namespace

TEST(SchemeCommandLine, ABlankDatabaseTakesASubstationAndItsSchemeWorkbook)
{
    TempFolder folder;
    const QString db = folder.Path("blank.fdb");
    ASSERT_EQ(Ozn3({"init-db", db}).code, 0);
    const Outcome added = Ozn3({"substation", "add", "--db", db, "--name", "ТП-7"});
    ASSERT_EQ(added.code, 0) << added.err.toStdString();
    const QString guid = added.out.section(' ', -1).trimmed();
    ASSERT_GT(guid.toInt(), 0) << added.out.toStdString();

    QString error;
    scheme_tests::Book bad = scheme_tests::GoodBook();
    bad.book.Sections[1].Cells[scheme::SPhase] = "А-35х";
    const QString badFile = folder.Path("bad.xlsx"), goodFile = folder.Path("good.xlsx");
    ASSERT_TRUE(scheme::WriteSchemeBook(badFile, bad.book, error));
    ASSERT_TRUE(scheme::WriteSchemeBook(goodFile, scheme_tests::GoodBook().book, error));

    const Outcome refused = Ozn3({"scheme", "import", badFile, "--db", db, "--node", guid});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.err, "Участки!E3: марка «А-35х» не найдена в справочнике проводов\n"
                           "Схема не загружена: ошибок 1; в базе ничего не изменено\n");
    EXPECT_TRUE(Ozn3({"stats", "--db", db}).out.contains("7 Линии 0,4 кВ: 0"));

    const Outcome loaded = Ozn3({"scheme", "import", goodFile, "--db", db, "--node", guid});
    ASSERT_EQ(loaded.code, 0) << loaded.err.toStdString();
    EXPECT_EQ(loaded.out, "Загружено: линий 2 (новых 2), узлов 6, участков 6, абонентов 2\n"
                          "Мощности, энергии и cos φ абонентов не сохранены: не указан интервал\n");
    EXPECT_TRUE(Ozn3({"stats", "--db", db}).out.contains("7 Линии 0,4 кВ: 2"));

    const Outcome again = Ozn3({"scheme", "import", goodFile, "--db", db, "--node", guid});
    EXPECT_EQ(again.code, 1);
    EXPECT_TRUE(again.err.endsWith("Чтобы заменить схемы линий, которые уже есть в базе, добавьте --replace\n"))
        << again.err.toStdString();
    EXPECT_EQ(Ozn3({"scheme", "import", goodFile, "--db", db, "--node", guid, "--replace"}).code, 0);

    const QString exported = folder.Path("out.xlsx");
    const Outcome out = Ozn3({"scheme", "export", "--db", db, "--node", guid, exported});
    ASSERT_EQ(out.code, 0) << out.err.toStdString();
    EXPECT_EQ(out.out, Fmt("Выгружено: участков 6, абонентов 2 в %1\n", exported));
    std::vector<scheme::TBookProblem> problems;
    EXPECT_EQ(scheme::ReadSchemeBookFile(exported, problems).Sections.size(), 6u);
    EXPECT_EQ(GarbledTexts(exported), QStringList());
    EXPECT_TRUE(problems.empty());

    EXPECT_EQ(Ozn3({"scheme", "import", goodFile, "--db", db}).code, 2);  // no substation given
    EXPECT_EQ(Ozn3({"scheme", "frobnicate"}).code, 2);
}
