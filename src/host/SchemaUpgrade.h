#pragma once
#include <QString>

#include "host/HostApi.h"

class ToznFDConnection;

// Brings a database made by an earlier version up to the present tables: adds the columns it lacks and
// keys the regime parameters by interval, keeping every row. Returns the number of columns added; raises
// EDatabaseError when it cannot.
OZN3HOST_API int UpgradeSchema(ToznFDConnection& connection);
