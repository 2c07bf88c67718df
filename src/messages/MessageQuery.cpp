#include "messages/MessageQuery.h"

#include <string_view>

namespace korvane {

const char* const oneMessageQuery
    = "SELECT m.ROWID, m.date, m.is_from_me, h.id, m.text, m.attributedBody, NULL, NULL, NULL, "
      "NULL, NULL, NULL\n"
      "FROM message m LEFT JOIN handle h ON h.ROWID = m.handle_id WHERE m.ROWID = ?";

// CROSS JOIN makes SQLite begin with the join table. Its rows may outlive their messages.
const char* const newestByJoinQuery
    = "SELECT m.ROWID FROM chat_message_join j CROSS JOIN message m ON m.ROWID = j.message_id "
      "WHERE j.chat_id = ? ORDER BY j.message_date DESC, j.message_id DESC LIMIT 1";

const char* const newestByMessageQuery
    = "SELECT m.ROWID FROM chat_message_join j CROSS JOIN message m ON m.ROWID = j.message_id "
      "WHERE j.chat_id = ? ORDER BY m.date DESC, m.ROWID DESC LIMIT 1";

const char* const guidQuery
    = "SELECT m.guid, m.ROWID FROM message m JOIN chat_message_join j ON j.message_id = m.ROWID "
      "WHERE j.chat_id = ?";

// CROSS JOIN makes SQLite begin with the index on the guid, instead of reading the whole chat.
const char* const oneGuidQuery
    = "SELECT m.ROWID FROM message m CROSS JOIN chat_message_join j ON j.message_id = m.ROWID "
      "WHERE m.guid = ?1 AND j.chat_id = ?2 ORDER BY m.ROWID DESC LIMIT 1";

const char* const unusualGuidQuery
    = "SELECT 1 FROM message WHERE guid >= x'' UNION ALL " // blobs follow all texts
      "SELECT 1 FROM message WHERE guid >= 'p:' AND guid < 'p;' UNION ALL "
      "SELECT 1 FROM message WHERE guid >= 'bp:' AND guid < 'bp;' LIMIT 1";

const char* const participantQuery
    = "SELECT j.chat_id, h.id FROM chat_handle_join j JOIN handle h ON h.ROWID = j.handle_id";

const char* const chatQuery
    = "SELECT c.ROWID, c.guid, COALESCE(c.display_name, ''), c.chat_identifier, c.style,\n"
      "       MAX(m.date), COUNT(m.ROWID)\n"
      "FROM chat c\n"
      "JOIN chat_message_join j ON j.chat_id = c.ROWID\n"
      "JOIN message m ON m.ROWID = j.message_id\n"
      "GROUP BY c.ROWID\n"
      "ORDER BY MAX(m.date) DESC";

const char* const messageIDQuery = "SELECT ROWID FROM message";

const char* const filedMessageIDQuery
    = "SELECT j.message_id FROM chat_message_join j JOIN chat c ON c.ROWID = j.chat_id";

namespace {

/// The number of image attachments. NULL if it is unknown: an attachment has no usable MIME type,
/// or the message claims attachments but has no row in the join table.
constexpr std::string_view photoExpression
    = "CASE WHEN EXISTS (SELECT 1 FROM message_attachment_join ma LEFT JOIN attachment a ON "
      "a.ROWID = ma.attachment_id\n"
      "                  WHERE ma.message_id = m.ROWID AND (a.mime_type IS NULL OR "
      "TRIM(a.mime_type) = ''))\n"
      "          OR (m.cache_has_attachments != 0 AND NOT EXISTS (SELECT 1 FROM "
      "message_attachment_join ma WHERE ma.message_id = m.ROWID))\n"
      "     THEN NULL ELSE (SELECT COUNT(*) FROM message_attachment_join ma JOIN attachment a "
      "ON a.ROWID = ma.attachment_id\n"
      "                     WHERE ma.message_id = m.ROWID AND a.mime_type LIKE 'image/%') END";

std::string columnOrNull(const ColumnSet& columns, std::string_view name)
{
    return columns.contains(name) ? "m." + std::string(name) : "NULL";
}

std::string_view photosOrNull(const MessageColumns& columns)
{
    const bool known = columns.attachment.contains("mime_type")
        && columns.attachmentJoin.contains("message_id")
        && columns.attachmentJoin.contains("attachment_id");
    return known ? photoExpression : "NULL";
}

} // namespace

std::string messageQuery(const MessageColumns& columns)
{
    std::string sql = "SELECT m.ROWID, m.date, m.is_from_me, h.id, m.text, m.attributedBody, "
                      "m.cache_has_attachments,\n       ";
    sql += columnOrNull(columns.message, "associated_message_type");
    sql += ", ";
    sql += columnOrNull(columns.message, "associated_message_guid");
    sql += ", ";
    sql += columnOrNull(columns.message, "thread_originator_guid");
    sql += ",\n       ";
    sql += columnOrNull(columns.message, "item_type");
    sql += ", ";
    sql += photosOrNull(columns);
    sql += "\nFROM message m\nJOIN chat_message_join j ON j.message_id = m.ROWID\n"
           "LEFT JOIN handle h ON h.ROWID = m.handle_id\nWHERE j.chat_id = ? AND m.ROWID > ?\n"
           "ORDER BY m.date, m.ROWID";
    return sql;
}

} // namespace korvane
