#include <QBuffer>
#include <QDataStream>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdlib>
#include <iostream>

// make-icns DRAWING.svg ICON.icns: paints the drawing on a rounded dark background, in the sizes
// that macOS uses, and writes them to an icon file.
//
// An .icns file starts with "icns" and the length of the file. An entry for each picture follows:
// its type, the length of the entry including these two fields, and the picture as a PNG. Lengths
// are 32-bit big-endian. The types for 16 and 32 points at one pixel per point cannot hold a PNG;
// macOS scales those pictures down from larger ones.

namespace {

struct Size {
    const char* type;
    int pixels;
};

constexpr Size sizes[] = {{"ic11", 32}, {"ic12", 64}, {"ic07", 128}, {"ic13", 256}, {"ic08", 256},
    {"ic14", 512}, {"ic09", 512}, {"ic10", 1024}};

/// Positions on a canvas of 1024 by 1024, with the margins of other macOS icons.
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

constexpr quint32 headSize = 8; ///< bytes of a type and a length

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
