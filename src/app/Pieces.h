#pragma once

#include <QLabel>

#include <functional>

/// The pieces of the window that only show something. All live on the main thread.
namespace korvane {

/// A text, never markup, in one font and colour. It wraps where it is allowed to.
class Text : public QLabel {
    Q_OBJECT

public:
    Text(const QString& text, const QFont& font, const QColor& colour, QWidget* parent = nullptr);
};

/// A text on one line, cut with an ellipsis where there is no room; the whole of it is the tool tip
/// then, and always what a screen reader reads.
class OneLine : public QLabel {
    Q_OBJECT

public:
    OneLine(const QFont& font, const QColor& colour, Qt::TextElideMode cut,
        Qt::Alignment alignment = Qt::AlignLeft, QWidget* parent = nullptr);

    /// Instead of the base class's.
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

/// `text`, cut to a width with an ellipsis that stands next to the last character kept, also where
/// that belongs to a run in the other direction than the text begins with.
QString elided(const QString& text, const QFontMetrics& metrics, Qt::TextElideMode cut, int width);

/// A text that wraps, also within a word that is longer than a line. What exceeds the maximum of
/// lines is cut with an ellipsis; the whole of it is the tool tip then, and always what a screen
/// reader reads.
class Paragraph : public QLabel {
    Q_OBJECT

public:
    Paragraph(const QFont& font, const QColor& colour, QWidget* parent = nullptr);

    /// Instead of the base class's.
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
    /// The text as it is broken into lines of this width.
    QStringList lines(int width) const;
    void updateToolTip();

    const QColor m_colour;
    int m_maximumLines = 1;
};

/// A panel on a rounded background.
class Card : public QWidget {
    Q_OBJECT

public:
    Card(double radius, const QColor& colour, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const double m_radius;
    const QColor m_colour;
};

/// A drawing, as sharp as the screen.
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
