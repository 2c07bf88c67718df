#include "export/Journal.h"

#include "export/ExportState.h"
#include "export/FileName.h"
#include "export/KeptFiles.h"
#include "storage/Files.h"
#include "text/Base64Url.h"
#include "text/Json.h"
#include "text/JsonReader.h"

#include <QCryptographicHash>

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view journalFile = "export.journal";

std::string digestOf(std::string_view bytes)
{
    const QByteArrayView view(bytes.data(), static_cast<qsizetype>(bytes.size()));
    return QCryptographicHash::hash(view, QCryptographicHash::Sha256).toHex().toStdString();
}

std::string digestOfFile(const fs::path& file)
{
    return digestOf(Files::read(file).value_or(""));
}

std::string firstLine(const std::string& state, const fs::path& folder)
{
    return Json::Object()
               .text("state", state)
               .text("folder", toBase64Url(QByteArray::fromStdString(folder.native())))
               .finished()
        + '\n';
}

std::string lineOf(const FileChange& change)
{
    Json::Object object;
    object.text("file", change.file);
    if (change.size)
        object.number("size", static_cast<std::int64_t>(*change.size));
    if (!change.keptAs.empty())
        object.text("keptAs", change.keptAs);
    return object.finished() + '\n';
}

FileChange changeFrom(std::string_view line)
{
    using namespace JsonReader;
    const auto json = parsed(line);
    const auto size = optional(object(json), "size", integer);
    return {
        .file = text(required(json, "file")),
        .size = size ? std::optional(static_cast<std::uintmax_t>(*size)) : std::nullopt,
        .keptAs = optional(json, "keptAs", text).value_or(""),
    };
}

struct Contents {
    std::string state;
    fs::path folder;
    std::vector<FileChange> changes;
};

std::string_view takeLine(std::string_view& rest)
{
    const auto end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
    return line;
}

/// Reads the lines before the last one. Throws JsonReader::Malformed.
Contents contentsFrom(std::string_view lines)
{
    using namespace JsonReader;
    const auto first = parsed(takeLine(lines));
    const auto folder = fromBase64Url(text(required(object(first), "folder")));
    if (!folder)
        throw Malformed();
    Contents contents{text(required(first, "state")), folder->toStdString(), {}};
    while (!lines.empty())
        contents.changes.push_back(changeFrom(takeLine(lines)));
    return contents;
}

/// Nothing if the journal was not completely written.
std::optional<Contents> complete(std::string_view journal)
{
    const std::size_t digestSize = Json::quoted(digestOf("")).size() + 1;
    if (journal.size() < digestSize)
        return std::nullopt;
    const std::string_view lines = journal.substr(0, journal.size() - digestSize);
    if (journal.substr(lines.size()) != Json::quoted(digestOf(lines)) + '\n')
        return std::nullopt;
    try {
        return contentsFrom(lines);
    } catch (const JsonReader::Malformed&) {
        return std::nullopt;
    }
}

bool hadFiles(const std::vector<FileChange>& changes)
{
    return std::any_of(changes.begin(), changes.end(),
        [](const FileChange& change) { return change.size.has_value(); });
}

} // namespace

Journal::Journal(fs::path folder, const SupportFolder& support)
    : m_folder(std::move(folder))
    , m_file(support.file(journalFile))
    , m_state(support.file(ExportState::fileName))
{
}

void Journal::write(const std::vector<FileChange>& changes) const
{
    // The next run may have another working directory.
    std::string lines = firstLine(digestOfFile(m_state), fs::absolute(m_folder));
    for (const FileChange& change : changes)
        lines += lineOf(change);
    Files::writeAtomically(
        m_file, lines + Json::quoted(digestOf(lines)) + '\n', Files::Access::OwnerOnly);
    Files::flush(m_file.parent_path());
}

void Journal::remove() const
{
    Files::flush(m_file.parent_path()); // or a power cut could undo the state's last rename
    fs::remove(m_file);
}

void Journal::undo(const FileChange& change) const
{
    restore(change);
    Files::flush(m_folder);
}

void Journal::restore(const FileChange& change) const
{
    const fs::path file = Exporter::inFolder(m_folder, change.file);
    if (!change.keptAs.empty()) {
        KeptFiles::putBack(m_folder, change.keptAs, change.file);
    } else if (!change.size && fs::is_regular_file(fs::symlink_status(file))) {
        fs::remove(file);
    } else if (change.size && fs::is_regular_file(file)) {
        if (Files::shorten(file, *change.size))
            Files::flush(file);
    }
}

void Journal::undoLater(const FileChange& change) const
{
    if (isOlder(change))
        return;
    const bool isNew = !change.size && change.keptAs.empty();
    if (isNew)
        KeptFiles::setAside(m_folder, change.file);
    else
        restore(change);
}

bool Journal::isOlder(const FileChange& change) const
{
    constexpr std::chrono::hours clockDifference{1};
    const fs::path file = Exporter::inFolder(m_folder, change.file);
    std::error_code failed;
    const auto written = fs::last_write_time(file, failed);
    return !failed && change.keptAs.empty()
        && written < fs::last_write_time(m_file) - clockDifference;
}

bool Journal::isPending(const SupportFolder& support)
{
    std::error_code ignored;
    return support.exists() && fs::exists(support.file(journalFile), ignored);
}

void Journal::recover(const SupportFolder& support)
{
    const fs::path file = support.file(journalFile);
    std::error_code ignored;
    fs::remove(fs::path(file) += ".new", ignored); // of a run that was killed while it wrote it
    const auto bytes = Files::read(file);
    if (!bytes && fs::symlink_status(file, ignored).type() == fs::file_type::not_found)
        return;
    if (!bytes) {
        throw CannotRecover("The last export was interrupted, and its journal cannot be read: "
            + file.string() + ". Make it readable and try again. If that is impossible, "
            + "delete it; the export folder may then have some messages twice.");
    }
    const auto contents = complete(*bytes);
    const Journal journal(contents ? contents->folder : fs::path(), support);
    if (contents && contents->state == digestOfFile(journal.m_state))
        journal.undoAll(contents->changes);
    try {
        journal.remove();
    } catch (const std::system_error& error) {
        throw CannotRecover("Can't remove " + file.string() + ": " + error.code().message());
    }
}

void Journal::undoAll(const std::vector<FileChange>& changes) const
{
    try {
        // An empty folder may be the mount point of a drive that is not connected.
        if (!fs::is_directory(m_folder) || (fs::is_empty(m_folder) && hadFiles(changes)))
            throw fs::filesystem_error(
                "", std::make_error_code(std::errc::no_such_file_or_directory));
        for (const FileChange& change : changes)
            undoLater(change);
        KeptFiles::flush(m_folder);
        Files::flush(m_folder);
    } catch (const std::system_error& error) {
        throw CannotRecover("The last export into " + m_folder.string()
            + " was interrupted, and its unfinished part cannot be removed: "
            + error.code().message() + ". Make that folder available and try again. If you "
            + "have deleted or emptied it, delete " + m_file.string()
            + "; its chats are then exported again.");
    }
}

} // namespace korvane
