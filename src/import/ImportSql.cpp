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

}  // namespace

QString SocialSchemeUnchanged()
{
    QStringList same{QStringLiteral("\"Ident\"=:Ident"), QStringLiteral("coalesce(\"Unom\", 0)=:Unom"),
                     QStringLiteral("iif(\"NLines\">0, \"NLines\", null) is not distinct from :NLines")};
    for (const char* c : {"CosFi", "F",     "dp",    "kzap",  "dn",  "Lma", "Lms", "Lmm",  "L23a", "L23s",
                          "L23m",  "L23ia", "L23is", "L23im", "L1a", "L1s", "L1m", "L1ia", "L1is", "L1im"})
        same << QStringLiteral("iif(\"%1\"<0, null, \"%1\") is not distinct from :%1").arg(QString::fromLatin1(c));
    return QStringLiteral("select count(*) from \"LVFidersB\" where ") + same.join(QStringLiteral(" and "));
}

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

}  // namespace ImportSql
