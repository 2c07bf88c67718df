#include "cli/ReadOutput.h"

#include "cli/Console.h"
#include "cli/Pager.h"
#include "cli/ReadCommand.h"
#include "export/KeptFiles.h"
#include "reader/Archive.h"
#include "reader/CsvWriter.h"
#include "reader/JsonWriter.h"
#include "reader/PageWriter.h"
#include "reader/SqliteWriter.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace korvane {

namespace fs = std::filesystem;

namespace {

bool isTerminal(const Console& console)
{
    return console.outDescriptor && ::isatty(*console.outDescriptor) == 1;
}

std::string_view environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

int columnsOf(const Console& console)
{
    constexpr int usual = 80;
    struct winsize size { };
    if (isTerminal(console) && ::ioctl(*console.outDescriptor, TIOCGWINSZ, &size) == 0
        && size.ws_col > 0)
        return size.ws_col;
    const std::string_view text = environment("COLUMNS");
    int columns = 0;
    std::from_chars(text.data(), text.data() + text.size(), columns);
    return columns > 0 ? columns : usual;
}

/// The folder that the file is or would be in, without symbolic links.
fs::path folderOf(const fs::path& file)
{
    std::error_code absent;
    return fs::weakly_canonical(fs::absolute(file, absent).parent_path(), absent);
}

bool areSame(const fs::path& folder, const fs::path& other)
{
    std::error_code absent;
    return fs::equivalent(folder, other, absent);
}

/// Whether `inner` is `folder` or in it, however deep.
bool isInside(fs::path inner, const fs::path& folder)
{
    while (inner != inner.parent_path() && !areSame(inner, folder))
        inner = inner.parent_path();
    return areSame(inner, folder);
}

/// Whether one of the chats' files is in `folder`, or in the folder whose Kept `folder` is.
bool holdsOneOf(const std::vector<ArchivedChat>& chats, const fs::path& folder)
{
    const fs::path current
        = folder.filename() == KeptFiles::folderName ? folder.parent_path() : folder;
    const auto isThere = [&](const ArchiveFile& file) {
        return areSame(file.path.parent_path(), folder)
            || areSame(file.path.parent_path(), current);
    };
    return std::ranges::any_of(
        chats, [&](const ArchivedChat& chat) { return std::ranges::any_of(chat.files, isThere); });
}

/// Throws std::runtime_error if `file` is in a folder of export files: the one that the options
/// name, or that of a file which is read.
const std::string& outsideOf(
    const std::string& folder, const std::vector<ArchivedChat>& chats, const std::string& file)
{
    if (isInside(folderOf(file), folder) || holdsOneOf(chats, folderOf(file))) {
        throw std::runtime_error(file
            + ": This is in a folder of export files, where only exports write. Name a file "
              "elsewhere.");
    }
    return file;
}

std::unique_ptr<ConversationWriter> writerFor(const ReadOptions& options,
    const std::vector<ArchivedChat>& chats, const Console& console, std::ostream& out)
{
    const auto existing = options.overwrite ? Files::Existing::Replace : Files::Existing::Keep;
    if (options.sqlite)
        return std::make_unique<SqliteWriter>(
            outsideOf(options.folder, chats, *options.sqlite), existing);
    if (options.html)
        return std::make_unique<PageWriter>(
            outsideOf(options.folder, chats, *options.html), existing);
    if (options.json)
        return std::make_unique<JsonWriter>(out);
    if (options.csv)
        return std::make_unique<CsvWriter>(out);
    return std::make_unique<TextWriter>(out, textStyleFor(console));
}

bool isText(const ReadOptions& options)
{
    return !options.json && !options.csv && !options.sqlite && !options.html;
}

} // namespace

TextStyle textStyleFor(const Console& console)
{
    return {.columns = columnsOf(console),
        .colours
        = isTerminal(console) && environment("NO_COLOR").empty() && environment("TERM") != "dumb"};
}

ReadOutput::ReadOutput(
    const ReadOptions& options, const std::vector<ArchivedChat>& chats, const Console& console)
    : m_isTerminal(korvane::isTerminal(console))
    , m_pager(m_isTerminal && isText(options) ? Pager::start() : nullptr)
    , m_out(m_pager ? m_pager->stream() : console.out)
{
    if (options.sqlite || options.html)
        m_interruption.emplace(); // before there is a file to leave behind
    m_writer = writerFor(options, chats, console, m_out);
}

ReadOutput::~ReadOutput() = default;

bool ReadOutput::isWanted() const
{
    return m_out.good() && !isInterrupted();
}

void ReadOutput::finish()
{
    m_writer->finish();
    m_interruption.reset();
}

std::string ReadOutput::close()
{
    if (!m_pager || m_pager->close())
        return "";
    return "The pager could not be run: " + m_pager->command()
        + ". Set PAGER to another program, or to cat for none.";
}

bool ReadOutput::isInterrupted() const
{
    return m_interruption && m_interruption->requested();
}

} // namespace korvane
