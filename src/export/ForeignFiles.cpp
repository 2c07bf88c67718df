#include "export/ForeignFiles.h"

#include "export/DateText.h"
#include "export/ExportState.h"
#include "export/Record.h"
#include "export/RecordLines.h"
#include "messages/MessageLookup.h"
#include "messages/MessagesDB.h"
#include "storage/FileReader.h"
#include "storage/Folder.h"
#include "text/Json.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <system_error>

namespace korvane {

namespace {

constexpr int recentRecords = 8;
constexpr int samplesInMiddle = 2;
constexpr int mostLines = 64; ///< read in search of records, so that garbage costs no time

/// What the database has under the row id of a record.
enum class Found {
    Nothing, ///< no message
    Same, ///< the message of the record
    Other, ///< another message
    NotComparable, ///< the line is not a record
};

/// Row id and date of a record, as they are in its line.
struct Key {
    std::int64_t rowID = 0;
    std::string_view date;
};

/// Compares the records of one chat with the messages of the database.
class Comparison {
public:
    Comparison(const ChatInfo& chat, const ChatState& state, MessageLookup& messages)
        : m_messages(messages)
        , m_guid(chat.guid)
        , m_isNew(!state.formatVersion)
        , m_beforeRowID(R"(","id":"mac:)" + Json::escaped(chat.guid) + ':')
    {
    }

    Found find(std::string_view line)
    {
        if (hasSameDate(line))
            return Found::Same;
        const auto record = Record::fromLineWithTornStart(line);
        if (record && m_isNew && record->conversationID != m_guid)
            return Found::Other; // a chat of the same name and number in the other database
        const auto rowID = record ? record->rowID() : std::nullopt;
        if (!rowID)
            return Found::NotComparable;
        m_highestRowID = std::max(m_highestRowID, *rowID);
        return find(*rowID, *record);
    }

    /// The highest row id of the records that were compared in full.
    std::int64_t highestRowID() const { return m_highestRowID; }

    /// The text that only the record of this message has.
    std::string idOf(std::int64_t rowID) const
    {
        return m_beforeRowID + std::to_string(rowID) + '"';
    }

private:
    /// The usual answer, found without reading the record's other members: parsing them would take
    /// longer than everything else.
    bool hasSameDate(std::string_view line)
    {
        const auto key = keyOf(line);
        const auto date = key ? m_messages.date(key->rowID) : std::nullopt;
        return date && m_dates.withMilliseconds(*date) == key->date;
    }

    std::optional<Key> keyOf(std::string_view line) const
    {
        constexpr std::string_view beforeDate = R"(,"date":")";
        constexpr std::size_t dateLength = 24;
        const std::size_t end = line.rfind(m_beforeRowID);
        if (end == line.npos || end < beforeDate.size() + dateLength)
            return std::nullopt;
        const std::size_t start = end - dateLength;
        if (!line.substr(0, start).ends_with(beforeDate))
            return std::nullopt;
        Key key{.date = line.substr(start, dateLength)};
        const std::string_view rest = line.substr(end + m_beforeRowID.size());
        const auto [stop, error]
            = std::from_chars(rest.data(), rest.data() + rest.size(), key.rowID);
        return error == std::errc() ? std::optional(key) : std::nullopt;
    }

    Found find(std::int64_t rowID, const Record& record)
    {
        const auto recorded = DateText::read(record.date);
        const auto date = m_messages.date(rowID);
        if (!date)
            return Found::Nothing;
        if (!recorded)
            return Found::NotComparable;
        return DateText::areClose(*recorded, *date) || hasSameContent(rowID, record) ? Found::Same
                                                                                     : Found::Other;
    }

    bool hasSameContent(std::int64_t rowID, const Record& record)
    {
        bool same = false;
        m_messages.read(rowID, [&](const MessageRowView& row) {
            same = row.senderID == record.senderID && row.fromMe == record.isOutgoing
                && row.text == record.body;
        });
        return same;
    }

    MessageLookup& m_messages;
    const std::string& m_guid;
    const bool m_isNew; ///< the chat has no state, so its file should not exist
    const std::string m_beforeRowID;
    DateText m_dates;
    std::int64_t m_highestRowID = 0;
};

/// One chat's file, and the signs that it is foreign.
class File {
public:
    File(const FileReader& file, const ChatInfo& chat, const ChatState& state,
        MessageLookup& messages)
        : m_file(file)
        , m_chat(chat)
        , m_state(state)
        , m_messages(messages)
        , m_comparison(chat, state, messages)
    {
    }

