#include "normative/ElementEnergies.h"

#include <QList>
#include <functional>

#include "host/Connection.h"
#include "host/Tree.h"
#include "normative/NormativeSql.h"

namespace {
QString sumQuery(const QString& sumOf, const QString& from, const QString& filter)
{
    return QStringLiteral("select sum(%1) as \"Value\" from %2 join \"SamplesDates\" sd on sd.\"Ident\"=%3 where %4")
        .arg(sumOf, from.section(QLatin1Char('|'), 0, 0), from.section(QLatin1Char('|'), 1, 1), filter);
}
}  // namespace

std::vector<TEnergySource> EnergySources(int level, bool busbars)
{
    // Each source: the sum, "tables|their interval column", the filter on the element, and its name.
    struct Source {
        QString sumOf, from, filter, what;
    };
    std::vector<Source> sources;
    const QString ordinaryMv = QStringLiteral("coalesce(mv.\"CalcType\", 0)=0");
    const QString transformation =
        QStringLiteral("\"Transformation\" t join \"MVResults\" mv on mv.\"Ident\"=t.\"Ident\"|mv.\"SampleIdent\"");
    const QString lowSide = QStringLiteral("(t2.\"UnomH\"<=1 or ts.\"UnomH1\"<=1 or ts.\"UnomH2\"<=1)");
    const QString transformers =
        QStringLiteral(" join \"Nodes\" nod on nod.guid=%1 left join \"Transforms2\" t2 on t2.\"Ident\"=nod.\"Transf\" "
                       "left join \"TransformsSS\" ts on ts.\"Ident\"=nod.\"Transf\"");
    if (busbars) {
        if (level == 5)
            sources.push_back({QStringLiteral("ti.\"Wa_bus\""), QStringLiteral("\"LVWTPInfo\" ti|ti.\"SampleIdent\""),
                               QStringLiteral("ti.guid=:GUID and coalesce(ti.\"TypeCalc\", 0)=0"),
                               QStringLiteral("замеры на шинах 0,4 кВ ТП")});
    } else if (level == 6) {
        sources.push_back({QStringLiteral("wa.\"Wa_gen\""),
                           QStringLiteral("\"LVWResultsAdd\" wa join \"LVResults\" mv on mv.\"Ident\"=wa.\"Ident\"|"
                                          "mv.\"SampleIdent\""),
                           QStringLiteral("mv.guid=:GUID and ") + ordinaryMv,
                           QStringLiteral("расчет режима сети 0,4 кВ")});
        sources.push_back({QStringLiteral("ws.\"Wa\""), QStringLiteral("\"LVWSamples\" ws|ws.\"SampleIdent\""),
                           QStringLiteral("ws.guid=:GUID and coalesce(ws.\"TypeCalc\", 0)=0"),
                           QStringLiteral("замеры W линии")});
    } else if (level == 5) {
        sources.push_back({QStringLiteral("wn.\"Wa\""),
                           QStringLiteral("\"WResultsN\" wn join \"MVResults\" mv on mv.\"Ident\"=wn.\"Ident\"") +
                               transformers.arg(QStringLiteral("wn.guid")) + QStringLiteral("|mv.\"SampleIdent\""),
                           QStringLiteral("wn.guid=:GUID and ") + ordinaryMv + QStringLiteral(" and ") + lowSide,
                           QStringLiteral("расчет сети 6-10 кВ (энергия через трансформатор ТП)")});
        sources.push_back({QStringLiteral("wl.\"Wa\""),
                           QStringLiteral("\"WLoads\" wl") + transformers.arg(QStringLiteral("wl.guid")) +
                               QStringLiteral("|wl.\"SampleIdent\""),
                           QStringLiteral("wl.guid=:GUID and coalesce(wl.\"SampleType\", 0)=0 and ") + lowSide,
                           QStringLiteral("замеры W ТП")});
    } else {
        QString feeders;
        if (level == 4)
            feeders = QStringLiteral("mv.guid=:GUID");
        else if (level == 3)
            feeders = QStringLiteral("mv.guid in (select f.guid from \"Fiders\" f join \"Sections\" s on "
                                     "s.guid=f.\"OwnerGUID\" where s.\"OwnerGUID\"=:GUID)");
        else
            feeders = QStringLiteral("t.res in (select r.guid from res r join pes p on p.guid=r.\"OwnerGUID\" where "
                                     "r.guid=:GUID or p.guid=:GUID or p.\"OwnerGUID\"=:GUID)");
        sources.push_back({QStringLiteral("t.\"Wa\""), transformation,
                           feeders + QStringLiteral(" and t.\"UnomCH\"<=1 and ") + ordinaryMv,
                           QStringLiteral("трансформация в сеть 0,4 кВ по расчету сети 6-10 кВ")});
    }
    std::vector<TEnergySource> queries;
    for (const Source& s : sources) {
        queries.push_back({sumQuery(s.sumOf, s.from,
                                    s.filter + QStringLiteral(" and sd.\"SampleDate1\">=:sd1 and "
                                                              "sd.\"SampleDate2\"<=:sd2 and sd.\"Period\"=4")),
                           s.what + QStringLiteral(", сумма за месяцы периода")});
        queries.push_back(
            {sumQuery(s.sumOf, s.from,
                      s.filter + QStringLiteral(" and sd.\"SampleDate1\"=:sd1 and sd.\"SampleDate2\"=:sd2")),
             s.what + QStringLiteral(" за период")});
    }
    return queries;
}

