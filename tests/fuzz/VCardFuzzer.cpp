#include "contacts/VCard.h"

#include <cstdint>
#include <cstdlib>
#include <unicode/ustring.h>

namespace {

/// Uses ICU, independently of the reader's own check.
bool isValidUtf8(const std::string& text)
{
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t units = 0;
    u_strFromUTF8(nullptr, 0, &units, text.data(), static_cast<std::int32_t>(text.size()), &status);
    return status == U_BUFFER_OVERFLOW_ERROR || U_SUCCESS(status);
}

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void checkText(const std::string& text)
{
    require(isValidUtf8(text));
    require(text.find('\0') == std::string::npos);
}

void checkValues(const std::vector<std::string>& values)
{
    for (const std::string& value : values) {
        checkText(value);
        require(!value.empty());
    }
}

} // namespace

/// Any bytes yield contacts whose texts are valid UTF-8 without NULs. No contact is empty, nor any
/// of its numbers and addresses.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    korvane::readVCards(bytes, [](const korvane::Contact& contact) {
        require(contact != korvane::Contact());
        checkText(contact.givenName);
        checkText(contact.familyName);
        checkText(contact.organizationName);
        checkValues(contact.phoneNumbers);
        checkValues(contact.emailAddresses);
    });
    return 0;
}
