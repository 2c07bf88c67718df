#pragma once

#include <QImage>

#include <optional>
#include <string>

namespace korvane::QR {

/// `text` as a QR code, black on white, `size` points wide and high, including the quiet zone. Each
/// module has the same whole number of pixels; the remainder widens the white border.
/// `pixelsPerPoint` is the screen's device pixel ratio. Nothing if the text is too long for a QR
/// code, or if the size is not positive, is over 16,384 pixels, or needs too much memory. May be
/// called from any thread.
std::optional<QImage> image(const std::string& text, double size, double pixelsPerPoint = 1);

} // namespace korvane::QR
