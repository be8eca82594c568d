#include "feeders/StoredSamples.h"

#include <QList>
#include <cmath>

#include "feeders/DataMod.h"
#include "feeders/LVFidersReports.h"
#include "host/Connection.h"
#include "host/NumericHelpers.h"

namespace feeders {
namespace {
// A stored value that the calculation would write otherwise: beyond the last of the three decimals shown.
bool differs(double stored, double calculated)
{
    if (isEmptyFloat(calculated))
        return false;
    return isEmptyFloat(stored) || std::fabs(stored - calculated) > 0.0005;
}

bool differs(const TRep_Data::Sample& s, const TLVFiderSampleCalc::Result& r)
{
    return differs(s.P, r.P) || differs(s.Wa, r.Wa) || differs(s.Tmax, r.Tmax) || differs(s.Krazv, r.Krazv) ||
           differs(s.Knm, r.Knm) || differs(s.DP, r.DP) || differs(s.DW, r.DW);
}

QList<int> substationsWithSamples(ToznFDConnection& connection)
{
    return GuardedRead(connection, [&] {
        QList<int> nodes;
        auto q = connection.NewQuery();
        q->SetSQLText(QStringLiteral("select distinct lf.\"OwnerGUID\" from \"LVFiders\" lf where exists (select 1 "
                                     "from \"LVPResultsA\" a where a.guid=lf.guid) order by 1"));
        for (q->Open(); !q->Eof(); q->Next())
            nodes << q->Value(0).toInt();
        return nodes;
    });
}
}  // namespace

TSamplesRecalculation RecalculateStoredSamples(ToznFDConnection& connection,
                                               const std::function<void(int, int)>& progress)
{
    TSamplesRecalculation done;
    const QList<int> nodes = substationsWithSamples(connection);
    done.Substations = static_cast<int>(nodes.size());
    for (int n = 0; n < nodes.size(); ++n) {
        // The reference look-ups of the calculation and the writing share the substation's transaction.
        connection.StartTransaction(false);
        try {
            TRep_Data data(nullptr, connection);
            data.OpenFiders(nodes[n]);
            bool changed = false;
            for (const TRep_Data::Fider& fider : data.Fiders())
                for (TRep_Data::Sample* sample : data.SamplesOf(fider.GUID)) {
                    const TLVFiderSampleCalc::Result result = CalculateStoredSample(data, fider.GUID, *sample);
                    ++done.Samples;
                    if (result.status != TLVFiderSampleCalc::Status::Done || !differs(*sample, result))
                        continue;
                    ApplySampleResult(*sample, result);
                    ++done.Changed;
                    changed = true;
                }
            if (changed)
                data.Save();
            connection.Commit();
        } catch (...) {
            if (connection.inTransaction())
                connection.Rollback();
            throw;
        }
        if (progress)
            progress(n + 1, done.Substations);
    }
    return done;
}
}  // namespace feeders
