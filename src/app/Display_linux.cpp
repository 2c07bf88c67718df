#include "app/Display.h"

#include <fontconfig/fontconfig.h>

#include <cstdlib>
#include <system_error>

namespace korvane {

namespace {

bool isSet(const char* variable)
{
    const char* value = std::getenv(variable);
    return value && *value != '\0';
}

} // namespace

bool hasDisplay()
{
    return isSet("QT_QPA_PLATFORM") || isSet("WAYLAND_DISPLAY") || isSet("DISPLAY");
}

std::future<void> readFontsAhead()
{
    if (std::getenv("DESKTOP_STARTUP_ID"))
        return {}; // Qt takes it out of the environment, which must not change under FcInit()
    try {
        return std::async(
            std::launch::async, [] { FcInit(); }); // which Qt calls for its first font
    } catch (const std::system_error&) {
        return {}; // no thread to spare: then it is read when it is needed
    }
}

} // namespace korvane
