#pragma once

#include <QIcon>
#include <QUrl>

/// Functions on the display and the desktop that differ between platforms. Main thread only.
namespace korvane {

/// False if there is no display to open windows on. Ask before creating a QApplication, which
/// aborts the process without a display.
bool hasDisplay();

/// True while the desktop has a menu bar or tray for icons. Create a QSystemTrayIcon only if this
/// returned true: Qt looks for a StatusNotifierItem tray once and keeps the result for the life of
/// the process.
bool hasTray();

/// The icon for the menu bar or tray.
QIcon trayIcon();

/// Opens a URL with the program for its scheme. Returns false if there is none.
bool openUrl(const QUrl& url);

/// From now on, ExitHook::run() is also called if Qt ends the process without calling exit()
/// because the display was lost.
void runExitHookOnLostDisplay();

} // namespace korvane
