#include "host/SchemaUpgrade.h"

#include <QHash>
#include <QSet>
#include <QStringList>
#include <algorithm>

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
    return added;
}
