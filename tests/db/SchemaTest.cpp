#include <gtest/gtest.h>

#include <QDate>
#include <QDateTime>

#include "db/SchemaInstaller.h"
#include "db/SharedSql.h"
#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
bool columnExists(ToznFDConnection& c, const QString& table, const QString& column)
{
    auto q = c.NewQuery();
    q->SetSQLText(QStringLiteral("select count(*) from rdb$relation_fields where rdb$relation_name=:T and "
                                 "rdb$field_name=:C"));
    q->ParamByName("T", table).ParamByName("C", column);
    q->Open();
    return q->Value(0).toInt() == 1;
}
}  // namespace

TEST(Schema, ScriptSplitsStatementsAndProcedureBodies)
{
    const QStringList parts = db::SplitScript(
        "/* head */ create table a (x integer);\nset term ^ ;\ncreate procedure p as begin x = 1; end^\n"
        "set term ; ^\ninsert into a values (1);");
    ASSERT_EQ(parts.size(), 3);
    EXPECT_EQ(parts[0], "create table a (x integer)");
    EXPECT_TRUE(parts[1].startsWith("create procedure p as begin x = 1; end"));
    EXPECT_EQ(parts[2], "insert into a values (1)");
}

TEST(Schema, TablesAndColumnsKeepTheirMixedCaseNames)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    const std::pair<const char*, QStringList> expected[] = {
        {"LVFiders", {"GUID", "Name", "OwnerGUID", "TypeLoad", "Unom"}},
        {"LVPResultsA",
         {"GUID", "SampleDate", "IsMain", "UA", "U2C", "IC", "Tmax", "Krazv", "Knm", "P", "Wa", "dP", "dW"}},
        {"LVPSamples", {"SampleIdent", "GUID", "U2A", "CosFiC", "Wa"}},
        {"LVTmxRef", {"Pmin", "TypeLoad", "Tmax"}},
        {"LVWTPInfo", {"TypeCalc", "Wa_bus", "ImaxC", "CosFiA", "Kdp", "Temperature"}},
        {"LVWSamples", {"TypeCalc", "Wa", "T", "Kzap", "sqrKfg", "Temperature"}},
        {"LVFidersB",
         {"Ident", "CosFi", "Unom", "F",   "NLines", "dp",   "kzap", "dn",   "Lma",   "Lms",   "Lmm",  "L23a",
          "L23s",  "L23m",  "L1a",  "L1s", "L1m",    "L1ia", "L1is", "L1im", "L23ia", "L23is", "L23im"}},
        {"LVWResultsB", {"SampleIdent", "GUID", "Wa", "Wa_bus", "T", "Info", "Lekv", "ku", "k038", "deltaWa"}},
        {"LVResults",
         {"Ident", "GUID", "SampleIdent", "CalcType", "CosFiA", "ImaxB", "Kdp", "Krazv", "Lm", "HeadEndLength",
          "HeadEndSize", "Temperature", "dPdop", "dWdop", "sqrKfg", "L23", "L1"}},
        {"LVPResultsAdd",
         {"RES", "Balance", "Pcalc", "Pfakt", "Pgen", "Qcalc", "Qfakt", "Qgen", "dP", "dQ", "NAbonents", "NLineP",
          "NLineP_off", "NLineC", "NLineC_off", "LsumP", "LsumP_off", "LsumC", "LsumC_off"}},
        {"LVWResultsAdd", {"Balance", "Wacalc", "Wafakt", "Wa_gen", "Wrcalc", "Wrfakt", "Wr_gen", "dWa", "dWr"}},
        {"Nodes", {"GUID", "Name", "Info", "OwnerGUID", "Transf", "RES"}},
        {"TransformsSS", {"UnomH1", "UnomH2", "AddStr"}},
        {"Provods", {"Marka", "F", "R0", "X0", "ProvodType", "AddStr"}},
        {"WLoads", {"SampleType", "Wa", "T", "Kzap", "sqrKfg"}},
        {"LVLines", {"Node1", "Node2", "LineLength", "Kpl", "Phase", "ProvodPhase", "TabOrder"}},
        {"tmpGUIDs", {"ID", "GUID"}},
    };
    for (const auto& [table, columns] : expected)
        for (const QString& column : columns)
            EXPECT_TRUE(columnExists(c, QString::fromUtf8(table), column)) << table << "." << column.toStdString();
    // Folded and quoted spellings meet: bare RES, GUID and T name the same columns.
    EXPECT_EQ(Scalar(c, "select count(*) from res r join \"LVPResultsAdd\" pa on pa.res=r.guid"), 0);
    EXPECT_EQ(Scalar(c, "select count(*) from \"Periods\" where \"Ident\" in (1, 4)"), 2);
}

