#include "results/UnitLVResults.h"

#include <algorithm>

#include "host/Connection.h"

namespace {
// The levels of the tables that hold an object, in the order the level query tests them (a Fider before a
// Section).
QList<int> objectLevels(ToznFDConnection& connection, int guid)
{
    QList<int> levels;
    auto q = connection.NewQuery();
    q->SetSQLText(QString::fromUtf8(LVResultsSql::sObjectLevels));
    q->ParamByName(QStringLiteral("GUID"), guid);
    for (q->Open(); !q->Eof(); q->Next())
        levels << q->Value(0).toInt();
    static const int order[8] = {0, 1, 2, 3, 5, 4, 6, 7};
    QList<int> ordered;
    for (int l : order)
        if (levels.contains(l))
            ordered << l;
    return ordered;
}
}  // namespace

int FindLevelLV(ToznFDConnection& connection, int guid)
{
    return GuardedRead(connection, [&] {
        // The object's own table tells the level the level query would find whenever a result is stored under
        // the object, and a test from the object's key finds one at once; the level query itself, which walks
        // every result, is left to decide the rest.
        auto q = connection.NewQuery();
        for (int level : objectLevels(connection, guid)) {
            q->SetSQLText(QStringLiteral("select first 1 1 ") + LVResultsSql::ResultsUnderObject(level));
            q->ParamByName(QStringLiteral("GUID"), guid);
            q->Open();
            if (!q->Eof())
                return level;
        }
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
        // The periods of each table that holds the object; without the Sections test a Section finds none.
        for (int level : objectLevels(connection, guid)) {
            if (level == 4 && !withSections)
                continue;
            q->SetSQLText(LVResultsSql::PeriodsWithResults(level));
            q->ParamByName(QStringLiteral("CalcType"), calcType).ParamByName(QStringLiteral("GUID"), guid);
            q->ParamByName(QStringLiteral("sd1"), sd1).ParamByName(QStringLiteral("sd2"), sd2);
            for (q->Open(); !q->Eof(); q->Next()) {
                const TLVResultPeriod p{q->Int(QStringLiteral("Period")), q->Str(QStringLiteral("Name"))};
                if (std::none_of(periods.cbegin(), periods.cend(),
                                 [&](const TLVResultPeriod& x) { return x.Period == p.Period; }))
                    periods.append(p);
            }
        }
        std::sort(periods.begin(), periods.end(),
                  [](const TLVResultPeriod& a, const TLVResultPeriod& b) { return a.Period < b.Period; });
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
