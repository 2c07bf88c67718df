#include "cli/QrPicture.h"

#include <string_view>

namespace korvane {

namespace {

// Black is colour 16 and white is colour 231 of the 256-colour palette (ECMA-48 SGR with ISO 8613-6
// colours). Colours 0 to 15 are not used, because users can redefine them.
constexpr std::string_view blackOnWhite = "\x1B[38;5;16;48;5;231m";
constexpr std::string_view whiteOnBlack = "\x1B[38;5;231;48;5;16m";
constexpr std::string_view asBefore = "\x1B[0m";

/// One character and its colours. Uses the lower half block only, because fonts align it with the
/// bottom of the line; upper half and full blocks often leave a gap to the line above.
struct Cell {
    Cell(bool upperIsDark, bool lowerIsDark)
        : colours(upperIsDark ? whiteOnBlack : blackOnWhite)
        , character(upperIsDark == lowerIsDark ? " " : "▄")
    {
    }

    std::string_view colours;
    std::string_view character;
};

std::string line(const QrCode& code, int row)
{
    std::string text;
    std::string_view colours;
    for (int column = 0; column < code.side(); ++column) {
        const Cell cell(code.isDark(column, row), code.isDark(column, row + 1));
        if (cell.colours != colours)
            text += cell.colours;
        colours = cell.colours;
        text += cell.character;
    }
    return text.append(asBefore) + '\n';
}

} // namespace

std::string terminalPicture(const QrCode& code)
{
    std::string picture;
    for (int row = 0; row < code.side(); row += 2) // an odd side leaves one row for the last line
        picture += line(code, row);
    return picture;
}

} // namespace korvane
