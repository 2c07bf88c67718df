#pragma once

#include "export/ExportState.h"
#include "export/Journal.h"
#include "storage/OutputFile.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/// A group of chats whose files and state change together: all of it, or nothing, even if the
/// process is killed. A group is open from begin() to end(). Used by one thread at a time. Unless
/// stated otherwise, members throw std::system_error.
class FileGroup {
public:
    /// One chat whose file has changed, and what is needed to take that back.
    struct Chat {
        std::string guid;
        std::string title;
        std::int64_t added = 0; ///< records
        std::optional<ChatState> before; ///< its record before the group
        FileChange change;
    };

    FileGroup(const std::filesystem::path& folder, const SupportFolder& support);

    bool isOpen() const { return m_isOpen; }

    /// How long the group has been open.
    std::chrono::steady_clock::duration age() const;

    /// Whether the journal says how to undo exactly this change.
    bool covers(const FileChange& change) const;

    /// Opens a group that may make these changes: the journal is on disk when it returns.
    void begin(const std::vector<FileChange>& changes);

    /// Makes way for a new file: moves the old one to Kept/ or, if it is a symbolic link, removes
    /// it.
    void moveAway(const FileChange& change);

    /// The chat's file, opened for appending.
    OutputFile open(const FileChange& change);

    /// Undoes what moveAway() and open() began for this chat, if anything.
    void undo(const FileChange& change);

    /// Notes a chat whose file is complete.
    void add(Chat chat) { m_chats.push_back(std::move(chat)); }

    struct Failure {
        Chat chat;
        std::string reason;
    };

    /// Waits until all files are on disk. Undoes the chats of which that fails, and returns them.
    std::vector<Failure> flush();

    /// Undoes all chats.
    void undoAll() const;

    /// Closes the group: removes the journal. The state must be on disk, or everything undone.
    void end();

private:
    const std::filesystem::path m_folder;
    const Journal m_journal;
    bool m_isOpen = false;
    std::chrono::steady_clock::time_point m_begun;
    std::map<std::string, FileChange> m_planned; ///< by file name
    std::vector<Chat> m_chats;
};

} // namespace korvane