TEST(Schema, WritingStatementsRunAsTheLibraryWritesThem)
{
    TempFolder folder;
    auto db = OpenDatabase(NewSchemaDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    auto q = c.NewQuery();

    q->SetSQLText("insert into \"Nodes\" (\"GUID\", \"Name\", \"OwnerGUID\") values (500, 'ТП-1', 400)");
    q->ExecSQL();
    q->SetSQLText(SharedSql::kInsertLVFider);
    q->ParamByName("Name", QStringLiteral("Л-1 ул. Мира")).ParamByName("Owner", 500);
    q->ExecSQL();
    const int lvGuid = Scalar(c, "select \"GUID\" from \"LVFiders\" where \"OwnerGUID\"=500");
    EXPECT_GT(lvGuid, 0);
    EXPECT_EQ(Scalar(c, "select \"TypeLoad\" from \"LVFiders\""), 1);

    // Two samples, the first main; clearing it by date leaves none main.
    q->SetSQLText("insert into \"LVPResultsA\" (\"GUID\", \"SampleDate\", \"IsMain\") values (:G, :D, :M)");
    q->ParamByName("G", lvGuid).ParamByName("D", QDate(2024, 6, 18)).ParamByName("M", 1);
    q->ExecSQL();
    q->ParamByName("D", QDate(2024, 12, 17)).ParamByName("M", 0);
    q->ExecSQL();
    q->SetSQLText(SharedSql::kClearMainSample);
    q->ParamByName("GUID", lvGuid).ParamByName("Date", QDate(2024, 6, 18));
    q->ExecSQL();
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVPResultsA\" where \"IsMain\"=1"), 0);

    q->SetSQLText("insert into \"LVTmxRef\" (\"TypeLoad\", \"Pmin\", \"Tmax\") values (1, :P, :T)");
    for (auto [p, t] : {std::pair{0.0, 1800}, {1.0, 2100}, {10.0, 2400}}) {
        q->ParamByName("P", p).ParamByName("T", t);
        q->ExecSQL();
    }
    q->SetSQLText(SharedSql::kTmaxLookup);
    q->ParamByName("Pmin", 0.5).ParamByName("LoadType", 1);
    q->Open();
    EXPECT_EQ(q->Value(0).toInt(), 1800);
    q->ParamByName("Pmin", 1.0);
    q->Open();
    EXPECT_EQ(q->Value(0).toInt(), 1800);  // strictly below the threshold
    q->ParamByName("Pmin", 50.0);
    q->Open();
    EXPECT_EQ(q->Value(0).toInt(), 2400);

    // The year interval is found or created, with its name and key from the trigger.
    const QDateTime d1(QDate(2024, 1, 1), QTime(0, 0)), d2(QDate(2025, 1, 1), QTime(0, 0));
    q->SetSQLText(SharedSql::kFindYearSample);
    q->ParamByName("Date1", d1);
    q->Open();
    EXPECT_TRUE(q->Eof());
    q->SetSQLText(SharedSql::kInsertYearSample);
    q->ParamByName("Name", QStringLiteral("2024г.")).ParamByName("Date1", d1).ParamByName("Date2", d2);
    q->ExecSQL();
    q->SetSQLText(SharedSql::kFindYearSample);
    q->ParamByName("Date1", d1);
    q->Open();
    ASSERT_FALSE(q->Eof());
    const int yearIdent = q->Int("Ident");
    EXPECT_GT(yearIdent, 0);

    // Normative results: a new input key, a row replaced on repeat, and deleted.
    q->SetSQLText(SharedSql::kNextLVFidersBIdent);
    q->Open();
    const int info = q->Value(0).toInt();
    q->Open();
    EXPECT_EQ(q->Value(0).toInt(), info + 1);
    q->SetSQLText(SharedSql::kSaveLVWResultsB);
    for (double wa : {100.0, 120.0}) {
        q->ParamByName("SampleIdent", yearIdent).ParamByName("GUID", 500).ParamFloat("Wa", wa);
        q->ParamFloat("Wa_bus", EmptyFloat()).ParamByName("T", 8784).ParamByName("Info", info);
        q->ParamFloat("Lekv", 1.5).ParamFloat("ku", 1).ParamFloat("k038", 9.725).ParamFloat("deltaWa", 3.2);
        q->ExecSQL();
    }
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVWResultsB\""), 1);
    EXPECT_EQ(Scalar(c, "select \"Wa\" from \"LVWResultsB\""), 120);
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVWResultsB\" where \"Wa_bus\" is null"), 1);
    q->SetSQLText(SharedSql::kDeleteLVWResultsB);
    q->ParamByName("SampleIdent", yearIdent).ParamByName("GUID", 500);
    q->ExecSQL();
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVWResultsB\""), 0);

    // Deleting a run removes its balance rows with it.
    q->SetSQLText("insert into \"LVResults\" (\"GUID\", \"SampleIdent\", \"CalcType\") values (:G, :S, 0)");
    q->ParamByName("G", lvGuid).ParamByName("S", yearIdent);
    q->ExecSQL();
    const int run = Scalar(c, "select max(\"Ident\") from \"LVResults\"");
    q->SetSQLText("insert into \"LVPResultsAdd\" (\"Ident\", \"RES\", \"Balance\") values (:I, 7, 0)");
    q->ParamByName("I", run);
    q->ExecSQL();
    q->SetSQLText("delete from \"LVResults\" where \"Ident\"=:I");
    q->ParamByName("I", run);
    q->ExecSQL();
    EXPECT_EQ(Scalar(c, "select count(*) from \"LVPResultsAdd\""), 0);

    q->SetSQLText(SharedSql::kAllLVFidersA);
    q->Open();
    EXPECT_TRUE(q->Eof());
    EXPECT_GT(c.GetNewGUID(), lvGuid);
}

TEST(Schema, CreateRefusesAnExistingFileAndABadConnectionString)
{
    TempFolder folder;
    const QString path = NewSchemaDatabase(folder);
    QString error;
    EXPECT_FALSE(db::CreateDatabase(path, error));
    EXPECT_TRUE(error.contains("уже существует"));
    EXPECT_FALSE(db::CreateDatabase("host/99999:/x.fdb", error));
    EXPECT_TRUE(error.contains("порта"));
}