int EnergyLevelOfNodeType(int nodeType)
{
    switch (nodeType) {
    case NodeType::AOEnergo: return 0;
    case NodeType::PES: return 1;
    case NodeType::RES: return 2;
    case NodeType::Centers: return 3;
    case NodeType::Fiders: return 4;
    case NodeType::Nodes: return 5;
    case NodeType::LVFiders: return 6;
    default: return -1;
    }
}

TElementEnergies ReadElementEnergies(ToznFDConnection& connection, int level, int guid, const TSamplePeriodInfo& period)
{
    TElementEnergies energies;
    if (level < 0)
        return energies;
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        // The first source that answers a value.
        auto first = [&](const std::vector<TEnergySource>& sources, QString& which) {
            for (const TEnergySource& s : sources) {
                q->SetSQLText(s.Sql);
                q->ParamByName(QStringLiteral("GUID"), guid);
                q->ParamByName(QStringLiteral("sd1"), period.SampleDate1)
                    .ParamByName(QStringLiteral("sd2"), period.SampleDate2);
                q->Open();
                if (!q->Eof() && !q->IsNull(QStringLiteral("Value"))) {
                    which = s.What;
                    return q->Float(QStringLiteral("Value"));
                }
            }
            return EmptyFloat();
        };
        energies.Wa = first(EnergySources(level, false), energies.WaSource);
        energies.Wa_bus = first(EnergySources(level, true), energies.BusSource);
    });
    return energies;
}

namespace {
// What the LV regime calculation of the lines under an element received in the period; empty when none was run.
double regimeEnergyBelow(ToznFDConnection& connection, ToznListItemCommon* element, const TSamplePeriodInfo& period)
{
    QList<int> lines;
    std::function<void(ToznListItemCommon*)> walk = [&](ToznListItemCommon* item) {
        if (item->isLink())
            return;
        if (item->GetNodeType() == NodeType::LVFiders)
            lines.append(item->GetIdent());
        for (int i = 0; i < item->GetCount(); ++i)
            walk(item->GetItems(i));
    };
    walk(element);
    double sum = EmptyFloat();
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(NormativeSql::kCalculatedTransformation));
        q->ParamByName(QStringLiteral("SampleIdent"), period.Ident);
        for (int guid : lines) {
            q->ParamByName(QStringLiteral("GUID"), guid);
            q->Open();
            if (!q->Eof())
                sum = AC_SumFloat(sum, q->Float(QStringLiteral("Wa")));
        }
    });
    return sum;
}
}  // namespace

TElementEnergies ReadEnergiesOfElement(ToznFDConnection& connection, ToznListItemCommon* element,
                                       const TSamplePeriodInfo& period)
{
    if (!element)
        return {};
    const int level = EnergyLevelOfNodeType(element->GetNodeType());
    TElementEnergies energies = ReadElementEnergies(connection, level, element->GetIdent(), period);
    if (isEmptyFloat(energies.Wa) && level >= 0 && level != 6) {
        energies.Wa = regimeEnergyBelow(connection, element, period);
        if (!isEmptyFloat(energies.Wa))
            energies.WaSource = QStringLiteral("расчет режима линий 0,4 кВ элемента за период");
    }
    return energies;
}
