#include "cli/SampleCommand.h"

#include "cli/Console.h"
#include "messages/Sqlite.h"
#include "process/Interruption.h"

#include <array>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

/// Throws std::runtime_error if `file` may not be written.
void check(const std::string& file, bool overwrite)
{
    if (!fs::exists(fs::symlink_status(file)))
        return;
    if (!overwrite)
        throw std::runtime_error(file + ": The file exists; --force overwrites it.");
    if (!fs::is_regular_file(file))
        throw std::runtime_error(file + ": This is not a file that can be overwritten.");
}

constexpr std::array filesOfADatabase = {"", "-wal", "-shm", "-journal"};

bool isSameFile(const fs::path& one, const fs::path& other)
{
    std::error_code unknown; // usually the files do not exist yet
    return fs::weakly_canonical(one, unknown) == fs::weakly_canonical(other, unknown)
        || fs::equivalent(one, other, unknown);
}

/// Throws std::runtime_error if the contacts file is one of the database's files.
void checkApart(const std::string& file, const std::string& contacts)
{
    for (const char* suffix : filesOfADatabase) {
        if (isSameFile(file + suffix, contacts))
            throw std::runtime_error(
                contacts + ": The database uses this file; name another file for the contacts.");
    }
}

/// Removes a database and the log and journal files that SQLite keeps beside it.
void clear(const std::string& file)
{
    for (const char* suffix : filesOfADatabase)
        fs::remove(file + suffix);
}

void writeDatabase(
    const SampleOptions& options, const Interruption& interruption, const Console& console)
{
    ProgressBar bar(console.err, console.errIsTerminal, options.size.messages);
    writeSampleDatabase(options.file, options.size, [&](std::int64_t written) {
        bar.show(written, "Writing messages");
        return !interruption.requested();
    });
}

void writeAll(
    const SampleOptions& options, const Interruption& interruption, const Console& console)
{
    if (options.overwrite)
        clear(options.file);
    writeDatabase(options, interruption, console);
    console.out << "Wrote " << options.size.messages << " messages in " << options.size.chats
                << " chats to " << options.file << '\n';
    if (options.contacts) {
        if (options.overwrite)
            fs::remove(*options.contacts);
        writeSampleContacts(*options.contacts, options.size);
        console.out << "Wrote the contacts to " << *options.contacts << '\n';
    }
}

} // namespace

int runSample(const SampleOptions& options, const Console& console)
{
    check(options.file, options.overwrite);
    if (options.contacts) {
        check(*options.contacts, options.overwrite);
        checkApart(options.file, *options.contacts);
    }
    const Interruption interruption;
    try {
        writeAll(options, interruption, console);
    } catch (const DBError&) {
        if (!interruption.requested())
            throw;
        console.complain("Interrupted. The incomplete sample was deleted.");
        return ExitCode::interrupted;
    }
    return ExitCode::success;
}

} // namespace korvane
