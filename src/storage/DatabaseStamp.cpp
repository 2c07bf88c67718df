#include "storage/DatabaseStamp.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace korvane {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds coarsestResolution{2};

/// SQLite keeps the log next to the real file, behind all symbolic links.
std::optional<FileStamp> logOf(const fs::path& realDatabase)
{
    const auto log = FileStamp::of(realDatabase.native() + "-wal");
    return log && log->size > 0 ? log : std::nullopt;
}

FileStamp::Time latestTime(const FileStamp& file)
{
    return std::max(file.modified, file.changed);
}

FileStamp::Time latestTime(const DatabaseStamp& stamp)
{
    const FileStamp::Time database = latestTime(stamp.database);
    return stamp.log ? std::max(database, latestTime(*stamp.log)) : database;
}

} // namespace

std::optional<DatabaseStamp> DatabaseStamp::of(const std::string& database, Clock::time_point now)
{
    std::error_code failure;
    const fs::path file = fs::canonical(database, failure);
    if (failure || isOnNetwork(file))
        return std::nullopt;
    const auto main = FileStamp::of(file);
    if (!main)
        return std::nullopt;
    const DatabaseStamp stamp{*main, logOf(file)};
    const bool isSettled = latestTime(stamp) <= FileStamp::timeOf(now - coarsestResolution);
    return isSettled ? std::optional(stamp) : std::nullopt;
}

} // namespace korvane
