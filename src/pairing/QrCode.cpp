#include "pairing/QrCode.h"

#include <qrcodegen/qrcodegen.hpp>

namespace korvane {

namespace {

using Encoder = qrcodegen::QrCode;

Encoder encoded(const std::string& text)
{
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    constexpr int anyMask = -1;
    constexpr bool raiseLevel = false;
    return Encoder::encodeSegments({qrcodegen::QrSegment::makeBytes(bytes)}, Encoder::Ecc::MEDIUM,
        Encoder::MIN_VERSION, Encoder::MAX_VERSION, anyMask, raiseLevel);
}

} // namespace

std::optional<QrCode> QrCode::encode(const std::string& text)
try {
    const Encoder encoder = encoded(text);
    QrCode code;
    code.m_side = encoder.getSize() + 2 * quietZone;
    for (int row = 0; row < encoder.getSize(); ++row) {
        for (int column = 0; column < encoder.getSize(); ++column)
            code.m_dark.push_back(encoder.getModule(column, row));
    }
    return code;
} catch (const qrcodegen::data_too_long&) {
    return std::nullopt;
}

bool QrCode::isDark(int column, int row) const
{
    const int inner = m_side - 2 * quietZone;
    const int x = column - quietZone;
    const int y = row - quietZone;
    const bool inside = x >= 0 && x < inner && y >= 0 && y < inner;
    return inside
        && m_dark[static_cast<std::size_t>(y) * static_cast<std::size_t>(inner)
            + static_cast<std::size_t>(x)];
}

} // namespace korvane
