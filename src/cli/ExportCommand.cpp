#include "cli/ExportCommand.h"

#include "cli/BackupSource.h"
#include "cli/Console.h"
#include "cli/PasswordInput.h"
#include "export/ForeignFiles.h"
#include "export/KeptText.h"
#include "process/Interruption.h"
#include "storage/SupportLock.h"
#include "text/Json.h"
#include "text/TerminalText.h"
#include "text/Utf8.h"

#include <filesystem>
#include <numeric>
#include <optional>
#include <stdexcept>

namespace korvane {

namespace {

ChatSelection chosenFrom(std::vector<ChatInfo> all, const ExportOptions& options)
{
    return options.all ? ChatSelection{std::move(all), {}}
                       : selectChats(std::move(all), options.chats);
}

/// A pipe can be read only once, so later runs reuse the names of the first.
bool contactsArePipe(const Sources& sources)
{
    std::error_code ignored;
    return sources.contacts && std::filesystem::is_fifo(*sources.contacts, ignored);
}

std::string asJson(const SyncResult& result)
{
    Json::Object object;
    object.number("added", result.added)
        .number("chatsTouched", result.chatsTouched)
        .value("errors", Json::array(result.errors, Json::quotedBytes));
    if (!result.kept.empty())
        object.value("kept", Json::array(result.kept, keptJson));
    return object.finished();
}

std::string counted(std::int64_t count, const std::string& thing)
{
    return std::to_string(count) + ' ' + thing + (count == 1 ? "" : "s");
}

std::string asText(const SyncResult& result, const std::string& folder, bool complete)
{
    if (result.added == 0)
        return complete ? "Nothing new." : "Nothing added.";
    return "Added " + counted(result.added, "message") + " to "
        + counted(result.chatsTouched, "chat") + " in " + folder;
}

/// True if the export could not open or read the database, although listing the chats just did.
bool isOpeningFailure(const SyncResult& result)
{
    const std::string error = result.errors.size() == 1 ? result.errors.front() : "";
    return error == MessagesDB::cannotOpen || error == MessagesDB::cannotRead;
}

/// The error of a chat whose file is from a different database, without the explanation.
std::string shortened(const std::string& error)
{
    return error.substr(0, error.size() - std::string_view(ForeignFiles::explanation).size())
        + "The file is from a different Messages database, too.";
}

/// Runs the export, once or repeatedly. Handles signals while it lives (see Interruption).
class Export {
public:
    Export(const ExportOptions& options, const SupportFolder& support, const Console& console)
        : m_options(options)
        , m_support(support)
        , m_console(console)
    {
    }

    int runOnce()
    {
        const int code = run();
        if (m_leftOut)
            m_console.complain("The export was interrupted. Run it again to continue.");
        return m_interruption.requested() ? ExitCode::interrupted : code;
    }

    /// Repeats the export until interrupted, which is the normal end. Stops after the first run if
    /// that cannot begin; a later run that cannot begin is retried. Returns the last run's code.
    int runEvery(double seconds)
    {
        int code = run();
        while (m_begun && !m_interruption.requested()) {
            m_interruption.sleep(std::chrono::duration<double>(seconds));
            if (!m_interruption.requested())
                code = run();
        }
        return code;
    }

    /// Reports a run whose sources could not be opened.
    int fail(const std::string& error)
    {
        report({.errors = {error}});
        return ExitCode::failure;
    }

private:
    int run()
    {
        const SyncResult result = syncOrExplain();
        const bool reported = report(result);
        return reported && result.errors.empty() ? ExitCode::success : ExitCode::failure;
    }

    SyncResult syncOrExplain()
    {
        m_help.clear();
        try {
            return sync();
        } catch (const UnreadableDatabase& error) {
            m_help = error.help;
            return {.errors = {error.message}};
        } catch (const std::overflow_error&) {
            throw; // ends the program: see referenceTime()
        } catch (const std::exception& error) {
            return {.errors = {error.what()}};
        }
    }

