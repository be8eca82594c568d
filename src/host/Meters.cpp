#include "host/Meters.h"

#include "host/Connection.h"

const QStringList& MeterStateNames()
{
    static const QStringList names = {QStringLiteral("не указано"), QStringLiteral("исправен"),
                                      QStringLiteral("неисправен"), QStringLiteral("истек срок поверки"),
                                      QStringLiteral("отсутствует")};
    return names;
}

int MeterStateCode(const QString& text)
{
    const QString t = text.simplified();
    const QStringList& names = MeterStateNames();
    for (int i = 0; i < names.size(); ++i)
        if (names[i].compare(t, Qt::CaseInsensitive) == 0)
            return i;
    return t.isEmpty() ? 0 : -1;
}

QHash<int, TMeter> LoadMeters(ToznFDConnection& connection)
{
    return GuardedRead(connection, [&] {
        QHash<int, TMeter> meters;
        auto q = connection.NewQuery();
        q->SetSQLText(QStringLiteral(R"(select "GUID", "MeterName", "State" from "Meters")"));
        for (q->Open(); !q->Eof(); q->Next())
            meters.insert(q->Int(QStringLiteral("GUID")),
                          TMeter{q->Str(QStringLiteral("MeterName")), q->Int(QStringLiteral("State"))});
        return meters;
    });
}

void SaveMeter(ToznFDConnection& connection, int guid, const TMeter& meter)
{
    auto q = connection.NewQuery();
    if (meter.Name.trimmed().isEmpty() && meter.State == 0) {
        q->SetSQLText(QStringLiteral(R"(delete from "Meters" where "GUID"=:GUID)"));
        q->ParamByName(QStringLiteral("GUID"), guid);
    } else {
        q->SetSQLText(QStringLiteral(R"(update or insert into "Meters" ("GUID", "MeterName", "State")
            values (:GUID, :MeterName, :State) matching ("GUID"))"));
        q->ParamByName(QStringLiteral("GUID"), guid)
            .ParamByName(QStringLiteral("MeterName"), meter.Name.trimmed().left(kMeterNameLength))
            .ParamByName(QStringLiteral("State"), meter.State);
    }
    q->ExecSQL();
}
