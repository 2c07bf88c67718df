#pragma once

#include <QObject>
#include <QWidget>

#include <functional>

namespace korvane {

/// Calls a function when a widget has been painted and its window flushed to the screen. Works
/// through an event filter on the application, so the program needs no changes. Used on the main
/// thread.
class PaintWatch : public QObject {
public:
    /// Calls `painted` after each repaint of a window in which a widget was painted for which
    /// `isWanted` is true.
    PaintWatch(std::function<bool(const QWidget&)> isWanted, std::function<void()> painted);

    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    const std::function<bool(const QWidget&)> m_isWanted;
    const std::function<void()> m_painted;
    bool m_isPainting = false;
    bool m_sawWanted = false;
};

} // namespace korvane
