#include "contacts/VCard.h"

#include "contacts/Ascii.h"
#include "contacts/VCardContact.h"
#include "contacts/VCardEncoding.h"
#include "contacts/VCardFolds.h"
#include "contacts/VCardLines.h"

#include <utility>

namespace korvane {

namespace {

/// The next property of the file, with the lines that its soft line breaks reach; lines that are
/// no property are passed over. Absent at the end.
std::optional<VCardProperty> nextProperty(VCardLines& lines)
{
    while (const auto line = lines.next()) {
        auto property = parseVCardProperty(*line);
        if (!property)
            continue;
        while (property->quotedPrintable && endsInSoftBreak(property->value)
            && lines.join(property->value)) { }
        return property;
    }
    return std::nullopt;
}

/// Gathers properties into cards, and visits the contact of each card that ends.
class CardGatherer {
public:
    explicit CardGatherer(const ContactSource::Visitor& visit) : m_visit(visit) { }

    void add(VCardProperty property);
    void finishCard();

private:
    void begin();
    void end();
    void addToCard(VCardProperty property);

    const ContactSource::Visitor& m_visit;
    std::vector<VCardProperty> m_card;
    std::size_t m_depth = 0; ///< 1 inside a card, more inside the cards of agents.
    bool m_agentFollows = false;
};

void CardGatherer::finishCard()
{
    if (const auto contact = contactOf(m_card))
        m_visit(*contact);
    m_card.clear();
    m_depth = 0;
}

/// A card that begins inside another one, which is not that one's agent, comes after one whose
/// end is missing.
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

void CardGatherer::addToCard(VCardProperty property)
{
    if (m_depth == 1 && property.field != VCardField::Other)
        m_card.push_back(std::move(property));
}

void CardGatherer::add(VCardProperty property)
{
    const std::string_view value = trimmed(property.value);
    const bool aboutCard = equalIgnoringCase(value, "VCARD");
    const bool isAgent = property.field == VCardField::Agent && m_depth > 0;
    if (property.field == VCardField::Begin && aboutCard)
        begin();
    else if (property.field == VCardField::End && aboutCard)
        end();
    else if (isAgent && equalIgnoringCase(value, "BEGIN:VCARD"))
        ++m_depth;
    else
        addToCard(std::move(property));
    m_agentFollows = isAgent && value.empty();
}

} // namespace

void readVCards(std::string_view bytes, const ContactSource::Visitor& visit)
{
    std::string buffer;
    VCardLines lines(fileText(bytes, buffer));
    CardGatherer cards(visit);
    while (auto property = nextProperty(lines))
        cards.add(std::move(*property));
    cards.finishCard();
}

} // namespace korvane
