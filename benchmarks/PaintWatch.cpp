#include "PaintWatch.h"

#include <QCoreApplication>
#include <QEvent>

#include <utility>

namespace korvane {

namespace {

/// True for the events during whose delivery Qt paints a window's widgets.
bool asksForPainting(const QEvent& event)
{
    return event.type() == QEvent::Expose || event.type() == QEvent::UpdateRequest;
}

} // namespace

PaintWatch::PaintWatch(std::function<bool(const QWidget&)> isWanted, std::function<void()> painted)
    : m_isWanted(std::move(isWanted))
    , m_painted(std::move(painted))
{
    QCoreApplication::instance()->installEventFilter(this);
}

/// Delivers the event itself with sendEvent(), which returns after the window was painted. The same
/// filter sees that nested event, so `m_isPainting` lets it through.
bool PaintWatch::eventFilter(QObject* receiver, QEvent* event)
{
    if (event->type() == QEvent::Paint && receiver->isWidgetType())
        m_sawWanted = m_isWanted(*static_cast<QWidget*>(receiver)) || m_sawWanted;
    if (m_isPainting || !asksForPainting(*event))
        return false;
    m_isPainting = true;
    QCoreApplication::sendEvent(receiver, event);
    m_isPainting = false;
    if (std::exchange(m_sawWanted, false))
        m_painted();
    return true;
}

} // namespace korvane
