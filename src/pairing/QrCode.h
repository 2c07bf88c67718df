#pragma once

#include <optional>
#include <string>
#include <vector>

namespace korvane {

/// A QR code (ISO/IEC 18004) as a square of dark and light modules; the only class that calls the
/// encoder. A plain value.
class QrCode {
public:
    /// The light border that a reader needs around the code, in modules.
    static constexpr int quietZone = 4;

    /// Encodes the UTF-8 bytes of `text` in byte mode at error-correction level M. Nothing if there
    /// are more than the largest code holds (2,331).
    static std::optional<QrCode> encode(const std::string& text);

    /// Width and height in modules, including the quiet zone on both sides.
    int side() const { return m_side; }

    /// Coordinates count from the top left corner of the quiet zone. Everything outside is light.
    bool isDark(int column, int row) const;

private:
    QrCode() = default;

    int m_side = 0;
    std::vector<bool> m_dark; ///< row by row, without the quiet zone
};

} // namespace korvane