    SyncResult sync()
    {
        const SupportLock lock(m_support);
        if (auto chats = readChangedChats(m_options.sources, m_lastRead))
            m_selection = chosenFrom(std::move(*chats), m_options);
        if (!m_names || !contactsArePipe(m_options.sources))
            m_names = readNames(m_options.sources,
                promptOn(m_console, [this] { return m_interruption.requested(); }));
        m_begun = true;
        SyncResult result = syncWithProgress(
            m_selection.chats, *m_names, m_options.folder, m_support, m_options.sources.database,
            [this] { return leavesOutTheRest(); }, m_console);
        if (isOpeningFailure(result))
            m_help = databaseHelp(m_options.sources.database);
        for (const std::string& guid : m_selection.unknown)
            result.errors.push_back("There is no chat with the guid " + repairedUtf8(guid) + ".");
        return result;
    }

    /// Asked before each chat. Remembers the answer: an interruption during the last chat leaves
    /// out none.
    bool leavesOutTheRest()
    {
        m_leftOut = m_interruption.requested();
        return m_leftOut;
    }

    /// Returns false if the result could not be written. Later runs are tried all the same.
    bool report(const SyncResult& result)
    {
        const bool complete = result.errors.empty() && !m_interruption.requested();
        if (m_options.json)
            m_console.out << asJson(result) << '\n';
        else
            m_console.out << asText(result, m_options.folder, complete) << '\n'
                          << keptLines(result.kept);
        m_console.out.flush(); // the next run may be minutes away
        complainAbout(result);
        if (!m_help.empty())
            m_console.complain(m_help);
        return m_console.outputIsComplete();
    }

    /// Prints one line per error. A different database concerns many chats, run after run: the
    /// first line explains it, those of the other chats are short, and later runs only count them.
    void complainAbout(const SyncResult& result)
    {
        const bool wasExplained = m_explained;
        for (const std::string& error : result.errors) {
            const bool isForeign = error.ends_with(ForeignFiles::explanation);
            if (!isForeign || !m_explained)
                m_console.complain(error);
            else if (!wasExplained)
                m_console.complain(shortened(error));
            m_explained = m_explained || isForeign;
        }
        if (wasExplained && result.foreignChats > 0)
            m_console.complain(counted(result.foreignChats, "chat")
                + " not exported: the files are from a different Messages database, see above.");
    }

    const ExportOptions& m_options;
    const SupportFolder& m_support;
    const Console& m_console;
    const Interruption m_interruption;
    LastRead m_lastRead; ///< of the list of chats
    ChatSelection m_selection; ///< from that list
    std::optional<ContactNames> m_names; ///< of the last run
    std::string m_help; ///< explains the last run's errors to people; never in JSON
    bool m_begun = false; ///< a run got past the lock, the database and the contacts
    bool m_leftOut = false; ///< an interruption has ended the run before its last chat
    bool m_explained = false; ///< what to do about a different database
};

} // namespace

std::string keptJson(const KeptFile& file)
{
    return Json::Object()
        .value("title", Json::quotedBytes(file.title))
        .number("messages", file.messages)
        .value("file", Json::quotedBytes(file.file))
        .finished();
}

std::string keptLines(const std::vector<KeptFile>& files)
{
    std::string lines;
    for (const KeptFile& file : files)
        lines += printable(textOf(file)) + '\n';
    return lines;
}

int runExport(const ExportOptions& options, const SupportFolder& support, const Console& console)
{
    ExportOptions ready = options;
    try {
        ready.sources = opened(options.sources, console);
    } catch (const InterruptedError&) {
        throw;
    } catch (const std::exception& error) {
        return Export(options, support, console).fail(error.what());
    }
    Export command(ready, support, console);
    return options.everySeconds ? command.runEvery(*options.everySeconds) : command.runOnce();
}

namespace {

std::int64_t messageCount(const std::vector<ChatInfo>& chats)
{
    return std::accumulate(chats.begin(), chats.end(), std::int64_t{0},
        [](std::int64_t sum, const ChatInfo& chat) { return sum + chat.messageCount; });
}

} // namespace

SyncResult syncWithProgress(const std::vector<ChatInfo>& chats, const ContactNames& names,
    const std::string& folder, const SupportFolder& support, const std::string& database,
    const std::function<bool()>& isInterrupted, const Console& console, const SyncMode& mode)
{
    ProgressBar bar(console.err, console.errIsTerminal, messageCount(chats));
    std::int64_t done = 0;
    const auto beforeChat = [&](const ChatInfo& chat) {
        bar.show(done, Exporter::title(chat, names));
        done += chat.messageCount;
        return !isInterrupted();
    };
    return Exporter::sync(chats, names, folder, support, database, beforeChat, mode);
}

} // namespace korvane
