// Measures an export relative to a baseline of bare SQLite calls in the same run. Arguments:
//   --quick        a small sample; the limits are reported, but not enforced
//   --rounds N     number of rounds, of which the median counts
//   --folder DIR   keeps the samples there for the next run
// All SQLite calls run in child processes, because sqlite3_config() must precede SQLite's first use
// in a process.

#include "Arguments.h"
#include "Child.h"
#include "ExportScene.h"
#include "Floor.h"

#include "export/ExportState.h"
#include "export/Exporter.h"
#include "export/ForeignFiles.h"

#include <QTemporaryDir>

#include <filesystem>
#include <iostream>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

std::int64_t bytesIn(const fs::path& folder)
{
    std::int64_t bytes = 0;
    for (const auto& entry : fs::directory_iterator(folder))
        bytes += static_cast<std::int64_t>(entry.file_size());
    return bytes;
}

/// What a full export may take.
struct Limits {
    double ratio = 0; ///< to the bare queries on one thread
    double mebibytes = 0;
};

bool measureFull(const ExportScene& scene, int rounds, const Limits& limits)
{
    inChild([&] { return scene.fullExport(); }); // for the file sizes; warms the page cache
    const std::int64_t bytes = bytesIn(scene.exports());
    const SyncMode onOneThread{.readAhead = {.threads = 0}};
    const auto costs = medians(
        {[&] {
             return secondsOf(
                 [&] { Floor::exportAll(scene.database, bytes, scene.folder + "/floor"); });
         },
            [&] { return scene.fullExport(); }, [&] { return scene.fullExport(onOneThread); }},
        rounds);
    constexpr double mebi = 1024.0 * 1024.0;
    std::cout << scene.name << ": " << bytes / 1'000'000 << " MB of records, floor "
              << costs[0].seconds << " s, on one thread " << costs[2].seconds / costs[0].seconds
              << " times as long, with " << static_cast<double>(costs[2].peakBytes) / mebi
              << " MiB\n";
    const bool quick = report("  full export / bare queries and writing",
        costs[1].seconds / costs[0].seconds, limits.ratio);
    const bool lean = report(
        "  peak memory", static_cast<double>(costs[1].peakBytes) / mebi, limits.mebibytes, "MiB");
    return quick && lean;
}

constexpr int manyTimes = 20; ///< so often, short work is measured at a time
constexpr int twice = 2;

double bareQuestions(const ExportScene& scene, int repeats)
{
    const ExportState state = ExportState::load(scene.support());
    std::vector<std::pair<std::int64_t, std::int64_t>> questions;
    for (const ChatInfo& chat : MessagesDB(scene.database).chats())
        questions.emplace_back(chat.id, state.chats.at(chat.guid).lastRowID);
    return secondsOf([&] {
        for (int i = 0; i < repeats; ++i)
            Floor::askForNew(scene.database, questions);
    });
}

double exportsOfNothingNew(const ExportScene& scene, int repeats)
{
    Sqlite::configureProcess();
    const auto chats = MessagesDB(scene.database).chats();
    const ContactNames contacts = scene.names();
    return secondsOf([&] {
        for (int i = 0; i < repeats; ++i)
            Exporter::sync(chats, contacts, scene.exports(), scene.support(), scene.database);
    });
}

bool measureNothingNew(const ExportScene& scene, int rounds, int repeats, double limit)
{
    inChild([&] { return scene.fullExport(); });
    const auto costs = medians({[&] { return bareQuestions(scene, repeats); },
                                   [&] { return exportsOfNothingNew(scene, repeats); }},
        rounds);
    std::cout << scene.name << ": floor of nothing new " << costs[0].seconds / repeats * 1000
              << " ms\n";
    return report(
        "  nothing new / opening and one query a chat", costs[1].seconds / costs[0].seconds, limit);
}

/// The question whether the files are from this database, asked of a connection that has read only
/// the chat list, as in an export.
double sameDatabaseQuestions(const ExportScene& scene)
{
    const ExportState state = ExportState::load(scene.support());
    double seconds = 0;
    for (int i = 0; i < manyTimes; ++i) {
        MessagesDB db(scene.database);
        const auto chats = db.chats();
        seconds += secondsOf([&] {
            if (!ForeignFiles::find(chats, state, scene.exports(), db, {}).empty())
                throw std::runtime_error("a file counts as one from a different database");
        });
    }
    return seconds;
}

bool measureSameDatabase(const ExportScene& scene, int rounds)
{
    inChild([&] { return scene.fullExport(); });
    const auto costs = medians({[&] { return sameDatabaseQuestions(scene); }}, rounds);
    return report(
        scene.name + ": is it the same database", costs[0].seconds / manyTimes * 1000, 5, "ms");
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

    const ExportScene many = ExportScene::prepared(folder, quick ? "many-small" : "many",
        {.messages = quick ? 30'000 : 1'000'000, .chats = quick ? 60 : 300});
    const ExportScene one = ExportScene::prepared(
        folder, quick ? "one-small" : "one", {.messages = quick ? 10'000 : 1'000'000, .chats = 1});
    const ExportScene crowd = ExportScene::prepared(folder, quick ? "crowd-small" : "crowd",
        {.messages = quick ? 1'000 : 20'000, .chats = quick ? 1'000 : 20'000});
    // Prepared records have up to 64 MiB, and sorting those of a large chat takes each thread 40.
    bool good = measureFull(many, rounds, {.ratio = 0.72, .mebibytes = 64 + 2 * 40 + 16});
    good = measureFull(one, rounds, {.ratio = 1.2, .mebibytes = 64}) && good;
    good = measureNothingNew(many, rounds, manyTimes, 1.5) && good;
    good = measureNothingNew(crowd, rounds, twice, 1.2) && good;
    good = measureSameDatabase(many, rounds) && good;
    return good || quick ? 0 : 1; // a small sample proves nothing about speed
}
