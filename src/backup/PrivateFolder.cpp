#include "backup/PrivateFolder.h"

#include "backup/BackupError.h"

#include <QRandomGenerator>
#include <QString>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr const char* prefix = "korvane-sync-backup.";
constexpr const char* lockName = "lock";

/// SQLite's index of a log takes a few KiB; the rest of this is for other programs.
constexpr std::uintmax_t reserve = std::uintmax_t(8) << 20;

/// What copies of this size need, with SQLite's temporary files.
std::uintmax_t roomFor(std::int64_t bytes)
{
    const auto copies = static_cast<std::uintmax_t>(bytes);
    return copies + copies / 2 + reserve;
}

bool hasRoom(const fs::path& place, std::int64_t bytes)
{
    std::error_code failure;
    const fs::space_info space = fs::space(place, failure);
    return !failure && space.available >= roomFor(bytes);
}

/// A name with the process id, for people, that no other folder has.
std::string newName()
{
    const QString unique = QString::number(QRandomGenerator::system()->generate64(), 36);
    return prefix + std::to_string(::getpid()) + '.' + unique.toStdString();
}

/// Locks a folder that was just created. Another process may already be removing it as a leftover,
/// because it was not locked: then this fails, or the lock file is gone.
std::optional<FileLock> locked(const fs::path& folder)
{
    std::optional<FileLock> lock(folder / lockName);
    const FileLock::Outcome outcome = lock->tryLock();
    const bool isOurs
        = outcome == FileLock::Outcome::Held || outcome == FileLock::Outcome::Unsupported;
    std::error_code ignored;
    return isOurs && fs::exists(folder / lockName, ignored) ? std::move(lock) : std::nullopt;
}

constexpr std::array filesOfADatabase = {"", "-wal", "-shm", "-journal"};

std::vector<std::string> filesOf(const fs::path& folder, const PrivateFolder::Names& databases)
{
    std::vector<std::string> files{(folder / lockName).string()};
    for (const std::string& name : databases) {
        for (const char* suffix : filesOfADatabase)
            files.push_back((folder / (name + suffix)).string());
    }
    return files;
}

void removeAll(const fs::path& folder)
{
    std::error_code ignored; // a later start tries again
    fs::remove_all(folder, ignored);
}

bool isFolderOfThisUser(const fs::path& path)
{
    struct stat info { };
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::geteuid();
}

void removeIfLeftOver(const fs::path& folder)
{
    if (!folder.filename().string().starts_with(prefix) || !isFolderOfThisUser(folder))
        return;
    const FileLock lock(folder / lockName);
    if (lock.tryLock() == FileLock::Outcome::Held)
        removeAll(folder);
}

std::vector<fs::path> inMemoryFirst(std::vector<fs::path> places)
{
    std::stable_partition(places.begin(), places.end(), isMemoryFileSystem);
    return places;
}

} // namespace

PrivateFolder::PrivateFolder(
    std::int64_t bytes, const Names& databases, const std::vector<fs::path>& places)
{
    constexpr int attempts = 10;
    for (const fs::path& place : inMemoryFirst(places)) {
        for (int i = 0; i < attempts && hasRoom(place, bytes); ++i) {
            if (createIn(place, databases)) {
                m_temporary.emplace(m_path.string());
                return;
            }
        }
    }
    throw BackupError("There is no room for a private copy of "
        + std::to_string(std::max<std::int64_t>(bytes >> 20, 1)) + " MiB, which needs "
        + std::to_string(roomFor(bytes) >> 20)
        + " MiB with SQLite's temporary files. Free some space, or set TMPDIR to a folder that has "
          "it.");
}

/// From before the folder exists, a signal removes it.
bool PrivateFolder::createIn(const fs::path& place, const Names& databases)
{
    m_path = place / newName();
    m_removal.emplace(filesOf(m_path, databases), m_path.string());
    if (::mkdir(m_path.c_str(), S_IRWXU) == 0)
        m_lock = locked(m_path);
    return m_lock.has_value();
}

PrivateFolder::~PrivateFolder()
{
    removeAll(m_path);
}

bool PrivateFolder::isInMemory() const
{
    return isMemoryFileSystem(m_path);
}

void PrivateFolder::remove(const std::string& database) const
{
    for (const char* suffix : filesOfADatabase) {
        std::error_code ignored;
        fs::remove(m_path / (database + suffix), ignored);
    }
}

void PrivateFolder::removeLeftovers(const std::vector<fs::path>& places)
{
    for (const fs::path& place : places) {
        std::error_code failure;
        for (fs::directory_iterator item(place, failure), end; !failure && item != end;
             item.increment(failure))
            removeIfLeftOver(item->path());
    }
}

} // namespace korvane
