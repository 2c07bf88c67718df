#include "messages/DatabaseFault.h"

#include "messages/Sqlite.h"

#include <filesystem>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

using Cause = DatabaseFault::Cause;

std::string kindOf(fs::file_type type)
{
    switch (type) {
    case fs::file_type::directory:
        return "a folder";
    case fs::file_type::fifo:
        return "a named pipe";
    case fs::file_type::socket:
        return "a socket";
    default:
        return "a device";
    }
}

/// Looks beside the target of `path`: SQLite resolves symbolic links and keeps its log, index and
/// journal next to the real file.
std::optional<DatabaseFault> pipeBeside(const std::string& path)
{
    std::error_code failure;
    const fs::path target = fs::canonical(path, failure);
    for (const char* suffix : {"-wal", "-shm", "-journal"}) {
        const std::string file = target.native() + suffix;
        if (fs::is_fifo(file, failure))
            return DatabaseFault{Cause::PipeBeside, file};
    }
    return std::nullopt;
}

Cause causeOf(const Sqlite::Failure& failure)
{
    switch (failure.kind) {
    case Sqlite::Failure::Kind::Missing:
        return Cause::Missing;
    case Sqlite::Failure::Kind::Denied:
        return Cause::Denied;
    case Sqlite::Failure::Kind::LogUnusable:
        return Cause::LogUnusable;
    case Sqlite::Failure::Kind::Locked:
        return Cause::Locked;
    case Sqlite::Failure::Kind::NotADatabase:
        return Cause::NotADatabase;
    case Sqlite::Failure::Kind::Damaged:
        return Cause::Damaged;
    case Sqlite::Failure::Kind::NoSuchTable:
        return Cause::NotMessages;
    case Sqlite::Failure::Kind::Other:
        break;
    }
    return Cause::Other;
}

} // namespace

std::optional<DatabaseFault> faultOfFiles(const std::string& path)
{
    std::error_code failure;
    const fs::file_type type = fs::status(path, failure).type();
    if (type == fs::file_type::regular) {
        const bool empty = fs::file_size(path, failure) == 0;
        return empty ? DatabaseFault{Cause::Empty, "0 bytes"} : pipeBeside(path);
    }
    if (failure || type == fs::file_type::not_found)
        return std::nullopt;
    return DatabaseFault{Cause::NotAFile, kindOf(type)};
}

DatabaseFault findDatabaseFault(const std::string& path)
{
    if (auto fault = faultOfFiles(path))
        return *std::move(fault);
    const auto failure = Sqlite::failureToRead(path, databaseProbe);
    if (!failure)
        return {Cause::Gone, ""};
    return {causeOf(*failure), failure->message};
}

} // namespace korvane
