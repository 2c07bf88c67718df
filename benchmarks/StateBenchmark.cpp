// Measures saving, loading and listing the export state of 10,000 chats, each against a fixed
// limit.

#include "Child.h"

#include "export/ExportState.h"
#include "export/Manifest.h"

#include <QTemporaryDir>

#include <filesystem>
#include <fstream>

using namespace korvane;

namespace {

ExportState largeState(int chats)
{
    ExportState state;
    for (int i = 0; i < chats; ++i) {
        const std::string number = std::to_string(i);
        state.chats["iMessage;-;+1555010" + number] = {
            .lastRowID = 1000 + i,
            .fileName
            = "Someone, Somebody " + number + " (" + number + ") Korvane Wrapped.jsonl.txt",
            .title = "Someone, Somebody " + number,
            .messages = i,
            .epoch = "5C9D2E58-2B1A-4C39-9D0E-5A0C3B7F6A11",
            .formatVersion = currentFormatVersion,
        };
    }
    return state;
}

} // namespace

int main()
{
    constexpr int chats = 10'000;
    constexpr double limit = 100;
    const QTemporaryDir folder;
    const SupportFolder support(folder.path().toStdString());
    const ExportState state = largeState(chats);
    std::set<std::string> guids;
    for (const auto& [guid, chat] : state.chats) {
        std::ofstream(folder.path().toStdString() + "/" + chat.fileName) << "{}\n";
        guids.insert(guid);
    }

    const double saving = secondsOf([&] { Exporter::saveState(state, support); });
    const double loading = secondsOf([&] { ExportState::load(support); });
    const double listing
        = secondsOf([&] { Exporter::manifest(folder.path().toStdString(), guids, support); });
    bool good = report("save the state of 10,000 chats", saving * 1000, limit, "ms");
    good = report("load the state of 10,000 chats", loading * 1000, limit, "ms") && good;
    good = report("manifest of 10,000 chats", listing * 1000, limit, "ms") && good;
    return good ? 0 : 1;
}
