#pragma once
#include <functional>

#include "host/HostApi.h"

// Commands of the host application that the plug-in's forms may start: the LV regime calculation of an
// element of the network tree (the regime's dialog, then every LV feeder under the element). A host without a
// window (a command-line run) has none.
namespace host {
using TRegimeCommand = std::function<void(int guid, bool maximum)>;
OZN3HOST_API void SetRegimeCommand(TRegimeCommand command);
OZN3HOST_API bool HasRegimeCommand();
// Runs the host's command; false when the host has none.
OZN3HOST_API bool RunRegimeCommand(int guid, bool maximum);

// The interval chosen in the host's main window (its period picker), so that the plug-in's forms start on it;
// 0 when there is no window or nothing is chosen.
OZN3HOST_API void SetChosenPeriod(int sampleIdent);
OZN3HOST_API int ChosenPeriod();
}  // namespace host
