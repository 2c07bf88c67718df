#include "cli/QrPicture.h"

#include <string_view>

namespace korvane {

namespace {

// From the fixed part of the 256 colours (ECMA-48 SGR with ISO 8613-6 colours); the first sixteen
// are the user's to change.
constexpr std::string_view blackOnWhite = "\x1B[38;5;16;48;5;231m";
constexpr std::string_view asBefore = "\x1B[0m";

std::string_view block(bool upperIsDark, bool lowerIsDark)
{
    if (upperIsDark)
        return lowerIsDark ? "█" : "▀";
    return lowerIsDark ? "▄" : " ";
}

} // namespace

std::string terminalPicture(const QrCode& code)
{
    std::string picture;
    for (int row = 0; row < code.side(); row += 2) { // of an odd number the last line has one
        picture += blackOnWhite;
        for (int column = 0; column < code.side(); ++column)
            picture += block(code.isDark(column, row), code.isDark(column, row + 1));
        picture.append(asBefore) += '\n';
    }
    return picture;
}

} // namespace korvane
