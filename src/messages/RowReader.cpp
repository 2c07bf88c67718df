#include "messages/RowReader.h"

#include "messages/AttributedBody.h"
#include "messages/MessageQuery.h"
#include "text/Utf8.h"

#include <array>
#include <cstring>
#include <utility>

namespace korvane {

namespace {

std::string_view copied(std::string_view text, std::pmr::memory_resource& memory)
{
    auto* copy = static_cast<char*>(memory.allocate(text.size() + 1, 1));
    std::memcpy(copy, text.data(), text.size());
    return {copy, text.size()};
}

/// The text after the first slash of "p:N/GUID". If nothing follows the slash, the text before it;
/// if there is no slash, the whole text.
std::string_view withoutPart(std::string_view guid)
{
    const std::size_t slash = guid.find('/');
    if (slash == std::string_view::npos)
        return guid;
    const std::string_view last = guid.substr(slash + 1);
    return last.empty() ? guid.substr(0, slash) : last;
}

std::string_view withoutPrefix(std::string_view guid)
{
    if (guid.starts_with("p:"))
        return withoutPart(guid);
    return guid.starts_with("bp:") ? guid.substr(3) : guid;
}

} // namespace

GuidMap::GuidMap(Sqlite& db, std::int64_t chatID, bool isIndexed)
    : m_db(&db)
    , m_chatID(chatID)
    , m_isIndexed(isIndexed)
{
}

std::optional<std::int64_t> GuidMap::target(std::optional<std::string_view> guid)
{
    if (!m_db || !guid || guid->empty())
        return std::nullopt;
    if (!isValidUtf8(*guid))
        return target(repairedUtf8(*guid));
    if (mayUseIndex(*guid))
        return findByIndex(withoutPrefix(*guid));
    load();
    const auto exact = find(*guid);
    return exact ? exact : find(withoutPrefix(*guid));
}

void GuidMap::load()
{
    if (m_isLoaded)
        return;
    Sqlite::Statement row(*m_db, guidQuery);
    row.bind(1, m_chatID);
    while (row.step()) {
        const auto guid = row.text(0);
        if (!guid)
            continue;
        const auto key
            = isValidUtf8(*guid) ? copied(*guid, m_memory) : copied(repairedUtf8(*guid), m_memory);
        m_rowIDs[key] = row.integer(1);
    }
    m_isLoaded = true;
}

std::optional<std::int64_t> GuidMap::find(std::string_view guid) const
{
    const auto found = m_rowIDs.find(guid);
    return found == m_rowIDs.end() ? std::nullopt : std::optional(found->second);
}

bool GuidMap::mayUseIndex(std::string_view guid)
{
    // A guid with this character may be the repaired form of one that is not valid UTF-8.
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    if (m_isIndexed && !m_oneRow)
        prepareLookup();
    return m_isIndexed && guid.find(replacement) == std::string_view::npos;
}

/// One lookup is enough if no guid begins with a prefix, and if none is a blob: a text does not
/// equal a blob of the same bytes, but in the map they are the same guid.
void GuidMap::prepareLookup()
{
    m_isIndexed = !Sqlite::Statement(*m_db, unusualGuidQuery).step();
    if (!m_isIndexed)
        return;
    m_oneRow.emplace(*m_db, oneGuidQuery);
    m_oneRow->bind(2, m_chatID);
}

std::optional<std::int64_t> GuidMap::findByIndex(std::string_view guid)
{
    m_oneRow->bindText(1, guid);
    const auto rowID = m_oneRow->step() ? std::optional(m_oneRow->integer(0)) : std::nullopt;
    m_oneRow->reset();
    return rowID;
}

namespace {

/// Reaction names, indexed by associated type modulo 1000. Types 2000 to 2999 add a reaction, 3000
/// to 3999 remove one.
constexpr std::array<std::string_view, 6> reactionNames
    = {"love", "like", "dislike", "laugh", "emphasize", "question"};

constexpr bool isReaction(int associatedType)
{
    return associatedType >= 2000 && associatedType <= 3999;
}

/// U+FFFC OBJECT REPLACEMENT CHARACTER: marks the place of an inline attachment in a text.
constexpr std::string_view attachmentPlaceholder = "\xEF\xBF\xBC";

std::string without(std::string_view what, std::string_view text)
{
    std::string rest;
    std::size_t start = 0;
    for (std::size_t at = text.find(what); at != std::string_view::npos;
         at = text.find(what, start)) {
        rest += text.substr(start, at - start);
        start = at + what.size();
    }
    return rest += text.substr(start);
}

/// `raw` as valid UTF-8: unchanged if it is valid, otherwise repaired in `scratch`.
std::string_view valid(std::string_view raw, std::string& scratch)
{
    if (isValidUtf8(raw))
        return raw;
    scratch = repairedUtf8(raw);
    return scratch;
}

} // namespace

RowReader::RowReader(const Sqlite::Statement& row, GuidMap& guids, bool hasAssociatedType)
    : m_row(row)
    , m_guids(guids)
    , m_hasAssociatedType(hasAssociatedType)
{
}

const MessageRowView& RowReader::read()
{
    m_view = {};
    m_view.rowID = m_row.integer(MessageColumn::RowID);
    m_view.date = referenceTime(m_row.integer(MessageColumn::Date));
    m_view.fromMe = m_row.integer32(MessageColumn::IsFromMe) != 0;
    m_view.text = text();
    m_view.attachmentCount = m_row.integer32(MessageColumn::HasAttachments) != 0 ? 1 : 0;
    if (!m_row.isNull(MessageColumn::PhotoCount))
        m_view.photoCount = m_row.integer32(MessageColumn::PhotoCount);
    readSender();

    const int associatedType = m_row.integer32(MessageColumn::AssociatedType); // NULL reads as 0
    if (isReaction(associatedType))
        readReaction(associatedType);
    else
        readOrdinary();
    return m_view;
}

std::string_view RowReader::text()
{
    std::string_view text = valid(m_row.text(MessageColumn::Text).value_or(""), m_ownText);
    if (text.empty())
        text = decodedBody();
    if (isAscii(text) || text.find(attachmentPlaceholder) == std::string_view::npos)
        return text;
    m_ownText = without(attachmentPlaceholder, text);
    return m_ownText;
}

std::string_view RowReader::decodedBody() const
{
    const auto body = m_row.blob(MessageColumn::AttributedBody);
    return body ? textOfAttributedBody(*body).value_or("") : "";
}

void RowReader::readSender()
{
    if (const auto handle = m_row.text(MessageColumn::Handle))
        m_view.handle = valid(*handle, m_ownHandle);
    if (m_view.fromMe) {
        m_view.senderID = "messages:self";
    } else if (m_view.handle) {
        m_senderID.assign("messages:handle:").append(*m_view.handle);
        m_view.senderID = m_senderID;
    }
}

void RowReader::readReaction(int associatedType)
{
    const auto index = static_cast<std::size_t>(associatedType % 1000);
    m_view.recordKind = associatedType <= 2999 ? "reaction" : "reaction-removal";
    if (index < reactionNames.size())
        m_view.reactionKind = reactionNames[index];
    m_view.reactionTargetRowID = m_guids.target(m_row.text(MessageColumn::AssociatedGuid));
}

void RowReader::readOrdinary()
{
    if (m_hasAssociatedType)
        m_view.recordKind = m_row.integer32(MessageColumn::ItemType) != 0 ? "system" : "message";
    m_view.replyToRowID = m_guids.target(m_row.text(MessageColumn::ThreadOriginatorGuid));
}

} // namespace korvane
