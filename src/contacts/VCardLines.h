#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace korvane {

/// Cuts the text of a card file into lines without copying it: every line is a view of the text,
/// its folds still inside.
///
/// A line that holds nothing but BEGIN:VCARD or END:VCARD is never joined to the one before, so
/// that one bad line cannot swallow the next card.
class VCardLines {
public:
    explicit VCardLines(std::string_view text);

    /// The next line with its folds; absent at the end of the text.
    std::optional<std::string_view> next();

    /// Lengthens `tail`, which must end the line last read, by the line after it, as a soft line
    /// break asks for. False, with nothing changed, where no line can be joined.
    bool join(std::string_view& tail);

private:
    /// Where a byte is found next. Remembers the answer, so that a file without that byte is
    /// searched once and not once a line.
    class ByteFinder {
    public:
        ByteFinder(std::string_view text, char byte);
        std::size_t from(std::size_t position);

    private:
        std::string_view m_text;
        char m_byte;
        std::size_t m_found;
    };

    std::string_view peek();
    void take(std::string_view line);
    void takeWithFolds(std::string_view line);

    std::string_view m_text;
    ByteFinder m_lineFeeds;
    ByteFinder m_returns;
    std::size_t m_lineEnd = 0;
    std::size_t m_nextLine = 0;
};

} // namespace korvane