    bool isForeign()
    {
        const Found end = findRecent();
        return end == Found::Other || hasOtherBefore()
            || (end == Found::Nothing && newestIsUnknown());
    }

private:
    /// What the database has of the last record. If that is nothing, what it has of the eight last
    /// ones: Nothing only if it has none of them.
    Found findRecent()
    {
        LinesFromEnd lines(m_file);
        int compared = 0;
        for (int i = 0; i < mostLines && compared < recentRecords; ++i) {
            const auto line = lines.next();
            if (!line)
                return compared > 0 && lines.reachedStart() ? Found::Nothing : Found::NotComparable;
            const Found found = m_comparison.find(*line);
            if (found == Found::Same || found == Found::Other)
                return found;
            compared += found == Found::Nothing ? 1 : 0;
        }
        return compared == recentRecords ? Found::Nothing : Found::NotComparable;
    }

    /// Whether the first record, or one of those in the middle, is another message. The ones in the
    /// middle follow each other: each place that is read takes as long as opening the file.
    bool hasOtherBefore()
    {
        return hasOtherAfter(0, 1) || hasOtherAfter(m_file.size() / 2, samplesInMiddle);
    }

    /// Whether one of the first `count` records after `offset` is another message.
    bool hasOtherAfter(std::int64_t offset, int count)
    {
        Found found = Found::NotComparable;
        visitLinesAfter(m_file, offset, [&](std::string_view line) {
            found = m_comparison.find(line);
            count -= found == Found::NotComparable ? 0 : 1;
            return found == Found::Other || count == 0;
        });
        return found == Found::Other;
    }

    /// Whether the newest message of the database should be in the file and is not. A file that was
    /// cut off, or an old copy, lacks it too, but ends before its row id.
    bool newestIsUnknown()
    {
        const auto newest = m_messages.newest(m_chat.id);
        return newest && *newest <= m_state.lastRowID && *newest <= m_comparison.highestRowID()
            && !has(*newest);
    }

    /// Searches from the end, because the file has the newest message there, unless the file is
    /// foreign. Also true if the file cannot be read to its beginning.
    bool has(std::int64_t rowID)
    {
        const std::string id = m_comparison.idOf(rowID);
        const std::boyer_moore_horspool_searcher search(id.begin(), id.end());
        LinesFromEnd lines(m_file);
        while (const auto line = lines.next()) {
            if (std::search(line->begin(), line->end(), search) != line->end()
                && m_comparison.find(*line) == Found::Same)
                return true;
        }
        return !lines.reachedStart();
    }

    const FileReader& m_file;
    const ChatInfo& m_chat;
    const ChatState& m_state;
    MessageLookup& m_messages;
    Comparison m_comparison;
};

bool isForeign(
    const ChatInfo& chat, const ChatState& state, const Folder& folder, MessageLookup& messages)
{
    const auto file
        = folder.file("./" + state.fileName); // a name from the state may begin with "/"
    try {
        return file && File(*file, chat, state, messages).isForeign();
    } catch (const DBError&) {
        return false;
    }
}

} // namespace

const char* const ForeignFiles::explanation
    = "The file was exported from a different Messages database, so nothing was added to it. If "
      "this is a new Mac or a restored database, run \"korvane-sync check --repair\" with the same "
      "--folder. If this is a second source, such as a phone's backup, give it a KORVANE_SYNC_HOME "
      "and a --folder of its own.";

std::set<std::string> ForeignFiles::find(const std::vector<ChatInfo>& chats,
    const ExportState& state, const std::filesystem::path& folder, MessagesDB& db,
    const NewName& newName)
try {
    const auto opened = Folder::open(folder / "."); // which follows a link
    if (!opened)
        return {};
    std::set<std::string> foreign;
    MessageLookup messages = db.lookup();
    for (const ChatInfo& chat : chats) {
        const ChatState* const known = state.current(chat.guid);
        const ChatState fresh{.fileName = known ? std::string() : newName(chat)};
        if (isForeign(chat, known ? *known : fresh, *opened, messages))
            foreign.insert(chat.guid);
    }
    return foreign;
} catch (const DBError&) {
    return {};
} catch (const std::system_error&) { // the folder cannot be opened
    return {};
}

} // namespace korvane
