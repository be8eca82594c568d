#include "host/References.h"

#include "host/Connection.h"
#include "host/NumericHelpers.h"

QString TProvodRec::Text() const
{
    QString text = Marka;
    if (F > 0)
        text += QLatin1Char('-') + QString::number(F, 'g', 6);
    if (!AddStr.trimmed().isEmpty())
        text += QLatin1Char(' ') + AddStr.trimmed();
    return text;
}

void TProvod038::Load(ToznFDConnection& connection)
{
    items_.clear();
    order_.clear();
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QStringLiteral(
            R"(select p."Ident", p."Marka", p."F", p."R0", p."X0", p."AddStr", p."NullFlag", pt."CableFlags")"
            R"( from "Provods" p inner join "ProvodTypes" pt on pt."Ident"=p."ProvodType")"
            R"( where pt."Unom"=0.380 order by p."Marka")"));
        for (q->Open(); !q->Eof(); q->Next()) {
            TProvodRec r;
            r.Ident = q->Int(QStringLiteral("Ident"));
            r.Marka = q->Str(QStringLiteral("Marka"));
            r.F = q->Float(QStringLiteral("F"));
            r.R0 = q->Float(QStringLiteral("R0"));
            r.X0 = q->Float(QStringLiteral("X0"));
            r.AddStr = q->Str(QStringLiteral("AddStr"));
            r.ownNull = q->Int(QStringLiteral("NullFlag")) != 0;
            r.isCable = q->Int(QStringLiteral("CableFlags")) != 0;
            items_.insert(r.Ident, r);
            order_ << r.Ident;
        }
    });
}

const TProvodRec* TProvod038::GetProvodRec(int ident) const
{
    const auto it = items_.constFind(ident);
    return it == items_.cend() ? nullptr : &*it;
}
