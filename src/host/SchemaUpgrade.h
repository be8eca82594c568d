#pragma once
#include <QString>

#include "host/HostApi.h"

class ToznFDConnection;

// Brings a database made by an earlier version up to the present tables: adds the tables and columns it lacks,
// keys the regime parameters by interval, and keeps one run per feeder, interval and calculation type (the
// newest of several). Returns the number of changes made; raises EDatabaseError when it cannot.
OZN3HOST_API int UpgradeSchema(ToznFDConnection& connection);
