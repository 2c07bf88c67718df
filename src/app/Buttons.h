#pragma once

#include <QAbstractButton>

/// The buttons of the window. All live on the main thread.
namespace korvane {

/// The button that matters: black on coral, as wide as there is room.
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

/// A button that is a mere word.
class Word : public QAbstractButton {
    Q_OBJECT

public:
    explicit Word(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;

    /// Return is then not for the button but the window's default action.
    void leaveReturnToWindow();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool m_leavesReturn = false;
};

/// Gives a button what all of them have: text, font, a place in the tab order, a pointing hand.
void prepareButton(QAbstractButton& button, const QString& text, const QFont& font);

/// Whether the key is Return or Enter.
bool isReturn(const QKeyEvent& event);

/// Presses a button if the key is Return, once however long it is held: what the first press does
/// may bring up another button. Returns whether it is Return. Desktops differ in whether Qt does
/// so.
bool pressByReturn(QAbstractButton& button, const QKeyEvent& event);

} // namespace korvane
