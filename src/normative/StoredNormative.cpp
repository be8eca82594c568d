#include "normative/StoredNormative.h"

#include <QList>

#include "host/Connection.h"
#include "host/SamplePeriods.h"
#include "normative/LVNormativMethodDBUnit.h"
#include "normative/NormativeSql.h"

int RecalculateStoredNormative(ToznFDConnection& connection)
{
    TSamplePeriodsList periods;
    periods.Load(connection);
    int written = 0;
    connection.StartTransaction(false);
    try {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(NormativeSql::kPeriodsWithResults));
        QList<int> idents;
        for (q->Open(); !q->Eof(); q->Next())
            idents << q->Int(QStringLiteral("SampleIdent"));
        for (int ident : idents) {
            const TSamplePeriodInfo* period = periods.GetPSamplePeriodInfoByIdent(ident);
            if (!period)
                continue;
            TLVNormativeStore store(connection);
            store.Preload(*period);
            q->SetSQLText(QString::fromUtf8(NormativeSql::kStoredElements));
            q->ParamByName(QStringLiteral("SampleIdent"), ident);
            QList<int> elements;
            for (q->Open(); !q->Eof(); q->Next())
                elements << q->Int(QStringLiteral("GUID"));
            TLVNormativSample0 sample;
            for (int guid : elements) {
                sample.Ident = guid;
                store.Load(sample, guid, *period);
                store.Save(sample, ident, sample.Classify() == TLVNormativSample0::Outcome::Saved);
                ++written;
            }
        }
        connection.Commit();
    } catch (...) {
        connection.Rollback();
        throw;
    }
    return written;
}
