#pragma once
// The libraries the command line loads only when a job needs them: the windows (Qt Widgets) and the feeders'
// drawing (Qt Gui). The other jobs map neither.
#include <QString>

namespace cli {

// True when a window or a painter can be made: an offscreen or minimal platform, Wayland, or an X display whose
// server is there.
bool HasDisplay();

// A function of a library beside the application ("../lib/FILE" from the running binary; the environment
// variable, when set, names another file); null with the reason when the library or the name is missing.
void* LibraryFunction(const char* file, const char* environment, const char* name, QString& error);

template <class F> F LibraryEntry(const char* file, const char* environment, const char* name, QString& error)
{
    return reinterpret_cast<F>(LibraryFunction(file, environment, name, error));
}

}  // namespace cli
