#include "cli/CommandLine.h"

#include "backup/PrivateFolder.h"
#include "cli/BackupsCommand.h"
#include "cli/ChatsCommand.h"
#include "cli/CheckCommand.h"
#include "cli/Console.h"
#include "cli/ExportCommand.h"
#include "cli/PasswordInput.h"
#include "cli/ReadCommand.h"
#include "cli/ReceiveCommand.h"
#include "cli/SampleCommand.h"
#include "cli/TransferCommand.h"
#include "pairing/TransferLink.h"
#include "reader/Filter.h"
#include "storage/Paths.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <exception>
#include <functional>
#include <limits>
#include <system_error>
#include <utility>

namespace korvane {

namespace {

using Command = std::function<int(const Console&)>;

constexpr std::int64_t mostMessages = 100'000'000;
constexpr std::int64_t mostChats = 1'000'000;

/// Validates a number of seconds. The comparisons also reject infinity and NaN.
std::string duration(const std::string& text)
{
    constexpr double longest = 1'000'000'000;
    double seconds = 0;
    const bool good = CLI::detail::lexical_cast(text, seconds) && seconds > 0 && seconds < longest;
    return good ? "" : text + " is not a number of seconds above 0 and below 1000000000";
}

std::string notEmpty(const std::string& text)
{
    return text.empty() ? "A name is missing" : "";
}

/// A validator that rejects an empty text; `what` begins a sentence.
auto given(std::string what)
{
    return [what = std::move(what)](
               const std::string& text) { return text.empty() ? what + " is missing" : ""; };
}

/// Validates the name of a file to write.
std::string newFile(const std::string& text)
{
    if (text == "-")
        return "This cannot be written to standard output; name a file";
    return given("The name of a file")(text);
}

std::string guid(const std::string& text)
{
    return text.empty() ? "A guid is missing" : "";
}

/// A validator of whole numbers from 0 to the largest that a `Number` can have. CLI11 parses with
/// strtoull(), which clamps a number that is too large and wraps a negative one round instead of
/// rejecting them. Its own texts do not say what is allowed.
template <typename Number>
std::string wholeNumber(const std::string& text)
{
    constexpr std::uint64_t most = std::numeric_limits<Number>::max();
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    if (text.empty())
        return "A number is missing";
    const bool good = failure == std::errc() && stop == end && number <= most;
    return good ? "" : text + " is not a whole number from 0 to " + std::to_string(most);
}

std::string date(const std::string& text)
{
    return timeSpan(text) ? ""
                          : text
            + " is not a date: write 2024, 2024-05, 2024-05-06 or "
              "2024-05-06T07:08";
}

std::string hostOfALink(const std::string& text)
{
    return TransferLink::isHost(text) ? "" : "This is neither an address nor a host name";
}

/// Declares the options of all commands and holds their parsed values.
class Parser {
public:
    /// Lists all commands. A new one gets a line here and a function below, which declares its
    /// options and says which function runs it.
    explicit Parser(const SupportFolder& support) : m_support(support)
    {
        m_app.require_subcommand(0, 1); // parse() reports a missing command
        addVersion(m_app);
        addChats();
        addExport();
        addCheck();
        addRead();
        addTransfer();
        addReceive();
        addBackups();
        addSample();
    }

    /// Returns the command to run, which refers to this parser and must not outlive it. Throws
    /// CLI::ParseError.
    Command parse(std::vector<std::string> arguments)
    {
        std::reverse(arguments.begin(), arguments.end()); // CLI11 takes them from the back
        m_app.parse(std::move(arguments));
        if (!m_command)
            throw CLI::RequiredError("A command");
        return m_command;
    }

    void printHelp(const CLI::ParseError& request, const Console& console) const
    {
        m_app.exit(request, console.out, console.err);
    }

private:
    CLI::App& addCommand(const std::string& name, const std::string& description, Command run)
    {
        CLI::App& command = *m_app.add_subcommand(name, description);
        addVersion(command);
        command.callback([this, run = std::move(run)] { m_command = run; });
        return command;
    }

    static void addVersion(CLI::App& app)
    {
        app.set_version_flag("--version", "korvane-sync " KORVANE_VERSION);
    }

    static void addSources(CLI::App& command, Sources& sources)
    {
        CLI::Option* database
            = command.add_option("--database", sources.database, "The Messages database to read")
                  ->type_name("FILE")
                  ->check(notEmpty)
                  ->capture_default_str();
        addBackup(command, sources)->excludes(database);
        command
            .add_option("--contacts", sources.contacts,
                "A vCard file, or a folder of them, with the names to use; \"none\" for bare "
                "numbers")
            ->type_name("PATH")
            ->check(notEmpty);
    }

