#pragma once
// The windows' entry points, looked up by the command line in the window library (libozn3app.so) when a window is
// asked for, so that a command-line job loads no Gui and no Widgets.

#define OZN3APP_API __attribute__((visibility("default")))

extern "C" {
// The main window on a database (a file or host[/port]:path); the process's exit code.
OZN3APP_API int ozn3_run_window(int argc, char** argv, const char* connection);
// The pictures of the user's guide taken on the main window of a database into a folder; one JSON line per
// picture and per problem.
OZN3APP_API int ozn3_run_guide_shots(int argc, char** argv, const char* connection, const char* folder);
}
