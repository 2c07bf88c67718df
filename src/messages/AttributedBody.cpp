#include "messages/AttributedBody.h"

#include "text/Utf8.h"

namespace korvane {

std::optional<std::string_view> textOfAttributedBody(std::string_view bytes)
{
    constexpr std::string_view className = "NSString";
    constexpr std::size_t typeInformation = 5;
    constexpr unsigned char twoByteLength = 0x81;

    const std::size_t found = bytes.find(className);
    if (found == std::string_view::npos)
        return std::nullopt;
    const auto byteAt = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };

    const std::size_t prefix = found + className.size() + typeInformation;
    if (prefix >= bytes.size())
        return std::nullopt;
    std::size_t start = prefix + 1;
    std::size_t length = byteAt(prefix);
    if (length == twoByteLength) {
        if (prefix + 2 >= bytes.size())
            return std::nullopt;
        start = prefix + 3;
        length = byteAt(prefix + 1) + 256U * byteAt(prefix + 2);
    }
    if (length > bytes.size() - start)
        return std::nullopt;

    const std::string_view text = bytes.substr(start, length);
    return isValidUtf8(text) ? std::optional(text) : std::nullopt;
}

} // namespace korvane
