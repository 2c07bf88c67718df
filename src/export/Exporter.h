#pragma once

#include "contacts/ContactNames.h"
#include "messages/MessageTypes.h"
#include "messages/MessagesDB.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// The outcome of one sync.
struct SyncResult {
    std::int64_t added = 0; ///< records written, all chats together
    std::int64_t chatsTouched = 0; ///< chats with at least one record written
    std::vector<std::string> errors; ///< one line per failure, in order of occurrence

    bool operator==(const SyncResult&) const = default;
};

/// Called before each chat of a sync. Returning false ends the sync; its progress is saved.
using BeforeChat = std::function<bool(const ChatInfo&)>;

/// Exports chats to files and keeps its progress in the state file. These functions hold no state
/// in memory, run on the calling thread and take no lock. Two concurrent syncs on one support
/// folder would append the same messages twice; the caller must prevent that.
namespace Exporter {

/// The name under which a chat is shown: the user's own name for a group, otherwise the names of
/// the first three members and the number of further ones ("Ann, Bo, Cy +2").
std::string title(const ChatInfo& chat, const ContactNames& names);

/// `title` as part of a file name. Characters that some file system forbids, and all control and
/// format characters, become "_". Then leading and trailing blanks are removed, and the text is
/// cut to 100 grapheme clusters.
std::string safeFileName(std::string_view title);

/// The name of a new export file: "<safe title> (<chat id>) Korvane Wrapped.jsonl.txt".
std::string exportFileName(std::string_view title, std::int64_t chatID);

/// The same name in at most 255 bytes, the limit of most file systems. Cuts the title between two
/// grapheme clusters. The id is kept, so no two chats share a name.
std::string shortenedFileName(std::string_view title, std::int64_t chatID);

/// Brings the files of `chats` in `folder` up to date: appends the messages that arrived since the
/// last sync. A file that is missing, or that was written under another title, is started from
/// scratch. The failure of one chat adds a line to the result; the sync goes on with the next chat.
/// Throws nothing but std::overflow_error (see referenceTime()), unless `beforeChat` throws.
SyncResult sync(const std::vector<ChatInfo>& chats, const ContactNames& names,
    const std::filesystem::path& folder, const std::string& database = MessagesDB::path(),
    const BeforeChat& beforeChat = {});

} // namespace Exporter

} // namespace korvane
