#include "reader/Folding.h"

#include "text/Ascii.h"
#include "text/Utf8.h"

#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>

namespace korvane {

std::string folded(std::string_view text)
{
    if (isAscii(text))
        return lowered(text);
    std::string result;
    UErrorCode error = U_ZERO_ERROR;
    const auto* const normalizer = icu::Normalizer2::getNFKCCasefoldInstance(error);
    icu::StringByteSink<std::string> sink(&result);
    if (normalizer != nullptr) // ICU has its data
        normalizer->normalizeUTF8(
            0, {text.data(), static_cast<int32_t>(text.size())}, sink, nullptr, error);
    return U_SUCCESS(error) ? result : std::string(text);
}

} // namespace korvane
