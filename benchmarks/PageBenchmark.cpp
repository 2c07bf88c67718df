// Measures writing a page, relative to parsing the export files once with RapidJSON and compressing
// them once with zlib in the same run; and the page in a browser, if there are Node.js,
// puppeteer-core (see tests/node/) and Chromium. Arguments:
//   --quick        a small sample; the limits are reported, but not enforced
//   --rounds N     number of rounds, of which the median counts
//   --folder DIR   keeps the sample and the page there
//   --node-modules DIR   where puppeteer-core is installed

#include "Arguments.h"
#include "Child.h"
#include "ExportScene.h"

#include "reader/Archive.h"
#include "reader/Conversation.h"
#include "reader/PageWriter.h"
#include "storage/Files.h"

#include <QProcess>
#include <QTemporaryDir>
#include <rapidjson/document.h>
#include <zlib.h>

#include <array>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string_view>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

void parse(std::string_view lines)
{
    for (auto end = lines.find('\n'); end != lines.npos; end = lines.find('\n')) {
        rapidjson::Document document;
        if (document.Parse(lines.data(), end).HasParseError())
            throw std::runtime_error("A line is no JSON.");
        lines.remove_prefix(end + 1);
    }
}

void compress(const std::string& bytes)
{
    std::string compressed(::compressBound(bytes.size()), '\0');
    uLongf size = compressed.size();
    if (::compress2(reinterpret_cast<Bytef*>(compressed.data()), &size,
            reinterpret_cast<const Bytef*>(bytes.data()), bytes.size(), 6)
        != Z_OK)
        throw std::runtime_error("zlib failed.");
}

double parseAndCompress(const fs::path& folder)
{
    return secondsOf([&] {
        for (const auto& entry : fs::directory_iterator(folder)) {
            const std::string bytes = Files::read(entry.path()).value();
            parse(bytes);
            compress(bytes);
        }
    });
}

double writePage(const fs::path& folder, const fs::path& file)
{
    return secondsOf([&] {
        PageWriter page(file, Files::Existing::Replace);
        for (const ArchivedChat& chat : Archive::inFolder(folder).chats) {
            const Conversation conversation(chat);
            page.write(conversation, chosenMessages(conversation, {}));
        }
        page.finish();
    });
}

/// Prints what page.mjs measures. Returns whether its limits are kept; true if it cannot run.
bool measureInBrowser(const fs::path& page, const std::string& modules)
{
    QProcess node;
    node.setProcessChannelMode(QProcess::ForwardedChannels);
    node.start(QStringLiteral("node"),
        {QStringLiteral(PAGE_SCRIPT), QString::fromStdString(page.string()),
            QString::fromStdString(modules)});
    if (!node.waitForStarted() || !node.waitForFinished(600'000)) {
        std::cout << "  not measured in a browser: " << node.errorString().toStdString() << '\n';
        return true;
    }
    return node.exitCode() == 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const Arguments arguments(argc, argv);
    const bool quick = arguments.has("--quick");
    const int rounds = std::stoi(arguments.value("--rounds", "3"));
    const QTemporaryDir temporary;
    const fs::path folder = arguments.value("--folder", temporary.path().toStdString());
    fs::create_directories(folder);

    const SampleSize size{.messages = quick ? 20'000 : 1'000'000, .chats = quick ? 24 : 300};
    const ExportScene scene = ExportScene::prepared(folder, quick ? "page-small" : "page", size);
    inChild([&] { return scene.fullExport(); });
    const fs::path page = folder / "page.html";
    const auto costs = medians({[&] { return parseAndCompress(scene.exports()); },
                                   [&] { return writePage(scene.exports(), page); }},
        rounds);
    constexpr double mebi = 1024.0 * 1024.0;
    std::cout << size.messages << " messages in " << size.chats
              << " chats: parsing and compressing " << costs[0].seconds << " s, the page "
              << static_cast<double>(fs::file_size(page)) / mebi << " MiB, written with "
              << static_cast<double>(costs[1].peakBytes) / mebi << " MiB of memory\n";
    bool good
        = report("  --html / parsing and compressing", costs[1].seconds / costs[0].seconds, 3);
    if (const std::string modules = arguments.value("--node-modules", ""); !modules.empty())
        good = measureInBrowser(page, modules) && good;
    return good || quick ? 0 : 1; // a small sample proves nothing about speed
}
