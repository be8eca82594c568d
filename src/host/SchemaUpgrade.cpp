#include "host/SchemaUpgrade.h"

#include <QHash>
#include <QSet>
#include <QStringList>
#include <algorithm>

#include "host/AppLog.h"
#include "host/Connection.h"
#include "host/Roles.h"

namespace {
// Columns added since the first version of the database, in the order they came. The schema script
// creates them for a new database; keep both in step.
struct AddedColumn {
    const char* table;
    const char* column;
    const char* type;
};
const AddedColumn kAdded[] = {
    // The LV scheme says everything the regime calculation needs.
    {"LVNodes", "Kind", "smallint"},
    {"LVNodes", "State", "smallint"},
    {"LVNodes", "Phases", "varchar(3)"},
    {"LVNodes", "ConsumerName", "varchar(100)"},
    {"LVNodes", "Owner", "smallint"},
    {"LVLines", "Kind", "smallint"},
    {"LVLines", "Phases", "varchar(3)"},
    {"LVLines", "ProvodNull", "integer"},
    {"LVLines", "State", "smallint"},
    {"LVLines", "Owner", "smallint"},
    {"LVLines", "RES", "integer"},
    // Results of the regime calculation per phase.
    {"LVResults", "Regime", "smallint"},
    {"LVResults", "LoadMode", "smallint"},
    {"LVPResultsN", "UA", "double precision"},
    {"LVPResultsN", "UB", "double precision"},
    {"LVPResultsN", "UC", "double precision"},
    {"LVPResultsN", "dU", "double precision"},
    {"LVPResultsL", "IA", "double precision"},
    {"LVPResultsL", "IB", "double precision"},
    {"LVPResultsL", "IC", "double precision"},
    {"LVPResultsL", "IN", "double precision"},
    {"LVPResultsL", "dQ", "double precision"},
    // The load curve a run's energy was computed with.
    {"LVResults", "Kzap", "double precision"},
    {"LVResults", "Tau", "double precision"},
    {"LVResults", "Tmax", "double precision"},
    // Runs by metering profiles: each node's lowest voltage and time outside the limits over the interval.
    {"LVPResultsN", "Umin", "double precision"},
    {"LVPResultsN", "UOut", "double precision"},
};

// Tables added since the first version, with the statement that creates each. The schema script creates them
// for a new database; keep both in step.
struct AddedTable {
    const char* table;
    const char* create;
};
const AddedTable kAddedTables[] = {
    {"Meters", R"(create table "Meters" ("GUID" integer not null primary key, "MeterName" varchar(40), )"
               R"("State" smallint))"},
    // Metering profiles and the runs calculated from them.
    {"LVProfiles",
     R"(create table "LVProfiles" ("SampleIdent" integer not null, "FiderGUID" integer not null, )"
     R"("Kind" smallint not null, "GUID" integer not null, "Start" timestamp not null, )"
     R"("StepMinutes" smallint not null, "Steps" integer not null, "Wa" double precision, "Wr" double precision, )"
     R"("Active" blob sub_type 0, "Reactive" blob sub_type 0, )"
     R"(primary key ("SampleIdent", "FiderGUID", "Kind", "GUID")))"},
    {"LVProfileRuns",
     R"(create table "LVProfileRuns" ("Ident" integer not null primary key, "StepMinutes" smallint, )"
     R"("Steps" integer, "PeakTime" timestamp, "NProfile" integer, "NHead" integer, "NTypical" integer, )"
     R"("NFlat" integer, "NNoLoad" integer, "HeadMeter" smallint, "Umin" double precision, )"
     R"("UOut" double precision, "sqrKfg" double precision, "Tmax" double precision, "Tau" double precision, )"
     R"("dWa" double precision, "dWaMiddle" double precision, "dWaMax" double precision, )"
     R"(foreign key ("Ident") references "LVResults" ("Ident") on delete cascade))"},
};

// The regime parameters ("LVCalcParams") were first kept once per feeder, regime and level, under a primary
// key of the three; they are kept per interval since, under the unique key "LVCalcParams_Key" that adds the
// interval. The rows stay as they are: changing them here would leave former versions that the engine keeps
// for transactions already running and checks a new not-null key against. A step interrupted is taken again
// at the next opening: the former key goes first, the new one comes when it is missing.
void upgradeCalcParamsKey(TFDQuery& q, ToznFDConnection& connection)
{
    QString formerKey;
    bool exists = false, keyed = false;
    GuardedRead(connection, [&] {
        q.SetSQLText(QStringLiteral("select count(*) from rdb$relations where rdb$relation_name = 'LVCalcParams'"));
        q.Open();
        exists = q.Value(0).toInt() > 0;
        q.Close();
        q.SetSQLText(QStringLiteral(
            "select trim(rc.rdb$constraint_name) as \"C\", trim(rc.rdb$constraint_type) as \"T\", "
            "trim(s.rdb$field_name) as \"F\" from rdb$relation_constraints rc "
            "join rdb$index_segments s on s.rdb$index_name = rc.rdb$index_name "
            "where rc.rdb$relation_name = 'LVCalcParams' and rc.rdb$constraint_type in ('PRIMARY KEY', 'UNIQUE')"));
        QHash<QString, QStringList> keys;
        QHash<QString, QString> types;
        for (q.Open(); !q.Eof(); q.Next()) {
            keys[q.Str(QStringLiteral("C"))] << q.Str(QStringLiteral("F"));
            types[q.Str(QStringLiteral("C"))] = q.Str(QStringLiteral("T"));
        }
        for (auto it = keys.cbegin(); it != keys.cend(); ++it) {
            if (it.value().contains(QStringLiteral("SampleIdent")))
                keyed = true;
            else if (types.value(it.key()) == QLatin1String("PRIMARY KEY"))
                formerKey = it.key();
        }
    });
    if (!exists)
        return;
    // Metadata changes commit on their own.
    if (!formerKey.isEmpty()) {
        q.SetSQLText(QStringLiteral("alter table \"LVCalcParams\" drop constraint \"%1\"").arg(formerKey));
        q.ExecSQL();
    }
    if (!keyed) {
        q.SetSQLText(QStringLiteral("alter table \"LVCalcParams\" add constraint \"LVCalcParams_Key\" "
                                    "unique (\"GUID\", \"Regime\", \"Level\", \"SampleIdent\")"));
        q.ExecSQL();
    }
}

// A feeder has at most one run of an interval and calculation type ("LVResults_Run"). A database of an earlier
// version may hold several, left by two batches that ran at once: the newest (the largest "Ident", keys come
// from one generator) stays, the others go with their rows (the child tables cascade). Null calculation types
// become 0, and a trigger keeps them so, for the key to cover the ordinary run however it is written.
bool hasConstraint(TFDQuery& q, ToznFDConnection& connection, const char* name)
{
    return GuardedRead(connection, [&] {
        q.SetSQLText(QStringLiteral("select count(*) from rdb$relation_constraints where rdb$constraint_name = '%1'")
                         .arg(QString::fromLatin1(name)));
        q.Open();
        const bool found = q.Value(0).toInt() > 0;
        q.Close();
        return found;
    });
}

bool hasTrigger(TFDQuery& q, ToznFDConnection& connection, const char* name)
{
    return GuardedRead(connection, [&] {
        q.SetSQLText(QStringLiteral("select count(*) from rdb$triggers where rdb$trigger_name = '%1'")
                         .arg(QString::fromLatin1(name)));
        q.Open();
        const bool found = q.Value(0).toInt() > 0;
        q.Close();
        return found;
    });
}

int upgradeRunKey(TFDQuery& q, ToznFDConnection& connection)
{
    if (hasConstraint(q, connection, "LVResults_Run"))
        return 0;
    if (!hasTrigger(q, connection, "LVResults_CalcType")) {
        q.SetSQLText(
            QStringLiteral("create trigger \"LVResults_CalcType\" for \"LVResults\" before insert or update as "
                           "begin if (new.\"CalcType\" is null) then new.\"CalcType\" = 0; end"));
        q.ExecSQL();
    }
    // The collapse and the key in one go: a run written between them by a writer of an earlier version
    // would stop the key, and the next opening tries again.
    GuardedWrite(connection, [&] {
        q.SetSQLText(QStringLiteral(
            "delete from \"LVResults\" r where exists (select 1 from \"LVResults\" n where n.\"GUID\" = r.\"GUID\" "
            "and n.\"SampleIdent\" = r.\"SampleIdent\" and coalesce(n.\"CalcType\", 0) = coalesce(r.\"CalcType\", 0) "
            "and n.\"Ident\" > r.\"Ident\")"));
        q.ExecSQL();
        q.SetSQLText(QStringLiteral("update \"LVResults\" set \"CalcType\" = 0 where \"CalcType\" is null"));
        q.ExecSQL();
    });
    q.SetSQLText(QStringLiteral("alter table \"LVResults\" add constraint \"LVResults_Run\" "
                                "unique (\"GUID\", \"SampleIdent\", \"CalcType\")"));
    q.ExecSQL();
    return 1;
}

bool hasIndex(TFDQuery& q, ToznFDConnection& connection, const char* name)
{
    return GuardedRead(connection, [&] {
        q.SetSQLText(QStringLiteral("select count(*) from rdb$indices where rdb$index_name = '%1'")
                         .arg(QString::fromLatin1(name)));
        q.Open();
        const bool found = q.Value(0).toInt() > 0;
        q.Close();
        return found;
    });
}

// At most one main sample per feeder ("LVPResultsA_Main"): of several, the latest stays main.
int upgradeMainSampleKey(TFDQuery& q, ToznFDConnection& connection)
{
    if (hasIndex(q, connection, "LVPResultsA_Main"))
        return 0;
    GuardedWrite(connection, [&] {
        q.SetSQLText(QStringLiteral(
            "update \"LVPResultsA\" a set \"IsMain\" = 0 where \"IsMain\" = 1 and exists (select 1 from "
            "\"LVPResultsA\" b "
            "where b.\"GUID\" = a.\"GUID\" and b.\"IsMain\" = 1 and b.\"SampleDate\" > a.\"SampleDate\")"));
        q.ExecSQL();
    });
    q.SetSQLText(QStringLiteral("create unique index \"LVPResultsA_Main\" on \"LVPResultsA\" computed by "
                                "(iif(\"IsMain\" = 1, \"GUID\", null))"));
    q.ExecSQL();
    return 1;
}

// One interval per kind and dates ("SamplesDates_Dates"). Intervals that a database holds twice are the host's
// data, referred to from many tables: the key then waits until they are merged, and the application's log says
// so.
int upgradeIntervalKey(TFDQuery& q, ToznFDConnection& connection)
{
    if (hasIndex(q, connection, "SamplesDates_Dates"))
        return 0;
    const int twice = GuardedRead(connection, [&] {
        q.SetSQLText(
            QStringLiteral("select count(*) from (select 1 as \"One\" from \"SamplesDates\" group by \"Period\", "
                           "\"SampleDate1\", \"SampleDate2\" having count(*) > 1)"));
        q.Open();
        const int n = q.Value(0).toInt();
        q.Close();
        return n;
    });
    if (twice > 0) {
        host::LogLine(QStringLiteral("Интервалы с одинаковыми датами (%1): уникальный ключ \"SamplesDates_Dates\" не "
                                     "добавлен")
                          .arg(twice));
        return 0;
    }
    q.SetSQLText(QStringLiteral("create unique index \"SamplesDates_Dates\" on \"SamplesDates\" (\"Period\", "
                                "\"SampleDate1\", \"SampleDate2\")"));
    q.ExecSQL();
    return 1;
}
}  // namespace

