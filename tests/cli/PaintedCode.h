#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// What a terminal shows of a code in half blocks, and what a phone reads there.
class PaintedCode {
public:
    /// A terminal's own colours, for whatever is not painted.
    enum class Terminal { DarkOnLight, LightOnDark };

    /// Takes the painted lines out of what a program printed: those with escape sequences.
    PaintedCode(std::string_view printed, Terminal terminal);

    int width() const { return m_width; } ///< in modules; 0 where the lines differ
    int height() const { return static_cast<int>(m_rows.size()); }
    bool isDark(int column, int row) const;

    /// Whether every character is one of the half blocks, on a ground and in a colour that the
    /// program chose, and every line ends with the terminal's own colours.
    bool isPaintedThroughout() const { return m_paintedThroughout; }

    /// What zbarimg reads in a picture of it; empty where that is nothing.
    std::string read() const;

    static bool canRead(); ///< false where there is no zbarimg

private:
    void addLine(std::string_view line, bool lightOnDark);

    int m_width = 0;
    std::vector<std::string> m_rows; ///< of '0' (black) and '1' (white)
    bool m_paintedThroughout = true;
};

} // namespace korvane
