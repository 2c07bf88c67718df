#pragma once

#include "text/Ascii.h"

#include <cstddef>
#include <string>
#include <string_view>

/// Line folding and soft line breaks in card files. A line break is CRLF, LF or CR. Several CRs
/// before the LF, which faulty conversions leave behind, count as part of one break.
namespace korvane {

/// `text` without leading and trailing white space. NULs count as white space, because they pad
/// damaged files.
constexpr std::string_view withoutBlanks(std::string_view text)
{
    return trimmed(text, std::string_view(" \t\r\n\0", 5));
}

/// The position after the line break at `position`.
std::size_t pastLineBreak(std::string_view text, std::size_t position);

/// Whether this line continues the previous one: it starts with a space or a tab.
bool startsWithFoldMark(std::string_view line);

/// Whether this quoted-printable line continues on the next one: it ends in `=`, possibly followed
/// by spaces and tabs.
bool endsInSoftBreak(std::string_view line);

/// `line` without its folds: `line` itself if it has none, otherwise the joined text in `buffer`.
std::string_view unfolded(std::string_view line, std::string& buffer);

/// `value` without its soft line breaks and folds. A space after a soft line break is part of the
/// text; after any other line break it marks a fold and is removed.
std::string unfoldedQuotedPrintable(std::string_view value);

} // namespace korvane
