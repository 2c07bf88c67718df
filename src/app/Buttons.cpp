#include "app/Buttons.h"

#include "app/FocusRing.h"
#include "app/Look.h"

#include <QKeyEvent>
#include <QPainter>

namespace korvane {

void prepareButton(QAbstractButton& button, const QString& text, const QFont& font)
{
    button.setText(text);
    button.setFont(font);
    button.setFocusPolicy(Qt::StrongFocus);
    button.setCursor(Qt::PointingHandCursor);
}

bool isReturn(const QKeyEvent& event)
{
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

bool pressByReturn(QAbstractButton& button, const QKeyEvent& event)
{
    if (!isReturn(event))
        return false;
    if (!event.isAutoRepeat())
        button.click();
    return true;
}

Pill::Pill(const QString& text, QWidget* parent) : QAbstractButton(parent)
{
    prepareButton(*this, text, Look::font(14, QFont::DemiBold));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize Pill::sizeHint() const
{
    constexpr int height = 40;
    constexpr int padding = 20;
    return {fontMetrics().horizontalAdvance(text()) + 2 * padding, height};
}

void Pill::keyPressEvent(QKeyEvent* event)
{
    if (!pressByReturn(*this, *event))
        QAbstractButton::keyPressEvent(event);
}

void Pill::paintEvent(QPaintEvent* /*event*/)
{
    constexpr double disabled = 0.5;
    constexpr double pressed = 0.85;
    QPainter painter(this);
    painter.setOpacity(!isEnabled() ? disabled : isDown() ? pressed : 1.0);
    // Opacity must apply to the finished picture: parts drawn one by one would blend.
    painter.drawPixmap(0, 0, picture(painter.deviceTransform().m11()));
}

QPixmap Pill::picture(double pixelsPerPoint) const
{
    QPixmap pixels((QSizeF(size()) * pixelsPerPoint).toSize());
    pixels.setDevicePixelRatio(pixelsPerPoint);
    pixels.fill(Qt::transparent);
    QPainter painter(&pixels);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = rect();
    painter.setPen(Qt::NoPen);
    painter.setBrush(Look::coral);
    painter.drawRoundedRect(area, area.height() / 2, area.height() / 2);
    painter.setPen(Qt::black);
    painter.setFont(font());
    painter.drawText(area, Qt::AlignCenter, text());
    if (showsFocus(*this))
        drawFocus(painter, area.adjusted(2, 2, -2, -2), area.height() / 2 - 2);
    return pixels;
}

Word::Word(const QString& text, QWidget* parent) : QAbstractButton(parent)
{
    prepareButton(*this, text, Look::font(12, QFont::DemiBold));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Word::sizeHint() const
{
    constexpr QSize roomForLine(0, 6);
    return QSize(fontMetrics().horizontalAdvance(text()), fontMetrics().height()) + roomForLine;
}

void Word::leaveReturnToWindow()
{
    m_leavesReturn = true;
}

void Word::keyPressEvent(QKeyEvent* event)
{
    if (m_leavesReturn && isReturn(*event))
        event->ignore();
    else if (!pressByReturn(*this, *event))
        QAbstractButton::keyPressEvent(event);
}

void Word::paintEvent(QPaintEvent* /*event*/)
{
    constexpr double disabled = 0.4;
    constexpr double pressed = 0.6;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(!isEnabled() ? disabled : isDown() ? pressed : 1.0);
    painter.setPen(Look::cream);
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (showsFocus(*this))
        painter.fillRect(QRectF(0, height() - 2, width(), 2), Look::coral);
}

} // namespace korvane
