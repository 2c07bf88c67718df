#pragma once

#include "messages/MessageTypes.h"

#include <sys/types.h>

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// Decides which runs of the window check that the files of their chats come from this database
/// (SyncMode::checkDatabase): a chat's first run after the start, and its first run after the
/// database file was replaced. Every run, each 30 seconds, would cost too much time. Used by one
/// thread at a time.
class DatabaseCheck {
public:
    /// Whether the run of these chats has to check. `database` is the path of the database file.
    /// Call it before each run.
    bool isDue(const std::vector<ChatInfo>& chats, const std::string& database);

    /// Notes that a run of these chats has checked and found nothing wrong. It must be the latest
    /// run for which isDue() was called.
    void setDone(const std::vector<ChatInfo>& chats);

private:
    using FileIdentity = std::pair<dev_t, ino_t>;

    std::optional<FileIdentity> m_file;
    std::set<std::string> m_done; ///< guids of the chats that were compared with `m_file`
};

} // namespace korvane
