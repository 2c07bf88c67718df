#include "contacts/ContactNames.h"

#include "text/Ascii.h"
#include "text/Utf8.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/uchar.h>

#include <array>

namespace korvane {

namespace {

/// Phone numbers are compared by their last ten digits, so that a country code makes no difference.
constexpr std::size_t significantDigits = 10;

std::string lowerCased(std::string_view text)
{
    if (isAscii(text))
        return lowered(text);
    std::string result;
    icu::StringByteSink<std::string> sink(&result);
    UErrorCode status = U_ZERO_ERROR;
    icu::CaseMap::utf8ToLower("", 0,
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())), sink, nullptr, status);
    return result;
}

bool isNumeric(UChar32 character)
{
    if (character < 0x80) // or negative: ill-formed UTF-8
        return character >= '0' && character <= '9';
    return u_getIntPropertyValue(character, UCHAR_NUMERIC_TYPE) != U_NT_NONE;
}

std::string lastDigits(std::string_view text)
{
    std::array<std::string_view, significantDigits> last; // a ring buffer
    std::size_t count = 0;
    for (const auto [character, bytes] : CodePoints(text)) {
        if (isNumeric(character))
            last[count++ % last.size()] = bytes;
    }
    std::string key;
    for (std::size_t i = count > last.size() ? count - last.size() : 0; i < count; ++i)
        key += last[i % last.size()];
    return key;
}

std::string displayName(const Contact& contact)
{
    if (contact.givenName.empty() && contact.familyName.empty())
        return contact.organizationName;
    if (contact.givenName.empty() || contact.familyName.empty())
        return contact.givenName + contact.familyName;
    return contact.givenName + ' ' + contact.familyName;
}

void enter(const Contact& contact, ContactNames& names)
{
    const std::string name = displayName(contact);
    if (name.empty())
        return;
    for (const std::string& number : contact.phoneNumbers)
        names.map[ContactNames::normalize(number)] = name;
    for (const std::string& address : contact.emailAddresses)
        names.map[ContactNames::normalize(address)] = name;
}

} // namespace

LoadedNames ContactNames::load(const ContactSources& sources)
{
    LoadedNames loaded;
    for (const auto& source : sources) {
        loaded.reading.add(source->forEachContact([&loaded](const Contact& contact) {
            enter(contact, loaded.names);
            ++loaded.contacts;
        }));
    }
    return loaded;
}

LoadedNames ContactNames::load(const AccessPrompt& prompt)
{
    return load(platformContactSources(prompt));
}

const std::string* ContactNames::find(std::string_view handle) const
{
    const auto found = map.find(normalize(handle));
    return found == map.end() ? nullptr : &found->second;
}

std::string ContactNames::name(std::string_view handle) const
{
    const std::string* known = find(handle);
    return known ? *known : std::string(handle);
}

std::string ContactNames::normalize(std::string_view handle)
{
    return handle.find('@') != std::string_view::npos ? lowerCased(handle) : lastDigits(handle);
}

} // namespace korvane
