#pragma once

#include "messages/Sqlite.h"
#include "process/RemovalOnSignal.h"
#include "storage/FileLock.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/// A folder for files that only this process may see and that must not outlive it: the copies of a
/// backup's databases. Its mode is 0700. It is on a memory file system if there is one with enough
/// room, and otherwise on disk. SQLite's temporary files go there, too. The destructor removes it
/// with everything in it, and so do the signals of RemovalOnSignal. What SIGKILL leaves is removed
/// by removeLeftovers() in another process: the folder contains a file "lock", on which a living
/// owner holds a lock. At most one object at a time.
class PrivateFolder {
public:
    /// The names of files that SQLite or this program may create in the folder. SQLite's own files
    /// beside a database are implied.
    using Names = std::vector<std::string>;

    /// Creates it in the first of `places` that has room, those in memory first: for `bytes` of
    /// copies, half of that again, and a reserve. The half is for SQLite's temporary files: to sort
    /// the messages of a large chat, they took up to 45 % of the size of the database. Throws
    /// BackupError if there is no such place.
    PrivateFolder(std::int64_t bytes, const Names& databases,
        const std::vector<std::filesystem::path>& places = PrivateFolder::places());
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::filesystem::path file(const std::string& name) const { return m_path / name; }
    bool isInMemory() const;

    /// Removes a database and SQLite's files beside it. Reports no errors.
    void remove(const std::string& database) const;

    /// Where this system lets a program put such a folder, the best place first.
    static std::vector<std::filesystem::path> places();

    /// Removes the folders of processes of the same user that have ended. Reports no errors.
    static void removeLeftovers(
        const std::vector<std::filesystem::path>& places = PrivateFolder::places());

private:
    bool createIn(const std::filesystem::path& place, const Names& databases);

    std::filesystem::path m_path;
    std::optional<RemovalOnSignal> m_removal;
    std::optional<FileLock> m_lock;
    std::optional<Sqlite::TemporaryFolder> m_temporary;
};

/// True if what is in the folder is kept in memory. It may still be swapped out.
bool isMemoryFileSystem(const std::filesystem::path& folder);

} // namespace korvane
