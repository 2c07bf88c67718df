#include "export/Exporter.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <memory>
#include <stdexcept>

namespace korvane {

namespace {

bool isForbidden(UChar32 character)
{
    constexpr std::string_view forbidden = "\\/:*?\"<>|";
    const bool listed = character < 0x80
        && forbidden.find(static_cast<char>(character)) != std::string_view::npos;
    const auto category = u_charType(character);
    return listed || category == U_CONTROL_CHAR || category == U_FORMAT_CHAR;
}

std::string withoutForbidden(std::string_view text)
{
    std::string clean;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t start = i;
        UChar32 character = 0;
        U8_NEXT_OR_FFFD(text.data(), i, text.size(), character);
        clean += isForbidden(character) ? "_" : text.substr(start, i - start);
    }
    return clean;
}

/// Blanks of any script and tabs, but no line breaks.
std::string_view trimmed(std::string_view text)
{
    std::size_t start = text.size();
    std::size_t end = 0;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t at = i;
        UChar32 character = 0;
        U8_NEXT_OR_FFFD(text.data(), i, text.size(), character);
        if (u_isblank(character))
            continue;
        start = std::min(start, at);
        end = i;
    }
    return start < end ? text.substr(start, end - start) : std::string_view();
}

struct CloseText {
    void operator()(UText* text) const { utext_close(text); }
};

void require(UErrorCode status)
{
    if (U_FAILURE(status))
        throw std::runtime_error(u_errorName(status)); // ICU's data is missing or broken
}

/// The first `count` grapheme clusters (Unicode Standard Annex 29).
std::string_view firstCharacters(std::string_view text, int count)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UText, CloseText> source(
        utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status));
    const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    require(status);
    breaks->setText(source.get(), status);
    require(status);
    const int32_t end = breaks->next(count);
    return end == icu::BreakIterator::DONE ? text : text.substr(0, static_cast<std::size_t>(end));
}

} // namespace

std::string Exporter::safeFileName(std::string_view title)
{
    constexpr int mostCharacters = 100;
    const std::string clean = withoutForbidden(title);
    return std::string(firstCharacters(trimmed(clean), mostCharacters));
}

std::string Exporter::exportFileName(std::string_view title, std::int64_t chatID)
{
    return safeFileName(title) + " (" + std::to_string(chatID) + ") Korvane Wrapped.jsonl.txt";
}

} // namespace korvane
