#include "sample/AttributedBody.h"

#include <cassert>

namespace korvane::sample {

namespace {

using namespace std::string_view_literals;

// Pieces stand apart where an escape would swallow the letter after it.
constexpr std::string_view header = "\x04\x0b"
                                    "streamtyped\x81\xe8\x03\x84\x01@\x84\x84\x84\x12"
                                    "NSAttributedString\0\x84\x84\x08"
                                    "NSObject\0\x85\x92\x84\x84\x84\x08"
                                    "NSString\x01\x94\x84\x01+"sv;
constexpr std::string_view rangeOfText = "\x86\x84\x02iI\x01"sv;
constexpr std::string_view trailer = "\x92\x84\x84\x84\x0c"
                                     "NSDictionary\0\x94\x84\x01i\x01\x92\x84\x96\x96\x1d"
                                     "__kIMMessagePartAttributeName\x86\x92\x84\x99\0\x86\x86"sv;

constexpr std::size_t longestOneByteLength = 0x7F;
constexpr char twoByteLength = '\x81';

void appendLength(std::string& archive, std::size_t length)
{
    if (length > longestOneByteLength) {
        archive += twoByteLength;
        archive += static_cast<char>(length & 0xFF);
        length >>= 8;
    }
    archive += static_cast<char>(length);
}

/// The text's length as the archive counts attributes: in UTF-16 units.
std::size_t utf16Length(std::string_view text)
{
    std::size_t units = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool startsCharacter = (byte & 0xC0) != 0x80;
        const bool needsTwoUnits = byte >= 0xF0;
        units += (startsCharacter ? 1U : 0U) + (needsTwoUnits ? 1U : 0U);
    }
    return units;
}

} // namespace

std::string encodeAttributedBody(std::string_view text)
{
    assert(text.size() <= longestBodyText);
    std::string archive;
    archive.reserve(header.size() + rangeOfText.size() + trailer.size() + text.size() + 6);
    archive += header;
    appendLength(archive, text.size());
    archive += text;
    archive += rangeOfText;
    appendLength(archive, utf16Length(text));
    archive += trailer;
    return archive;
}

} // namespace korvane::sample
