#include "cli/CheckCommand.h"

#include "cli/BackupSource.h"
#include "cli/CheckOutput.h"
#include "cli/Console.h"
#include "cli/ExportCommand.h"
#include "contacts/ContactNames.h"
#include "export/ExportState.h"
#include "export/Journal.h"
#include "export/KeptFiles.h"
#include "process/Interruption.h"
#include "storage/Paths.h"
#include "storage/SupportLock.h"
#include "text/TerminalText.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string_view>

namespace korvane {

namespace {

/// Replaces what the first check found out about the repaired chats.
void update(CheckResult& result, const CheckResult& again)
{
    std::map<std::string_view, const ChatCheck*> newer;
    for (const ChatCheck& chat : again.chats)
        newer.emplace(chat.guid, &chat);
    for (ChatCheck& chat : result.chats) {
        if (const auto found = newer.find(chat.guid); found != newer.end())
            chat = *found->second;
    }
    for (const std::string& error : again.errors) {
        if (std::find(result.errors.begin(), result.errors.end(), error) == result.errors.end())
            result.errors.push_back(error);
    }
}

/// The files of the chats, by guid. One that was exported under another title and whose state was
/// lost has another name than a new export would give it.
std::map<std::string, std::string> filesOf(
    const CheckResult& result, const std::set<std::string>& guids)
{
    std::map<std::string, std::string> files;
    for (const ChatCheck& chat : result.chats) {
        if (guids.contains(chat.guid))
            files.emplace(chat.guid, chat.file);
    }
    return files;
}

/// Checks once, and repairs what it finds if the options say so. Handles signals while it lives
/// (see Interruption).
class Check {
public:
    Check(const CheckOptions& options, const SupportFolder& support, const Console& console)
        : m_options(options)
        , m_support(support)
        , m_console(console)
    {
        m_interruption.emplace();
    }

    int run()
    {
        std::optional<SupportLock> lock;
        if (m_options.repair || m_support.exists()) // or the lock would create the folder
            lock.emplace(
                m_support, m_options.repair ? SupportLock::Use::Export : SupportLock::Use::Reading);
        m_chats = readChats(m_options.sources);
        m_names = readNames(
            m_options.sources, promptOn(m_console, [this] { return m_interruption->requested(); }));
        if (m_options.repair)
            finishLastRun();

        CheckResult result = check({.all = m_options.all, .chats = m_options.chats});
        if (result.interrupted)
            return complainOfInterruption("The check", m_kept, m_keptErrors);
        complainOfNoFolder(result);
        return m_options.repair ? repair(result) : report(result, nullptr);
    }

private:
    CheckResult check(const CheckScope& scope) const
    {
        constexpr std::int64_t parts = 1000;
        ProgressBar bar(m_console.err, m_console.errIsTerminal, parts);
        return Checker::check(m_chats, m_names, m_options.folder, m_support,
            m_options.sources.database, scope, [&](const CheckStep& step) {
                bar.show(parts * step.done / std::max<std::int64_t>(step.total, 1), step.title);
                return !m_interruption->requested();
            });
    }

    /// Explains why every file is missing, before a repair exports them all.
    void complainOfNoFolder(const CheckResult& result) const
    {
        std::error_code ignored;
        if (!result.repairable().empty()
            && !std::filesystem::is_directory(m_options.folder, ignored))
            m_console.complain("There is no folder " + m_options.folder
                + ", so no file is there. Check --folder, and whether its drive is connected.");
    }

    /// Undoes what a killed run left, and repeats its comparison of kept files.
    void finishLastRun()
    {
        Journal::recover(m_support);
        m_kept = KeptFiles::compare(m_options.folder, ExportState::load(m_support), m_keptErrors);
    }

    int repair(CheckResult& result)
    {
        RepairReport repair{.kept = m_kept};
        result.errors.insert(result.errors.end(), m_keptErrors.begin(), m_keptErrors.end());
        if (result.repairable().empty()) {
            print(repairAsText(result, repair));
            return report(result, &repair);
        }
        print(checkAsText(result));
        if (!mayRepair(result)) {
            print(keptLines(repair.kept));
            return m_options.json ? report(result, &repair) : ExitCode::failure;
        }
        print(announcement(result));
        exportAgain(result, repair);
        if (m_interruption->requested())
            return complainOfInterruption("The repair", repair.kept, result.errors);
        print(repairAsText(result, repair));
        return report(result, &repair);
    }

