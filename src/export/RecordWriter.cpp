#include "export/RecordWriter.h"

#include "contacts/ContactNames.h"
#include "text/Json.h"
#include "text/Utf8.h"

#include <unicode/uchar.h>

#include <array>
#include <charconv>
#include <limits>

namespace korvane {

namespace {

/// Appends JSON fragments to a string.
class Pen {
public:
    explicit Pen(std::string& out) : m_out(out) { }

    Pen& raw(std::string_view text)
    {
        m_out += text;
        return *this;
    }
    Pen& escaped(std::string_view text)
    {
        Json::appendEscaped(m_out, text);
        return *this;
    }
    Pen& number(std::int64_t number)
    {
        // digits10 is 18, but a number has up to 19 digits, and a sign.
        std::array<char, std::numeric_limits<std::int64_t>::digits10 + 2> digits;
        const auto end = std::to_chars(digits.begin(), digits.end(), number).ptr;
        return raw({digits.data(), static_cast<std::size_t>(end - digits.begin())});
    }
    /// The value of an "id" whose opening quotation mark is already written, and the closing one.
    Pen& id(std::string_view prefix, std::int64_t rowID)
    {
        return raw(prefix).number(rowID).raw("\"");
    }
    Pen& boolean(bool value) { return raw(value ? "true" : "false"); }

private:
    std::string& m_out;
};

/// True if `text` is empty or consists of white space and line breaks only.
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

void RecordWriter::append(const MessageRowView& row, std::string& out)
{
    Pen pen(out);
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
    pen.raw(senderMembers(row));
    pen.raw(R"(,"textUnavailable":)").boolean(isBlank(row.text)).raw("}\n");
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