    static CLI::Option* addBackup(CLI::App& command, Sources& sources)
    {
        CLI::Option* backup = command
                                  .add_option("--backup", sources.backup,
                                      "Read a phone's backup instead: its folder, or one with "
                                      "several, for the newest")
                                  ->type_name("DIR")
                                  ->check(notEmpty);
        CLI::Option* file = command
                                .add_option("--password-file", sources.passwordFile,
                                    "The file whose first line is the backup's password")
                                ->type_name("FILE")
                                ->check(notEmpty)
                                ->needs(backup);
        command
            .add_option("--password-fd", sources.passwordDescriptor,
                "The open descriptor to read that line from")
            ->type_name("NUMBER")
            ->check(wholeNumber<int>)
            ->needs(backup)
            ->excludes(file);
        return backup;
    }

    void addChats()
    {
        CLI::App& command = addCommand("chats", "Lists the chats, newest first",
            [this](const Console& console) { return runChats(m_chats, console); });
        addSources(command, m_chats.sources);
        command.add_flag("--json", m_chats.json, "Print a JSON array");
    }

    void addExport()
    {
        CLI::App& command = addCommand("export", "Brings the export files of chats up to date",
            [this](const Console& console) { return runExport(m_export, m_support, console); });
        CLI::Option_group& which = *command.add_option_group("Chats", "Which chats to export");
        which.require_option(1);
        which.add_flag("--all", m_export.all, "Every chat");
        which.add_option("--chat", m_export.chats, "These chats")->type_name("GUID")->check(guid);
        addSources(command, m_export.sources);
        addFolder(command, m_export.folder);
        command.add_option("--every", m_export.everySeconds, "Again every so many seconds")
            ->type_name("SECONDS")
            ->check(duration)
            ->excludes(command.get_option("--backup")); // which does not change
        command.add_flag("--json", m_export.json, "Print one JSON object a run");
    }

    void addCheck()
    {
        CLI::App& command = addCommand("check", "Compares the export files with the database",
            [this](const Console& console) { return runCheck(m_check, m_support, console); });
        CLI::Option_group& which = *command.add_option_group(
            "Chats", "Which chats to check; without one of these, those that were exported");
        which.require_option(0, 1);
        which.add_flag("--all", m_check.all, "Also chats that were never exported");
        which.add_option("--chat", m_check.chats, "These chats")->type_name("GUID")->check(guid);
        addSources(command, m_check.sources);
        addFolder(command, m_check.folder);
        command.add_flag("--json", m_check.json, "Print one JSON object");
        CLI::Option* repair = command.add_flag("--repair", m_check.repair,
            "Export again the chats that are not intact; old files go to Kept/");
        command.add_flag("--yes", m_check.yes, "Repair also files from a different database")
            ->needs(repair);
    }

    void addRead()
    {
        CLI::App& command = addCommand("read", "Shows the conversations in export files",
            [this](const Console& console) { return runRead(m_read, console); });
        command
            .add_option("chats", m_read.chats,
                "Part of a title, a guid, the number in a file's name, or an export file; without "
                "one, all chats")
            ->type_name("CHAT|FILE")
            ->check(given("The name of a chat"));
        addFolder(command, m_read.folder, "Where the files are");
        command.add_option("--since", m_read.since, "From this date on, e.g. 2024-05")
            ->type_name("DATE")
            ->check(date);
        command.add_option("--until", m_read.until, "Up to the end of this date")
            ->type_name("DATE")
            ->check(date);
        command
            .add_option(
                "--from", m_read.from, "From this sender: part of a name, a handle, or \"me\"")
            ->type_name("NAME")
            ->check(given("The name of a sender"));
        command
            .add_option("--search", m_read.search, "With this text; case and accents do not matter")
            ->type_name("TEXT")
            ->check(given("A text"));
        CLI::Option_group& form = *command.add_option_group("Form", "Without one of these, text");
        form.add_flag("--text", m_read.text, "For people");
        form.add_flag("--json", m_read.json, "One JSON object a line");
        form.add_flag("--csv", m_read.csv, "Comma-separated values with a header");
        form.add_option("--sqlite", m_read.sqlite, "Tables of a new SQLite database")
            ->type_name("FILE")
            ->check(newFile);
        form.add_option("--html", m_read.html, "A page for a browser, complete in one file")
            ->type_name("FILE")
            ->check(newFile);
        command.add_flag("--force", m_read.overwrite, "Overwrite an earlier file of this command");
    }

    static void addFolder(
        CLI::App& command, std::string& folder, const std::string& meaning = "Where the files go")
    {
        folder = Paths::defaultFolder().string();
        command.add_option("--folder", folder, meaning)
            ->type_name("DIR")
            ->check(notEmpty)
            ->capture_default_str();
    }

