#include "Terminal.h"

#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "export/Journal.h"
#include "storage/SupportLock.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <QJsonArray>
#include <QJsonObject>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

/// Output that presses Ctrl-C when it contains a text.
class OutputWithCtrlC : public std::stringbuf {
public:
    explicit OutputWithCtrlC(std::string text) : m_text(std::move(text)) { }

protected:
    int sync() override
    {
        if (!m_text.empty() && str().find(m_text) != std::string::npos) {
            m_text.clear();
            std::raise(SIGINT);
        }
        return 0;
    }

private:
    std::string m_text;
};

} // namespace

/// What "check" prints and returns.
class CheckCommandTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_terminal = std::make_unique<Terminal>();
        m_database = std::make_unique<TestDatabase>();
        m_database->addHandle(1, "+15550100");
        m_database->addChat(1, "G1", "Ann");
        m_database->addChat(2, "G2", "Family", "chat2", 43);
        m_database->addMessage(1, "first");
        m_database->addMessage(1, "second");
        m_database->addMessage(2, "third");
    }

    void intactChatsAreOneLine()
    {
        exportAll();
        const Outcome outcome = check();
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.out, std::string("2 chats are intact\n"));
    }

    void damagedChatsAreATable()
    {
        exportAll();
        append(annsFile(), "torn");
        const Outcome outcome = check();
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err,
            std::string("korvane-sync: To repair what is not intact, add --repair: the old files "
                        "move to Kept/, and the chats are exported again.\n"));
        QCOMPARE(outcome.out,
            std::string("TITLE  RECORDS  NEW  MISSING  DOUBLED  TORN  CHANGED  FOREIGN  RENAMED"
                        "  GONE  KEPT  GUID\n"
                        "Ann          2    0        0        0     1        0        0        0"
                        "     0     0  G1\n"
                        "1 chat is intact, 1 is not\n"));
    }

    void nothingExportedIsNoFault()
    {
        const Outcome outcome = check();
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.out, std::string("No chat was checked: none was exported.\n"));
        QCOMPARE(check({"--all"}).out, std::string("2 chats are intact\n"));
    }

    void messagesInNoFileAreMentioned()
    {
        exportAll();
        m_database->addMessage(0, "lost");
        QCOMPARE(check().out,
            std::string("2 chats are intact\n"
                        "1 message belongs to no chat, so no file has it\n"));
        m_database->addMessage(0, "lost");
        QCOMPARE(check().out,
            std::string("2 chats are intact\n"
                        "2 messages belong to no chat, so no file has them\n"));
        QCOMPARE(check().code, 0);
    }

    void jsonHasEveryCount()
    {
        exportAll();
        append(annsFile(), contentsOf(annsFile()));
        m_database->addMessage(1, "fourth");
        m_database->addMessage(0, "lost");
        const Outcome outcome = check({"--json"});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.out,
            std::string(
                R"({"chats":[{"guid":"G1","title":"Ann","file":"Ann (1) Korvane Wrapped.jsonl.txt",)"
                R"("records":4,"new":1,"missing":0,"doubled":2,"torn":0,"changed":0,"foreign":0,)"
                R"("renamed":0,"gone":0,"kept":0},)"
                R"({"guid":"G2","title":"Family","file":"Family (2) Korvane Wrapped.jsonl.txt",)"
                R"("records":1,"new":0,"missing":0,"doubled":0,"torn":0,"changed":0,"foreign":0,)"
                R"("renamed":0,"gone":0,"kept":0}],"whole":false,"unfiled":1,"errors":[]})"
                "\n"));
    }

    void jsonSaysThatAllIsWhole()
    {
        exportAll();
        const QJsonObject object = check({"--json"}).json().object();
        QCOMPARE(object[u"whole"].toBool(), true);
        QCOMPARE(object[u"unfiled"].toInt(-1), 0);
    }

    void onlyTheChosenChatIsChecked()
    {
        exportAll();
        append(annsFile(), "torn");
        QCOMPARE(check({"--chat", "G2"}).out, std::string("1 chat is intact\n"));
        QCOMPARE(check({"--chat", "G2"}).code, 0);
        QCOMPARE(check({"--chat", "G1", "G2"}).code, 1);
    }

    void errorsAreReportedInBothForms()
    {
        exportAll();
        const Outcome text = check({"--chat", "G1", "\xFF"});
        QCOMPARE(text.code, 1);
        QCOMPARE(text.out, std::string("1 chat is intact\n"));
        QCOMPARE(
            text.err, std::string("korvane-sync: There is no chat with the guid \xEF\xBF\xBD.\n"));
        const QJsonObject object = check({"--json", "--chat", "\xFF"}).json().object();
        QCOMPARE(object[u"errors"].toArray(),
            QJsonArray{QStringLiteral("There is no chat with the guid \uFFFD.")});
        QCOMPARE(object[u"whole"].toBool(true), false);
    }

    void databaseThatCannotBeReadIsAnError_data()
    {
        QTest::addColumn<bool>("json");
        QTest::newRow("text") << false;
        QTest::newRow("JSON") << true;
    }

    void databaseThatCannotBeReadIsAnError()
    {
        QFETCH(bool, json);
        std::vector<std::string> words{
            "check", "--database", "/nowhere.db", "--folder", m_terminal->exports()};
        if (json)
            words.emplace_back("--json");
        const Outcome outcome = m_terminal->run(words);
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with(
                     "korvane-sync: /nowhere.db: Can't open the Messages database.\n"),
            outcome.err.c_str());
        QCOMPARE(outcome.out.empty(), !json);
        if (json) {
            QCOMPARE(outcome.json().object()[u"errors"].toArray().size(), 1);
            QCOMPARE(outcome.json().object()[u"whole"].toBool(true), false);
        }
    }

    void contactsThatCannotBeReadAreAnError()
    {
        exportAll();
        const Outcome outcome = check({"--contacts", "/nowhere.vcf"});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with("korvane-sync: /nowhere.vcf: "), outcome.err.c_str());
    }

    void titlesCannotSendCommandsToTheTerminal()
    {
        m_database->addChat(3, "G3", "red\x1B[31m");
        m_database->addMessage(3, "x");
        exportAll();
        for (const std::string& name : filesIn(m_terminal->exports()))
            append(m_terminal->exports() + '/' + name, "torn");
        QCOMPARE(check().out.find('\x1B'), std::string::npos);
    }

    void wrongUsageIsRefused_data()
    {
        QTest::addColumn<std::vector<std::string>>("words");
        QTest::newRow("all and one") << std::vector<std::string>{"--all", "--chat", "G1"};
        QTest::newRow("an empty guid") << std::vector<std::string>{"--chat", ""};
        QTest::newRow("yes to nothing") << std::vector<std::string>{"--yes"};
        QTest::newRow("another option") << std::vector<std::string>{"--every", "5"};
    }

    void wrongUsageIsRefused()
    {
        QFETCH(std::vector<std::string>, words);
        QCOMPARE(check(words).code, 2);
    }

    void checkDoesNotRunBesideAnExport()
    {
        exportAll();
        const SupportLock other(SupportFolder(m_terminal->support()));
        const Outcome outcome = check();
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with("korvane-sync: Another export is running ("),
            outcome.err.c_str());
    }

    void nothingIsWritten()
    {
        check();
        QVERIFY(!fs::exists(m_terminal->support()));
        QVERIFY(!fs::exists(m_terminal->exports()));
        exportAll();
        append(annsFile(), "torn");
        fs::remove(m_terminal->support() + "/state.json");
        check();
        QCOMPARE(filesIn(m_terminal->support()), std::vector<std::string>{"export.lock"});
        QCOMPARE(filesIn(m_terminal->exports()),
            (std::vector<std::string>{
                "Ann (1) Korvane Wrapped.jsonl.txt", "Family (2) Korvane Wrapped.jsonl.txt"}));
        QVERIFY(contentsOf(annsFile()).ends_with("torn"));
    }

    void repairExportsAgainWhatIsNotIntact()
    {
        exportAll();
        const std::string fresh = contentsOf(annsFile());
        append(annsFile(), fresh + "torn");
        const Outcome outcome = check({"--repair"});
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QCOMPARE(withoutTable(outcome.out),
            std::string("1 chat is intact, 1 is not\n"
                        "Repairing Ann: the old file moves to Kept/, and the chat is exported "
                        "again.\n"
                        "Repaired Ann: 2 messages\n"
                        "2 chats are intact\n"));
        QCOMPARE(contentsOf(annsFile()), fresh);
        QVERIFY(!fs::exists(m_terminal->exports() + "/Kept"));
    }

    void repairOfSeveralChatsIsAnnouncedInOneShortLine()
    {
        exportAll();
        fs::remove_all(m_terminal->exports());
        const std::string out = check({"--repair"}).out;
        QVERIFY2(out.find("\n0 chats are intact, 2 are not\n"
                          "Repairing 2 chats: the old files move to Kept/, and the chats are "
                          "exported again.\n"
                          "Repaired Family: 1 message\n"
                          "Repaired Ann: 2 messages\n")
                != std::string::npos,
            out.c_str());
    }

    void missingFolderIsMentioned()
    {
        exportAll();
        fs::remove_all(m_terminal->exports());
        const std::string text = "korvane-sync: There is no folder " + m_terminal->exports()
            + ", so no file is there. Check --folder, and whether its drive is connected.\n";
        QVERIFY(check().err.starts_with(text));
        QCOMPARE(check({"--repair"}).err, text);
        QCOMPARE(check().err, std::string());
    }

    void chatsThatTheNextExportDoublesAreMentioned()
    {
        exportAll();
        fs::remove(m_terminal->support() + "/state.json");
        const Outcome outcome = check();
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err,
            std::string("korvane-sync: The export state does not have 2 of these chats, so the "
                        "next export adds all messages to their files again. Then run check "
                        "--repair, which removes the doubled ones.\n"));
        run("export", {"--chat", "G1"});
        QVERIFY(check().err.find(" 1 of these chats") != std::string::npos);
        check({"--repair"});
        run("export", {"--all"});
        check({"--repair"});
        QCOMPARE(check().err, std::string());
    }

    void secondRepairDoesNothing()
    {
        exportAll();
        append(annsFile(), "torn");
        check({"--repair"});
        const auto written = fs::last_write_time(annsFile());
        const std::string state = contentsOf(m_terminal->support() + "/state.json");
        const Outcome outcome = check({"--repair"});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.out, std::string("2 chats are intact\n"));
        QVERIFY(fs::last_write_time(annsFile()) == written);
        QCOMPARE(contentsOf(m_terminal->support() + "/state.json"), state);
    }

    void repairKeepsWhatTheDatabaseNoLongerHas()
    {
        exportAll();
        const std::string old = contentsOf(annsFile());
        m_database->sql().execute("DELETE FROM message WHERE ROWID = 1");
        append(annsFile(), "torn");
        const Outcome outcome = check({"--repair"});
        QCOMPARE(outcome.code, 0);
        const auto kept = filesIn(m_terminal->exports() + "/Kept");
        QCOMPARE(kept.size(), std::size_t{1});
        QCOMPARE(contentsOf(m_terminal->exports() + "/Kept/" + kept[0]), old + "torn");
        QVERIFY2(outcome.out.ends_with("Repaired Ann: 1 message\nKept 1 message of Ann that "
                                       "Messages no longer has: Kept/"
                     + kept[0] + "\n2 chats are intact\n"),
            outcome.out.c_str());
        const QJsonObject ann
            = check({"--chat", "G1", "--json"}).json().object()[u"chats"].toArray()[0].toObject();
        QCOMPARE(ann[u"kept"].toInt(), 2);
    }

    void repairLeavesTheOtherFilesAlone()
    {
        exportAll();
        const std::string other = m_terminal->exports() + "/Family (2) Korvane Wrapped.jsonl.txt";
        const auto written = fs::last_write_time(other);
        append(annsFile(), "torn");
        m_database->addMessage(2, "new");
        QCOMPARE(check({"--repair"}).code, 0);
        QVERIFY(fs::last_write_time(other) == written);
    }

    void repairRestoresAFileAfterALostState()
    {
        exportAll();
        const std::string fresh = contentsOf(annsFile());
        fs::remove(m_terminal->support() + "/state.json");
        exportAll();
        QCOMPARE(contentsOf(annsFile()), fresh + fresh);
        QCOMPARE(check({"--repair"}).code, 0);
        QCOMPARE(contentsOf(annsFile()), fresh);
        QCOMPARE(run("export", {"--all"}).out, std::string("Nothing new.\n"));
    }

    void repairWithoutAStateLeavesARecordInIt()
    {
        exportAll();
        const std::string fresh = contentsOf(annsFile());
        fs::remove(m_terminal->support() + "/state.json");
        append(annsFile(), "torn");
        QCOMPARE(check({"--repair", "--chat", "G1"}).code, 0);
        QCOMPARE(contentsOf(annsFile()), fresh);
        QCOMPARE(run("export", {"--chat", "G1"}).out, std::string("Nothing new.\n"));
    }

    void differentDatabaseIsNotRepairedWithoutAWord_data()
    {
        QTest::addColumn<bool>("json");
        QTest::newRow("text") << false;
        QTest::newRow("JSON") << true;
    }

    void differentDatabaseIsNotRepairedWithoutAWord()
    {
        QFETCH(bool, json);
        exportAll();
        const std::string old = contentsOf(annsFile());
        replaceDatabase();
        const Outcome outcome = json ? check({"--repair", "--json"}) : check({"--repair"});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.find("different database") != std::string::npos, outcome.err.c_str());
        QVERIFY2(outcome.err.find("--yes") != std::string::npos, outcome.err.c_str());
        QCOMPARE(contentsOf(annsFile()), old);
        if (json) {
            QCOMPARE(outcome.json().object()[u"repaired"].toArray().size(), 0);
            QCOMPARE(outcome.json().object()[u"whole"].toBool(true), false);
        }
    }

    void checkOfADifferentDatabaseNamesBothWaysOn()
    {
        exportAll();
        replaceDatabase();
        const Outcome outcome = check();
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.find("different database") != std::string::npos, outcome.err.c_str());
        QVERIFY2(outcome.err.find("KORVANE_SYNC_HOME") != std::string::npos, outcome.err.c_str());
        QVERIFY2(outcome.err.find("To repair") == std::string::npos, outcome.err.c_str());
    }

    void differentDatabaseIsFoundWithoutACommonRowID()
    {
        multiplyRowIDs();
        exportAll();
        const std::string old = contentsOf(annsFile());
        m_database->sql().execute(
            "UPDATE message SET ROWID = ROWID - 1, text = 'other', date = date + 5000;"
            "UPDATE chat_message_join SET message_id = message_id - 1");
        const Outcome exported = run("export", {"--all"});
        QVERIFY2(exported.err.find("Family: The file is from a different") != std::string::npos
                || exported.err.find("Ann: The file is from a different") != std::string::npos,
            exported.err.c_str());
        const Outcome checked = check();
        QVERIFY2(checked.out.find("FOREIGN") != std::string::npos, checked.out.c_str());
        QVERIFY2(checked.err.starts_with("korvane-sync: These files are from a different database "
                                         "than "),
            checked.err.c_str());
        for (const char* title : {"Ann", "Family"})
            QVERIFY2(checked.err.find(title) != std::string::npos, checked.err.c_str());
        const Outcome repaired = check({"--repair"});
        QCOMPARE(repaired.code, 1);
        QVERIFY2(repaired.err.find("Nothing was repaired. To repair them, add --yes.")
                != std::string::npos,
            repaired.err.c_str());
        QCOMPARE(contentsOf(annsFile()), old);
        QCOMPARE(check({"--repair", "--yes"}).code, 0);
    }

    void deletedMessagesAreNoDifferentDatabase()
    {
        exportAll();
        m_database->addMessage(1, "later");
        const Outcome elsewhere = m_terminal->run({"export", "--all", "--database",
            m_database->path(), "--folder", m_terminal->home() + "/elsewhere"});
        QCOMPARE(elsewhere.code, 0);
        m_database->sql().execute("DELETE FROM message WHERE ROWID < 3");
        const Outcome outcome = check({"--repair"}); // of Ann, the old file has what is gone
        QCOMPARE(outcome.code, 0);
        QVERIFY2(outcome.out.find("Repaired Ann: 1 message\n") != std::string::npos,
            outcome.out.c_str());
    }

    void differentDatabaseIsRepairedWithYes()
    {
        exportAll();
        const std::string old = contentsOf(annsFile());
        replaceDatabase();
        const Outcome outcome = check({"--repair", "--yes"});
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QVERIFY(contentsOf(annsFile()).find("not the first") != std::string::npos);
        const auto kept = filesIn(m_terminal->exports() + "/Kept");
        QCOMPARE(kept.size(), std::size_t{1});
        QCOMPARE(contentsOf(m_terminal->exports() + "/Kept/" + kept[0]), old);
    }

    void userAtATerminalIsAsked_data()
    {
        QTest::addColumn<std::string>("answer");
        QTest::addColumn<int>("code");
        QTest::newRow("y") << std::string("y\n") << 0;
        QTest::newRow("yes") << std::string("yes\n") << 0;
        QTest::newRow("n") << std::string("n\n") << 1;
        QTest::newRow("only Return") << std::string("\n") << 1;
        QTest::newRow("Ctrl-D") << std::string() << 1;
    }

    void userAtATerminalIsAsked()
    {
        QFETCH(std::string, answer);
        QFETCH(int, code);
        exportAll();
        const std::string old = contentsOf(annsFile());
        replaceDatabase();
        std::istringstream in(answer);
        std::ostringstream out;
        std::ostringstream err;
        const int result = runCommandLine({"check", "--repair", "--database", m_database->path(),
                                              "--folder", m_terminal->exports()},
            SupportFolder(m_terminal->support()),
            {.out = out, .err = err, .in = in, .inIsTerminal = true});
        QCOMPARE(result, code);
        QVERIFY2(err.str().find("Repair them? [y/N]") != std::string::npos, err.str().c_str());
        QCOMPARE(contentsOf(annsFile()) == old, code != 0);
    }

    void repairAsJsonSaysWhatItDid()
    {
        exportAll();
        m_database->sql().execute("DELETE FROM message WHERE ROWID = 1");
        append(annsFile(), "torn");
        const Outcome outcome = check({"--repair", "--json"});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err, std::string());
        const QJsonObject object = outcome.json().object();
        QCOMPARE(object[u"whole"].toBool(), true);
        QCOMPARE(object[u"repaired"].toArray(), QJsonArray{QStringLiteral("G1")});
        const QJsonObject kept = object[u"kept"].toArray()[0].toObject();
        QCOMPARE(kept[u"title"].toString(), QStringLiteral("Ann"));
        QCOMPARE(kept[u"messages"].toInt(), 1);
        QVERIFY(kept[u"file"].toString().startsWith(QStringLiteral("Kept/Ann (1) ")));
    }

    void chatThatMessagesNoLongerHasStaysAsItIs()
    {
        exportAll();
        append(annsFile(), "torn");
        const std::string old = contentsOf(annsFile());
        m_database->sql().execute("DELETE FROM message WHERE ROWID < 3");
        const Outcome outcome = check({"--repair"});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err,
            std::string("korvane-sync: Ann: Messages no longer has this chat, so its file can't "
                        "be repaired. It stays as it is.\n"));
        QCOMPARE(contentsOf(annsFile()), old);
    }

    void chatThatIsNowhereAnyMoreIsMentioned()
    {
        exportAll();
        m_database->sql().execute("DELETE FROM message WHERE ROWID < 3");
        QCOMPARE(check().err, std::string());
        fs::remove(annsFile());
        const Outcome outcome = check();
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err,
            std::string("korvane-sync: Neither Messages nor this folder has these chats, which "
                        "were exported: Ann.\n"));
    }

    void fileThatCannotBeReplacedIsAnError()
    {
        exportAll();
        append(annsFile(), "torn");
        const std::string old = contentsOf(annsFile());
        std::ofstream(m_terminal->exports() + "/Kept") << "a file in the way";
        const Outcome outcome = check({"--repair"});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with("korvane-sync: Ann: "), outcome.err.c_str());
        QVERIFY2(outcome.out.ends_with("Could not repair Ann\n1 chat is intact, 1 is not\n"),
            outcome.out.c_str());
        QCOMPARE(contentsOf(annsFile()), old);
    }

    void killedExportIsMentionedAndUndoneByARepair()
    {
        exportAll();
        const std::string old = contentsOf(annsFile());
        const std::string name = fs::path(annsFile()).filename().string();
        const Journal journal(m_terminal->exports(), SupportFolder(m_terminal->support()));
        journal.write({{name, old.size(), ""}});
        append(annsFile(), "torn");
        const Outcome outcome = check();
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with("korvane-sync: The last export was killed. "),
            outcome.err.c_str());
        QVERIFY(contentsOf(annsFile()) != old);

        const Outcome repair = check({"--repair"});
        QCOMPARE(repair.code, 0);
        QCOMPARE(repair.err, std::string());
        QCOMPARE(repair.out, std::string("2 chats are intact\n"));
        QCOMPARE(contentsOf(annsFile()), old);
    }

    void killedExportIsMentionedThoughAllIsIntact()
    {
        exportAll();
        const Journal journal(m_terminal->exports(), SupportFolder(m_terminal->support()));
        fs::remove(m_terminal->support() + "/state.json"); // the killed export was the first
        journal.write({{fs::path(annsFile()).filename().string(), std::nullopt, ""}});
        const Outcome outcome = check();
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.out, std::string("2 chats are intact\n"));
        QCOMPARE(outcome.err,
            std::string("korvane-sync: The last export was killed. The next one, or check "
                        "--repair, first undoes what it left unfinished.\n"));
    }

    void interruptedRepairReportsWhatFailed()
    {
        exportAll();
        append(annsFile(), "torn");
        const std::string other = m_terminal->exports() + "/Family (2) Korvane Wrapped.jsonl.txt";
        fs::remove(other);
        fs::create_directory(other);
        OutputWithCtrlC buffer("Repairing Ann");
        std::ostream out(&buffer);
        std::ostringstream err;
        const int code = runCommandLine({"check", "--repair", "--database", m_database->path(),
                                            "--folder", m_terminal->exports()},
            SupportFolder(m_terminal->support()), {.out = out, .err = err});
        QCOMPARE(code, 130);
        QCOMPARE(err.str(),
            std::string("korvane-sync: Family: The file can't be opened, because it is not a file: "
                        "Family (2) Korvane Wrapped.jsonl.txt.\n"
                        "korvane-sync: The repair was interrupted.\n"));
        QVERIFY(contentsOf(annsFile()).ends_with("torn"));
    }

    void repairFinishesTheComparisonThatAKilledOneBegan()
    {
        exportAll();
        const fs::path kept = m_terminal->exports() + "/Kept";
        const auto leaveOldFile = [&] {
            fs::create_directory(kept);
            fs::copy_file(annsFile(), kept / "Ann (1) E.jsonl.txt.unchecked");
        };
        leaveOldFile();
        QCOMPARE(check({"--repair"}).out, std::string("2 chats are intact\n"));
        QVERIFY(!fs::exists(kept));

        leaveOldFile();
        const std::string whole = contentsOf(annsFile());
        fs::resize_file(annsFile(), whole.find('\n') + 1);
        m_database->sql().execute("DELETE FROM message WHERE ROWID = 2");
        QCOMPARE(check({"--repair"}).out,
            std::string("Kept 1 message of Ann that Messages no longer has: "
                        "Kept/Ann (1) E.jsonl.txt\n2 chats are intact\n"));
        QCOMPARE(contentsOf((kept / "Ann (1) E.jsonl.txt").native()), whole);
    }

    void keptFileIsReportedAlsoWithoutARepair()
    {
        exportAll();
        fs::create_directory(m_terminal->exports() + "/Kept");
        fs::copy_file(annsFile(), m_terminal->exports() + "/Kept/Ann (1) E.jsonl.txt.unchecked");
        fs::resize_file(annsFile(), contentsOf(annsFile()).find('\n') + 1);
        replaceDatabase();
        const Outcome outcome = check({"--repair"}); // declined: a different database
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.out.ends_with("Kept 1 message of Ann that Messages no longer has: "
                                       "Kept/Ann (1) E.jsonl.txt\n"),
            outcome.out.c_str());
    }

    void checkNeedsNoRoomForNewFiles()
    {
        exportAll();
        fs::create_directories(m_terminal->support() + "/export.probe/in the way");
        const Outcome outcome = check();
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QCOMPARE(check({"--repair"}).code, 1);
    }

    void fileUnderAnOldTitleIsRepairedInItsPlaceAlsoWithoutAState()
    {
        exportAll();
        fs::remove(m_terminal->support() + "/state.json");
        m_database->sql().execute("UPDATE chat SET display_name = 'Anna' WHERE ROWID = 1");
        m_database->sql().execute("DELETE FROM message WHERE ROWID = 1");
        const auto files = filesIn(m_terminal->exports());
        append(annsFile(), "torn");
        QCOMPARE(check({"--repair"}).code, 0);
        QCOMPARE(filesIn(m_terminal->exports() + "/Kept").size(), std::size_t{1});
        fs::remove_all(m_terminal->exports() + "/Kept");
        QCOMPARE(filesIn(m_terminal->exports()), files);
        QVERIFY(contentsOf(annsFile()).find("Anna") != std::string::npos);
    }

    void interruptionEndsTheCheck()
    {
        exportAll();
        const std::string pipe = m_terminal->home() + "/contacts";
        QCOMPARE(::mkfifo(pipe.c_str(), 0600), 0);
        const int end = ::open(pipe.c_str(), O_RDWR);
        const std::string card = "BEGIN:VCARD\nVERSION:3.0\nN:Lee;Ann\nTEL:+15550100\nEND:VCARD\n";
        QCOMPARE(::write(end, card.data(), card.size()), static_cast<ssize_t>(card.size()));
        std::thread user([end] {
            for (int unread = 1; unread > 0;) // until the check reads its contacts
                ::ioctl(end, FIONREAD, &unread);
            std::raise(SIGINT);
            ::close(end);
        });
        const Outcome outcome = check({"--contacts", pipe});
        user.join();
        QCOMPARE(outcome.code, 130);
        QCOMPARE(outcome.err, std::string("korvane-sync: The check was interrupted.\n"));
        QCOMPARE(outcome.out, std::string());
    }

