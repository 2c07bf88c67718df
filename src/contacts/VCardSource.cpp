#include "contacts/VCardSource.h"

#include "contacts/VCard.h"
#include "text/Ascii.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace korvane {

namespace {

constexpr std::uintmax_t largestFile = std::uintmax_t(256) << 20;

bool isLeftOut(const fs::path& path)
{
    const std::string name = path.filename().string();
    return name.starts_with('.') || name.starts_with('~');
}

bool isCardFile(const fs::path& path)
{
    const std::string extension = path.extension().string();
    return equalIgnoringCase(extension, ".vcf") || equalIgnoringCase(extension, ".vcard");
}

/// Whether the error means that there is no file or folder at a path.
bool isAbsence(const std::error_code& error)
{
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory
        || error == std::errc::too_many_symbolic_link_levels
        || error == std::errc::filename_too_long;
}

/// The outcome for a file or folder with this error. What is neither absence nor denial may pass,
/// like that of a network drive that does not answer.
ContactReading readingOf(const fs::path& path, const std::error_code& error)
{
    if (!error)
        return {.outcome = ContactOutcome::Complete};
    if (isAbsence(error))
        return {.outcome = ContactOutcome::Missing};
    if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted)
        return {.outcome = ContactOutcome::Denied};
    return {.outcome = ContactOutcome::Unanswered, .silent = path.string()};
}

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

/// The entries of a folder, sorted by name. On an error, those that were read until then.
std::vector<fs::directory_entry> entriesOf(const fs::path& folder, std::error_code& error)
{
    std::vector<fs::directory_entry> entries;
    fs::directory_iterator next(folder, error);
    while (!error && next != fs::directory_iterator()) {
        entries.push_back(*next);
        next.increment(error);
    }
    // Paths in one folder differ only in their names. Compare them as strings: operator< of paths
    // compares component by component, which is slow.
    std::sort(entries.begin(), entries.end(), [](const auto& one, const auto& other) {
        return one.path().native() < other.path().native();
    });
    return entries;
}

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

/// The file's bytes; those read until then on an error.
std::string contentsOf(const fs::path& path, std::size_t size, std::error_code& error)
{
    std::string bytes(size, '\0');
    const File file(std::fopen(path.c_str(), "rb"));
    const std::size_t count = file ? std::fread(bytes.data(), 1, size, file.get()) : 0;
    if (!file || std::ferror(file.get()))
        error = lastError();
    bytes.resize(count);
    return bytes;
}

/// Opens regular files only.
ContactReading readFile(const fs::path& path, const ContactSource::Visitor& visit)
{
    std::error_code error;
    if (!fs::is_regular_file(path, error))
        return error ? readingOf(path, error) : ContactReading();
    const std::uintmax_t size = fs::file_size(path, error);
    if (error || size > largestFile)
        return readingOf(path, error);
    readVCards(contentsOf(path, static_cast<std::size_t>(size), error), visit);
    return readingOf(path, error);
}

ContactReading readFolder(const fs::path& folder, const ContactSource::Visitor& visit)
{
    std::error_code error;
    const std::vector<fs::directory_entry> entries = entriesOf(folder, error);
    ContactReading reading = readingOf(folder, error);
    for (const fs::directory_entry& entry : entries) {
        std::error_code ignored;
        if (isLeftOut(entry.path()))
            continue;
        if (entry.is_directory(ignored) && !entry.is_symlink(ignored))
            reading.add(readFolder(entry.path(), visit));
        else if (isCardFile(entry.path()))
            reading.add(readFile(entry.path(), visit));
    }
    return reading;
}

/// Waits until a pipe has bytes or its last writer has closed it. False if a signal interrupts.
bool waitForBytes(int pipe)
{
    pollfd readable{pipe, POLLIN, 0};
    return ::poll(&readable, 1, -1) > 0;
}

/// Reads until the last writer has closed the pipe. Absent if there are more than `largestFile`
/// bytes, reading fails or a signal interrupts.
std::optional<std::string> readToEnd(int pipe)
{
    constexpr std::size_t pieceSize = 65536;
    std::string bytes;
    std::size_t size = 0;
    while (size <= largestFile) {
        bytes.resize(size + pieceSize);
        const ssize_t count = ::read(pipe, bytes.data() + size, pieceSize);
        if (count < 0 && (errno != EAGAIN || !waitForBytes(pipe)))
            return std::nullopt;
        size += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        bytes.resize(size);
        if (count == 0)
            return bytes;
    }
    return std::nullopt;
}

/// Uses O_NONBLOCK because open() would otherwise block until a writer opens the pipe.
ContactReading readPipe(const fs::path& path, const ContactSource::Visitor& visit)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const File pipe(descriptor < 0 ? nullptr : ::fdopen(descriptor, "rb"));
    if (!pipe)
        return readingOf(path, lastError());
    auto bytes = readToEnd(descriptor);
    if (!bytes)
        return {.outcome = ContactOutcome::Unanswered, .silent = path.string()};
    readVCards(std::move(*bytes), visit);
    return {.outcome = ContactOutcome::Complete};
}

} // namespace

VCardSource::VCardSource(fs::path fileOrFolder) : m_path(std::move(fileOrFolder)) { }

ContactReading VCardSource::forEachContact(const Visitor& visit) const
{
    std::error_code ignored;
    if (fs::is_directory(m_path, ignored))
        return readFolder(m_path, visit);
    if (fs::is_fifo(m_path, ignored))
        return readPipe(m_path, visit);
    return readFile(m_path, visit);
}

} // namespace korvane
