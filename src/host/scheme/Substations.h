#pragma once
// Adding a substation to the network: the place an LV scheme is loaded into, also in a database that
// has no network yet.
#include <QString>

#include "host/HostApi.h"

class ToznFDConnection;

namespace scheme {

// Adds a substation ("Nodes") with a 0.4 kV transformer under a 6-10 kV feeder ("Fiders"). Without a
// feeder (0), a database without any 6-10 kV feeder gets one chain of placeholder levels (utility,
// enterprise, district, supply centre, section, feeder) to hold its substations. Returns the new
// substation's key; 0 with a reason.
OZN3HOST_API int AddSubstation(ToznFDConnection& connection, const QString& name, int fider, QString& error);

}  // namespace scheme
