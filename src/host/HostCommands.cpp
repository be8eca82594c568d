#include "host/HostCommands.h"

namespace host {
namespace {
TRegimeCommand& regime()
{
    static TRegimeCommand command;
    return command;
}
int g_chosenPeriod = 0;
}  // namespace

void SetRegimeCommand(TRegimeCommand command) { regime() = std::move(command); }

bool HasRegimeCommand() { return static_cast<bool>(regime()); }

bool RunRegimeCommand(int guid, bool maximum)
{
    if (!regime())
        return false;
    regime()(guid, maximum);
    return true;
}

void SetChosenPeriod(int sampleIdent) { g_chosenPeriod = sampleIdent; }

int ChosenPeriod() { return g_chosenPeriod; }
}  // namespace host
