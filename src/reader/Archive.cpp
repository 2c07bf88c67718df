#include "reader/Archive.h"

#include "export/FileName.h"
#include "export/KeptFiles.h"
#include "export/Record.h"
#include "export/RecordLines.h"
#include "reader/Folding.h"
#include "reader/InputFile.h"
#include "storage/Folder.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <numeric>
#include <optional>
#include <string_view>
#include <system_error>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view endOfName = ".jsonl.txt";

/// The chat id in the name of an export file: "7" in "Ann (7) Korvane Wrapped.jsonl.txt" and in
/// "Ann (7) 5C9D2E58-2B1A-4C39-9D0E-5A0C3B7F6A11.jsonl.txt"; "" if there is none.
std::string numberIn(const std::string& name)
{
    const std::string begin = name.substr(0, name.rfind(" Korvane Wrapped"));
    const std::size_t close = begin.rfind(')');
    const std::size_t open = begin.rfind('(', close);
    if (open == begin.npos || close == begin.npos)
        return "";
    std::string digits = begin.substr(open + 1, close - open - 1);
    return digits.find_first_not_of("0123456789") == digits.npos ? digits : "";
}

/// The last complete record in a line.
std::optional<Record> lastRecordIn(std::string_view line)
{
    std::optional<Record> last;
    Record::forEachInLine(line, [&last](const Record& record) { last = record; });
    return last;
}

std::optional<Record> lastRecordOf(const FileReader& file)
{
    constexpr int mostLines = 1000; // more are damaged only in a file that is none of ours
    LinesFromEnd lines(file);
    for (int i = 0; i < mostLines; ++i) {
        const auto line = lines.next();
        if (!line)
            break;
        if (auto record = lastRecordIn(*line))
            return record;
    }
    return std::nullopt;
}

std::optional<Record> firstRecordOf(const FileReader& file)
{
    std::string block(std::size_t{1} << 20U, '\0');
    std::string_view rest(block.data(), file.readAt(0, block).value_or(0));
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        if (auto record = lastRecordIn(rest.substr(0, end)))
            return record;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return std::nullopt;
}

using Names = std::vector<std::string>;

/// The names in a folder, and whether it is one.
std::optional<Names> namesIn(
    const fs::path& folder, const std::string& shownAs, std::vector<std::string>& errors)
try {
    const auto opened = Folder::open(folder);
    return opened ? std::optional(opened->names()) : std::nullopt;
} catch (const std::system_error& error) {
    errors.push_back(shownAs + ": " + error.code().message() + '.');
    return Names();
}

/// By the time of the last change, and by name among equal ones, which is their order already.
void sortNewestFirst(Names& names, const fs::path& folder)
{
    std::ranges::stable_sort(names, std::ranges::greater(), [&folder](const std::string& name) {
        const auto file = RegularFile::at(folder / name);
        return file ? file->modified : std::chrono::sys_seconds::min();
    });
}

/// The path without symbolic links, if there is something: what a user names may be a link.
fs::path withoutLinks(const fs::path& path)
{
    std::error_code noTarget;
    fs::path target = fs::canonical(path, noTarget);
    return noTarget ? path : target;
}

/// Collects files by chat.
class Collector {
public:
    /// If `mustHaveRecords`, a file without a record is an error, unless it is empty.
    explicit Collector(bool mustHaveRecords) : m_mustHaveRecords(mustHaveRecords) { }

    void addFolder(const fs::path& folder)
    {
        auto found = namesIn(withoutLinks(folder), folder.string(), m_archive.errors);
        if (!found)
            m_archive.errors.push_back("There is no folder " + folder.string() + '.');
        auto& names = found ? *found : found.emplace();
        // Of two files of a chat, as after a move to a new Mac, one is no longer written to.
        sortNewestFirst(names, folder);
        // The files of the exporter come before copies of them that have other names.
        std::stable_partition(names.begin(), names.end(), Exporter::isExportFileName);
        for (const std::string& name : names) {
            if (name.ends_with(endOfName))
                add(folder / name, name, false);
        }
        addKept(folder);
    }

