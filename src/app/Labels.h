#pragma once

#include <QLabel>

#include <functional>

/// The window's texts and pictures. Main thread only. Sizes are in points.
namespace korvane {

/// Plain text, never read as markup, in one font and colour. Wraps if setWordWrap() allows it.
class Text : public QLabel {
    Q_OBJECT

public:
    Text(const QString& text, const QFont& font, const QColor& colour, QWidget* parent = nullptr);
};

/// One line of plain text, elided if it is too wide. The tooltip then shows the full text. A screen
/// reader always reads the full text.
class OneLine : public QLabel {
    Q_OBJECT

public:
    OneLine(const QFont& font, const QColor& colour, Qt::TextElideMode cut,
        Qt::Alignment alignment = Qt::AlignLeft, QWidget* parent = nullptr);

    /// Hides QLabel::setText(), which is not virtual. Also updates the tooltip.
    void setText(const QString& text);

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QString shown() const;
    void updateToolTip();

    const QColor m_colour;
    const Qt::TextElideMode m_cut;
};

/// Makes each text that `painter` draws run in its own direction. Qt 6.8 and later would otherwise
/// use the widget's direction for all of them.
void useDirectionOfText(QPainter& painter);

/// Elides `text` to `width`. With Qt::ElideRight, the ellipsis stays next to the last character
/// that is kept, even if that is in a run of the opposite direction (left-to-right or
/// right-to-left).
QString elided(const QString& text, const QFontMetrics& metrics, Qt::TextElideMode cut, int width);

/// Plain text that wraps, even within a word that is longer than a line, and is elided after a
/// maximum number of lines (1 by default). The tooltip then shows the full text. A screen reader
/// always reads the full text.
class Paragraph : public QLabel {
    Q_OBJECT

public:
    Paragraph(const QFont& font, const QColor& colour, QWidget* parent = nullptr);

    /// Hides QLabel::setText(), which is not virtual. Also updates the tooltip.
    void setText(const QString& text);

    void setMaximumLines(int count);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    /// The lines to draw at this width: at most `m_maximumLines`, the last of them possibly elided.
    QStringList lines(int width) const;
    void updateToolTip();

    const QColor m_colour;
    int m_maximumLines = 1;
};

/// A picture of fixed size, rendered at the resolution of the device that it is painted on.
class Picture : public QWidget {
    Q_OBJECT

public:
    using Paint = std::function<QPixmap(double pixelsPerPoint)>;

    Picture(const QSize& size, Paint paint, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Paint m_paint;
};

} // namespace korvane
