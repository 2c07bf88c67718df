#pragma once

#include "messages/MessageTypes.h"
#include "messages/MessagesDB.h"
#include "storage/Paths.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace korvane {

class ContactNames;

/// The outcome of one sync.
struct SyncResult {
    std::int64_t added = 0; ///< records written, all chats together
    std::int64_t chatsTouched = 0; ///< chats with at least one record written
    std::vector<std::string> errors; ///< one line per failure, in order of occurrence

    bool operator==(const SyncResult&) const = default;
};

/// Called before each chat of a sync, on the thread that called sync(): in the window program, the
/// worker thread. Returning false ends the sync; its progress is saved.
using BeforeChat = std::function<bool(const ChatInfo&)>;

/// Exports chats to files and keeps its progress in the state file. These functions hold no state
/// in memory, run on the calling thread and take no lock. Two concurrent syncs on one support
/// folder would append the same messages twice; the caller must prevent that.
namespace Exporter {

/// The name under which a chat is shown: the user's own name for a group, otherwise the names of
/// the first three members and the number of further ones ("Ann, Bo, Cy +2").
std::string title(const ChatInfo& chat, const ContactNames& names);

/// Brings the files of `chats` in `folder` up to date: appends the messages that arrived since the
/// last sync, and keeps the state in `support`. A file that is missing, or that was written under
/// another title, is started from scratch. The failure of one chat adds a line to the result; the
/// sync goes on with the next chat. Throws nothing but std::overflow_error (see referenceTime()),
/// unless `beforeChat` throws.
SyncResult sync(const std::vector<ChatInfo>& chats, const ContactNames& names,
    const std::filesystem::path& folder, const SupportFolder& support,
    const std::string& database = MessagesDB::path(), const BeforeChat& beforeChat = {});

} // namespace Exporter

} // namespace korvane