    void addTransfer()
    {
        CLI::App& command = addCommand("transfer",
            "Hands one chat to a phone or another machine, by link or QR code",
            [this](const Console& console) { return runTransfer(m_transfer, m_support, console); });
        command.add_option("--chat", m_transfer.chat, "The chat")
            ->type_name("GUID")
            ->check(guid)
            ->required();
        command.add_option("--host", m_transfer.host, "The address of this machine for the link")
            ->type_name("ADDRESS")
            ->check(hostOfALink);
        command.add_option("--port", m_transfer.port, "The port to listen on, if it is free")
            ->check(wholeNumber<std::uint16_t>);
        addSources(command, m_transfer.sources);
        addFolder(command, m_transfer.folder);
    }

    void addReceive()
    {
        CLI::App& command
            = addCommand("receive", "Fetches the chat that a link of \"transfer\" stands for",
                [this](const Console& console) { return runReceive(m_receive, console); });
        command
            .add_option("link", m_receive.link,
                "The link; without it, or for \"-\", it is read from standard input")
            ->type_name("LINK");
        command.add_option("--output", m_receive.output, "The file to write")
            ->type_name("FILE")
            ->check(notEmpty);
    }

    void addBackups()
    {
        CLI::App& command = addCommand("backups", "Lists the backups of phones, newest first",
            [this](const Console& console) { return runBackups(m_backups, console); });
        command
            .add_option("folder", m_backups.folder,
                "The folder of a backup, or of several; without it, the usual places")
            ->type_name("DIR")
            ->check(notEmpty);
        command.add_flag("--json", m_backups.json, "Print a JSON array");
    }

    void addSample()
    {
        CLI::App& command
            = addCommand("sample", "Writes an invented Messages database to play with",
                [this](const Console& console) { return runSample(m_sample, console); });
        command.add_option("file", m_sample.file, "The database to write")
            ->type_name("FILE")
            ->check(notEmpty)
            ->required();
        command.add_option("--messages", m_sample.size.messages, "How many messages")
            ->check(CLI::Range(std::int64_t{0}, mostMessages))
            ->capture_default_str();
        command.add_option("--chats", m_sample.size.chats, "How many chats")
            ->check(CLI::Range(std::int64_t{1}, mostChats))
            ->capture_default_str();
        command.add_option("--seed", m_sample.size.seed, "Another seed, another sample")
            ->check(wholeNumber<std::uint64_t>)
            ->capture_default_str();
        command.add_option("--contacts", m_sample.contacts, "Also write its people as vCards")
            ->type_name("FILE")
            ->check(notEmpty);
        command.add_flag("--force", m_sample.overwrite, "Overwrite what is there");
    }

    CLI::App m_app{
        "Turns the Messages history of a Mac into plain, readable files.", "korvane-sync"};
    const SupportFolder m_support;
    ChatsOptions m_chats;
    ExportOptions m_export;
    CheckOptions m_check;
    ReadOptions m_read;
    TransferOptions m_transfer;
    ReceiveOptions m_receive;
    BackupsOptions m_backups;
    SampleOptions m_sample;
    Command m_command;
};

/// CLI11's messages can have several lines; the first one is enough.
std::string firstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

/// The error text. CLI11's messages quote the words that it did not understand. A link on the
/// command line may be broken in two, and its second part, which can hold the key, does not look
/// like a link. So if any word has a link, no word is quoted.
std::string explanation(const CLI::ParseError& error, const std::vector<std::string>& arguments)
{
    const bool hasLink = std::any_of(arguments.begin(), arguments.end(),
        [](const std::string& word) { return word.find("korvane:") != word.npos; });
    return hasLink ? "A link is in the wrong place, or is split in two; put it in quotes"
                   : firstLine(error.what());
}

int runOrComplain(const Command& command, const Console& console)
{
    PrivateFolder::removeLeftovers();
    try {
        const int code = command(console);
        return console.outputIsComplete() ? code : ExitCode::failure;
    } catch (const UnreadableDatabase& error) {
        console.complain(error.message);
        console.complain(error.help);
        return ExitCode::failure;
    } catch (const InterruptedError& error) {
        console.complain(error.what());
        return ExitCode::interrupted;
    } catch (const std::exception& error) {
        console.complain(error.what());
        return ExitCode::failure;
    }
}

} // namespace

int runCommandLine(
    const std::vector<std::string>& arguments, const SupportFolder& support, const Console& console)
{
    Parser parser(support);
    try {
        const Command command = parser.parse(arguments);
        return runOrComplain(command, console);
    } catch (const CLI::Success& request) { // --help and --version
        parser.printHelp(request, console);
        return console.outputIsComplete() ? ExitCode::success : ExitCode::failure;
    } catch (const CLI::ParseError& error) {
        console.complain(explanation(error, arguments) + " (see korvane-sync --help)");
        return ExitCode::badUsage;
    }
}

} // namespace korvane
