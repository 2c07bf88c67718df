#pragma once

#include <QAbstractButton>
#include <QVariantAnimation>

class QPainter;

/// The window's controls, and the ring that marks the one with keyboard focus. Main thread only.
namespace korvane {

/// True if the widget must draw the focus ring: it has focus, and the user navigates by keyboard.
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

/// The primary button: black text on a coral background, as wide as its layout allows.
class Pill : public QAbstractButton {
    Q_OBJECT

public:
    explicit Pill(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap picture(double pixelsPerPoint) const;
};

/// A button that consists of its text only.
class Word : public QAbstractButton {
    Q_OBJECT

public:
    explicit Word(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;

    /// Makes the button ignore Return, which then triggers the window's default action.
    void leaveReturnToWindow();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool m_leavesReturn = false;
};

/// Sets what all buttons share: the given text and font, keyboard focus, a pointing-hand cursor.
void prepareButton(QAbstractButton& button, const QString& text, const QFont& font);

/// True for both Return and the keypad's Enter.
bool isReturn(const QKeyEvent& event);

/// If the key is Return or Enter, clicks the button and returns true. Auto-repeat does not click
/// again: the first click may have moved focus to another button. Not left to QAbstractButton,
/// because the desktop's theme decides whether it reacts to Return.
bool clickOnReturn(QAbstractButton& button, const QKeyEvent& event);

/// A labelled on/off switch, whose knob slides when it is toggled.
class CoralSwitch : public QAbstractButton {
    Q_OBJECT

public:
    explicit CoralSwitch(const QString& text, QWidget* parent = nullptr);

    /// Sets the state without the animation. For the initial state.
    void setCheckedAtOnce(bool on);

    QSize sizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void slide(bool on);

    QVariantAnimation m_slide;
    double m_position = 0; ///< the knob's: 0 = off, 1 = on
};

} // namespace korvane
