// The workbook commands as a script of the department runs them on the demo network.
#include <gtest/gtest.h>

#include <QFile>

#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "import/LVZamerData.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
using Outcome = AppOutcome;
Outcome Ozn3(const QStringList& args) { return RunApp(args); }
}  // namespace

TEST(WorkbookCommand, WritesReadsReportsAndStoresOnlyWhenAskedAndAllowed)
{
    TempFolder folder;
    const QString path = NewDemoDatabase(folder);
    int tp = 0, sample = 0;
    QString feederName;
    {
        auto db = OpenDatabase(path);
        ToznFDConnection& c = *db->GetDefaultConnection();
        tp = IntScalar(c, "select first 1 ti.guid from \"LVWTPInfo\" ti where exists (select 1 from "
                          "\"LVFiders\" lf where lf.\"OwnerGUID\"=ti.guid) order by 1");
        sample = IntScalar(c, "select max(\"SampleIdent\") from \"LVWTPInfo\"");
    }
    const QString book = folder.Path("w.xlsx");
    const QStringList write = {
        "workbook", "write", "w", "--db", path, "--node", QString::number(tp), "--sample", QString::number(sample),
        book};
    const Outcome written = Ozn3(write);
    ASSERT_EQ(written.code, 0) << written.err.toStdString();
    EXPECT_TRUE(written.out.startsWith("Книга записана: ")) << written.out.toStdString();

    // Unchanged, the workbook reads back with nothing to store.
    Outcome read = Ozn3({"workbook", "read", "w", "--db", path, book});
    EXPECT_EQ(read.code, 0) << read.err.toStdString();
    EXPECT_EQ(read.out.trimmed(), "Изменено строк: 0 (не сохранено: нужен --save)");

    // The user changes a feeder's energy: the row is printed with the old and new value, stored only with --save.
    double before = 0;
    int feeder = 0;
    {
        auto db = OpenDatabase(path);
        TLVZamerData data;
        data.Load(*db->GetDefaultConnection(), db->GetTree()->Find(tp), sample, 8760, true);
        ASSERT_GE(data.Records().size(), 2u);
        before = data.Records()[1].W_sum;
        feeder = data.Records()[1].Guid;
        feederName = data.Records()[1].Name;
    }
    TypeTextIntoCell(book, 1, GetNameCell(5, TLVZamerData::FirstRow + 1), "77.5");
    read = Ozn3({"workbook", "read", "w", "--db", path, book});
    EXPECT_EQ(read.code, 0);
    EXPECT_TRUE(
        read.out.contains(Fmt("%1 (%2): W, тыс. кВт·ч: %3 → 77.5", feederName, feeder,
                              isEmptyFloat(before) ? QStringLiteral("пусто") : QString::number(before, 'g', 15))))
        << read.out.toStdString();
    auto stored = [&] {
        auto db = OpenDatabase(path);
        return Scalar(*db->GetDefaultConnection(), Fmt("select coalesce(\"Wa\", -1) from \"LVWSamples\" "
                                                       "where guid=%1 and \"SampleIdent\"=%2",
                                                       feeder, sample));
    };
    EXPECT_NE(stored(), 77.5);
    // Without the right of the measurement form nothing is stored.
    {
        auto db = OpenDatabase(path);
        ASSERT_GT(Scalar(*db->GetDefaultConnection(), "select count(*) from \"UserRights\" where \"UserRight\"=12"), 0);
        Exec(*db->GetDefaultConnection(), "update \"UserRights\" set \"Granted\"=0 where \"UserRight\"=12");
    }
    read = Ozn3({"workbook", "read", "w", "--db", path, book, "--save"});
    EXPECT_EQ(read.code, 1);
    EXPECT_TRUE(read.err.contains("Нет права на загрузку этой книги (право 12)")) << read.err.toStdString();
    EXPECT_NE(stored(), 77.5);
    {
        auto db = OpenDatabase(path);
        Exec(*db->GetDefaultConnection(), "update \"UserRights\" set \"Granted\"=1 where \"UserRight\"=12");
    }
    read = Ozn3({"workbook", "read", "w", "--db", path, book, "--save"});
    EXPECT_EQ(read.code, 0) << read.err.toStdString();
    EXPECT_TRUE(read.out.contains("Сохранено строк: 1")) << read.out.toStdString();
    EXPECT_DOUBLE_EQ(stored(), 77.5);

    // A wrong cell: every problem with its cell on standard error, exit 1, nothing stored.
    ASSERT_EQ(Ozn3(write).code, 0);
    TypeTextIntoCell(book, 1, GetNameCell(5, TLVZamerData::FirstRow + 1), "много");
    read = Ozn3({"workbook", "read", "w", "--db", path, book, "--save"});
    EXPECT_EQ(read.code, 1);
    EXPECT_TRUE(
        read.err.contains(Fmt("ячейка E%1: «много» — W, тыс. кВт·ч: число не меньше 0", TLVZamerData::FirstRow + 1)))
        << read.err.toStdString();
    EXPECT_DOUBLE_EQ(stored(), 77.5);

    // The generalised data and the peak loads go the same way; a workbook of another kind is refused.
    const QString social = folder.Path("social.xlsx");
    const Outcome s = Ozn3({"workbook", "write", "social", "--db", path, "--node", QString::number(tp), "--sample",
                            QString::number(sample), "--level", "5", social});
    ASSERT_EQ(s.code, 0) << s.err.toStdString();
    EXPECT_EQ(Ozn3({"workbook", "read", "social", "--db", path, social}).code, 0);
    const Outcome wrongKind = Ozn3({"workbook", "read", "tmax", "--db", path, social});
    EXPECT_EQ(wrongKind.code, 1);
    EXPECT_TRUE(wrongKind.err.contains("— книга обобщенных данных нормативного метода, а не книга замеров Tmax"))
        << wrongKind.err.toStdString();
    EXPECT_EQ(Ozn3({"workbook", "read", "w", "--db", path}).code, 2);  // no file: the usage
}
