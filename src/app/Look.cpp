#include "app/Look.h"

#include <QApplication>
#include <QFile>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <cmath>

namespace korvane {

namespace {

QString fileOf(Look::Drawing drawing)
{
    using Drawing = Look::Drawing;
    switch (drawing) {
    case Drawing::Guide:
        return QStringLiteral(":/Guide.svg");
    case Drawing::MenuBarGuide:
        return QStringLiteral(":/MenuBarGuide.svg");
    case Drawing::MagnifyingGlass:
        return QStringLiteral(":/MagnifyingGlass.svg");
    case Drawing::Folder:
        return QStringLiteral(":/Folder.svg");
    case Drawing::TwoPersons:
        return QStringLiteral(":/TwoPersons.svg");
    case Drawing::SpeechBubble:
        break;
    }
    return QStringLiteral(":/SpeechBubble.svg");
}

QIcon iconOf(Look::Drawing drawing)
{
    constexpr double height = 18;
    QIcon icon;
    for (const double pixelsPerPoint : {1.0, 2.0, 3.0}) {
        const QPixmap picture = Look::image(drawing, height, pixelsPerPoint);
        if (!picture.isNull())
            icon.addPixmap(picture);
    }
    icon.setIsMask(true);
    return icon;
}

} // namespace

QColor Look::faded(QColor colour, double opacity)
{
    colour.setAlphaF(static_cast<float>(opacity));
    return colour;
}

QFont Look::font(double points, QFont::Weight weight)
{
    QFont font = QApplication::font();
    font.setPixelSize(static_cast<int>(std::lround(points)));
    font.setWeight(weight);
    return font;
}

QFont Look::roundedFont(double points, QFont::Weight weight)
{
    QFont rounded = font(points, weight);
    rounded.setFamilies(QStringList{QStringLiteral(".AppleSystemUIFontRounded"),
                            QStringLiteral("SF Pro Rounded"), QStringLiteral("Quicksand")}
        + rounded.families());
    rounded.setStyleStrategy(QFont::NoFontMerging); // no fallback fonts for missing glyphs
    return rounded;
}

QPixmap Look::image(Drawing drawing, double height, double pixelsPerPoint)
{
    QSvgRenderer picture(fileOf(drawing));
    if (!picture.isValid())
        return {};
    const QSizeF natural = picture.viewBoxF().size();
    const QSizeF size(natural.width() * height / natural.height(), height);
    QPixmap pixels((size * pixelsPerPoint).toSize());
    pixels.fill(Qt::transparent);
    QPainter painter(&pixels);
    picture.render(&painter);
    painter.end();
    pixels.setDevicePixelRatio(pixelsPerPoint);
    return pixels;
}

QPixmap Look::symbol(Drawing drawing, double height, double pixelsPerPoint, const QColor& colour)
{
    const QString key = QStringLiteral("%1 %2 %3 %4")
                            .arg(fileOf(drawing))
                            .arg(height)
                            .arg(pixelsPerPoint)
                            .arg(colour.rgba());
    QPixmap pixels;
    if (QPixmapCache::find(key, &pixels)) // rows of the list ask on every paint
        return pixels;
    pixels = image(drawing, height, pixelsPerPoint);
    QPainter painter(&pixels);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRect(QPoint(), pixels.size()), colour);
    painter.end();
    QPixmapCache::insert(key, pixels);
    return pixels;
}

QIcon Look::menuBarIcon()
{
    const QIcon guide = iconOf(Drawing::MenuBarGuide);
    return guide.isNull() ? iconOf(Drawing::SpeechBubble) : guide;
}

QPixmap Look::trayPicture(double pixels)
{
    return image(Drawing::Guide, pixels, 1);
}

} // namespace korvane
