#include "results/UnitLVResults.h"

#include "host/Connection.h"

int FindLevelLV(ToznFDConnection& connection, int guid)
{
    return GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sLevelOfGUID));
        q->ParamByName(QStringLiteral("GUID"), guid);
        q->Open();
        return q->Eof() || q->IsNull(QStringLiteral("LEVEL")) ? -1 : q->Int(QStringLiteral("LEVEL"));
    });
}

int DeleteResultsLV(ToznFDConnection& connection, int guid, int calcType, int sampleIdent)
{
    // Type 0 is shown for results stored with none: both go, in one transaction.
    int deleted = 0;
    GuardedWrite(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sDeleteResults));
        q->ParamByName(QStringLiteral("CalcType"), calcType).ParamByName(QStringLiteral("SampleIdent"), sampleIdent);
        q->ParamByName(QStringLiteral("GUID"), guid);
        q->ExecSQL();
        deleted = q->RowsAffected();
        if (calcType != 0)
            return;
        auto untyped = connection.NewQuery();
        untyped->SetSQLText(QString::fromUtf8(LVResultsSql::sDeleteResultsWithoutType));
        untyped->ParamByName(QStringLiteral("SampleIdent"), sampleIdent).ParamByName(QStringLiteral("GUID"), guid);
        untyped->ExecSQL();
        deleted += untyped->RowsAffected();
    });
    return deleted;
}

QList<TLVResultSample> SamplesWithResultsLV(ToznFDConnection& connection, int calcType)
{
    return GuardedRead(connection, [&] {
        QList<TLVResultSample> samples;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sSamplesWithResults));
        q->ParamByName(QStringLiteral("CalcType"), calcType);
        for (q->Open(); !q->Eof(); q->Next())
            samples.append({q->Int(QStringLiteral("Ident")), q->Str(QStringLiteral("Name")),
                            q->Int(QStringLiteral("Period")), q->Value(QStringLiteral("SampleDate1")).toDateTime(),
                            q->Value(QStringLiteral("SampleDate2")).toDateTime()});
        return samples;
    });
}

QList<TLVResultPeriod> PeriodsWithResultsLV(ToznFDConnection& connection, int calcType, int guid, const QDateTime& sd1,
                                            const QDateTime& sd2, bool withSections)
{
    return GuardedRead(connection, [&] {
        QList<TLVResultPeriod> periods;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(withSections ? LVResultsSql::sPeriodsWithResults
                                                     : LVResultsSql::sPeriodsWithResultsNoSections));
        q->ParamByName(QStringLiteral("CalcType"), calcType).ParamByName(QStringLiteral("GUID"), guid);
        q->ParamByName(QStringLiteral("sd1"), sd1).ParamByName(QStringLiteral("sd2"), sd2);
        for (q->Open(); !q->Eof(); q->Next())
            periods.append({q->Int(QStringLiteral("Period")), q->Str(QStringLiteral("Name"))});
        return periods;
    });
}

QHash<int, QString> NamesLV(ToznFDConnection& connection, int calcType, const QDateTime& sd1, const QDateTime& sd2)
{
    return GuardedRead(connection, [&] {
        QHash<int, QString> names;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sNamesOfHierarchy));
        q->ParamByName(QStringLiteral("CalcType"), calcType);
        q->ParamByName(QStringLiteral("sd1"), sd1).ParamByName(QStringLiteral("sd2"), sd2);
        const char* const levels[] = {"e", "p", "r", "c", "s", "f", "nod", "lf"};
        for (q->Open(); !q->Eof(); q->Next())
            for (const char* l : levels)
                names.insert(q->Int(QString::fromLatin1(l) + QStringLiteral("GUID")),
                             q->Str(QString::fromLatin1(l) + QStringLiteral("Name")));
        return names;
    });
}

QHash<int, QString> ObjectNamesLV(ToznFDConnection& connection)
{
    return GuardedRead(connection, [&] {
        QHash<int, QString> names;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sObjectNames));
        for (q->Open(); !q->Eof(); q->Next())
            names.insert(q->Value(0).toInt(), q->Value(1).toString());
        return names;
    });
}

QHash<int, double> NormativeLossesLV(ToznFDConnection& connection, int sampleIdent)
{
    return GuardedRead(connection, [&] {
        QHash<int, double> losses;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sNormativeLosses));
        q->ParamByName(QStringLiteral("SampleIdent"), sampleIdent);
        for (q->Open(); !q->Eof(); q->Next())
            losses.insert(q->Int(QStringLiteral("GUID")), q->Float(QStringLiteral("deltaWa")));
        return losses;
    });
}
