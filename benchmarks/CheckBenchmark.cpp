// Measures a check of all files relative to a full export of the same database in the same run.
// Arguments:
//   --quick        a small sample; the limits are reported, but not enforced
//   --rounds N     number of rounds, of which the median counts
//   --folder DIR   keeps the sample there for the next run
// All SQLite calls run in child processes, because sqlite3_config() must precede SQLite's first use
// in a process.

#include "Arguments.h"
#include "Child.h"
#include "ExportScene.h"

#include "check/Checker.h"
#include "export/Exporter.h"

#include <QTemporaryDir>

#include <filesystem>
#include <fstream>
#include <iostream>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

/// Throws if the check does not find what it should: then its time would mean nothing.
double check(const ExportScene& scene, bool intact)
{
    Sqlite::configureProcess();
    return secondsOf([&] {
        const auto chats = MessagesDB(scene.database).chats();
        const CheckResult result = Checker::check(
            chats, scene.names(), scene.exports(), scene.support(), scene.database);
        std::int64_t balance = 0;
        for (const ChatInfo& chat : chats)
            balance += chat.messageCount;
        for (const ChatCheck& chat : result.chats)
            balance -= chat.counts.records;
        if (!result.errors.empty() || balance != 0 || result.isWhole() != intact)
            throw std::runtime_error("The check found something else than there is.");
    });
}

/// Changes the text of each record in the files.
void damageAllFiles(const ExportScene& scene)
{
    for (const auto& entry : fs::directory_iterator(scene.exports())) {
        std::string bytes(entry.file_size(), '\0');
        std::ifstream(entry.path(), std::ios::binary)
            .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        const std::string_view body = R"("body":")";
        std::string damaged;
        std::size_t start = 0;
        for (std::size_t at = bytes.find(body); at != bytes.npos; at = bytes.find(body, start)) {
            damaged.append(bytes, start, at + body.size() - start).append(1, '!');
            start = at + body.size();
        }
        std::ofstream(entry.path(), std::ios::binary) << damaged.append(bytes, start);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    const Arguments arguments(argc, argv);
    const bool quick = arguments.has("--quick");
    const int rounds = std::stoi(arguments.value("--rounds", "5"));
    const QTemporaryDir temporary;
    const std::string folder = arguments.value("--folder", temporary.path().toStdString());
    fs::create_directories(folder);

    const SampleSize size{.messages = quick ? 30'000 : 1'000'000, .chats = quick ? 60 : 300};
    const ExportScene scene = ExportScene::prepared(folder, quick ? "many-small" : "many", size);
    inChild([&] { return scene.fullExport(); }); // warms the page cache
    const SyncMode onOneThread{.readAhead = {.threads = 0}};
    const auto costs = medians(
        {[&] { return scene.fullExport(onOneThread); }, [&] { return check(scene, true); }},
        rounds);
    constexpr double mebi = 1024.0 * 1024.0;
    std::cout << size.messages << " messages in " << size.chats
              << " chats: full export on one thread " << costs[0].seconds << " s, "
              << static_cast<double>(costs[0].peakBytes) / mebi << " MiB\n";
    bool good = report("  check / full export", costs[1].seconds / costs[0].seconds, 1.3);
    good = report("  peak memory (64 MiB and 32 bytes a record)",
               static_cast<double>(costs[1].peakBytes) / mebi,
               64 + 32 * static_cast<double>(size.messages) / mebi, "MiB")
        && good;

    damageAllFiles(scene);
    const Cost damaged = inChild([&] { return check(scene, false); });
    std::cout << "  with every record changed: " << damaged.seconds / costs[0].seconds
              << " times a full export, " << static_cast<double>(damaged.peakBytes) / mebi
              << " MiB\n";
    return good || quick ? 0 : 1; // a small sample proves nothing about speed
}
