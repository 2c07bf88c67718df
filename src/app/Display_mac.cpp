#include "app/Display.h"

#include "app/Look.h"

#include <QDesktopServices>

namespace korvane {

bool hasDisplay()
{
    return true;
}

bool hasTray()
{
    return true;
}

QIcon trayIcon()
{
    return Look::menuBarIcon();
}

bool openUrl(const QUrl& url)
{
    return QDesktopServices::openUrl(url);
}

void runExitHookOnLostDisplay()
{
    // macOS has no display server to which the connection could be lost.
}

} // namespace korvane
