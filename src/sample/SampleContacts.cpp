#include "messages/DBError.h"
#include "sample/NewFile.h"
#include "sample/SampleDatabase.h"
#include "sample/SamplePeople.h"

#include <fstream>
#include <string_view>

namespace korvane {

namespace {

/// A text as a value: commas, semicolons and backslashes would otherwise divide it.
std::string escaped(std::string_view text)
{
    std::string value;
    for (const char character : text) {
        if (character == ',' || character == ';' || character == '\\')
            value += '\\';
        value += character;
    }
    return value;
}

std::string formattedName(const sample::Card& card)
{
    if (card.givenName.empty())
        return card.organization;
    return card.givenName + " " + card.familyName;
}

void appendLine(std::string& card, std::string_view property, std::string_view value)
{
    card.append(property).append(":").append(value).append("\r\n");
}

std::string vCard(const sample::Card& card)
{
    std::string text;
    appendLine(text, "BEGIN", "VCARD");
    appendLine(text, "VERSION", "3.0");
    appendLine(text, "FN", escaped(formattedName(card)));
    appendLine(text, "N", escaped(card.familyName) + ";" + escaped(card.givenName) + ";;;");
    if (!card.organization.empty())
        appendLine(text, "ORG", escaped(card.organization));
    for (const std::string& number : card.phoneNumbers)
        appendLine(text, "TEL;TYPE=CELL", number);
    for (const std::string& address : card.emailAddresses)
        appendLine(text, "EMAIL;TYPE=INTERNET", address);
    appendLine(text, "END", "VCARD");
    return text;
}

} // namespace

void writeSampleContacts(const std::string& path, const SampleSize& size)
{
    sample::NewFile file(path);
    std::ofstream out(path, std::ios::binary);
    for (const sample::Card& card : sample::makeSamplePeople(size).cards)
        out << vCard(card);
    out.close();
    if (!out)
        throw DBError("Can't write " + path);
    file.keep();
}

} // namespace korvane
