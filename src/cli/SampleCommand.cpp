#include "cli/SampleCommand.h"

#include "cli/Interruption.h"
#include "cli/ProgressBar.h"

#include <filesystem>
#include <functional>
#include <stdexcept>

namespace korvane {

namespace fs = std::filesystem;

namespace {

/// Lets `write` write beside `file`, then puts the outcome in its place.
void replaceWith(
    const std::string& file, bool overwrite, const std::function<void(const std::string&)>& write)
{
    if (!overwrite && fs::exists(file))
        throw std::runtime_error(file + ": The file exists; --force overwrites it.");
    const std::string beside = file + ".new";
    fs::remove(beside);
    write(beside);
    fs::rename(beside, file);
}

void writeDatabase(const SampleOptions& options, const Console& console)
{
    const Interruption interruption;
    ProgressBar bar(console.err, console.errIsTerminal, options.size.messages);
    replaceWith(options.file, options.overwrite, [&](const std::string& file) {
        writeSampleDatabase(file, options.size, [&](std::int64_t written) {
            bar.show(written, "Writing messages");
            return !interruption.requested();
        });
    });
}

} // namespace

int runSample(const SampleOptions& options, const Console& console)
{
    writeDatabase(options, console);
    console.out << "Wrote " << options.size.messages << " messages in " << options.size.chats
                << " chats to " << options.file << '\n';
    if (options.contacts) {
        replaceWith(*options.contacts, options.overwrite,
            [&options](const std::string& file) { writeSampleContacts(file, options.size); });
        console.out << "Wrote their people to " << *options.contacts << '\n';
    }
    return ExitCode::success;
}

} // namespace korvane
