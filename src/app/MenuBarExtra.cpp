#include "app/MenuBarExtra.h"

#include "app/ContentView.h"
#include "app/Display.h"

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QScreen>

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

constexpr int gap = 6; ///< points between icon and popup

/// The icon's rectangle on the screen or, if the tray does not report it, the mouse position.
QRect anchor(const QSystemTrayIcon& icon)
{
    const QRect area = icon.geometry();
    return area.isValid() ? area : QRect(QCursor::pos(), QSize(1, 1));
}

} // namespace

MenuBarExtra::MenuBarExtra(ContentView& window, std::chrono::milliseconds trayInterval)
    : m_window(window)
{
    m_window.setWindowTitle(tr("Korvane Sync"));
    m_window.installEventFilter(this);
    connect(&m_window, &ContentView::closeRequested, this, [this] {
        if (m_isPopup) // Escape must not close an ordinary window: it is meant for the search
            close();
    });
    connect(&m_trayTimer, &QTimer::timeout, this, &MenuBarExtra::lookForTray);
    m_trayTimer.setInterval(trayInterval);
    lookForTray();
    if (!m_icon)
        open();
}

void MenuBarExtra::lookForTray()
{
    const bool isThere = hasTray();
    QApplication::setQuitOnLastWindowClosed(!isThere);
    if (!isThere)
        return m_trayTimer.start();
    m_trayTimer.stop();
    showIcon();
}

void MenuBarExtra::showIcon()
{
    m_icon.emplace();
    connect(&*m_icon, &QSystemTrayIcon::activated, this, &MenuBarExtra::toggle);
    m_icon->setIcon(trayIcon());
    updateToolTip();
    m_icon->show();
    for (const QString& text : std::exchange(m_notifications, {}))
        notify(text);
}

void MenuBarExtra::notify(const QString& text)
{
    if (m_icon)
        m_icon->showMessage(tr("Korvane Sync"), text);
    else
        m_notifications.append(text);
}

void MenuBarExtra::setWarning(const QString& text)
{
    m_warning = text;
    if (m_icon)
        updateToolTip();
}

void MenuBarExtra::updateToolTip()
{
    const QString name = tr("Korvane Sync");
    m_icon->setToolTip(m_warning.isEmpty() ? name : name + QStringLiteral(": ") + m_warning);
}

void MenuBarExtra::becomePopup()
{
    m_window.setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    m_isPopup = true;
}

void MenuBarExtra::open()
{
    if (m_icon && !m_isPopup && !m_window.isVisible())
        becomePopup();
    if (m_isPopup)
        m_window.move(popupPosition());
    m_window.show();
    m_window.raise();
    m_window.activateWindow();
    m_window.takeFocus();
    m_sinceOpened.start();
}

void MenuBarExtra::close()
{
    m_window.close();
    m_sinceClosed.start();
}

/// Clicking the icon first deactivates the popup, which closes it, and only then reports the click.
/// Ignore that click, or it would reopen the popup. Also ignore the second click of a double click,
/// or it would close the popup that the first one opened.
void MenuBarExtra::toggle()
{
    constexpr qint64 sameClick = 250; // milliseconds
    if (!m_isPopup) {
        m_window.hide();
        open();
    } else if (m_window.isVisible()
        && m_sinceOpened.hasExpired(QApplication::doubleClickInterval())) {
        close();
    } else if (m_window.isVisible()) {
        m_window.raise();
    } else if (!m_sinceClosed.isValid() || m_sinceClosed.hasExpired(sameClick)) {
        open();
    }
}

bool MenuBarExtra::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize && m_isPopup && m_window.isVisible())
        m_window.move(popupPosition()); // keeps it attached to the icon
    const bool isDeactivated = event->type() == QEvent::WindowDeactivate && m_isPopup;
    if (isDeactivated && !QApplication::activeModalWidget())
        close();
    return QObject::eventFilter(watched, event);
}

/// The popup's top left corner: below the icon, or above it if the icon is in the lower half of the
/// screen; moved as needed to keep the popup on the screen.
QPoint MenuBarExtra::popupPosition() const
{
    const QRect icon = anchor(*m_icon);
    const QScreen* screen = QApplication::screenAt(icon.center());
    const QRect area = (screen ? screen : QApplication::primaryScreen())->availableGeometry();
    const QSize size = m_window.size();
    const bool isAbove = icon.center().y() < area.center().y();
    const int x = icon.center().x() - size.width() / 2;
    const int y = isAbove ? icon.bottom() + gap : icon.top() - gap - size.height();
    return {std::clamp(x, area.left(), std::max(area.left(), area.right() - size.width())),
        std::clamp(y, area.top(), std::max(area.top(), area.bottom() - size.height()))};
}

} // namespace korvane
