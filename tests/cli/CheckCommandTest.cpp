#include "Terminal.h"

#include "storage/SupportLock.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <QJsonArray>
#include <QJsonObject>

#include <filesystem>
#include <fstream>

using namespace korvane;
namespace fs = std::filesystem;

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
        QCOMPARE(outcome.err, std::string());
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

private:
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
