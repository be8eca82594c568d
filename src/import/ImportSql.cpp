#include "import/ImportSql.h"

namespace ImportSql {
namespace {
// The owners' chain: alias, table, and how it joins to the one above.
struct Link {
    const char* alias;
    const char* join;
    const char* prefix;  // of the selected columns
};
const Link kChain[] = {
    {"e", "\"AOEnergo\" e", "e"},
    {"p", "join pes p on p.\"OwnerGUID\"=e.guid", "p"},
    {"r", "join res r on r.\"OwnerGUID\"=p.guid", "r"},
    {"c", "join \"Centers\" c on c.\"OwnerGUID\"=r.guid", "c"},
    {"s", "join \"Sections\" s on s.\"OwnerGUID\"=c.guid", nullptr},
    {"f", "join \"Fiders\" f on f.\"OwnerGUID\"=s.guid", "f"},
    {"nod", "join \"Nodes\" nod on nod.\"OwnerGUID\"=f.guid", "nod"},
    {"lf", "join \"LVFiders\" lf on lf.\"OwnerGUID\"=nod.guid", "lf"},
};
// Level codes of the workbook to the last link of the chain (sections are not a level of their own).
int lastLink(int level) { return level <= 3 ? level : level + 1; }

QString body(int level)
{
    const int last = lastLink(level);
    QString sql = QStringLiteral(" from ");
    QStringList owners;
    for (int i = 0; i <= last; ++i) {
        sql += QString::fromLatin1(kChain[i].join) + QLatin1Char(' ');
        owners << QStringLiteral("%1.guid=:GUIG").arg(QString::fromLatin1(kChain[i].alias));
    }
    QStringList where{QLatin1Char('(') + owners.join(QStringLiteral(" or ")) + QLatin1Char(')')};
    if (level == 5) {
        // Substations that feed a 0.4 kV network.
        sql += QStringLiteral("left join \"Transforms2\" t2 on t2.\"Ident\"=nod.\"Transf\" "
                              "left join \"TransformsSS\" ts on ts.\"Ident\"=nod.\"Transf\" ");
        where << QStringLiteral("(t2.\"UnomH\"<1 or ts.\"UnomH1\"<1 or ts.\"UnomH2\"<1)");
    }
    if (level == 6)
        where << QStringLiteral("nod.guid<>nod.\"OwnerGUID\"");
    return sql + QStringLiteral("where ") + where.join(QStringLiteral(" and "));
}

QString pair(const QString& sumOf, const QString& from, const QString& filter)
{
    return QStringLiteral("select sum(%1) as \"Value\" from %2 join \"SamplesDates\" sd on sd.\"Ident\"=%3 where %4")
        .arg(sumOf, from.section(QLatin1Char('|'), 0, 0), from.section(QLatin1Char('|'), 1, 1), filter);
}
}  // namespace

QString SocialRows(int level)
{
    QStringList columns, order;
    for (int i = 0; i <= lastLink(level); ++i) {
        if (!kChain[i].prefix)
            continue;
        const QString a = QString::fromLatin1(kChain[i].alias), x = QString::fromLatin1(kChain[i].prefix);
        columns << QStringLiteral("%1.guid as \"%2GUID\", %1.\"Name\" as \"%2Name\"").arg(a, x);
        order << QStringLiteral("%1.guid").arg(a);
    }
    return QStringLiteral("select distinct ") + columns.join(QStringLiteral(", ")) + body(level) +
           QStringLiteral(" order by ") + order.join(QStringLiteral(", "));
}

QString SocialRowsCount(int level)
{
    return QStringLiteral("select count(distinct %1.guid)").arg(QString::fromLatin1(kChain[lastLink(level)].alias)) +
           body(level);
}

QStringList SocialEnergy(int level, bool busbars)
{
    // Each source as "table alias|sample ident column" with its own filter on the element.
    struct Source {
        QString sumOf, from, filter;
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
                               QStringLiteral("ti.guid=:GUID and coalesce(ti.\"TypeCalc\", 0)=0")});
    } else if (level == 6) {
        sources.push_back({QStringLiteral("wa.\"Wa_gen\""),
                           QStringLiteral("\"LVWResultsAdd\" wa join \"LVResults\" mv on mv.\"Ident\"=wa.\"Ident\"|"
                                          "mv.\"SampleIdent\""),
                           QStringLiteral("mv.guid=:GUID and ") + ordinaryMv});
        sources.push_back({QStringLiteral("ws.\"Wa\""), QStringLiteral("\"LVWSamples\" ws|ws.\"SampleIdent\""),
                           QStringLiteral("ws.guid=:GUID and coalesce(ws.\"TypeCalc\", 0)=0")});
    } else if (level == 5) {
        sources.push_back({QStringLiteral("wn.\"Wa\""),
                           QStringLiteral("\"WResultsN\" wn join \"MVResults\" mv on mv.\"Ident\"=wn.\"Ident\"") +
                               transformers.arg(QStringLiteral("wn.guid")) + QStringLiteral("|mv.\"SampleIdent\""),
                           QStringLiteral("wn.guid=:GUID and ") + ordinaryMv + QStringLiteral(" and ") + lowSide});
        sources.push_back({QStringLiteral("wl.\"Wa\""),
                           QStringLiteral("\"WLoads\" wl") + transformers.arg(QStringLiteral("wl.guid")) +
                               QStringLiteral("|wl.\"SampleIdent\""),
                           QStringLiteral("wl.guid=:GUID and coalesce(wl.\"SampleType\", 0)=0 and ") + lowSide});
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
                           feeders + QStringLiteral(" and t.\"UnomCH\"<=1 and ") + ordinaryMv});
    }
    QStringList queries;
    for (const Source& s : sources) {
        queries << pair(s.sumOf, s.from,
                        s.filter + QStringLiteral(" and sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 "
                                                  "and sd.\"Period\"=4"));
        queries << pair(s.sumOf, s.from,
                        s.filter + QStringLiteral(" and sd.\"SampleDate1\"=:sd1 and sd.\"SampleDate2\"=:sd2"));
    }
    return queries;
}
}  // namespace ImportSql
