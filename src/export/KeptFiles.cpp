#include "export/KeptFiles.h"

#include "export/ExportState.h"
#include "export/FileName.h"
#include "export/Record.h"
#include "storage/Folder.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view unchecked = ".unchecked";

fs::path pathIn(const fs::path& exportFolder)
{
    return exportFolder / KeptFiles::folderName;
}

std::string inKept(const std::string& name)
{
    return std::string(KeptFiles::folderName) + '/' + name;
}

/// Part of a file name. The state may have any text as an epoch, or none.
std::string asNamePart(const std::string& epoch)
{
    const bool isPlain
        = epoch.size() == 36 && epoch.find_first_not_of("0123456789ABCDEF-") == std::string::npos;
    return isPlain ? epoch : "without epoch";
}

/// What a record says, for comparing it with the same message in another file. Hashes instead of
/// texts, because a file may have millions of records.
struct Fingerprint {
    std::size_t message = 0; ///< id, date, sender ID and kind
    std::size_t body = 0; ///< 0 if the body is empty

    auto operator<=>(const Fingerprint&) const = default;
};

Fingerprint fingerprintOf(const Record& record)
{
    const std::hash<std::string> hash;
    const std::string message = record.id + '\n' + record.date + '\n' + record.senderID.value_or("")
        + '\n' + record.recordKind.value_or("");
    return {hash(message), record.body.empty() ? 0 : hash(record.body) | 1};
}

using Fingerprints = std::vector<Fingerprint>; // sorted

/// Throws std::system_error if the file cannot be read.
void forEachRecord(const FileReader& file, const std::function<void(const Record&)>& visit)
{
    const bool complete = forEachLine(
        file, [&](std::string_view line, bool) { Record::forEachInLine(line, visit); });
    if (!complete)
        throw std::system_error(std::make_error_code(std::errc::io_error));
}

Fingerprints fingerprintsOf(const std::optional<FileReader>& file)
{
    Fingerprints all;
    if (file)
        forEachRecord(*file, [&](const Record& record) { all.push_back(fingerprintOf(record)); });
    std::ranges::sort(all);
    return all;
}

/// Whether the message is there with the same text. A text that arrived later counts as the same.
bool has(const Fingerprints& all, const Fingerprint& wanted)
{
    const auto found = std::ranges::lower_bound(all, wanted);
    if (found == all.end())
        return false;
    return wanted.body == 0 ? found->message == wanted.message : *found == wanted;
}

/// A kept file and what its records say about its chat.
struct Candidate {
    FileReader file;
    std::string guid;
    std::string title;
};

std::optional<Candidate> candidate(const Folder& folder, const std::string& name)
{
    auto file = folder.file(name);
    if (!file)
        return std::nullopt;
    Candidate found{std::move(*file), {}, {}};
    forEachRecord(found.file, [&found](const Record& record) {
        found.guid = record.conversationID;
        found.title = record.conversationName;
    });
    return found;
}

/// Compares the kept files of one export folder.
class Comparison {
public:
    Comparison(const fs::path& exportFolder, const Folder& kept, const ExportState& state)
        : m_exportFolder(exportFolder)
        , m_kept(kept)
        , m_state(state)
    {
    }

    /// Nothing if the file is not needed and has been deleted.
    std::optional<KeptFile> settle(const std::string& name) const
    {
        const auto old = candidate(m_kept, name);
        if (!old || isAwaited(old->guid))
            return std::nullopt; // not a regular file, so nothing of ours, or too early
        const std::int64_t missing = missingRecords(*old);
        if (missing == 0) {
            m_kept.remove(name);
            std::error_code isNotEmpty;
            fs::remove(pathIn(m_exportFolder), isNotEmpty);
            return std::nullopt;
        }
        const std::string finalName = name.substr(0, name.size() - unchecked.size());
        m_kept.rename(name, finalName);
        return KeptFile{old->title, missing, inKept(finalName)};
    }

private:
    /// Whether the chat's current file is still to be written, for example because that failed. A
    /// chat without messages has no file.
    bool isAwaited(const std::string& guid) const
    {
        if (guid.empty()) // the kept file has no records
            return false;
        const auto chat = m_state.chats.find(guid);
        return chat == m_state.chats.end() || (chat->second.messages != 0 && !currentFile(guid));
    }

