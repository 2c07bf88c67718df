#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace korvane {

/// Splits the text of a card file into lines without copying it. Each line is a view into the text
/// and still contains its folds. The text must outlive this object and the lines.
///
/// A line that consists of BEGIN:VCARD or END:VCARD is never joined to the previous one, so one
/// malformed line cannot swallow the next card.
class VCardLines {
public:
    explicit VCardLines(std::string_view text);

    /// The next line, including its folds. Absent at the end of the text.
    std::optional<std::string_view> next();

    /// Extends `tail` by the next line, as a soft line break requires. `tail` must be a suffix of
    /// the line last read. Returns false and changes nothing if there is no line to join.
    bool join(std::string_view& tail);

private:
    /// Finds the next occurrence of one byte. Caches the result, so a file without that byte is
    /// searched once, not once per line. Positions must not decrease.
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