int UpgradeSchema(ToznFDConnection& connection)
{
    QSet<QString> existing;
    auto q = connection.NewQuery();
    GuardedRead(connection, [&] {
        q->SetSQLText(QStringLiteral("select trim(rdb$relation_name) as \"T\", trim(rdb$field_name) as \"F\" "
                                     "from rdb$relation_fields where rdb$system_flag = 0"));
        for (q->Open(); !q->Eof(); q->Next())
            existing.insert(q->Str(QStringLiteral("T")) + QLatin1Char('.') + q->Str(QStringLiteral("F")));
    });
    int added = 0;
    for (const AddedTable& t : kAddedTables) {
        const QString table = QString::fromLatin1(t.table);
        if (std::any_of(existing.cbegin(), existing.cend(),
                        [&](const QString& name) { return name.startsWith(table + QLatin1Char('.')); }))
            continue;
        q->SetSQLText(QString::fromLatin1(t.create));
        q->ExecSQL();
        ++added;
        // Where the roles exist already, they reach the new table as they reach the others.
        if (host::HasRoles(connection))
            host::GrantTable(connection, table);
    }
    for (const AddedColumn& c : kAdded) {
        const QString table = QString::fromLatin1(c.table), column = QString::fromLatin1(c.column);
        if (existing.contains(table + QLatin1Char('.') + column))
            continue;
        // Metadata changes commit on their own; an interrupted upgrade resumes at the next opening.
        q->SetSQLText(
            QStringLiteral("alter table \"%1\" add \"%2\" %3").arg(table, column, QString::fromLatin1(c.type)));
        q->ExecSQL();
        ++added;
    }
    upgradeCalcParamsKey(*q, connection);
    added += upgradeRunKey(*q, connection);
    added += upgradeMainSampleKey(*q, connection);
    added += upgradeIntervalKey(*q, connection);
    return added;
}
