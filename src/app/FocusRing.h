#pragma once

#include <QObject>
#include <QPainter>
#include <QWidget>

/// The ring that marks the widget with keyboard focus. Main thread only.
namespace korvane {

/// True if the widget must draw the ring: it has focus, and the user navigates by keyboard.
bool showsFocus(const QWidget& widget);

/// Draws the ring just inside `around`, with rounded corners.
void drawFocus(QPainter& painter, const QRectF& around, double radius);

/// Keeps Qt::WA_KeyboardFocusChange set on a window while the user navigates by keyboard: from a
/// key that moves focus or activates something until a mouse button is pressed. Qt itself sets the
/// attribute, but never clears it.
class FocusVisibility : public QObject {
    Q_OBJECT

public:
    explicit FocusVisibility(QWidget& window);

    /// Hides the ring until the next such key. Called when the window opens.
    void hide();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void setVisible(bool visible);

    QWidget& m_window;
};

} // namespace korvane
