#include "export/RecordWriter.h"

#include "text/Json.h"
#include "text/Utf8.h"

#include <unicode/uchar.h>

#include <charconv>
#include <cstring>

namespace korvane {

namespace {

/// Writes JSON pieces one after the other into reserved room.
class Pen {
public:
    explicit Pen(char* at) : m_at(at) { }

    Pen& raw(std::string_view text)
    {
        std::memcpy(m_at, text.data(), text.size());
        m_at += text.size();
        return *this;
    }
    Pen& escaped(std::string_view text)
    {
        m_at = Json::writeEscaped(m_at, text);
        return *this;
    }
    Pen& number(std::int64_t number)
    {
        m_at = std::to_chars(m_at, m_at + longestNumber, number).ptr;
        return *this;
    }
    /// The rest of a record's identifier, and the quotation mark behind it.
    Pen& id(std::string_view prefix, std::int64_t rowID)
    {
        return raw(prefix).number(rowID).raw("\"");
    }
    Pen& boolean(bool value) { return raw(value ? "true" : "false"); }

    const char* position() const { return m_at; }

    static constexpr std::size_t longestNumber = 20;

private:
    char* m_at;
};

/// True where `text` is empty or nothing but white space and line breaks.
bool isBlank(std::string_view text)
{
    for (const auto [character, bytes] : CodePoints(text)) {
        if (!u_isUWhiteSpace(character))
            return false;
    }
    return true;
}

std::string conversationMembers(const ChatInfo& chat, std::string_view title)
{
    return R"(","conversationID":)" + Json::quoted(chat.guid) + R"(,"conversationName":)"
        + Json::quoted(title) + R"(,"date":")";
}

std::string senderMember(std::string_view name)
{
    return R"(,"sender":)" + Json::quoted(name);
}

std::string senderMembersOf(std::string_view name, std::string_view senderID)
{
    return senderMember(name) + R"(,"senderID":)" + Json::quoted(senderID);
}

} // namespace

RecordWriter::RecordWriter(const ChatInfo& chat, std::string_view title, const ContactNames& names)
    : m_names(names)
    , m_conversation(conversationMembers(chat, title))
    , m_idPrefix("mac:" + Json::escaped(chat.guid) + ":")
    , m_ownMembers(senderMembersOf("Me", "messages:self"))
    , m_membersWithoutHandle(senderMember(names.name(chat.identifier)))
{
}

void RecordWriter::append(const MessageRowView& row, RecordBuffer& batch)
{
    // The keys with their punctuation, date, numbers and constant texts stay well below this.
    constexpr std::size_t fixedParts = 512;
    const std::string& sender = senderMembers(row);
    Pen pen(batch.reserve(fixedParts + m_conversation.size() + 3 * m_idPrefix.size() + sender.size()
        + Json::largestEscaped(row.text.size())));

    pen.raw(R"({"attachmentCount":)").number(row.attachmentCount);
    pen.raw(R"(,"body":")").escaped(row.text);
    pen.raw(m_conversation).raw(m_dates.withMilliseconds(row.date));
    pen.raw(R"(","id":")").id(m_idPrefix, row.rowID);
    pen.raw(R"(,"isOutgoing":)").boolean(row.fromMe);
    if (row.photoCount)
        pen.raw(R"(,"photoCount":)").number(*row.photoCount);
    if (row.reactionKind)
        pen.raw(R"(,"reactionKind":")").raw(*row.reactionKind).raw("\"");
    if (row.reactionTargetRowID)
        pen.raw(R"(,"reactionTargetID":")").id(m_idPrefix, *row.reactionTargetRowID);
    if (row.recordKind)
        pen.raw(R"(,"recordKind":")").raw(*row.recordKind).raw("\"");
    if (row.replyToRowID)
        pen.raw(R"(,"replyToID":")").id(m_idPrefix, *row.replyToRowID);
    pen.raw(sender);
    pen.raw(R"(,"textUnavailable":)").boolean(isBlank(row.text)).raw("}\n");
    batch.commit(pen.position());
}

const std::string& RecordWriter::senderMembers(const MessageRowView& row)
{
    if (row.fromMe)
        return m_ownMembers;
    return row.handle ? knownHandle(*row.handle, row.senderID.value_or(""))
                      : m_membersWithoutHandle;
}

const std::string& RecordWriter::knownHandle(std::string_view handle, std::string_view senderID)
{
    const auto known = m_handleMembers.find(handle);
    if (known != m_handleMembers.end())
        return known->second;
    std::string members = senderMembersOf(m_names.name(handle), senderID);
    return m_handleMembers.emplace(handle, std::move(members)).first->second;
}

} // namespace korvane
