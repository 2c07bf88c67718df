#pragma once

#include <QElapsedTimer>
#include <QStringList>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>
#include <optional>

namespace korvane {

class ContentView;

/// The icon in the menu bar or tray, and the popup window attached to it. A click on the icon opens
/// or closes the popup, which also closes when it is deactivated, except by a modal dialog. While
/// the desktop has no tray, the window is an ordinary one, and closing it quits the program. If a
/// tray appears later, an open window stays ordinary until it is closed or the icon is clicked.
/// Main thread only.
class MenuBarExtra : public QObject {
    Q_OBJECT

public:
    /// Shows the icon or, without a tray, the window. Until there is a tray, looks for one every
    /// `trayInterval`.
    explicit MenuBarExtra(
        ContentView& window, std::chrono::milliseconds trayInterval = std::chrono::seconds(5));

    /// Opens the window, or brings it to the front.
    void open();

    /// Shows a notification. Without an icon, it is shown when there is one.
    void notify(const QString& text);

    /// Adds the text to the icon's tooltip, unless it is empty, and removes an earlier one.
    void setWarning(const QString& text);

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void lookForTray();
    void showIcon();
    void updateToolTip();
    void becomePopup();
    void toggle();
    void close();
    QPoint popupPosition() const;

    ContentView& m_window;
    bool m_isPopup = false;
    std::optional<QSystemTrayIcon> m_icon; ///< empty until there is a tray
    QString m_warning; ///< in the tooltip; may be empty
    QStringList m_notifications; ///< not shown yet
    QTimer m_trayTimer; ///< runs until there is a tray
    QElapsedTimer m_sinceOpened;
    QElapsedTimer m_sinceClosed;
};

} // namespace korvane
