#pragma once
// The host's regime command: after the regime dialog is accepted, the LV regime calculation of the
// chosen feeder, or of every LV feeder under the chosen node, with a progress display that can stop it.
#include <QList>
#include <QStringList>

#include "host/FiderHHCalcParams.h"
#include "host/fider/RegimeSettings.h"

class TfdbDatabase;

struct RegimeOutcome {
    int Calculated = 0, Refused = 0, Total = 0;
    bool Cancelled = false;
    QString Failure;
    QStringList Problems;  // "feeder - problem"
    int LastIdent = 0;     // the run stored last
};

// What the accepted dialog asks: its interval and mode; for one feeder every current value, for a group
// only the values common to all feeders (each keeps its own voltages, currents and energies).
fider::TRegimeRequest RequestFromParams(const TFiderHHCalcParams& params, fider::TRegimeKind regime, bool oneFeeder);

// Calculates and stores the feeders on the host's progress display; results are always stored, since
// every results form reads what is stored.
RegimeOutcome RunRegimeCommand(TfdbDatabase& database, const QList<int>& fiders, const fider::TRegimeRequest& request);

// The message the user gets after a group run (counts, and the first problems).
QString RegimeSummary(const RegimeOutcome& outcome);
