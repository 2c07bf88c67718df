#include "app/Display.h"

namespace korvane {

bool hasDisplay()
{
    return true;
}

std::future<void> readFontsAhead()
{
    return {}; // the system has it at hand
}

} // namespace korvane
