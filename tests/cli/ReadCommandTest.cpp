#include "Terminal.h"

#include "reader/Records.h"
#include "support/Printing.h"
#include "support/Unprivileged.h"
#include "text/TerminalText.h"

#include <sys/stat.h>

#include <map>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

Record ofChat(Record record, const std::string& guid, const std::string& title)
{
    record.conversationID = guid;
    record.conversationName = title;
    record.id = "mac:" + guid + record.id.substr(record.id.rfind(':'));
    return record;
}

Record dated(Record record, const std::string& date)
{
    record.date = date;
    return record;
}

/// The names, sizes and times of everything in a folder.
std::map<std::string, std::pair<std::uintmax_t, fs::file_time_type>> snapshot(
    const fs::path& folder)
{
    std::map<std::string, std::pair<std::uintmax_t, fs::file_time_type>> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        found[entry.path()]
            = {entry.is_regular_file() ? entry.file_size() : 0, entry.last_write_time()};
    found[folder] = {0, fs::last_write_time(folder)};
    return found;
}

} // namespace

/// `korvane-sync read`, in this process, so without a terminal.
class ReadCommandTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        qputenv("TZ", "Europe/Berlin");
        qunsetenv("COLUMNS");
        m_terminal = std::make_unique<Terminal>();
        write("Ann (1) Korvane Wrapped.jsonl.txt",
            linesOf({ofChat(message(1, "Hello from Ann"), "a", "Ann")}));
        write("Ann Lee (12) Korvane Wrapped.jsonl.txt",
            linesOf({ofChat(message(1, "Hello from Ann Lee"), "iMessage;-;+1202", "Ann Lee")}));
        write("Team (7) Korvane Wrapped.jsonl.txt",
            linesOf({message(1, "Hello team"), fromSender(message(2, "Grüße"), "Bo", "bo@x.org"),
                reaction(3, 2)}));
    }

    void textIsTheDefault()
    {
        const Outcome outcome = read({"team"});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.out,
            std::string("Team\n"
                        "2 messages and 1 reaction, 6 May 2024\n"
                        "\n"
                        "────────────────────────────── Monday, 6 May 2024 "
                        "──────────────────────────────\n"
                        "\n"
                        "14:00  Ann  Hello team\n"
                        "14:00  Bo   Grüße\n"
                        "            ♥ Ann\n"));
        QCOMPARE(read({"team", "--text"}).out, outcome.out);
    }

    void reactionToAReactionHasALineOfItsOwn()
    {
        write("Team (7) Korvane Wrapped.jsonl.txt",
            linesOf({message(1, "Hello team"), reaction(2, 1), fromMe(reaction(3, 2, "laugh"))}));
        const std::string text = read({"team"}).out;
        QVERIFY(text.starts_with("Team\n1 message and 1 reaction, 6 May 2024\n"));
        QVERIFY2(text.ends_with("14:00  Ann  Hello team\n"
                                "            ♥ Ann\n"
                                "14:00  Me   😂 to Ann: Loved “hello”\n"),
            text.c_str());
    }

    void headingCountsMessagesAndReactionsThatStand()
    {
        write("Team (7) Korvane Wrapped.jsonl.txt",
            linesOf({message(1), systemLine(2), reaction(3, 1), reaction(4, 1, "like"),
                removal(5, 1, "like"), reaction(6, 99)}));
        QVERIFY(read({"team"}).out.starts_with("Team\n1 message and 1 reaction, 6 May 2024\n"));
        QVERIFY(read({"team", "--since", "2024-05-06T12:00:02Z"})
                    .out.starts_with("Team\n0 messages, 6 May 2024\n"));
    }

    void textIsAsWideAsTheEnvironmentSays()
    {
        qputenv("COLUMNS", "30");
        QVERIFY(read({"team"}).out.find("───── Monday, 6 May 2024 ─────\n") != std::string::npos);
        qputenv("COLUMNS", "100");
        const std::string wide = read({"team"}).out;
        const std::size_t rule = wide.find("\n─") + 1;
        QCOMPARE(displayWidth(wide.substr(rule, wide.find('\n', rule) - rule)), 100);
    }

    void wordsChooseChats_data()
    {
        QTest::addColumn<std::vector<std::string>>("words");
        QTest::addColumn<std::string>("bodies");
        using Words = std::vector<std::string>;
        QTest::newRow("none: all") << Words{}
                                   << std::string("Hello from Ann|Hello from Ann Lee|"
                                                  "Hello team|Grüße|Loved “hello”|");
        QTest::newRow("a title that is part of another")
            << Words{"ann"} << std::string("Hello from Ann|");
        QTest::newRow("a part of a title") << Words{"LEE"} << std::string("Hello from Ann Lee|");
        QTest::newRow("a number") << Words{"12"} << std::string("Hello from Ann Lee|");
        QTest::newRow("a guid") << Words{"iMessage;-;+1202"} << std::string("Hello from Ann Lee|");
        QTest::newRow("two chats, in this order, each once")
            << Words{"12", "ann", "lee"} << std::string("Hello from Ann Lee|Hello from Ann|");
    }

    void wordsChooseChats()
    {
        QFETCH(std::vector<std::string>, words);
        QFETCH(std::string, bodies);
        words.emplace_back("--json");
        const Outcome outcome = read(words);
        QCOMPARE(outcome.code, 0);
        QCOMPARE(bodiesIn(outcome.out), bodies);
    }

    void ambiguousWordIsBadUsageAndListsItsChats()
    {
        const Outcome outcome = read({"an"});
        QCOMPARE(outcome.code, 2);
        QCOMPARE(outcome.out, std::string());
        QCOMPARE(outcome.err,
            std::string("korvane-sync: an can mean 2 chats. Name one by its guid, or by its number "
                        "if no other has that:\n"
                        "NUMBER  TITLE    GUID\n"
                        "     1  Ann      a\n"
                        "    12  Ann Lee  iMessage;-;+1202\n"));
    }

    void eachAmbiguousWordHasItsOwnTableThatFitsTheTerminal()
    {
        write("Ann Lee (12) Korvane Wrapped.jsonl.txt",
            linesOf({ofChat(message(1), "iMessage;-;+1202", "Ann Lee and all of her friends")}));
        qputenv("COLUMNS", "40");
        const std::string end = " can mean 2 chats. Name one by its guid, or by its number if no "
                                "other has that:\n";
        const std::string table = "NUMBER  TITLE           GUID\n"
                                  "     1  Ann             a\n"
                                  "    12  Ann Lee and a…  iMessage;-;+1202\n";
        const Outcome outcome = read({"an", "nn"});
        QCOMPARE(outcome.code, 2);
        QCOMPARE(outcome.err, "korvane-sync: an" + end + table + "korvane-sync: nn" + end + table);
    }

    void folderThatDoesNotExistIsTheOnlyError()
    {
        const std::string missing = m_terminal->home() + "/missing";
        QCOMPARE(m_terminal->run({"read", "team", "--folder", missing}).err,
            "korvane-sync: There is no folder " + missing + ".\n");
    }

    void unknownWordFailsAndTheOthersAreRead()
    {
        const Outcome outcome = read({"Zoe", "team", "--json"});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err,
            "korvane-sync: No chat in " + folder() + " has the title, guid or number Zoe.\n");
        QVERIFY(!outcome.out.empty());
    }

    void fileMayLieAnywhere()
    {
        const std::string file = m_terminal->home() + "/copied to another machine";
        writeBytes(file, linesOf({message(1, "copied")}));
        const Outcome outcome = m_terminal->run({"read", file, "--json"});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.out, linesOf({message(1, "copied")}));
    }

    void whatIsNoFileIsNamed_data()
    {
        QTest::addColumn<std::string>("word");
        QTest::addColumn<std::string>("error");
        QTest::newRow("a missing file") << std::string("/nowhere/x.txt")
                                        << std::string("/nowhere/x.txt: There is no such file.");
        QTest::newRow("a device") << std::string("/dev/null")
                                  << std::string("/dev/null: It is not a regular file.");
        QTest::newRow("a folder") << std::string("/dev")
                                  << std::string("/dev is a folder. To read the chats in it, add "
                                                 "--folder /dev.");
        QTest::newRow("control characters") << std::string("/no\x1B[2J\n\u202E")
                                            << std::string("/no\uFFFD[2J\uFFFD\uFFFD: There is no "
                                                           "such file.");
    }

    void whatIsNoFileIsNamed()
    {
        QFETCH(std::string, word);
        QFETCH(std::string, error);
        const Outcome outcome = read({word});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, "korvane-sync: " + error + '\n');
    }

    void fileWithoutRecordsIsNoExportFile_data()
    {
        QTest::addColumn<std::string>("bytes");
        QTest::newRow("text") << std::string("root:x:0:0:root:/root:/bin/bash\n");
        QTest::newRow("other JSON") << std::string("{\"name\":\"Ann\"}\n");
        QTest::newRow("binary") << std::string("SQLite format 3\0\x10\xFF\n\0", 20);
    }

    void fileWithoutRecordsIsNoExportFile()
    {
        QFETCH(const std::string, bytes);
        const std::string file = m_terminal->home() + "/other";
        writeBytes(file, bytes);
        const Outcome outcome = read({file});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, "korvane-sync: " + file + " is not an export file.\n");
        QCOMPARE(read({file, "--html", file + ".html"}).code, 1);
        QVERIFY(!fs::exists(file + ".html"));
    }

    void pipeIsNotWaitedFor()
    {
        const std::string pipe = m_terminal->home() + "/pipe";
        QCOMPARE(::mkfifo(pipe.c_str(), 0600), 0);
        const Outcome outcome = read({pipe});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, "korvane-sync: " + pipe + ": It is not a regular file.\n");
    }

    void fileThatMayNotBeReadIsAnErrorAndTheOthersAreRead()
    {
        const std::string name = "Ann (1) Korvane Wrapped.jsonl.txt";
        fs::permissions(folder() + '/' + name, fs::perms::none);
        fs::permissions(m_terminal->home(), fs::perms::all);
        const Unprivileged user;
        if (!user.works())
            QSKIP("This needs a user who is not root.");
        const Outcome outcome = read({"--json"});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, "korvane-sync: " + name + ": Permission denied.\n");
        QVERIFY(outcome.out.find("Hello team") != std::string::npos);
    }

    void folderWithoutExportFilesIsAnError()
    {
        const std::string empty = m_terminal->home() + "/empty";
        fs::create_directory(empty);
        const Outcome outcome = m_terminal->run({"read", "--folder", empty});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err,
            "korvane-sync: There are no export files in " + empty
                + ". Name another folder with --folder.\n");
        const Outcome missing = m_terminal->run({"read", "--folder", empty + "/missing"});
        QCOMPARE(missing.code, 1);
        QCOMPARE(missing.err, "korvane-sync: There is no folder " + empty + "/missing.\n");
    }

    void optionsChooseRecords_data()
    {
        QTest::addColumn<std::vector<std::string>>("options");
        QTest::addColumn<std::string>("bodies");
        using Words = std::vector<std::string>;
        QTest::newRow("since") << Words{"--since", "2024-05"} << std::string("end of May|June|");
        QTest::newRow("until includes all of it")
            << Words{"--until", "2024-05"} << std::string("April|end of May|");
        QTest::newRow("one month")
            << Words{"--since", "2024-05", "--until", "2024-05"} << std::string("end of May|");
        QTest::newRow("nothing between")
            << Words{"--since", "2025", "--until", "2024"} << std::string();
        QTest::newRow("from") << Words{"--from", "bo@X.org"} << std::string("June|");
        QTest::newRow("search") << Words{"--search", "APR"} << std::string("April|");
    }

    void optionsChooseRecords()
    {
        QFETCH(std::vector<std::string>, options);
        QFETCH(std::string, bodies);
        const std::string file = m_terminal->home() + "/x";
        writeBytes(file,
            linesOf({dated(message(1, "April"), "2024-04-30T21:59:59.999Z"),
                dated(message(2, "end of May"), "2024-05-31T21:59:59.999Z"),
                dated(fromSender(message(3, "June"), "Bo", "bo@x.org"),
                    "2024-05-31T22:00:00.000Z")}));
        options.insert(options.begin(), {"read", file, "--json"});
        const Outcome outcome = m_terminal->run(options);
        QCOMPARE(outcome.code, 0);
        QCOMPARE(bodiesIn(outcome.out), bodies);
        QCOMPARE(outcome.err,
            std::string(bodies.empty() ? "korvane-sync: There is no such message.\n" : ""));
    }

    void reactionOfASenderWhoseMessagesAreChosenStandsAlone()
    {
        const Outcome outcome = read({"team", "--from", "Ann"});
        QVERIFY2(outcome.out.find("14:00  Ann  Hello team\n"
                                  "14:00  Ann  ♥ to Bo: Grüße\n")
                != std::string::npos,
            outcome.out.c_str());
    }

    void invalidCommandLinesAreBadUsage_data()
    {
        QTest::addColumn<std::vector<std::string>>("words");
        using Words = std::vector<std::string>;
        QTest::newRow("no date") << Words{"--since", "yesterday"};
        QTest::newRow("a day that does not exist") << Words{"--until", "2023-02-29"};
        QTest::newRow("an empty date") << Words{"--until", ""};
        QTest::newRow("two forms") << Words{"--json", "--csv"};
        QTest::newRow("an empty word") << Words{""};
        QTest::newRow("an empty search") << Words{"--search", ""};
    }

    void invalidCommandLinesAreBadUsage()
    {
        QFETCH(std::vector<std::string>, words);
        const Outcome outcome = read(words);
        QCOMPARE(outcome.code, 2);
        QCOMPARE(outcome.out, std::string());
        QVERIFY(outcome.err.starts_with("korvane-sync: "));
    }

    void errorsOfOptionsSayWhatIsWrong_data()
    {
        QTest::addColumn<std::vector<std::string>>("words");
        QTest::addColumn<std::string>("error");
        using Words = std::vector<std::string>;
        const std::string help = " (see korvane-sync --help)";
        QTest::newRow("two forms") << Words{"--json",
            "--csv"} << std::string("Choose one of --text, --json, --csv, --sqlite and --html.");
        QTest::newRow("an empty search")
            << Words{"--search", ""} << "--search: A text is missing" + help;
        QTest::newRow("an empty word")
            << Words{""} << "chats: The name of a chat is missing" + help;
        QTest::newRow("an empty file name")
            << Words{"--html", ""} << "--html: The name of a file is missing" + help;
        for (const char* const option : {"--html", "--sqlite"}) {
            QTest::newRow(option) << Words{option, "-"}
                                  << option
                    + (": This cannot be written to standard output; name a file" + help);
        }
    }

    void errorsOfOptionsSayWhatIsWrong()
    {
        QFETCH(const std::vector<std::string>, words);
        QFETCH(const std::string, error);
        const Outcome outcome = read(words);
        QCOMPARE(outcome.code, 2);
        QCOMPARE(outcome.err, "korvane-sync: " + error + '\n');
    }

    void csvHasOneHeaderAndARowForEachRecord()
    {
        const Outcome outcome = read({"--csv"});
        QCOMPARE(outcome.code, 0);
        QVERIFY(outcome.out.starts_with("attachmentCount,body,conversationID,"));
        QCOMPARE(std::ranges::count(outcome.out, '\n'), 6);
        const Outcome nothing = read({"--csv", "--since", "2999"});
        QVERIFY(nothing.out.starts_with("attachmentCount,"));
        QCOMPARE(std::ranges::count(nothing.out, '\n'), 1);
    }

    void outputIsCompleteThoughNothingMatches()
    {
        const std::string file = m_terminal->home() + "/none";
        using Words = std::vector<std::string>;
        for (const Words& form : {Words{"--text"}, Words{"--json"}, Words{"--csv"},
                 Words{"--sqlite", file + ".db"}, Words{"--html", file + ".html"}}) {
            Words words{"--since", "2999"};
            words.insert(words.end(), form.begin(), form.end());
            const Outcome outcome = read(words);
            QCOMPARE(outcome.code, 0);
            QCOMPARE(outcome.err, std::string("korvane-sync: There is no such message.\n"));
        }
        QVERIFY(fs::file_size(file + ".db") > 0);
        QVERIFY(fs::file_size(file + ".html") > 0);
    }

    void damagedLinesAreNamedOnceAtTheEnd()
    {
        write("Team (7) Korvane Wrapped.jsonl.txt",
            linesOf({message(1)}) + "{\"attach\n{\n" + linesOf({message(2)}) + "{\"unfin");
        write("Ann (1) Korvane Wrapped.jsonl.txt",
            "torn\n" + linesOf({ofChat(message(1), "a", "Ann")}));
        const Outcome outcome = read({"--json"});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err,
            std::string(
                "korvane-sync: Skipped what is damaged in 3 lines of Ann (1) Korvane "
                "Wrapped.jsonl.txt, Team (7) Korvane Wrapped.jsonl.txt. Where the database is, "
                "korvane-sync check says what is missing, and check --repair writes it again.\n"
                "korvane-sync: 1 file ends in an unfinished line, as during an export.\n"));
    }

    void nothingInTheFolderChanges()
    {
        write("Kept/Team (7) E.jsonl.txt.unchecked", linesOf({message(9)}));
        const auto before = snapshot(folder());
        const auto support = fs::exists(m_terminal->support());
        for (const char* form : {"--text", "--json", "--csv"})
            QCOMPARE(read({form}).code, 0);
        QVERIFY(snapshot(folder()) == before);
        QCOMPARE(fs::exists(m_terminal->support()), support);
    }

private:
    std::string folder() const { return m_terminal->exports(); }

    void write(const std::string& name, const std::string& bytes) const
    {
        writeBytes(folder() + '/' + name, bytes);
    }

    Outcome read(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"read", "--folder", folder()});
        return m_terminal->run(words);
    }

    /// The bodies of records, each followed by "|".
    static std::string bodiesIn(const std::string& lines)
    {
        std::string bodies;
        for (std::size_t begin = 0; begin < lines.size(); begin = lines.find('\n', begin) + 1) {
            const auto line
                = std::string_view(lines).substr(begin, lines.find('\n', begin) - begin);
            bodies += Record::fromLine(line).value().body + '|';
        }
        return bodies;
    }

    std::unique_ptr<Terminal> m_terminal;
};

QTEST_GUILESS_MAIN(ReadCommandTest)
#include "ReadCommandTest.moc"