    /// `shownAs` is the name in an error.
    void add(const fs::path& path, const std::string& shownAs, bool isKept)
    {
        const InputFile file = InputFile::open(path);
        if (!file.reader) {
            m_archive.errors.push_back(shownAs + ": " + file.error);
            return;
        }
        auto record = lastRecordOf(*file.reader);
        if (!record) // the end is damaged, or there is only an unfinished line
            record = firstRecordOf(*file.reader);
        if (!record && m_mustHaveRecords && file.reader->size() > 0) {
            m_archive.errors.push_back(shownAs + " is not an export file.");
            return;
        }
        const std::string guid = record ? record->conversationID : "";
        const ArchiveFile found{path, file.reader->size(), isKept};
        const auto [place, isNew] = m_places.try_emplace(guid, m_archive.chats.size());
        if (guid.empty() || isNew)
            addChat(guid, record, found);
        else
            addTo(m_archive.chats[place->second], found);
    }

    Archive finished()
    {
        std::ranges::sort(m_archive.chats, {}, [](const ArchivedChat& chat) {
            return std::tuple(folded(chat.title), chat.guid, chat.files.front().path);
        });
        return std::move(m_archive);
    }

private:
    void addKept(const fs::path& folder)
    {
        const std::string keptName(KeptFiles::folderName);
        const fs::path kept = folder / keptName;
        auto names = namesIn(kept, keptName, m_archive.errors).value_or(Names());
        std::erase_if(names, std::not_fn(KeptFiles::isName));
        sortNewestFirst(names, kept);
        for (const std::string& name : names)
            add(kept / name, (fs::path(keptName) / name).string(), true);
    }

    void addChat(
        const std::string& guid, const std::optional<Record>& record, const ArchiveFile& file)
    {
        const std::string name = file.path.filename().string();
        m_archive.chats.push_back({.guid = guid,
            .title = record ? record->conversationName : name,
            .number = numberIn(name),
            .files = {file}});
    }

    /// A second file of a chat. It is a copy of the first one, or it fills gaps of it.
    static void addTo(ArchivedChat& chat, ArchiveFile file)
    {
        file.isKept = true;
        const bool isKnown = std::ranges::any_of(
            chat.files, [&file](const ArchiveFile& known) { return known.path == file.path; });
        if (!isKnown)
            chat.files.push_back(std::move(file));
    }

    const bool m_mustHaveRecords;
    Archive m_archive;
    std::unordered_map<std::string, std::size_t> m_places; ///< of the chats, by guid
};

/// The indexes of the chats for which `isMeant` holds.
template <typename IsMeant>
std::vector<std::size_t> indexesOf(const Archive& archive, IsMeant isMeant)
{
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < archive.chats.size(); ++i) {
        if (isMeant(archive.chats[i]))
            found.push_back(i);
    }
    return found;
}

} // namespace

std::int64_t ArchivedChat::size() const
{
    return std::accumulate(files.begin(), files.end(), std::int64_t{0},
        [](std::int64_t sum, const ArchiveFile& file) { return sum + file.size; });
}

Archive Archive::inFolder(const fs::path& folder)
{
    Collector collector(false);
    collector.addFolder(folder);
    return collector.finished();
}

Archive Archive::ofFiles(const std::vector<fs::path>& files)
{
    std::vector<fs::path> ordered = files;
    std::stable_partition(ordered.begin(), ordered.end(),
        [](const fs::path& file) { return Exporter::isExportFileName(file.filename().string()); });
    Collector collector(true);
    for (const fs::path& file : ordered) {
        collector.add(withoutLinks(file), file.string(), false);
    }
    return collector.finished();
}

std::vector<std::size_t> findChats(const Archive& archive, const std::string& word)
{
    if (word.empty())
        return {};
    const std::string wanted = folded(word);
    auto found = indexesOf(archive,
        [&](const ArchivedChat& chat) { return chat.guid == word || chat.number == word; });
    if (found.empty()) {
        found = indexesOf(archive, [&](const ArchivedChat& chat) {
            return std::ranges::any_of(chat.files,
                [&](const ArchiveFile& file) { return numberIn(file.path.filename()) == word; });
        });
    }
    if (found.empty()) {
        found = indexesOf(
            archive, [&](const ArchivedChat& chat) { return folded(chat.title) == wanted; });
    }
    if (found.empty()) {
        found = indexesOf(archive, [&](const ArchivedChat& chat) {
            return folded(chat.title).find(wanted) != std::string::npos;
        });
    }
    return found;
}

} // namespace korvane
