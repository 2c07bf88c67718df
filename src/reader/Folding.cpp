#include "reader/Folding.h"

#include "text/Ascii.h"
#include "text/Utf8.h"

#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>

#include <optional>

namespace korvane {

namespace {

/// Nothing if ICU has no data.
std::optional<std::string> normalized(const icu::Normalizer2* form, std::string_view text)
{
    std::string result;
    UErrorCode error = U_ZERO_ERROR;
    icu::StringByteSink<std::string> sink(&result);
    if (form == nullptr)
        return std::nullopt;
    form->normalizeUTF8(0, {text.data(), static_cast<int32_t>(text.size())}, sink, nullptr, error);
    return U_SUCCESS(error) ? std::optional(result) : std::nullopt;
}

/// Accents of Latin, Greek and Cyrillic, Hebrew points and Arabic vowel signs. Marks of other
/// scripts make different words.
constexpr bool isAccent(std::int32_t character)
{
    return (character >= 0x0300 && character <= 0x036F)
        || (character >= 0x0591 && character <= 0x05C7)
        || (character >= 0x064B && character <= 0x065F);
}

/// `decomposed` without accents, and with straight quotation marks.
std::string simplified(std::string_view decomposed)
{
    std::string result;
    result.reserve(decomposed.size());
    for (const auto [character, bytes] : CodePoints(decomposed)) {
        if (character == U'‘' || character == U'’')
            result += '\'';
        else if (character == U'“' || character == U'”')
            result += '"';
        else if (!isAccent(character))
            result += bytes;
    }
    return result;
}

} // namespace

std::string folded(std::string_view text)
{
    if (isAscii(text))
        return lowered(text);
    UErrorCode error = U_ZERO_ERROR;
    const auto caseless = normalized(icu::Normalizer2::getNFKCCasefoldInstance(error), text);
    const auto decomposed
        = caseless ? normalized(icu::Normalizer2::getNFDInstance(error), *caseless) : std::nullopt;
    return simplified(decomposed ? *decomposed : text);
}

} // namespace korvane
