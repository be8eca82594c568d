// Reads through the engine's own interface give what the connection's queries give: numbers, texts, NULLs,
// integer and timestamp parameters, and the same refusals.
#include "host/FastQuery.h"

#include <gtest/gtest.h>

#include <QFile>
#include <cmath>

#include "host/AppLog.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "support/TestSupport.h"

using namespace testing_support;

TEST(FastQuery, ReadsWhatTheConnectionReadsAndRefusesAsItDoes)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    Exec(c, "insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", \"SampleDate2\") values "
            "(7001, 'Март 2026', 4, '2026-03-01 00:00:00', '2026-04-01 00:00:00')");
    Exec(c, "insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", \"SampleDate2\") values "
            "(7002, NULL, 1, '2026-01-01 00:00:00', '2027-01-01 00:00:00')");
    Exec(c, "insert into \"LVFidersB\" (\"Ident\", \"CosFi\", \"NLines\", \"dp\") values (9001, 0.925, 3, NULL)");
    const QString sql =
        QStringLiteral("select sd.\"Ident\", sd.\"Name\", sd.\"Period\", f.\"CosFi\", f.\"NLines\", f.\"dp\", "
                       "cast(1.25 as numeric(9, 2)) as \"Scaled\", ':not a parameter' as \"Quoted\" "
                       "from \"SamplesDates\" sd left join \"LVFidersB\" f on f.\"Ident\"=:Ident and sd.\"Period\"=4 "
                       "where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 order by sd.\"Ident\"");
    const QDateTime sd1(QDate(2026, 1, 1), QTime(0, 0)), sd2(QDate(2027, 1, 1), QTime(0, 0));

    TFastQuery fast(c, sql);
    fast.Param("Ident", 9001).Param("sd1", sd1).Param("sd2", sd2);
    fast.Open();
    ASSERT_EQ(fast.Columns(), 8);
    ASSERT_TRUE(fast.Next());
    EXPECT_EQ(fast.Int(0), 7001);
    EXPECT_EQ(fast.Str(1), "Март 2026");
    EXPECT_EQ(fast.Int(2), 4);
    EXPECT_DOUBLE_EQ(fast.Float(3), 0.925);
    EXPECT_EQ(fast.Int(4), 3);
    EXPECT_TRUE(fast.IsNull(5));
    EXPECT_TRUE(isEmptyFloat(fast.Float(5)));
    EXPECT_DOUBLE_EQ(fast.Float(6), 1.25);
    EXPECT_EQ(fast.Str(7), ":not a parameter");
    ASSERT_TRUE(fast.Next());
    EXPECT_EQ(fast.Int(0), 7002);
    EXPECT_TRUE(fast.IsNull(1));
    EXPECT_EQ(fast.Str(1), QString());
    EXPECT_TRUE(fast.IsNull(3));  // the joined row is the month's only
    EXPECT_EQ(fast.Int(4, -1), -1);
    EXPECT_FALSE(fast.Next());
    EXPECT_FALSE(fast.Next());

    // The same rows through TRows, outside a transaction (the engine's interface) and inside one (the
    // connection's queries, which see what the transaction changed and nobody else does yet).
    auto read = [&](QList<QStringList>& rows) {
        TRows q(c, sql);
        q.Param("Ident", 9001).Param("sd1", sd1).Param("sd2", sd2);
        q.Open();
        while (q.Next())
            rows << QStringList{QString::number(q.Int(0)), q.Str(1), QString::number(q.Float(3)),
                                QString::number(q.Int(4, -1))};
        return q.Fast();
    };
    QList<QStringList> outside, inside;
    EXPECT_TRUE(read(outside));
    c.StartTransaction(false);
    Exec(c, "update \"LVFidersB\" set \"NLines\"=5 where \"Ident\"=9001");
    EXPECT_FALSE(read(inside));
    c.Rollback();
    ASSERT_EQ(outside.size(), 2);
    EXPECT_EQ(outside[0], (QStringList{"7001", "Март 2026", "0.925", "3"}));
    EXPECT_EQ(inside[0], (QStringList{"7001", "Март 2026", "0.925", "5"}));
    EXPECT_EQ(outside[1], inside[1]);

    // A statement the engine refuses raises the connection's error, the engine's words in the application's log.
    TFastQuery wrong(c, "select \"NoSuchColumn\" from \"SamplesDates\"");
    try {
        wrong.Open();
        FAIL() << "the engine refuses an unknown column";
    } catch (const EDatabaseError& e) {
        EXPECT_TRUE(e.Text().startsWith("Ошибка базы данных")) << e.Text().toStdString();
        QFile log(host::ApplicationLogPath());
        ASSERT_TRUE(log.open(QIODevice::ReadOnly));
        EXPECT_TRUE(log.readAll().contains("NoSuchColumn"));
    }
}
