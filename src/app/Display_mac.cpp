#include "app/Display.h"

namespace korvane {

bool hasDisplay()
{
    return true;
}

void runExitHookOnLostDisplay()
{
    // There is no display server that could go away.
}

std::future<void> readFontsAhead()
{
    return {}; // the system has it at hand
}

} // namespace korvane
