#include "sample/SampleSchema.h"

namespace korvane::sample {

const char* tablesSql()
{
    return R"(
CREATE TABLE chat (
    ROWID INTEGER PRIMARY KEY, guid TEXT UNIQUE NOT NULL, style INTEGER,
    state INTEGER DEFAULT 3, account_id TEXT, properties BLOB, chat_identifier TEXT,
    service_name TEXT, room_name TEXT, account_login TEXT, is_archived INTEGER DEFAULT 0,
    last_addressed_handle TEXT, display_name TEXT, group_id TEXT, is_filtered INTEGER DEFAULT 0,
    last_read_message_timestamp INTEGER DEFAULT 0);

CREATE TABLE handle (
    ROWID INTEGER PRIMARY KEY, id TEXT NOT NULL, country TEXT,
    service TEXT NOT NULL, uncanonicalized_id TEXT, UNIQUE (id, service));

CREATE TABLE message (
    ROWID INTEGER PRIMARY KEY, guid TEXT NOT NULL, text TEXT, handle_id INTEGER DEFAULT 0,
    subject TEXT, attributedBody BLOB, version INTEGER DEFAULT 10, type INTEGER DEFAULT 0,
    service TEXT, error INTEGER DEFAULT 0, date INTEGER, date_read INTEGER DEFAULT 0,
    date_delivered INTEGER DEFAULT 0, is_delivered INTEGER DEFAULT 1,
    is_finished INTEGER DEFAULT 1, is_from_me INTEGER DEFAULT 0, is_empty INTEGER DEFAULT 0,
    is_read INTEGER DEFAULT 0, is_sent INTEGER DEFAULT 0,
    cache_has_attachments INTEGER DEFAULT 0, cache_roomnames TEXT,
    is_audio_message INTEGER DEFAULT 0, item_type INTEGER DEFAULT 0, group_title TEXT,
    group_action_type INTEGER DEFAULT 0, balloon_bundle_id TEXT,
    expressive_send_style_id TEXT, associated_message_guid TEXT,
    associated_message_type INTEGER DEFAULT 0,
    thread_originator_guid TEXT, thread_originator_part TEXT, date_edited INTEGER DEFAULT 0);

CREATE TABLE attachment (
    ROWID INTEGER PRIMARY KEY, guid TEXT UNIQUE NOT NULL,
    created_date INTEGER DEFAULT 0, filename TEXT, mime_type TEXT,
    transfer_state INTEGER DEFAULT 5, is_outgoing INTEGER DEFAULT 0, transfer_name TEXT,
    total_bytes INTEGER DEFAULT 0, is_sticker INTEGER DEFAULT 0);

CREATE TABLE chat_handle_join (
    chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE,
    handle_id INTEGER REFERENCES handle (ROWID) ON DELETE CASCADE,
    UNIQUE (chat_id, handle_id));

CREATE TABLE chat_message_join (
    chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE,
    message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE,
    message_date INTEGER DEFAULT 0,
    PRIMARY KEY (chat_id, message_id));

CREATE TABLE message_attachment_join (
    message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE,
    attachment_id INTEGER REFERENCES attachment (ROWID) ON DELETE CASCADE,
    UNIQUE (message_id, attachment_id));
)";
}

std::span<const char* const> indexesSql()
{
    static constexpr const char* statements[] = {
        "CREATE UNIQUE INDEX message_idx_guid ON message (guid)",
        "CREATE INDEX message_idx_date ON message (date)",
        "CREATE INDEX message_idx_handle ON message (handle_id, date)",
        "CREATE INDEX chat_message_join_idx_message_date_id_chat_id"
        " ON chat_message_join (chat_id, message_date, message_id)",
        "CREATE INDEX chat_message_join_idx_message_id ON chat_message_join (message_id)",
        "CREATE INDEX chat_message_join_idx_chat_id ON chat_message_join (chat_id)",
        "CREATE INDEX message_attachment_join_idx_message_id"
        " ON message_attachment_join (message_id)",
        "CREATE INDEX message_attachment_join_idx_attachment_id"
        " ON message_attachment_join (attachment_id)",
        "CREATE INDEX chat_handle_join_idx_handle_id ON chat_handle_join (handle_id)",
    };
    return statements;
}

} // namespace korvane::sample
