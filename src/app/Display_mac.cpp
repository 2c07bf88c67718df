#include "app/Display.h"

namespace korvane {

bool hasDisplay()
{
    return true;
}

} // namespace korvane
