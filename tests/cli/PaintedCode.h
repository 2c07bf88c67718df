#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// A QR code printed in half blocks, as a terminal shows it and a phone reads it.
class PaintedCode {
public:
    /// The terminal's default colours, used where the program sets none.
    enum class Terminal { DarkOnLight, LightOnDark };

    /// Takes the lines with escape sequences from `printed` and ignores the others.
    PaintedCode(std::string_view printed, Terminal terminal);

    int width() const { return m_width; } ///< in modules; 0 if lines differ in length
    int height() const { return static_cast<int>(m_rows.size()); }
    bool isDark(int column, int row) const;

    /// Whether every character is a half block with text and background colour set by the program,
    /// and every line ends with the terminal's default colours.
    bool isPaintedThroughout() const { return m_paintedThroughout; }

    /// The text that zbarimg reads from a picture of the code; empty if it finds none.
    std::string read() const;

    static bool canRead(); ///< whether zbarimg is installed

private:
    void addLine(std::string_view line, bool lightOnDark);

    int m_width = 0;
    std::vector<std::string> m_rows; ///< of '0' (black) and '1' (white)
    bool m_paintedThroughout = true;
};

} // namespace korvane
