#include "reader/CsvWriter.h"

#include "reader/Conversation.h"

#include <optional>
#include <string>
#include <string_view>

namespace korvane {

namespace {

constexpr std::string_view header
    = "attachmentCount,body,conversationID,conversationName,date,id,isOutgoing,photoCount,"
      "reactionKind,reactionTargetID,recordKind,replyToID,sender,senderID,textUnavailable\r\n";

bool needsQuotes(std::string_view text)
{
    return text.find_first_of(",\"\r\n") != text.npos || text.starts_with(' ')
        || text.ends_with(' ');
}

/// One row of cells.
class Row {
public:
    Row& cell(std::string_view text)
    {
        separate();
        if (!needsQuotes(text)) {
            m_line += text;
            return *this;
        }
        m_line += '"';
        for (const char c : text)
            m_line.append(c == '"' ? 2 : 1, c);
        m_line += '"';
        return *this;
    }
    Row& optional(const std::optional<std::string>& value) { return cell(value ? *value : ""); }
    Row& number(std::int64_t value) { return cell(std::to_string(value)); }
    Row& number(const std::optional<std::int64_t>& value)
    {
        return value ? number(*value) : cell("");
    }
    Row& boolean(bool value) { return cell(value ? "true" : "false"); }

    std::string finished() { return m_line + "\r\n"; }

private:
    void separate()
    {
        if (!m_isFirst)
            m_line += ',';
        m_isFirst = false;
    }

    std::string m_line;
    bool m_isFirst = true;
};

std::string rowOf(const Record& record)
{
    return Row()
        .number(record.attachmentCount)
        .cell(record.body)
        .cell(record.conversationID)
        .cell(record.conversationName)
        .cell(record.date)
        .cell(record.id)
        .boolean(record.isOutgoing)
        .number(record.photoCount)
        .optional(record.reactionKind)
        .optional(record.reactionTargetID)
        .optional(record.recordKind)
        .optional(record.replyToID)
        .cell(record.sender)
        .optional(record.senderID)
        .boolean(record.textUnavailable)
        .finished();
}

} // namespace

void CsvWriter::write(const Conversation& conversation, const Selection& chosen)
{
    writeHeader();
    for (const std::uint32_t index : chosen) {
        m_out << rowOf(conversation.record(index));
        if (!m_out)
            return;
    }
}

void CsvWriter::writeHeader()
{
    if (!m_hasHeader)
        m_out << header;
    m_hasHeader = true;
}

} // namespace korvane
