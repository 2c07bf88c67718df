#pragma once

#include "messages/MessageTypes.h"
#include "messages/MessagesDB.h"
#include "storage/Paths.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace korvane {

struct ContactNames;

/// A file that a restart replaced and that stays in Kept/, because Messages no longer has all of
/// it.
struct KeptFile {
    std::string title; ///< of the chat
    std::int64_t messages = 0; ///< records that the database no longer has as they are here
    std::string file; ///< relative to the export folder: "Kept/…"

    bool operator==(const KeptFile&) const = default;
};

/// The outcome of one sync.
struct SyncResult {
    std::int64_t added = 0; ///< records written, all chats together
    std::int64_t chatsTouched = 0; ///< chats with at least one record written
    std::vector<std::string> errors{}; ///< one line per failure, in order of occurrence
    std::vector<KeptFile> kept{}; ///< files that went to Kept/ and stay there
    std::int64_t foreignChats = 0; ///< chats left alone: the file is from a different database

    bool operator==(const SyncResult&) const = default;
};

/// How a large export prepares the records of its next chats on other threads (see ReadAhead).
struct ReadAheadLimits {
    unsigned threads = threadsOfThisMachine(); ///< at most; 0: reads on the calling thread only
    std::int64_t fromMessages = 10'000; ///< a run with fewer to read starts no thread
    /// Of prepared records. The chat that is being written may have 1 MiB of them in any case.
    std::size_t bytes = std::size_t{64} * 1024 * 1024;

    /// As many as the machine has cores, but at most 3; none with one core.
    static unsigned threadsOfThisMachine();
};

/// What a sync does besides bringing files up to date.
struct SyncMode {
    std::set<std::string> restart{}; ///< guids of chats to export from the beginning
    /// By guid: file names of chats, in case that the state does not know them.
    std::map<std::string, std::string> files{};
    bool checkDatabase = true; ///< leave alone a chat whose file is from a different database
    ReadAheadLimits readAhead{};
};

/// Called before each chat of a sync, on the thread that called sync(): in the window program, the
/// worker thread. Returning false ends the sync; its progress is saved.
using BeforeChat = std::function<bool(const ChatInfo&)>;

/// Exports chats to files and keeps its progress in the state file. These functions hold no state
/// in memory and take no lock. They decide, write and call back on the calling thread; only reading
/// the database for a large export is left to other threads, which end with the call. Two
/// concurrent syncs on one support folder would append the same messages twice; the caller must
/// prevent that.
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
    const std::string& database = MessagesDB::path(), const BeforeChat& beforeChat = {},
    const SyncMode& mode = {});

} // namespace Exporter

} // namespace korvane
