#pragma once

#include <QObject>
#include <QWidget>

#include <functional>

namespace korvane {

/// Notices that a widget of this program has been painted and is on the screen. Watches from the
/// outside, through the application's events; made and used on the main thread.
class PaintWatch : public QObject {
public:
    /// `isWanted` says which widgets count, `painted` is called when the window with one of them
    /// has been handed to the screen.
    PaintWatch(std::function<bool(const QWidget&)> isWanted, std::function<void()> painted);

    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    const std::function<bool(const QWidget&)> m_isWanted;
    const std::function<void()> m_painted;
    bool m_isPainting = false;
    bool m_sawWanted = false;
};

} // namespace korvane
