#include "contacts/VCard.h"

#include "contacts/VCardText.h"
#include "text/Ascii.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace korvane {

namespace {

// From the properties of one card to a contact.

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

/// The contact that the properties of one card describe. Absent if the card is a distribution list
/// or none of the properties read has a value.
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

// From the properties of a file to cards.

bool isCard(const VCardProperty& beginOrEnd)
{
    return equalIgnoringCase(withoutBlanks(beginOrEnd.value), "VCARD");
}

/// Collects properties into cards and visits the contact of each finished card.
class CardGatherer {
public:
    explicit CardGatherer(const ContactSource::Visitor& visit) : m_visit(visit)
    {
        m_card.reserve(usualProperties);
    }

    void add(const VCardProperty& property);
    void finishCard();

private:
    static constexpr std::size_t usualProperties = 16;

    void begin();
    void end();
    void awaitAgent(std::string_view value);

    const ContactSource::Visitor& m_visit;
    std::vector<VCardProperty> m_card;
    std::size_t m_depth = 0; ///< 0 outside cards, 1 inside a card, more inside nested AGENT cards
    bool m_agentFollows = false;
};

void CardGatherer::finishCard()
{
    if (const auto contact = contactOf(m_card))
        m_visit(*contact);
    m_card.clear();
    m_depth = 0;
}

/// A BEGIN inside a card, unless it follows an AGENT, means that the card's END is missing.
void CardGatherer::begin()
{
    if (!m_agentFollows)
        finishCard();
    ++m_depth;
}

void CardGatherer::end()
{
    if (m_depth > 1)
        --m_depth;
    else
        finishCard();
}

/// The card of an AGENT begins on the same line or on the next one.
void CardGatherer::awaitAgent(std::string_view value)
{
    m_agentFollows = value.empty();
    if (equalIgnoringCase(value, "BEGIN:VCARD"))
        ++m_depth;
}

void CardGatherer::add(const VCardProperty& property)
{
    if (property.field == VCardField::Begin && isCard(property))
        begin();
    else if (property.field == VCardField::End && isCard(property))
        end();
    else if (m_depth == 1 && property.field != VCardField::Other)
        m_card.push_back(property);

    m_agentFollows = false;
    if (property.field == VCardField::Agent)
        awaitAgent(withoutBlanks(property.value));
}

} // namespace

void readVCards(std::string bytes, const ContactSource::Visitor& visit)
{
    VCardText text(std::move(bytes));
    CardGatherer cards(visit);
    while (const auto property = text.next())
        cards.add(*property);
    cards.finishCard();
}

} // namespace korvane
