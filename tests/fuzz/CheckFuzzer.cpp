#include "check/FileCheck.h"
#include "storage/FileReader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

using namespace korvane;

namespace {

/// The records that the database has. The seeds contain the same lines.
constexpr std::array<std::string_view, 3> expected = {
    R"({"attachmentCount":0,"body":"hello","conversationID":"g","conversationName":"Ann",)"
    R"("date":"2024-05-06T07:08:09.500Z","id":"mac:g:1","isOutgoing":false,"recordKind":"message",)"
    R"("sender":"Ann","senderID":"messages:handle:ann","textUnavailable":false})",
    R"({"attachmentCount":1,"body":"","conversationID":"g","conversationName":"Ann",)"
    R"("date":"2024-05-06T07:09:09.500Z","id":"mac:g:2","isOutgoing":true,"photoCount":2,)"
    R"("recordKind":"message","replyToID":"mac:g:1","sender":"Me","senderID":"messages:self",)"
    R"("textUnavailable":true})",
    R"({"attachmentCount":0,"body":"Liked","conversationID":"g","conversationName":"Ann",)"
    R"("date":"2024-05-06T07:10:09.500Z","id":"mac:g:3","isOutgoing":false,"reactionKind":"like",)"
    R"("reactionTargetID":"mac:g:2","recordKind":"reaction","sender":"Ann",)"
    R"("senderID":"messages:handle:ann","textUnavailable":false})",
};

/// In memory, if possible: a disk would take most of the time.
std::filesystem::path scratchFolder()
{
    const std::filesystem::path memory = "/dev/shm";
    return std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
}

/// A file that is written anew for each input.
struct ScratchFile {
    std::filesystem::path path = scratchFolder() / ("check-fuzzer-" + std::to_string(::getpid()));

    ~ScratchFile() { std::filesystem::remove(path); }
};

void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace

/// Checking a file of any bytes does not crash, accounts for each line and each expected record
/// once, and finds a file intact only if every exported record is there.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const ScratchFile scratch;
    std::ofstream(scratch.path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    const auto file = FileReader::open(scratch.path);
    require(file.has_value());

    std::int64_t lines = 0;
    const RecordCounts counts = countRecords({.guid = "g",
        .file = &*file,
        .expected =
            [](const ExpectedLineVisitor& visit) {
                for (std::size_t i = 0; i < expected.size(); ++i)
                    visit(static_cast<std::int64_t>(i) + 1, expected[i]);
            },
        .lastRowID = 2,
        .onLine = [&lines] { ++lines; }});
    require(counts.records + counts.torn == lines);
    const std::int64_t inBoth = counts.records - counts.doubled - counts.gone;
    require(inBoth + counts.missing + counts.fresh == static_cast<std::int64_t>(expected.size()));
    require(counts.changed + counts.foreign + counts.renamed <= inBoth);
    require(!counts.areIntact() || inBoth >= 2);
    return 0;
}
