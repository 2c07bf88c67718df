#include "cli/ReadCommand.h"

#include "cli/ChosenChats.h"
#include "cli/Console.h"
#include "cli/ReadOutput.h"
#include "export/KeptText.h"
#include "reader/Conversation.h"
#include "reader/ConversationWriter.h"
#include "reader/Filter.h"

#include <cstdint>
#include <numeric>

namespace korvane {

namespace {

Filter filterOf(const ReadOptions& options)
{
    Filter filter{.from = options.from, .search = options.search};
    if (const auto since = timeSpan(options.since))
        filter.since = since->begin;
    if (const auto until = timeSpan(options.until))
        filter.before = until->end;
    return filter;
}

/// Collects what is to be said about the files in the end.
class Remarks {
public:
    explicit Remarks(const Console& console) : m_console(console) { }

    void add(const FileReport& file)
    {
        if (!file.error.empty()) {
            m_console.complain(file.path.string() + ": " + file.error);
            m_hasErrors = true;
        }
        if (file.torn > 0)
            m_tornFiles.push_back(file.path.filename().string());
        m_torn += file.torn;
        m_unfinished += file.endsUnfinished ? 1 : 0;
    }

    bool hasErrors() const { return m_hasErrors; }

    void print() const
    {
        if (m_torn > 0) {
            m_console.complain("Skipped what is damaged in " + countOf(m_torn, "line") + " of "
                + tornFiles()
                + ". Where the database is, korvane-sync check says what is missing, and check "
                  "--repair writes it again.");
        }
        if (m_unfinished > 0) {
            m_console.complain(countOf(m_unfinished, "file")
                + (m_unfinished == 1 ? " ends" : " end")
                + " in an unfinished line, as during an export.");
        }
    }

private:
    std::string tornFiles() const
    {
        constexpr std::size_t most = 3;
        std::string names;
        for (std::size_t i = 0; i < m_tornFiles.size() && i < most; ++i)
            names += (i > 0 ? ", " : "") + m_tornFiles[i];
        if (m_tornFiles.size() > most)
            names += " and "
                + countOf(static_cast<std::int64_t>(m_tornFiles.size() - most), "other file");
        return names;
    }

    const Console& m_console;
    std::vector<std::string> m_tornFiles; ///< names
    std::int64_t m_torn = 0;
    std::int64_t m_unfinished = 0;
    bool m_hasErrors = false;
};

std::int64_t bytesOf(const std::vector<ArchivedChat>& chats)
{
    return std::accumulate(chats.begin(), chats.end(), std::int64_t{0},
        [](std::int64_t sum, const ArchivedChat& chat) { return sum + chat.size(); });
}

/// Reads the chats and writes what is chosen of them. Returns how many records that is.
std::size_t writeAll(const std::vector<ArchivedChat>& chats, const Filter& filter,
    ReadOutput& output, const Console& console, Remarks& remarks)
{
    ProgressBar bar(console.err, console.errIsTerminal && !output.isTerminal(), bytesOf(chats));
    std::int64_t done = 0;
    std::size_t count = 0;
    for (const ArchivedChat& chat : chats) {
        const Conversation conversation(chat, [&](std::int64_t bytes) {
            done += bytes;
            bar.show(done, chat.title);
            return output.isWanted();
        });
        for (const FileReport& file : conversation.files())
            remarks.add(file);
        const Selection chosen = chosenMessages(conversation, filter);
        output.writer().write(conversation, chosen);
        count += chosen.size();
        if (!output.isWanted())
            return count;
    }
    output.finish();
    return count;
}

int formsIn(const ReadOptions& options)
{
    return int{options.text} + int{options.json} + int{options.csv}
    + int{options.sqlite.has_value()} + int{options.html.has_value()};
}

/// Why these options do not fit together; "" if they do.
std::string conflictIn(const ReadOptions& options)
{
    if (formsIn(options) > 1)
        return "Choose one of --text, --json, --csv, --sqlite and --html.";
    if (options.overwrite && !options.sqlite && !options.html)
        return "--force needs --sqlite or --html.";
    return "";
}

void complainOf(const ChosenChats& chosen, const Console& console)
{
    for (const std::string& error : chosen.errors)
        console.complain(error);
    for (const AmbiguousWord& word : chosen.ambiguous) {
        console.complain(word.word + " can mean " + std::to_string(word.candidates.size())
            + " chats. Name one by its guid, or by its number if no other has that:");
        console.err << word.table(textStyleFor(console).columns);
    }
}

/// Reads the chosen chats and writes what the options choose of them. Returns the exit code.
int readChosen(const ReadOptions& options, const ChosenChats& chosen, const Console& console)
{
    Remarks remarks(console);
    std::size_t count = 0;
    bool isInterrupted = false;
    std::string pagerError;
    {
        ReadOutput output(options, chosen.chats, console);
        count = writeAll(chosen.chats, filterOf(options), output, console, remarks);
        isInterrupted = output.isInterrupted();
        pagerError = output.close();
    }
    if (!pagerError.empty()) {
        console.complain(pagerError);
        return ExitCode::failure;
    }
    if (isInterrupted) {
        console.complain("Interrupted. The incomplete file was deleted.");
        return ExitCode::interrupted;
    }
    if (const auto& file = options.sqlite ? options.sqlite : options.html)
        console.out << "Wrote " << countOf(static_cast<std::int64_t>(count), "record") << " to "
                    << *file << '\n';
    remarks.print();
    if (count == 0 && chosen.errors.empty())
        console.complain("There is no such message.");
    return chosen.errors.empty() && !remarks.hasErrors() ? ExitCode::success : ExitCode::failure;
}

} // namespace

int runRead(const ReadOptions& options, const Console& console)
{
    if (const std::string conflict = conflictIn(options); !conflict.empty()) {
        console.complain(conflict);
        return ExitCode::badUsage;
    }
    const ChosenChats chosen = chosenChats(options.chats, options.folder);
    complainOf(chosen, console);
    if (!chosen.ambiguous.empty())
        return ExitCode::badUsage;
    if (chosen.chats.empty() && !chosen.errors.empty())
        return ExitCode::failure;
    return readChosen(options, chosen, console);
}

} // namespace korvane
