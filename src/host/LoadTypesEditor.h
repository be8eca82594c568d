#pragma once
#include "host/HostApi.h"

class QWidget;
class ToznFDConnection;

// The host's editor of the load kinds ("TypeLoads": name and power factor) and of the Tmax reference
// ("LVTmxRef"); true when the user saved changes.
OZN3HOST_API bool EditLoadTmaxTypes(QWidget* owner, ToznFDConnection& connection);
