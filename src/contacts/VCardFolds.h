#pragma once

#include "text/Ascii.h"

#include <cstddef>
#include <string>
#include <string_view>

/// How one line of a card file is spread over several. A break is CRLF, LF or CR, also with more
/// CRs, as careless conversions leave them.
namespace korvane {

/// `text` without the white space around it. NULs count as white space: they pad damaged files.
constexpr std::string_view withoutBlanks(std::string_view text)
{
    return trimmed(text, std::string_view(" \t\r\n\0", 5));
}

/// Where the text goes on that breaks at `position`.
std::size_t pastLineBreak(std::string_view text, std::size_t position);

/// Whether this line continues the one before: it starts with a space or a tab.
bool startsWithFoldMark(std::string_view line);

/// Whether this line of quoted-printable continues on the next one: it ends in `=`.
bool endsInSoftBreak(std::string_view line);

/// `line` without its folds: itself where it has none, otherwise joined in `buffer`.
std::string_view unfolded(std::string_view line, std::string& buffer);

/// `value` without its soft line breaks, after which a space belongs to the text, and its folds.
std::string unfoldedQuotedPrintable(std::string_view value);

} // namespace korvane
