#pragma once

#include "export/Record.h"
#include "reader/Archive.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace korvane {

/// What a record is. A record without `recordKind`, or with one that this version does not know, is
/// a message.
enum class MessageKind : std::uint8_t { Message, Reaction, ReactionRemoval, System };

/// One record of a conversation: where it is, and what is needed to put it in order. The rest is
/// decoded on demand, see Conversation::record().
struct Message {
    static constexpr std::uint32_t none = 0xFFFF'FFFF;

    /// The record as one line of JSON, without a line feed: exactly what an export writes, with the
    /// keys in their order, without blanks and without unknown keys. Valid as long as the
    /// Conversation.
    std::string_view json;

    std::int64_t time = 0; ///< milliseconds since 1970-01-01 UTC; see hasTime()
    std::int64_t row = 0; ///< the number at the end of its id; 0 if there is none
    std::uint32_t target = none; ///< of a reaction, a removal or a reply: index of its message
    std::uint32_t file = 0; ///< index in Conversation::files()
    MessageKind kind = MessageKind::Message;

    /// False if `date` is not a date of the years 0 to 9999. `time` is then the lowest number for a
    /// year before 0, and the highest for anything else.
    bool hasTime() const;
    bool isReaction() const
    {
        return kind == MessageKind::Reaction || kind == MessageKind::ReactionRemoval;
    }
};

/// What reading one file found.
struct FileReport {
    std::filesystem::path path;
    bool isKept = false;
    std::int64_t records = 0; ///< complete ones, repeated ones included
    std::int64_t repeated = 0; ///< with an id that a later record of the file has, too
    std::int64_t torn = 0; ///< lines that are not one complete record; not an unfinished end
    bool endsUnfinished = false; ///< the last line has no line feed and is no complete record
    std::string error{}; ///< why the file could not be read; "" if it could

    bool operator==(const FileReport&) const = default;
};

/// Called while files are read, with the bytes since the last call. Returning false ends reading;
/// the conversation is then incomplete.
using ReadProgress = std::function<bool(std::int64_t bytes)>;

/// One chat, read from its files by the rules of docs/export-format.md, and in order: by date, then
/// by row. Owns the text of the files, so its memory is a little more than their size. Movable, not
/// copyable: its views stay valid when it is moved. Used by one thread at a time.
class Conversation {
public:
    /// Reads the files of `chat`. A file that cannot be read is left out, see FileReport::error.
    explicit Conversation(const ArchivedChat& chat, const ReadProgress& progress = {});
    Conversation(Conversation&&) = default;
    Conversation& operator=(Conversation&&) = default;
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;
    ~Conversation() = default;

    const ArchivedChat& chat() const { return m_chat; }
    const std::vector<Message>& messages() const { return m_messages; }
    const std::vector<FileReport>& files() const { return m_files; }

    /// All keys of one record. Takes less than a microsecond.
    Record record(std::size_t index) const;

    /// The name of its sender, escaped as in JSON; a tenth of the time of record().
    std::string_view escapedSender(std::size_t index) const;

private:
    ArchivedChat m_chat;
    std::deque<std::string> m_text; ///< of the files; a deque does not move its strings
    std::vector<Message> m_messages;
    std::vector<FileReport> m_files;
};

/// The reactions that stand: a removal cancels the last reaction before it of the same sender and
/// kind to the same message. A plain value, built once for a conversation.
class StandingReactions {
public:
    explicit StandingReactions(const Conversation& conversation);

    /// The indexes of the reactions to a message, in order. Valid as long as this object.
    const std::vector<std::uint32_t>& to(std::uint32_t message) const;

private:
    std::unordered_map<std::uint32_t, std::vector<std::uint32_t>> m_byMessage;
};

} // namespace korvane
