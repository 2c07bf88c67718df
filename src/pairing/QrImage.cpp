#include "pairing/QrImage.h"
#include "pairing/QrCode.h"

#include <algorithm>
#include <cmath>

namespace korvane {

namespace {

constexpr int largestSide = 16'384; ///< in pixels; 256 MiB at one byte a pixel

void drawModule(QImage& image, int left, int top, int side)
{
    for (int y = top; y < top + side; ++y) {
        uchar* line = image.scanLine(y);
        std::fill(line + left, line + left + side, uchar{0});
    }
}

/// Draws the code in the centre of the image, each module `pixels` wide and high.
void draw(QImage& image, const QrCode& code, int pixels)
{
    const int margin = (image.width() - code.side() * pixels) / 2;
    for (int row = 0; row < code.side(); ++row) {
        for (int column = 0; column < code.side(); ++column) {
            if (code.isDark(column, row))
                drawModule(image, margin + column * pixels, margin + row * pixels, pixels);
        }
    }
}

} // namespace

std::optional<QImage> QR::image(const std::string& text, double size, double pixelsPerPoint)
{
    const double wanted = size * pixelsPerPoint;
    const auto code = QrCode::encode(text);
    if (!code || !(size > 0) || !(wanted > 0) || wanted > largestSide)
        return std::nullopt;
    // At least one pixel a module: a smaller image gets more pixels, but keeps its size in points.
    const int side = std::max(static_cast<int>(std::lround(wanted)), code->side());
    QImage image(side, side, QImage::Format_Grayscale8);
    if (image.isNull())
        return std::nullopt;
    image.fill(Qt::white);
    draw(image, *code, side / code->side());
    image.setDevicePixelRatio(side / size);
    return image;
}

} // namespace korvane
