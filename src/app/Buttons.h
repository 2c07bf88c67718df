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

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// Gives a button what all of them have: text, font, a place in the tab order, a pointing hand.
void prepareButton(QAbstractButton& button, const QString& text, const QFont& font);

/// Draws what shows that a widget has the keyboard's attention.
void drawFocus(QPainter& painter, const QRectF& around, double radius);

} // namespace korvane
