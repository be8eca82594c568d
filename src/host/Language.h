#pragma once
#include "host/HostApi.h"

// The users' language for the whole application: Russian dates, month and day names and numbers in the
// toolkit's own widgets (calendars, spin boxes), and the toolkit's standard buttons and dialogs in Russian.
// False when the toolkit's Russian translations are not installed (the locale is set all the same).
OZN3HOST_API bool UseRussianLanguage();