    std::int64_t missingRecords(const Candidate& old) const
    {
        const Fingerprints current = fingerprintsOf(currentFile(old.guid));
        std::int64_t missing = 0;
        forEachRecord(old.file, [&](const Record& record) {
            missing += record.conversationID != old.guid || !has(current, fingerprintOf(record));
        });
        return missing;
    }

    std::optional<FileReader> currentFile(const std::string& guid) const
    {
        const auto chat = m_state.chats.find(guid);
        return chat == m_state.chats.end()
            ? std::nullopt
            : FileReader::open(Exporter::inFolder(m_exportFolder, chat->second.fileName));
    }

    const fs::path& m_exportFolder;
    const Folder& m_kept;
    const ExportState& m_state;
};

std::vector<std::string> uncheckedIn(const std::optional<Folder>& kept)
{
    std::vector<std::string> names = kept ? kept->names() : std::vector<std::string>();
    std::erase_if(names, [](const std::string& name) { return !name.ends_with(unchecked); });
    return names;
}

} // namespace

std::string KeptFiles::freeName(const fs::path& exportFolder, std::string_view title,
    std::int64_t chatID, const std::string& epoch)
{
    const auto isTaken = [&](const std::string& name) {
        return fs::exists(fs::symlink_status(pathIn(exportFolder) / name))
            || fs::exists(
                fs::symlink_status(pathIn(exportFolder) / (name + std::string(unchecked))));
    };
    std::string part = asNamePart(epoch);
    std::string name = Exporter::keptFileName(title, chatID, part);
    for (int copy = 2; isTaken(name); ++copy)
        name = Exporter::keptFileName(title, chatID, part + ' ' + std::to_string(copy));
    return name + std::string(unchecked);
}

bool KeptFiles::isName(std::string_view name)
{
    if (name.ends_with(unchecked))
        name.remove_suffix(unchecked.size());
    return name.ends_with(".jsonl.txt");
}

void KeptFiles::keep(
    const fs::path& exportFolder, const std::string& file, const std::string& keptAs)
try {
    const Folder kept = Folder::openOrCreate(pathIn(exportFolder));
    kept.moveIn(Exporter::inFolder(exportFolder, file), keptAs);
    kept.flush();
} catch (const std::system_error& error) {
    throw std::runtime_error("Can't move the old file to " + std::string(folderName) + ": "
        + error.code().message() + ". It stays as it is.");
}

void KeptFiles::setAside(const fs::path& exportFolder, const std::string& file)
{
    const fs::path path = Exporter::inFolder(exportFolder, file);
    if (!fs::is_regular_file(fs::symlink_status(path)))
        return;
    if (fs::file_size(path) == 0) {
        fs::remove(path);
        return;
    }
    const std::size_t beforeID = std::min(file.rfind(" ("), file.size()); // see exportFileName()
    std::int64_t chatID = 0;
    if (beforeID < file.size())
        std::from_chars(file.data() + beforeID + 2, file.data() + file.size(), chatID);
    const std::string name = freeName(exportFolder, file.substr(0, beforeID), chatID, "");
    Folder::openOrCreate(pathIn(exportFolder)).moveIn(path, name);
}

void KeptFiles::flush(const fs::path& exportFolder)
{
    if (const auto kept = Folder::open(pathIn(exportFolder)))
        kept->flush();
}

void KeptFiles::putBack(
    const fs::path& exportFolder, const std::string& keptAs, const std::string& file)
{
    const auto kept = Folder::open(pathIn(exportFolder));
    if (!kept || !kept->contains(keptAs))
        return;
    kept->moveOut(keptAs, Exporter::inFolder(exportFolder, file));
    kept->flush();
}

std::vector<KeptFile> KeptFiles::compare(
    const fs::path& exportFolder, const ExportState& state, std::vector<std::string>& errors)
try {
    std::vector<KeptFile> staying;
    const auto kept = Folder::open(pathIn(exportFolder));
    for (const std::string& name : uncheckedIn(kept)) {
        try {
            if (auto file = Comparison(exportFolder, *kept, state).settle(name))
                staying.push_back(std::move(*file));
        } catch (const std::system_error& error) {
            errors.push_back(inKept(name) + ": " + error.code().message());
        }
    }
    return staying;
} catch (const std::system_error& error) {
    errors.push_back(std::string(folderName) + ": " + error.code().message());
    return {};
}

} // namespace korvane
