#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// `text` made safe to print on a terminal: control and format characters and line separators,
/// which could move the cursor or reverse the text direction, become U+FFFD. The zero-width joiner
/// is kept, because emoji are composed with it.
std::string printable(std::string_view text);

/// The same for the text of a message, which may have several lines: line breaks of any kind become
/// line feeds, and tabs become blanks. Format characters are removed; other than in a name, they
/// are common in such a text and mean no harm. The zero-width non-joiner is kept, because Persian
/// and other scripts need it.
std::string printableLines(std::string_view text);

/// The number of columns that `text` takes on a terminal: wide characters and emoji take two.
int displayWidth(std::string_view text);

/// `text`, truncated with an ellipsis if it is over `widest` columns wide.
std::string fitted(const std::string& text, int widest);

/// The lines of `text` at most `columns` wide, as a terminal shows them. Breaks lines where the
/// Unicode line breaking algorithm allows it, and a word that is too long between two characters.
/// `text` is one paragraph without control characters. Not empty.
std::vector<std::string> wrapped(const std::string& text, int columns);

} // namespace korvane
