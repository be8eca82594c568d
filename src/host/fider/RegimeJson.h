#pragma once
// A run of the regime calculation as one JSON line, for checking the calculation from outside:
// numbers in their shortest exact form (JsonNumber), null where empty.
#include <QByteArray>

#include "host/HostApi.h"
#include "host/fider/RegimeCalc.h"

namespace fider {

// The snapshot (nodes with their three phase voltages, sections with their four currents and losses),
// the head, the power balance, the energy balance blocks and the feeder's figures.
OZN3HOST_API QByteArray RegimeJson(const TFiderHHInfo& fider, const TCalcWInfoHHCommon& run, int ident);
// A feeder that was not calculated: its problems.
OZN3HOST_API QByteArray RefusedJson(const TFiderHHInfo& fider, const QStringList& problems);

}  // namespace fider
