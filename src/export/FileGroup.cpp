#include "export/FileGroup.h"

#include "export/FileName.h"
#include "export/KeptFiles.h"
#include "storage/Files.h"

#include <system_error>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

/// False for a symbolic link, which may lead to another file system.
bool isInFolder(const fs::path& file)
{
    std::error_code ignored;
    return !fs::is_symlink(fs::symlink_status(file, ignored));
}

} // namespace

FileGroup::FileGroup(const fs::path& folder, const SupportFolder& support)
    : m_folder(folder)
    , m_journal(folder, support)
{
}

std::chrono::steady_clock::duration FileGroup::age() const
{
    return std::chrono::steady_clock::now() - m_begun;
}

bool FileGroup::covers(const FileChange& change) const
{
    const auto planned = m_planned.find(change.file);
    return planned != m_planned.end() && planned->second == change;
}

void FileGroup::begin(const std::vector<FileChange>& changes)
{
    m_journal.write(changes);
    m_isOpen = true;
    m_begun = std::chrono::steady_clock::now();
    for (const FileChange& change : changes)
        m_planned.emplace(change.file, change);
}

void FileGroup::moveAway(const FileChange& change)
{
    std::error_code ignored;
    if (change.keptAs.empty())
        fs::remove(Exporter::inFolder(m_folder, change.file), ignored);
    else
        KeptFiles::keep(m_folder, change.file, change.keptAs);
}

OutputFile FileGroup::open(const FileChange& change)
{
    return OutputFile(Exporter::inFolder(m_folder, change.file));
}

void FileGroup::undo(const FileChange& change)
{
    m_journal.undo(change);
}

std::vector<FileGroup::Failure> FileGroup::flush()
{
    constexpr std::size_t many = 32; // from here on, one flush of everything is faster
    const bool isFlushed = m_chats.size() >= many && Files::flushFileSystem(m_folder);
    std::vector<Failure> failures;
    std::vector<Chat> complete;
    for (Chat& chat : std::exchange(m_chats, {})) {
        try {
            const fs::path file = Exporter::inFolder(m_folder, chat.change.file);
            if (chat.added > 0 && !(isFlushed && isInFolder(file)))
                Files::flush(file);
            complete.push_back(std::move(chat));
        } catch (const std::system_error& error) {
            undo(chat.change);
            failures.push_back({std::move(chat), error.code().message()});
        }
    }
    m_chats = std::move(complete);
    Files::flush(m_folder);
    return failures;
}

void FileGroup::undoAll() const
{
    for (const Chat& chat : m_chats)
        m_journal.undo(chat.change);
}

void FileGroup::end()
{
    m_isOpen = false;
    m_planned.clear();
    m_chats.clear();
    m_journal.remove();
}

} // namespace korvane
