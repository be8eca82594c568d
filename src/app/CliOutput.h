#pragma once
// Lines of the command-line jobs: results on standard output, messages on standard error.
#include <QString>
#include <cstdio>

namespace cli {
inline void out(const QString& text) { std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stdout); }
inline void err(const QString& text) { std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stderr); }
}  // namespace cli
