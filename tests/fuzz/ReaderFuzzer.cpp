#include "reader/Archive.h"
#include "reader/Conversation.h"
#include "reader/CsvWriter.h"
#include "reader/JsonWriter.h"
#include "reader/TextWriter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

/// In memory, if possible: a disk would take most of the time.
fs::path scratchFolder()
{
    const fs::path memory = "/dev/shm";
    return fs::exists(memory) ? memory : fs::temp_directory_path();
}

/// An export folder whose files are written anew for each input.
struct Scratch {
    fs::path folder = scratchFolder() / ("reader-fuzzer-" + std::to_string(::getpid()));
    fs::path current = folder / "T (1) Korvane Wrapped.jsonl.txt";
    fs::path kept = folder / "Kept" / "T (1) E.jsonl.txt";

    Scratch() { fs::create_directories(kept.parent_path()); }
    ~Scratch() { fs::remove_all(folder); }
};

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void write(const fs::path& file, std::string_view bytes)
{
    std::ofstream(file, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

template <typename Writer>
std::string written(const Archive& archive)
{
    std::ostringstream out;
    Writer writer(out);
    for (const ArchivedChat& chat : archive.chats) {
        const Conversation conversation(chat);
        writer.write(conversation, chosenMessages(conversation, {.search = ""}));
    }
    writer.finish();
    return out.str();
}

void requireOrder(const Conversation& conversation)
{
    const auto& messages = conversation.messages();
    for (std::size_t i = 0; i < messages.size(); ++i) {
        const Record record = conversation.record(i);
        require(Record::fromLine(messages[i].json) == record);
        require(messages[i].target == Message::none || messages[i].target < messages.size());
        require(i == 0 || conversation.record(i - 1).date <= record.date);
    }
}

/// Control characters other than line feeds.
bool hasControlCharacters(std::string_view text)
{
    for (const char c : text) {
        if ((static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7F)
            return true;
    }
    return false;
}

} // namespace

/// Reading files of any bytes does not crash, gives records that can be read again, in order, and
/// prints text without control characters. The input is a current file and, after a line "Kept",
/// one in Kept/.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Scratch scratch;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    constexpr std::string_view separator = "\nKept\n";
    const std::size_t end = std::min(input.find(separator), input.size());
    write(scratch.current, input.substr(0, end));
    write(scratch.kept, input.substr(std::min(end + separator.size(), input.size())));

    const Archive archive = Archive::inFolder(scratch.folder);
    require(archive.errors.empty());
    for (const ArchivedChat& chat : archive.chats)
        requireOrder(Conversation(chat));

    const std::string json = written<JsonWriter>(archive);
    require(!hasControlCharacters(written<TextWriter>(archive)));
    written<CsvWriter>(archive);

    // What was read and written once is an intact file.
    write(scratch.current, json);
    write(scratch.kept, "");
    for (const ArchivedChat& chat : Archive::inFolder(scratch.folder).chats) {
        const Conversation conversation(chat);
        for (const FileReport& report : conversation.files())
            require(report.torn == 0 && !report.endsUnfinished);
    }
    return 0;
}
