#include "contacts/VCardContact.h"

#include "contacts/VCardFolds.h"
#include "contacts/VCardValue.h"
#include "text/Ascii.h"

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

bool hasProperty(const std::vector<VCardProperty>& card, VCardField field, std::string_view value)
{
    return std::any_of(card.begin(), card.end(), [&](const VCardProperty& property) {
        return property.field == field && equalIgnoringCase(withoutBlanks(property.value), value);
    });
}

bool isDistributionList(const std::vector<VCardProperty>& card)
{
    return hasProperty(card, VCardField::Kind, "group")
        || hasProperty(card, VCardField::EvolutionList, "TRUE");
}

VCardVersion versionOf(const std::vector<VCardProperty>& card)
{
    if (hasProperty(card, VCardField::Version, "2.1"))
        return VCardVersion::V21;
    return hasProperty(card, VCardField::Version, "4.0") ? VCardVersion::V40 : VCardVersion::V30;
}

void addUnlessEmpty(std::vector<std::string>& texts, std::string text)
{
    if (!text.empty())
        texts.push_back(std::move(text));
}

/// Builds a contact from the properties of one card.
class ContactBuilder {
public:
    explicit ContactBuilder(VCardVersion version) : m_version(version) { }

    void add(const VCardProperty& property);
    Contact finished();

private:
    void takeName(std::string_view value);

    VCardVersion m_version;
    Contact m_contact;
    std::string m_formattedName;
    bool m_hasName = false; ///< the card has an N, possibly empty
};

void ContactBuilder::takeName(std::string_view value)
{
    m_hasName = true;
    if (!m_contact.familyName.empty() || !m_contact.givenName.empty())
        return;
    m_contact.familyName = componentText(value, 0, m_version);
    m_contact.givenName = componentText(value, 1, m_version);
}

void ContactBuilder::add(const VCardProperty& property)
{
    const std::string value = decodedValue(property, m_version);
    switch (property.field) {
    case VCardField::Name:
        takeName(value);
        break;
    case VCardField::FormattedName:
        if (m_formattedName.empty())
            m_formattedName = wholeText(value, m_version);
        break;
    case VCardField::Organization:
        if (m_contact.organizationName.empty())
            m_contact.organizationName = componentText(value, 0, m_version);
        break;
    case VCardField::Phone:
        addUnlessEmpty(
            m_contact.phoneNumbers, withoutScheme(wholeText(value, m_version), "tel:", ';'));
        break;
    case VCardField::Email:
        addUnlessEmpty(
            m_contact.emailAddresses, withoutScheme(wholeText(value, m_version), "mailto:", '?'));
        break;
    default:
        break;
    }
}

Contact ContactBuilder::finished()
{
    const bool unnamed = m_contact.familyName.empty() && m_contact.givenName.empty();
    // Address books write the card of a company with an ORG and an empty N.
    const bool company = m_contact.organizationName == m_formattedName
        || (m_hasName && !m_contact.organizationName.empty());
    if (unnamed && !company)
        m_contact.givenName = std::move(m_formattedName);
    return std::move(m_contact);
}

} // namespace

std::optional<Contact> contactOf(const std::vector<VCardProperty>& card)
{
    if (isDistributionList(card))
        return std::nullopt;
    ContactBuilder builder(versionOf(card));
    for (const VCardProperty& property : card)
        builder.add(property);
    Contact contact = builder.finished();
    if (contact == Contact())
        return std::nullopt;
    return contact;
}

} // namespace korvane
