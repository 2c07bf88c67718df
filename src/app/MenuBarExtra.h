#pragma once

#include "app/ContentView.h"

#include <QElapsedTimer>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>
#include <optional>

namespace korvane {

/// The icon in the menu bar or tray, and the window below it. A click on the icon opens the window
/// or closes it; it closes, too, when the user turns to another one. As long as the desktop has no
/// tray, the window is an ordinary one, and closing it quits. When a tray appears, the window stays
/// as it is until it is closed. Lives on the main thread.
class MenuBarExtra : public QObject {
    Q_OBJECT

public:
    /// Shows the icon or, without a tray, the window. Looks for a tray as often as given.
    explicit MenuBarExtra(
        ContentView& window, std::chrono::milliseconds trayInterval = std::chrono::seconds(5));

    /// Opens the window, or brings it to the front.
    void open();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void lookForTray();
    void showIcon();
    void becomePopup();
    void toggle();
    void close();
    QPoint place() const;

    ContentView& m_window;
    bool m_isPopup = false;
    std::optional<QSystemTrayIcon> m_icon; ///< none without a tray
    QTimer m_trayTimer; ///< runs while there is no tray
    QElapsedTimer m_sinceOpened;
    QElapsedTimer m_sinceClosed;
};

} // namespace korvane