private:
    /// Gives the row ids of Ann's messages to others, as the database of a new computer does.
    void replaceDatabase() const
    {
        m_database->sql().execute(
            "UPDATE message SET text = 'not the first', date = date + 5000 WHERE ROWID < 3");
    }

    /// Makes the row ids even, so that another database can have all the odd ones.
    void multiplyRowIDs() const
    {
        m_database->sql().execute(
            "UPDATE message SET ROWID = -2 * ROWID; UPDATE message SET ROWID = -ROWID;"
            "UPDATE chat_message_join SET message_id = -2 * message_id;"
            "UPDATE chat_message_join SET message_id = -message_id");
    }

    static std::string withoutTable(const std::string& text)
    {
        return text.substr(text.find("1 chat is intact"));
    }

    std::string annsFile() const
    {
        return m_terminal->exports() + "/Ann (1) Korvane Wrapped.jsonl.txt";
    }

    void exportAll() const { QCOMPARE(run("export", {"--all"}).code, 0); }

    Outcome check(const std::vector<std::string>& more = {}) const { return run("check", more); }

    Outcome run(const std::string& command, const std::vector<std::string>& more) const
    {
        std::vector<std::string> words{
            command, "--database", m_database->path(), "--folder", m_terminal->exports()};
        words.insert(words.end(), more.begin(), more.end());
        return m_terminal->run(words);
    }

    static void append(const std::string& file, const std::string& bytes)
    {
        std::ofstream(file, std::ios::app | std::ios::binary) << bytes;
    }

    std::unique_ptr<Terminal> m_terminal;
    std::unique_ptr<TestDatabase> m_database;
};

QTEST_GUILESS_MAIN(CheckCommandTest)
#include "CheckCommandTest.moc"
