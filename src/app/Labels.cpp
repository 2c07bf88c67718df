#include "app/Labels.h"

#include <QPainter>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>

namespace korvane {

namespace {

/// U+200E or U+200F, the invisible mark with the direction of the text's last letter; empty if the
/// text has no letters.
QString directionMark(QStringView text)
{
    constexpr char16_t leftToRight = 0x200E;
    constexpr char16_t rightToLeft = 0x200F;
    const QList<uint> characters = text.toUcs4();
    for (auto each = characters.rbegin(); each != characters.rend(); ++each) {
        const QChar::Direction direction = QChar::direction(*each);
        if (direction == QChar::DirL)
            return QChar(leftToRight);
        if (direction == QChar::DirR || direction == QChar::DirAL)
            return QChar(rightToLeft);
    }
    return {};
}

QTextOption wrapping()
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    return option;
}

} // namespace

void useDirectionOfText(QPainter& painter)
{
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
}

QString elided(const QString& text, const QFontMetrics& metrics, Qt::TextElideMode cut, int width)
{
    QString shown = metrics.elidedText(text, cut, width);
    if (cut != Qt::ElideRight || shown == text)
        return shown;
    return shown + directionMark(shown); // else the ellipsis takes the paragraph's direction
}

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
    return elided(text(), fontMetrics(), m_cut, width());
}

void OneLine::updateToolTip()
{
    const QString whole = Qt::mightBeRichText(text()) ? text().toHtmlEscaped() : text();
    setToolTip(shown() == text() ? QString() : whole);
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
    useDirectionOfText(painter);
    painter.drawText(rect(), static_cast<int>(alignment()) | Qt::TextSingleLine, shown());
}

Paragraph::Paragraph(const QFont& font, const QColor& colour, QWidget* parent)
    : QLabel(parent)
    , m_colour(colour)
{
    setTextFormat(Qt::PlainText);
    setFont(font);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void Paragraph::setText(const QString& text)
{
    QLabel::setText(text);
    updateToolTip();
}

void Paragraph::setMaximumLines(int count)
{
    m_maximumLines = count;
    updateToolTip();
    updateGeometry();
}

QStringList Paragraph::lines(int width) const
{
    QTextLayout layout(text(), font());
    layout.setTextOption(wrapping());
    layout.beginLayout();
    QStringList lines;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        if (lines.size() == m_maximumLines) { // beyond the maximum
            lines.last() = fontMetrics().elidedText(
                lines.last() + text().mid(line.textStart()), Qt::ElideRight, width);
            break;
        }
        lines += text().mid(line.textStart(), line.textLength());
    }
    layout.endLayout();
    return lines;
}

int Paragraph::heightForWidth(int width) const
{
    return static_cast<int>(std::max(qsizetype(1), lines(width).size())) * fontMetrics().height();
}

QSize Paragraph::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(text()), fontMetrics().height()};
}

QSize Paragraph::minimumSizeHint() const
{
    return {0, fontMetrics().height()};
}

void Paragraph::updateToolTip()
{
    const bool isWhole = lines(width()).join(QString()) == text();
    setToolTip(isWhole ? QString() : text().toHtmlEscaped());
}

void Paragraph::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    updateToolTip();
}

void Paragraph::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setPen(m_colour);
    useDirectionOfText(painter);
    const QStringList texts = lines(width());
    const int height = fontMetrics().height();
    QRect line(0, (this->height() - static_cast<int>(texts.size()) * height) / 2, width(), height);
    for (const QString& text : texts) {
        painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text);
        line.translate(0, line.height());
    }
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
    const QPixmap picture = m_paint(painter.deviceTransform().m11()); // also correct in render()
    const QSizeF size = picture.deviceIndependentSize();
    painter.drawPixmap(
        QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), picture);
}

} // namespace korvane
