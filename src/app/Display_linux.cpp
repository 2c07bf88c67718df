#include "app/Display.h"

#include "process/ExitHook.h"

#include <QString>
#include <QtGlobal>

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

QtMessageHandler defaultHandler = nullptr;

void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (text.startsWith(QLatin1String("The Wayland connection")))
        ExitHook::run();
    defaultHandler(type, context, text);
}

} // namespace

bool hasDisplay()
{
    return isSet("QT_QPA_PLATFORM") || isSet("WAYLAND_DISPLAY") || isSet("DISPLAY");
}

/// Qt's Wayland client calls _exit(), which runs no exit handlers. It prints a warning before, and
/// gives no other notice. If it is to reconnect instead, it does not exit.
void runExitHookOnLostDisplay()
{
    if (!isSet("QT_WAYLAND_RECONNECT"))
        defaultHandler = qInstallMessageHandler(handleMessage);
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
