#include "contacts/VCard.h"

#include "contacts/VCardContact.h"
#include "contacts/VCardEncoding.h"
#include "contacts/VCardFolds.h"
#include "contacts/VCardLines.h"
#include "text/Ascii.h"

namespace korvane {

namespace {

/// Extends a quoted-printable value by the lines that follow its soft line breaks.
void joinSoftBreaks(VCardLines& lines, VCardProperty& property)
{
    if (!endsInSoftBreak(property.value) || !encodingOf(property).quotedPrintable)
        return;
    while (endsInSoftBreak(property.value) && lines.join(property.value)) { }
}

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

void readVCards(std::string_view bytes, const ContactSource::Visitor& visit)
{
    std::string buffer;
    VCardLines lines(fileText(bytes, buffer));
    CardGatherer cards(visit);
    while (const auto line = lines.next()) {
        auto property = parseVCardProperty(*line);
        if (!property)
            continue;
        joinSoftBreaks(lines, *property);
        cards.add(*property);
    }
    cards.finishCard();
}

} // namespace korvane
