#pragma once

#include "app/ContentView.h"

#include <QElapsedTimer>
#include <QSystemTrayIcon>

namespace korvane {

/// The icon in the menu bar or tray, and the window below it. A click on the icon opens the window
/// or closes it; it closes, too, when the user turns to another one. Where the desktop has no tray
/// the window is an ordinary one, and closing it quits. Lives on the main thread.
class MenuBarExtra : public QObject {
    Q_OBJECT

public:
    /// Shows the icon or, without a tray, the window.
    MenuBarExtra(ContentView& window, bool hasTray);

    /// Opens the window, or brings it to the front.
    void open();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showIcon();
    void toggle();
    void close();
    QPoint place() const;

    ContentView& m_window;
    const bool m_hasTray;
    QSystemTrayIcon m_icon;
    QElapsedTimer m_sinceOpened;
    QElapsedTimer m_sinceClosed;
};

} // namespace korvane
