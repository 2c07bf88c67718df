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

/// The entries of a folder, sorted by name. On an error, those that were read until then.
std::vector<fs::directory_entry> entriesOf(const fs::path& folder)
{
    std::vector<fs::directory_entry> entries;
    std::error_code error;
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

/// Opens regular files only: file_size() fails for any other kind.
void readFile(const fs::path& path, const ContactSource::Visitor& visit)
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    if (error || size > largestFile)
        return;
    const File file(std::fopen(path.c_str(), "rb"));
    if (!file)
        return;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
    readVCards(std::move(bytes), visit);
}

void readFolder(const fs::path& folder, const ContactSource::Visitor& visit)
{
    for (const fs::directory_entry& entry : entriesOf(folder)) {
        std::error_code ignored;
        if (isLeftOut(entry.path()))
            continue;
        if (entry.is_directory(ignored) && !entry.is_symlink(ignored))
            readFolder(entry.path(), visit);
        else if (isCardFile(entry.path()))
            readFile(entry.path(), visit);
    }
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
void readPipe(const fs::path& path, const ContactSource::Visitor& visit)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const File pipe(descriptor < 0 ? nullptr : ::fdopen(descriptor, "rb"));
    auto bytes = pipe ? readToEnd(descriptor) : std::nullopt;
    if (bytes)
        readVCards(std::move(*bytes), visit);
}

} // namespace

VCardSource::VCardSource(fs::path fileOrFolder) : m_path(std::move(fileOrFolder)) { }

void VCardSource::forEachContact(const Visitor& visit) const
{
    std::error_code ignored;
    if (fs::is_directory(m_path, ignored))
        readFolder(m_path, visit);
    else if (fs::is_fifo(m_path, ignored))
        readPipe(m_path, visit);
    else
        readFile(m_path, visit);
}

} // namespace korvane
