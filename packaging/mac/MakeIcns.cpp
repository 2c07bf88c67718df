#include <QBuffer>
#include <QDataStream>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdlib>
#include <iostream>

// make-icns DRAWING.svg ICON.icns: the drawing on a rounded dark ground, in the sizes that a Mac
// wants.
//
// An .icns file is "icns" and its own length, then for each picture its type, the length of type,
// length and picture, and the picture as a PNG. All lengths have 32 bits, the highest first. The
// types for 16 and 32 points at one pixel to the point hold no PNG; a Mac makes those pictures from
// the larger ones.

namespace {

struct Size {
    const char* type;
    int pixels;
};

constexpr Size sizes[] = {{"ic11", 32}, {"ic12", 64}, {"ic07", 128}, {"ic13", 256}, {"ic08", 256},
    {"ic14", 512}, {"ic09", 512}, {"ic10", 1024}};

/// Where things are on a canvas of 1024 by 1024, as other icons of a Mac have it.
constexpr QRectF canvas{0, 0, 1024, 1024};
constexpr QRectF ground{100, 100, 824, 824};
constexpr double corner = 185;
constexpr QRectF figure{232, 232, 560, 560};

void paintGround(QPainter& painter)
{
    QLinearGradient shade(ground.topLeft(), ground.bottomLeft());
    shade.setColorAt(0, QColor(30, 23, 27));
    shade.setColorAt(1, QColor(6, 4, 5));
    painter.setPen(Qt::NoPen);
    painter.setBrush(shade);
    painter.drawRoundedRect(ground, corner, corner);
}

QByteArray picture(QSvgRenderer& drawing, int pixels)
{
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixels / canvas.width(), pixels / canvas.height());
    paintGround(painter);
    drawing.render(&painter, figure);
    painter.end();
    QBuffer png;
    png.open(QIODevice::WriteOnly);
    image.save(&png, "PNG");
    return png.data();
}

constexpr quint32 headSize = 8; ///< of the file and of each picture: a type and a length

void append(QDataStream& stream, const char* type, const QByteArray& content)
{
    stream.writeRawData(type, 4);
    stream << quint32(headSize + quint32(content.size()));
    stream.writeRawData(content.constData(), int(content.size()));
}

QByteArray icon(QSvgRenderer& drawing)
{
    QByteArray pictures;
    QDataStream inner(&pictures, QIODevice::WriteOnly);
    for (const Size& size : sizes)
        append(inner, size.type, picture(drawing, size.pixels));
    QByteArray whole;
    QDataStream outer(&whole, QIODevice::WriteOnly);
    append(outer, "icns", pictures);
    return whole;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 3) {
        std::cerr << "usage: make-icns DRAWING.svg ICON.icns\n";
        return EXIT_FAILURE;
    }
    QSvgRenderer drawing(QString::fromLocal8Bit(argv[1]));
    QFile file(QString::fromLocal8Bit(argv[2]));
    const QByteArray content = drawing.isValid() ? icon(drawing) : QByteArray();
    if (content.isEmpty() || !file.open(QIODevice::WriteOnly)
        || file.write(content) != content.size() || !file.flush()) {
        std::cerr << "make-icns: cannot make " << argv[2] << " of " << argv[1] << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
