#pragma once

#include "contacts/ContactNames.h"
#include "messages/ChatInfo.h"
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
    std::int64_t added = 0; ///< records written, over all chats
    std::int64_t chatsTouched = 0; ///< chats that had at least one record written
    std::vector<std::string> errors; ///< one line for each failure, in the order they happened

    bool operator==(const SyncResult&) const = default;
};

/// Called before each chat of a sync; false ends the sync there, with its progress saved.
using BeforeChat = std::function<bool(const ChatInfo&)>;

/// Writes chats into files and remembers how far it came. Stateless but for those files: all
/// work is done on the calling thread, and nothing is locked. Two syncs at a time on one support
/// folder would append the same messages twice; keeping them apart is up to the caller.
namespace Exporter {

/// The name under which a chat is shown: the user's own name for a group, otherwise the names
/// of its first three members and how many more there are ("Ann, Bo, Cy +2").
std::string title(const ChatInfo& chat, const ContactNames& names);

/// `title` as part of a file name: characters that some file system forbids, and all control
/// and format characters, become "_"; blanks around it go; 100 user-perceived characters stay.
std::string safeFileName(std::string_view title);

/// The name of a new export file: "<safe title> (<chat id>) Korvane Wrapped.jsonl.txt".
std::string exportFileName(std::string_view title, std::int64_t chatID);

/// The same name in at most 255 bytes, for file systems that refuse a longer one: of the title as
/// many user-perceived characters as fit. The id stays, so no two chats share a name.
std::string shortenedFileName(std::string_view title, std::int64_t chatID);

/// Brings the files of `chats` in `folder` up to date: appends what arrived since the last
/// sync, or starts a file afresh that is gone or was written under another title.
/// One chat's failure is a line in the result and does not keep the others back. Throws
/// nothing but std::overflow_error (see referenceTime()).
SyncResult sync(const std::vector<ChatInfo>& chats, const ContactNames& names,
    const std::filesystem::path& folder, const std::string& database = MessagesDB::path(),
    const BeforeChat& beforeChat = {});

} // namespace Exporter

} // namespace korvane