    void exportAgain(CheckResult& result, RepairReport& repair) const
    {
        const std::set<std::string> guids = result.repairable();
        repair.guids.assign(guids.begin(), guids.end());
        std::vector<ChatInfo> chats;
        std::copy_if(m_chats.begin(), m_chats.end(), std::back_inserter(chats),
            [&guids](const ChatInfo& chat) { return guids.contains(chat.guid); });
        SyncResult sync = syncWithProgress(chats, m_names, m_options.folder, m_support,
            m_options.sources.database, [this] { return m_interruption->requested(); }, m_console,
            {.restart = guids, .files = filesOf(result, guids), .checkDatabase = false});
        repair.kept.insert(repair.kept.end(), sync.kept.begin(), sync.kept.end());
        result.errors.insert(result.errors.end(), sync.errors.begin(), sync.errors.end());
        update(result, check({.chats = repair.guids}));
    }

    /// True if no file is from a different database, or if the user agrees.
    bool mayRepair(const CheckResult& result)
    {
        const std::string question = questionAbout(result, m_options.sources.name());
        if (question.empty() || m_options.yes)
            return true;
        if (m_console.inIsTerminal)
            return agrees(question);
        m_console.complain(question + " Nothing was repaired. To repair them, add --yes.");
        return false;
    }

    /// Without an Interruption during the question, so that Ctrl-C ends the program.
    bool agrees(const std::string& question)
    {
        m_interruption.reset();
        m_console.err << printable(question) << " Repair them? [y/N] " << std::flush;
        std::string answer;
        std::getline(m_console.in, answer);
        m_interruption.emplace();
        const bool agreed = answer == "y" || answer == "Y" || answer == "yes";
        if (!agreed)
            m_console.complain("Nothing was repaired.");
        return agreed;
    }

    /// Also names the files that a comparison has settled: no later run reports them.
    int complainOfInterruption(const std::string& what, const std::vector<KeptFile>& kept,
        const std::vector<std::string>& errors) const
    {
        print(keptLines(kept));
        complainOf(errors);
        m_console.complain(what + " was interrupted.");
        return ExitCode::interrupted;
    }

    void complainOf(const std::vector<std::string>& lines) const
    {
        for (const std::string& line : lines)
            m_console.complain(line);
    }

    void print(const std::string& text) const
    {
        if (!m_options.json)
            m_console.out << text << std::flush;
    }

    /// Prints the final result. With a repair, text has only a summary of it.
    int report(const CheckResult& result, const RepairReport* repair) const
    {
        const bool repaired = repair && !repair->guids.empty();
        if (m_options.json)
            m_console.out << checkAsJson(result, repair);
        print(repaired ? summaryOf(result) : checkAsText(result));
        const bool wasKilled = Journal::isPending(m_support);
        complainOf(result.errors);
        complainOf(hintsAbout(result, wasKilled));
        if (!wasKilled && !repair && !result.repairable().empty())
            m_console.complain(adviceOn(result));
        return result.isWhole() ? ExitCode::success : ExitCode::failure;
    }

    std::string adviceOn(const CheckResult& result) const
    {
        const std::string question = questionAbout(result, m_options.sources.name());
        return question.empty() ? "To repair what is not intact, add --repair: the old files move "
                                  "to Kept/, and the chats are exported again."
                                : question;
    }

    const CheckOptions& m_options;
    const SupportFolder& m_support;
    const Console& m_console;
    std::optional<Interruption> m_interruption;
    std::vector<ChatInfo> m_chats;
    ContactNames m_names;
    std::vector<KeptFile> m_kept; ///< of the last run
    std::vector<std::string> m_keptErrors;
};

/// A check that cannot begin is an object, too.
void printFailure(const CheckOptions& options, const std::string& error, const Console& console)
{
    if (options.json)
        console.out << checkAsJson({.errors = {error}}, nullptr);
}

} // namespace

int runCheck(const CheckOptions& options, const SupportFolder& support, const Console& console)
{
    try {
        CheckOptions ready = options;
        ready.sources = opened(options.sources, console);
        return Check(ready, support, console).run();
    } catch (const DBError& error) {
        printFailure(options, error.message, console);
        throw;
    } catch (const std::exception& error) {
        printFailure(options, error.what(), console);
        throw;
    }
}

} // namespace korvane
