#include "reader/RecordLine.h"

#include "text/Json.h"
#include "text/JsonReader.h"
#include "text/Utf8.h"

#include <algorithm>
#include <charconv>

namespace korvane {

namespace {

/// The text of an escaped string. Nothing if it is not one.
std::optional<std::string> unescaped(std::string_view escaped)
{
    if (escaped.find('\\') == escaped.npos)
        return std::string(escaped);
    try {
        const auto json = JsonReader::parsed('"' + std::string(escaped) + '"');
        return JsonReader::text(json);
    } catch (const JsonReader::Malformed&) {
        return std::nullopt;
    }
}

/// Whether these are the escapes that an export writes: none that is not needed.
bool hasOnlyNeededEscapes(std::string_view escaped)
{
    const auto text = unescaped(escaped);
    return text && Json::escaped(*text) == escaped;
}

/// Reads one line from the front. Each member returns false if the text does not continue so.
class Scanner {
public:
    explicit Scanner(std::string_view line)
        : m_rest(line)
        , m_hasEscapes(line.find('\\') != line.npos)
    {
    }

    bool read(RecordLine& to)
    {
        return skip(R"({"attachmentCount":)") && integer(to.attachmentCount)
            && text(R"(,"body":")", to.body) && text(R"(,"conversationID":")", to.conversationID)
            && text(R"(,"conversationName":")", to.conversationName)
            && text(R"(,"date":")", to.date) && text(R"(,"id":")", to.id)
            && boolean(R"(,"isOutgoing":)", to.isOutgoing) && photoCount(to.photoCount)
            && optional(R"(,"reactionKind":")", to.reactionKind)
            && optional(R"(,"reactionTargetID":")", to.reactionTargetID)
            && optional(R"(,"recordKind":")", to.recordKind)
            && optional(R"(,"replyToID":")", to.replyToID) && text(R"(,"sender":")", to.sender)
            && optional(R"(,"senderID":")", to.senderID)
            && boolean(R"(,"textUnavailable":)", to.textUnavailable) && m_rest == "}";
    }

private:
    bool skip(std::string_view expected)
    {
        const bool found = m_rest.starts_with(expected);
        m_rest.remove_prefix(found ? expected.size() : 0);
        return found;
    }

    /// Digits without leading zeros or an exponent.
    bool integer(std::int64_t& to)
    {
        const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), to);
        const auto length = static_cast<std::size_t>(end - m_rest.data());
        const bool isPlain = error == std::errc() && m_rest.substr(0, length) == std::to_string(to);
        m_rest.remove_prefix(length);
        return isPlain;
    }

    bool text(std::string_view before, std::string_view& to)
    {
        if (!skip(before))
            return false;
        const std::size_t end = endOfText();
        if (end == m_rest.npos)
            return false;
        to = m_rest.substr(0, end);
        m_rest.remove_prefix(end + 1);
        return !m_hasEscapes || to.find('\\') == to.npos || hasOnlyNeededEscapes(to);
    }

    /// The place of the next quotation mark that is not escaped.
    std::size_t endOfText() const
    {
        if (!m_hasEscapes)
            return m_rest.find('"');
        std::size_t at = m_rest.find_first_of("\"\\");
        while (at != m_rest.npos && m_rest[at] == '\\')
            at = m_rest.find_first_of("\"\\", at + 2);
        return at;
    }

    bool optional(std::string_view before, std::optional<std::string_view>& to)
    {
        return !m_rest.starts_with(before) || text(before, to.emplace());
    }

    bool photoCount(std::optional<std::int64_t>& to)
    {
        return !skip(R"(,"photoCount":)") || integer(to.emplace());
    }

    bool boolean(std::string_view before, bool& to)
    {
        if (!skip(before))
            return false;
        to = skip("true");
        return to || skip("false");
    }

    std::string_view m_rest;
    const bool m_hasEscapes; ///< the whole line
};

bool hasControlCharacters(std::string_view text)
{
    unsigned char found = 0;
    for (const char c : text) // no early exit: vectorisable
        found |= static_cast<unsigned char>(static_cast<unsigned char>(c) < 0x20);
    return found != 0;
}

std::optional<std::string> unescaped(const std::optional<std::string_view>& text)
{
    return text ? unescaped(*text) : std::nullopt;
}

} // namespace

std::optional<RecordLine> RecordLine::from(std::string_view line)
{
    RecordLine found;
    const bool isRecord
        = Scanner(line).read(found) && !hasControlCharacters(line) && isValidUtf8(line);
    return isRecord ? std::optional(found) : std::nullopt;
}

Record RecordLine::record() const
{
    return {
        .attachmentCount = attachmentCount,
        .body = unescaped(body).value_or(""),
        .conversationID = unescaped(conversationID).value_or(""),
        .conversationName = unescaped(conversationName).value_or(""),
        .date = unescaped(date).value_or(""),
        .id = unescaped(id).value_or(""),
        .isOutgoing = isOutgoing,
        .photoCount = photoCount,
        .reactionKind = unescaped(reactionKind),
        .reactionTargetID = unescaped(reactionTargetID),
        .recordKind = unescaped(recordKind),
        .replyToID = unescaped(replyToID),
        .sender = unescaped(sender).value_or(""),
        .senderID = unescaped(senderID),
        .textUnavailable = textUnavailable,
    };
}

std::string lineOf(const Record& record)
{
    Json::Object line;
    const auto optional = [&line](const char* key, const std::optional<std::string>& text) {
        if (text)
            line.text(key, *text);
    };
    line.number("attachmentCount", record.attachmentCount)
        .text("body", record.body)
        .text("conversationID", record.conversationID)
        .text("conversationName", record.conversationName)
        .text("date", record.date)
        .text("id", record.id)
        .boolean("isOutgoing", record.isOutgoing);
    if (record.photoCount)
        line.number("photoCount", *record.photoCount);
    optional("reactionKind", record.reactionKind);
    optional("reactionTargetID", record.reactionTargetID);
    optional("recordKind", record.recordKind);
    optional("replyToID", record.replyToID);
    line.text("sender", record.sender);
    optional("senderID", record.senderID);
    return line.boolean("textUnavailable", record.textUnavailable).finished();
}

} // namespace korvane
