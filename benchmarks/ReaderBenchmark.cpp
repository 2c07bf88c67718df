// Measures how fast and with how much memory export files are read, relative to parsing them once
// with RapidJSON in the same run. Arguments:
//   --quick        a small sample; the limits are reported, but not enforced
//   --rounds N     number of rounds, of which the median counts
//   --folder DIR   keeps the sample there for the next run

#include "Arguments.h"
#include "Child.h"
#include "ExportScene.h"

#include "reader/Archive.h"
#include "reader/Conversation.h"
#include "reader/CsvWriter.h"
#include "reader/JsonWriter.h"
#include "reader/TextWriter.h"
#include "storage/Files.h"

#include <QTemporaryDir>
#include <rapidjson/document.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string_view>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

/// Throws if there are not so many records: then the time would mean nothing.
void require(std::int64_t found, std::int64_t records)
{
    if (found != records)
        throw std::runtime_error("The files have other records than were exported.");
}

using ParseLine = bool (*)(std::string_view line);

/// Parses a line and accesses its values, as a program that wants to use them does.
bool parseToDocument(std::string_view line)
{
    rapidjson::Document document;
    return !document.Parse(line.data(), line.size()).HasParseError() && document.IsObject();
}

/// Parses a line and drops everything: the least that RapidJSON can do.
bool parseToNothing(std::string_view line)
{
    rapidjson::MemoryStream bytes(line.data(), line.size());
    rapidjson::BaseReaderHandler<> drop;
    return !rapidjson::Reader().Parse(bytes, drop).IsError();
}

/// Reads each file and parses each line once.
double parse(const fs::path& folder, std::int64_t records, ParseLine parseLine)
{
    return secondsOf([&] {
        std::int64_t found = 0;
        for (const auto& entry : fs::directory_iterator(folder)) {
            const std::string bytes = Files::read(entry.path()).value();
            std::string_view rest = bytes;
            for (auto end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
                found += parseLine(rest.substr(0, end)) ? 1 : 0;
                rest.remove_prefix(end + 1);
            }
        }
        require(found, records);
    });
}

/// Reads all chats and writes them in one form.
template <typename Writer>
double read(const fs::path& folder, std::int64_t records)
{
    return secondsOf([&] {
        std::ofstream nowhere("/dev/null");
        Writer writer(nowhere);
        std::int64_t found = 0;
        for (const ArchivedChat& chat : Archive::inFolder(folder).chats) {
            const Conversation conversation(chat);
            const Selection chosen = chosenMessages(conversation, {});
            writer.write(conversation, chosen);
            found += static_cast<std::int64_t>(chosen.size());
        }
        writer.finish();
        require(found, records);
    });
}

std::int64_t largestFileIn(const fs::path& folder)
{
    std::uintmax_t largest = 0;
    for (const auto& entry : fs::directory_iterator(folder))
        largest = std::max(largest, entry.file_size());
    return static_cast<std::int64_t>(largest);
}

std::int64_t recordsIn(const fs::path& folder)
{
    std::int64_t records = 0;
    for (const auto& entry : fs::directory_iterator(folder))
        records += std::ranges::count(Files::read(entry.path()).value(), '\n');
    return records;
}

/// Returns whether the limits are kept.
bool measure(const ExportScene& scene, int rounds)
{
    const fs::path folder = scene.exports();
    const std::int64_t records = recordsIn(folder);
    const auto costs = medians({[&] { return parse(folder, records, parseToDocument); },
                                   [&] { return parse(folder, records, parseToNothing); },
                                   [&] { return read<JsonWriter>(folder, records); },
                                   [&] { return read<CsvWriter>(folder, records); },
                                   [&] { return read<TextWriter>(folder, records); }},
        rounds);
    constexpr double mebi = 1024.0 * 1024.0;
    const double largest = static_cast<double>(largestFileIn(folder)) / mebi;
    const double peak = static_cast<double>(costs[2].peakBytes) / mebi;
    std::cout << records << " records, the largest file " << largest
              << " MiB: RapidJSON to documents " << costs[0].seconds << " s, to nothing "
              << costs[1].seconds << " s\n";
    bool good = report("  --json / to documents", costs[2].seconds / costs[0].seconds, 1.5);
    good = report("  --json / to nothing", costs[2].seconds / costs[1].seconds, 1.5) && good;
    good = report("  peak memory of --json (32 MiB and twice the largest file)", peak,
               32 + 2 * largest, "MiB")
        && good;
    std::cout << "  --csv takes " << costs[3].seconds / costs[0].seconds << " times, --text "
              << costs[4].seconds / costs[0].seconds << " times as long as to documents\n";
    return good;
}

} // namespace

int main(int argc, char* argv[])
{
    const Arguments arguments(argc, argv);
    const bool quick = arguments.has("--quick");
    const int rounds = std::stoi(arguments.value("--rounds", "5"));
    const QTemporaryDir temporary;
    const std::string base = arguments.value("--folder", temporary.path().toStdString());
    const std::int64_t messages = quick ? 30'000 : 1'000'000;

    bool good = true;
    for (const int chats : {quick ? 60 : 300, 1}) {
        const std::string name = (quick ? "small-" : "large-") + std::to_string(chats);
        const std::string folder = base + '/' + name;
        fs::create_directories(folder);
        const ExportScene scene
            = ExportScene::prepared(folder, name, {.messages = messages, .chats = chats});
        if (!fs::exists(scene.exports()))
            inChild([&scene] { return scene.fullExport(); });
        good = measure(scene, rounds) && good;
    }
    return good || quick ? 0 : 1; // a small sample proves nothing about speed
}
