#pragma once

#include <QIcon>
#include <QUrl>

/// What systems do differently about the screen and the desktop.
namespace korvane {

/// True where windows can be opened; Qt ends the process where they cannot.
bool hasDisplay();

/// True while there is a menu bar or tray for icons. Qt remembers for the life of the process
/// whether there was a StatusNotifierItem tray when it first looked: ask this before any
/// QSystemTrayIcon, and make one only where this is true.
bool hasTray();

/// The icon for the menu bar or tray.
QIcon trayIcon();

/// Opens a URL with the program for its scheme; false if there is none.
bool openUrl(const QUrl& url);

/// From now on ExitHook::run() is also called where Qt ends the process without calling exit(),
/// because the display is lost.
void runExitHookOnLostDisplay();

} // namespace korvane
