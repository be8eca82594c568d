#pragma once
#include <QString>

class ToznFDConnection;

// Results queries of the LV results over the hierarchy, kept as resource strings of this unit.
namespace LVResultsSql {
extern const char* const sLevelOfGUID;
}

// The hierarchy level (0 utility … 7 LV feeder) of an object under which results are stored;
// -1 when nothing is stored under it.
int FindLevelLV(ToznFDConnection& connection, int guid);
