#pragma once

#include "messages/MessageTypes.h"

#include <sys/types.h>

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// Decides whether a run of the window looks whether the files of its chats are from a different
/// database (SyncMode::checkDatabase). A chat's first run after the start does, and its first run
/// after the database file was replaced. It is not worth the time in each of the runs, which follow
/// each other every 30 seconds. Used by one thread at a time.
class DatabaseCheck {
public:
    /// Looks at the file at the path `database`. Call it before each run.
    bool isDue(const std::vector<ChatInfo>& chats, const std::string& database);

    /// The run of these chats, the latest for which isDue() was called, has found nothing wrong.
    void setDone(const std::vector<ChatInfo>& chats);

private:
    using FileIdentity = std::pair<dev_t, ino_t>;

    std::optional<FileIdentity> m_file;
    std::set<std::string> m_done; ///< guids of the chats that were compared with `m_file`
};

} // namespace korvane
