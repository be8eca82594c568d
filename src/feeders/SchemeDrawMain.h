#pragma once
// The drawing library's entry for the command line (libozn32drawing.so, looked up by name), so that only
// `ozn3 scheme draw` maps Qt Gui and no job maps widgets.

namespace feeders {

// The drawing of an LV feeder, or of every LV feeder of a substation, coloured by a result of its latest regime
// run (of the interval, when not 0): a PNG picture per feeder or a PDF page per feeder. Makes the application
// object itself; the exit code of the command (messages on standard error, what was written on standard output).
using DrawSchemeMain = int (*)(int argc, char** argv, const char* connection, int node, int sample, int colour,
                               const char* file);
inline constexpr const char* kDrawSchemeEntry = "ozn3_draw_scheme";

}  // namespace feeders
