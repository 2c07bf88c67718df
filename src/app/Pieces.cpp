#include "app/Pieces.h"

#include <QPainter>

namespace korvane {

Text::Text(const QString& text, const QFont& font, const QColor& colour, QWidget* parent)
    : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setFont(font);
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, colour);
    setPalette(colours);
}

OneLine::OneLine(const QFont& font, const QColor& colour, Qt::TextElideMode cut,
    Qt::Alignment alignment, QWidget* parent)
    : QLabel(parent)
    , m_colour(colour)
    , m_cut(cut)
{
    setTextFormat(Qt::PlainText);
    setFont(font);
    setAlignment(alignment | Qt::AlignVCenter);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void OneLine::setText(const QString& text)
{
    QLabel::setText(text);
    updateToolTip();
}

QSize OneLine::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

QString OneLine::shown() const
{
    return fontMetrics().elidedText(text(), m_cut, width());
}

void OneLine::updateToolTip()
{
    setToolTip(shown() == text() ? QString() : text().toHtmlEscaped());
}

void OneLine::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    updateToolTip();
}

void OneLine::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setPen(m_colour);
    painter.drawText(rect(), static_cast<int>(alignment()) | Qt::TextSingleLine, shown());
}

Card::Card(double radius, const QColor& colour, QWidget* parent)
    : QWidget(parent)
    , m_radius(radius)
    , m_colour(colour)
{
}

void Card::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_colour);
    painter.drawRoundedRect(rect(), m_radius, m_radius);
}

Picture::Picture(const QSize& size, Paint paint, QWidget* parent)
    : QWidget(parent)
    , m_paint(std::move(paint))
{
    setFixedSize(size);
}

void Picture::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    const QPixmap picture = m_paint(painter.deviceTransform().m11()); // of a picture of it, too
    const QSizeF size = picture.deviceIndependentSize();
    painter.drawPixmap(
        QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), picture);
}

} // namespace korvane
