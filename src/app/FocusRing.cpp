#include "app/FocusRing.h"

#include "app/Look.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QKeyEvent>

#include <algorithm>
#include <array>

namespace korvane {

namespace {

/// True for keys that move focus or activate something. Letters are typed into the search field,
/// and a modifier alone may belong to a shortcut of the desktop.
bool movesOrActs(const QEvent& event)
{
    constexpr std::array keys{Qt::Key_Tab, Qt::Key_Backtab, Qt::Key_Up, Qt::Key_Down, Qt::Key_Left,
        Qt::Key_Right, Qt::Key_Home, Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Space,
        Qt::Key_Return, Qt::Key_Enter};
    const int key = static_cast<const QKeyEvent&>(event).key();
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

} // namespace

bool showsFocus(const QWidget& widget)
{
    return widget.hasFocus() && widget.window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

void drawFocus(QPainter& painter, const QRectF& around, double radius)
{
    constexpr double focusWidth = 1.5;
    constexpr double inset = focusWidth / 2;
    painter.setPen(QPen(Look::faded(Look::cream, 0.8), focusWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(around.adjusted(inset, inset, -inset, -inset), radius, radius);
}

FocusVisibility::FocusVisibility(QWidget& window) : m_window(window)
{
    QCoreApplication::instance()->installEventFilter(this); // runs before widgets' handlers
}

void FocusVisibility::hide()
{
    setVisible(false);
}

bool FocusVisibility::eventFilter(QObject* watched, QEvent* event)
{
    const bool isKey = event->type() == QEvent::KeyPress;
    if (!isKey && event->type() != QEvent::MouseButtonPress)
        return false;
    const auto* widget = qobject_cast<QWidget*>(watched);
    if (widget && widget->window() == &m_window && (!isKey || movesOrActs(*event)))
        setVisible(isKey);
    return false;
}

void FocusVisibility::setVisible(bool visible)
{
    if (m_window.testAttribute(Qt::WA_KeyboardFocusChange) == visible)
        return;
    m_window.setAttribute(Qt::WA_KeyboardFocusChange, visible);
    QWidget* focused = m_window.focusWidget();
    if (auto* area = qobject_cast<QAbstractScrollArea*>(focused))
        focused = area->viewport();
    if (focused)
        focused->update();
}

} // namespace korvane
