#pragma once

#include <QObject>
#include <QPainter>
#include <QWidget>

/// What shows where the keyboard is. All live on the main thread.
namespace korvane {

/// Whether a widget is to show that it has the keyboard: it has, and the user moves by keyboard.
bool showsFocus(const QWidget& widget);

/// Draws the ring, just inside of `around`.
void drawFocus(QPainter& painter, const QRectF& around, double radius);

/// Tells by Qt::WA_KeyboardFocusChange of a window whether the user moves by keyboard: from a key
/// that moves or acts until the mouse is pressed. Qt itself sets the attribute and never clears it.
class FocusVisibility : public QObject {
    Q_OBJECT

public:
    explicit FocusVisibility(QWidget& window);

    /// For a window that opens: nobody has moved in it yet.
    void hide();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void setVisible(bool visible);

    QWidget& m_window;
};

} // namespace korvane
