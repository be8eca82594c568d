#include "host/scheme/Substations.h"

#include "host/Connection.h"
#include "host/TextLimits.h"

namespace scheme {

namespace {
QString S(const char* sql) { return QString::fromUtf8(sql); }

int Scalar(ToznFDConnection& c, const QString& sql, int param = 0)
{
    auto q = c.NewQuery();
    q->SetSQLText(sql);
    if (sql.contains(QLatin1String(":GUID")))
        q->ParamByName(QStringLiteral("GUID"), param);
    q->Open();
    return q->Eof() ? 0 : q->Value(0).toInt();
}

int Insert(ToznFDConnection& c, const QString& table, const QString& name, int owner)
{
    const int guid = Scalar(c, S(R"(select gen_id("GUIDGen", 1) from rdb$database)"));
    auto q = c.NewQuery();
    q->SetSQLText(
        QStringLiteral(R"(insert into "%1" ("GUID", "Name", "OwnerGUID") values (:GUID, :Name, :Owner))").arg(table));
    q->ParamByName(QStringLiteral("GUID"), guid);
    q->ParamByName(QStringLiteral("Name"), name);
    q->ParamByName(QStringLiteral("Owner"), owner ? QVariant(owner) : QVariant(QMetaType(QMetaType::Int)));
    q->ExecSQL();
    return guid;
}

// The chain of placeholder levels down to a 6-10 kV feeder.
int PlaceholderFider(ToznFDConnection& c)
{
    const int energo = Insert(c, QStringLiteral("AOEnergo"), QStringLiteral("Энергосистема"), 0);
    const int pes = Insert(c, QStringLiteral("PES"), QStringLiteral("Электрические сети"), energo);
    const int res = Insert(c, QStringLiteral("RES"), QStringLiteral("РЭС"), pes);
    const int centre = Insert(c, QStringLiteral("Centers"), QStringLiteral("Центр питания"), res);
    const int section = Insert(c, QStringLiteral("Sections"), QStringLiteral("Секция 10 кВ"), centre);
    auto q = c.NewQuery();
    q->SetSQLText(S(R"(update "Sections" set "Unom"=10 where "GUID"=:GUID)"));
    q->ParamByName(QStringLiteral("GUID"), section);
    q->ExecSQL();
    return Insert(c, QStringLiteral("Fiders"), QStringLiteral("Фидер 10 кВ"), section);
}

// A 10/0.4 kV transformer of the catalogue, added when there is none.
int LowVoltageTransformer(ToznFDConnection& c)
{
    if (const int t = Scalar(
            c, S(R"(select first 1 "Ident" from "Transforms2" where "UnomH" between 0.3 and 0.5 order by "Ident")")))
        return t;
    const int ident = Scalar(c, S(R"(select coalesce(max("Ident"), 0) + 1 from "Transforms2")"));
    auto q = c.NewQuery();
    q->SetSQLText(S(
        R"(insert into "Transforms2" ("Ident", "TypeTR", "Snom", "UnomH", "AddStr") values (:Ident, 'ТМ', 250, 0.4, '10/0,4'))"));
    q->ParamByName(QStringLiteral("Ident"), ident);
    q->ExecSQL();
    return ident;
}
}  // namespace

int AddSubstation(ToznFDConnection& connection, const QString& name, int fider, QString& error)
{
    if (name.trimmed().isEmpty()) {
        error = QStringLiteral("Не указано имя ТП");
        return 0;
    }
    if (!host::CheckText(name.simplified(), host::kSubstationName, QStringLiteral("Имя ТП"), error))
        return 0;
    TScopedLockTimeout limit(connection);
    connection.StartTransaction();
    try {
        if (fider && !Scalar(connection, S(R"(select "GUID" from "Fiders" where "GUID"=:GUID)"), fider)) {
            connection.Rollback();
            error = QStringLiteral("Фидер 6-10 кВ с идентификатором %1 не найден").arg(fider);
            return 0;
        }
        if (!fider) {
            if (Scalar(connection, S(R"(select count(*) from "Fiders")")) > 0) {
                connection.Rollback();
                error = QStringLiteral("В сети есть фидеры 6-10 кВ: укажите, к какому подключена ТП (--owner GUID)");
                return 0;
            }
            fider = PlaceholderFider(connection);
        }
        const int res =
            Scalar(connection, S(R"(select c."OwnerGUID" from "Fiders" f join "Sections" s on s."GUID"=f."OwnerGUID"
            join "Centers" c on c."GUID"=s."OwnerGUID" where f."GUID"=:GUID)"),
                   fider);
        const int transformer = LowVoltageTransformer(connection);
        const int guid = Insert(connection, QStringLiteral("Nodes"), name.simplified(), fider);
        auto q = connection.NewQuery();
        q->SetSQLText(S(R"(update "Nodes" set "Transf"=:Transf, "RES"=:RES where "GUID"=:GUID)"));
        q->ParamByName(QStringLiteral("Transf"), transformer);
        q->ParamByName(QStringLiteral("RES"), res ? QVariant(res) : QVariant(QMetaType(QMetaType::Int)));
        q->ParamByName(QStringLiteral("GUID"), guid);
        q->ExecSQL();
        connection.Commit();
        return guid;
    } catch (const EDatabaseError& e) {
        connection.Rollback();
        error = QStringLiteral("ТП не добавлена: %1").arg(e.Text());
        return 0;
    }
}

}  // namespace scheme
