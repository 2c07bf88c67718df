#pragma once

#include <QAbstractButton>

/// The window's buttons. Main thread only.
namespace korvane {

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
bool pressByReturn(QAbstractButton& button, const QKeyEvent& event);

} // namespace korvane
