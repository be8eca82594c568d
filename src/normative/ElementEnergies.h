#pragma once
#include <QString>
#include <vector>

#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"

class ToznFDConnection;
class ToznListItemCommon;

// The energy transformed into an element's 0.4 kV network ("Wa") and the useful supply from its busbars
// ("Wa_bus") for a period, each from the first of its sources that has a value: for every source the sum over
// the months inside the period first, then the measurement of the period itself. Only ordinary rows count.
// The sources by the data level of the element (0 utility, 1 enterprise, 2 district, 3 supply centre,
// 4 feeder 6-10 kV, 5 substation, 6 LV line):
//   6: the LV regime results of the line, then its W measurements; no busbar supply;
//   5: the medium-voltage results at the substation through its 0.4 kV transformer, then the substation's
//      W measurements; busbar supply from the substation's 0.4 kV measurements;
//   4, 3, 0-2: the transformation into 0.4 kV of the medium-voltage results of the feeder, of the centre's
//      feeders, of the districts under the element.
struct TEnergySource {
    QString Sql;   // parameters GUID, sd1, sd2; one row with "Value"
    QString What;  // what the source is, for the user
};
std::vector<TEnergySource> EnergySources(int level, bool busbars);

// The data level of a node type of the network tree; -1 for a type that has none (sections).
int EnergyLevelOfNodeType(int nodeType);

struct TElementEnergies {
    double Wa = EmptyFloat();
    double Wa_bus = EmptyFloat();
    QString WaSource, BusSource;  // the What of the sources that answered
    bool isEmpty() const { return isEmptyFloat(Wa) && isEmptyFloat(Wa_bus); }
};
// Reads both energies; in a read transaction of its own when the connection has none.
TElementEnergies ReadElementEnergies(ToznFDConnection& connection, int level, int guid,
                                     const TSamplePeriodInfo& period);

// The energies of an element of the network tree, as both energy buttons fill them (the normative form's and
// the generalised-data workbook's): ReadElementEnergies at the level of its node type; when none of those
// sources gives Wa, what the LV regime calculation of the lines under the element received in the period
// (each line once, links aside; an LV line has its regime results as its first source already).
TElementEnergies ReadEnergiesOfElement(ToznFDConnection& connection, ToznListItemCommon* element,
                                       const TSamplePeriodInfo& period);
