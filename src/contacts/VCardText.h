#pragma once

#include "contacts/VCardProperty.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The text of a card file, split into properties. Knows line breaks, folds (a line that starts
/// with a space or a tab continues the previous one) and the soft line breaks of quoted-printable
/// (a line that ends in `=` continues on the next one).
///
/// A line that consists of BEGIN:VCARD or END:VCARD is never joined to the previous one, so one
/// malformed line cannot swallow the next card.
class VCardText {
public:
    /// `bytes` is a whole file in UTF-8, or in UTF-16 with a byte-order mark.
    explicit VCardText(std::string bytes);
    VCardText(const VCardText&) = delete;
    VCardText& operator=(const VCardText&) = delete;

    /// The next property; absent at the end of the text. Skips lines without a colon, like a line
    /// of base64. The property is valid as long as this object.
    ///
    /// Unfolds names, parameters and the values of the properties that are texts (see isText()).
    /// Any other value keeps its folds, so a photo is passed over without a copy.
    std::optional<VCardProperty> next();

private:
    /// Splits a text at its line breaks: CRLF, LF or CR. Several CRs before the LF, which faulty
    /// conversions leave behind, count as part of one break.
    class Lines {
    public:
        explicit Lines(std::string_view text);

        bool atEnd() const { return m_start == m_text.size(); }
        std::string_view peek() const { return m_text.substr(m_start, m_end - m_start); }
        std::string_view take();

    private:
        void findEnd();

        std::string_view m_text;
        std::size_t m_start = 0; ///< of the next line
        std::size_t m_end = 0; ///< of the next line: where its line break begins
        std::size_t m_lineFeed; ///< the first LF from m_start on, or the end of the text
    };

    VCardProperty propertyFrom(std::string_view line, std::size_t colon, bool folded);
    std::string_view withFolds(std::string_view line);
    std::string_view withSoftBreaks(std::string_view value);
    std::string_view unfolded(std::string_view folded, bool quotedPrintable);

    std::string m_text;
    Lines m_lines;
};

} // namespace korvane
