#include "host/SchemaUpgrade.h"

#include <QSet>

#include "host/Connection.h"

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
};
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
    return added;
}
