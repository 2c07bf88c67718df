#include "Counts.h"

#include "check/Checker.h"
#include "export/ExportSetup.h"
#include "support/Printing.h"

#include <numeric>

using namespace korvane;
namespace fs = std::filesystem;

/// Comparing exported files with real databases, chat by chat.
class CheckerTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_setup = std::make_unique<ExportSetup>();
        m_setup->db.addHandle(1, "+15550100");
        m_setup->addChat(1, "Ann");
        m_setup->addChat(2, "Bo");
        m_setup->addMessages(1, 10);
        m_setup->addMessages(2, 5);
        m_setup->sync();
    }

    void exportedChatsAreIntact()
    {
        const CheckResult result = check();
        QCOMPARE(result.chats.size(), std::size_t{2});
        QCOMPARE(result.chats[0].guid, ExportSetup::guid(1));
        QCOMPARE(result.chats[0].title, std::string("Ann"));
        QCOMPARE(result.chats[0].file, std::string("Ann (1) Korvane Wrapped.jsonl.txt"));
        QCOMPARE(counts(result, 0), std::string("10 records"));
        QCOMPARE(counts(result, 1), std::string("5 records"));
        QVERIFY(result.isWhole());
        QVERIFY(result.repairable().empty());
        QCOMPARE(result.unfiled, 0);
    }

    void everyKindOfMessageIsAsItWasExported()
    {
        TestDatabase& db = m_setup->db;
        db.addMessage(1, {.guid = "target", .text = "quote \" and \\ and \n and \xF0\x9F\x98\x80"});
        db.addMessage(1, {.text = "Liked", .associatedType = 2001, .associatedGuid = "p:0/target"});
        db.addMessage(1, {.text = "answer", .fromMe = true, .threadGuid = "target"});
        db.addMessage(1, {.text = std::nullopt, .hasAttachments = true, .itemType = 1});
        db.addAttachment(db.addMessage(1, {.text = "photo", .hasAttachments = true}), "image/png");
        m_setup->sync();
        QCOMPARE(counts(check(), 0), std::string("15 records"));
        QVERIFY(check().isWhole());
    }

    void databaseOfAnOldSystemIsComparedToo()
    {
        m_setup = std::make_unique<ExportSetup>(TestDatabase::Schema::Old);
        m_setup->addChat(1, "Ann");
        m_setup->addMessages(1, 3);
        m_setup->sync();
        QCOMPARE(counts(check(), 0), std::string("3 records"));
        QVERIFY(check().isWhole());
    }

    void chatWhoseNameIsTooLongForAFileIsChecked()
    {
        std::string title;
        for (int i = 0; i < 100; ++i)
            title += "\xE4\xBD\xA0"; // three bytes
        m_setup->addChat(3, title);
        QVERIFY(check({.all = true}).isWhole());
        m_setup->sync();
        QVERIFY(check().isWhole());
    }

    void messagesAfterTheLastExportAreNew()
    {
        m_setup->addMessages(2, 3);
        const CheckResult result = check();
        QCOMPARE(counts(result, 1), std::string("5 records, 3 new"));
        QVERIFY(result.isWhole());
    }

    void messageWhoseJoinRowCameLateIsMissing()
    {
        m_setup->db.addMessage(0, {.rowID = 100});
        m_setup->db.addMessage(1, {.rowID = 101});
        m_setup->sync();
        m_setup->db.sql().execute("INSERT INTO chat_message_join VALUES (1, 100)");
        m_setup->sync();
        const CheckResult result = check();
        QCOMPARE(counts(result, 0), std::string("11 records, 1 missing"));
        QVERIFY(!result.isWhole());
        QCOMPARE(result.repairable(), std::set<std::string>{ExportSetup::guid(1)});
    }

    void editedMessageIsChanged()
    {
        m_setup->db.sql().execute("UPDATE message SET text = 'edited' WHERE ROWID IN (3, 4)");
        QCOMPARE(counts(check(), 0), std::string("10 records, 2 changed"));
    }

    void deletedMessagesAreGoneAndTheReferencesToThemAreNoFault()
    {
        m_setup->db.addMessage(2, {.guid = "target", .text = "original"});
        m_setup->db.addMessage(2, {.text = "answer", .threadGuid = "target"});
        m_setup->sync();
        QVERIFY(readFile(m_setup->file(2)).find("replyToID") != std::string::npos);
        m_setup->db.sql().execute("DELETE FROM message WHERE guid = 'target'");
        const CheckResult result = check();
        QCOMPARE(counts(result, 1), std::string("7 records, 1 gone"));
        QVERIFY(result.isWhole());
    }

    void renamedChatIsIntact()
    {
        m_setup->chats[1].displayName = "Bob";
        const CheckResult result = check();
        QCOMPARE(counts(result, 1), std::string("5 records, 5 renamed"));
        QCOMPARE(result.chats[1].title, std::string("Bob"));
        QVERIFY(result.isWhole());
    }

    void anotherDatabaseIsForeign()
    {
        m_setup->db.sql().execute(
            "UPDATE message SET text = 'other ' || ROWID, date = date + 5000 WHERE ROWID <= 10");
        QCOMPARE(counts(check(), 0), std::string("10 records, 10 foreign"));
    }

    void anotherDatabaseIsForeignAlsoWithoutACommonRowID()
    {
        m_setup->db.sql().execute("DELETE FROM message; DELETE FROM chat_message_join");
        m_setup->db.addMessage(2, {.rowID = 8, .text = "other"});
        const CheckResult result = check();
        QCOMPARE(counts(result, 1), std::string("5 records, 1 missing, 5 gone"));
        QVERIFY(result.chats[1].isForeign());
    }

    void oldFileWhoseMessagesWereDeletedIsNotForeign()
    {
        m_setup->db.sql().execute("DELETE FROM message; DELETE FROM chat_message_join");
        m_setup->db.addMessage(2, {.rowID = 20});
        ChatState state = m_setup->record(2);
        state.lastRowID = 20; // exported to another folder
        m_setup->setRecord(2, state);
        const CheckResult result = check();
        QCOMPARE(counts(result, 1), std::string("5 records, 1 missing, 5 gone"));
        QVERIFY(!result.chats[1].isForeign());
    }

    void rowIDThatIsNowInAnotherChatIsForeign()
    {
        moveMessagesOfAnnToBo();
        QCOMPARE(counts(check(), 0), std::string("10 records, 3 gone"));
        m_setup->db.sql().execute(
            "UPDATE message SET text = 'other ' || ROWID, date = date + 5000 WHERE ROWID <= 3");
        QCOMPARE(counts(check(), 0), std::string("10 records, 3 foreign"));
    }

    void truncatedFileMissesWhatWasInIt()
    {
        fs::resize_file(m_setup->file(1), fs::file_size(m_setup->file(1)) / 2);
        QCOMPARE(counts(check(), 0), std::string("5 records, 5 missing"));
    }

    void deletedFileMissesEverything()
    {
        fs::remove(m_setup->file(1));
        QCOMPARE(counts(check(), 0), std::string("0 records, 10 missing"));
        fs::remove_all(m_setup->folder());
        QCOMPARE(counts(check(), 1), std::string("0 records, 5 missing"));
    }

    void lostStateHidesNothing()
    {
        fs::remove(m_setup->stateFile());
        QVERIFY(check().isWhole());
        QCOMPARE(counts(check(), 0), std::string("10 records"));
        m_setup->sync();
        QCOMPARE(counts(check(), 0), std::string("20 records, 10 doubled"));
        fs::remove(m_setup->stateFile());
        QCOMPARE(counts(check(), 0), std::string("20 records, 10 doubled"));
    }

    void chatThatTheDatabaseNoLongerHasCannotBeRepaired()
    {
        m_setup->chats.erase(m_setup->chats.begin());
        CheckResult result = check();
        QCOMPARE(counts(result, 1), std::string("10 records, 10 gone"));
        QVERIFY(result.isWhole());
        writeFile(m_setup->file(1), readFile(m_setup->file(1)) + "torn");
        result = check();
        QCOMPARE(counts(result, 1), std::string("10 records, 1 torn, 10 gone"));
        QVERIFY(!result.isWhole());
        QVERIFY(result.repairable().empty());
    }

    void fileOfTwoChatsIsAnErrorAndIsNotRepaired()
    {
        m_setup->setRecord(2, m_setup->record(1));
        const CheckResult result = check();
        QCOMPARE(result.errors.size(), std::size_t{1});
        QVERIFY(!result.isWhole());
        QVERIFY(result.repairable().empty());
    }

    void fileThatCannotBeOpenedIsAnErrorAndTheOthersAreChecked_data()
    {
        QTest::addColumn<bool>("link");
        QTest::addColumn<std::string>("reason");
        QTest::newRow("a symbolic link")
            << true << std::string("it is a symbolic link, and only files are checked");
        QTest::newRow("a folder") << false << std::string("it is not a file");
    }

    void fileThatCannotBeOpenedIsAnErrorAndTheOthersAreChecked()
    {
        QFETCH(bool, link);
        QFETCH(std::string, reason);
        const fs::path file = m_setup->file(1);
        fs::rename(file, m_setup->db.folder() + "/elsewhere");
        if (link)
            fs::create_symlink(m_setup->db.folder() + "/elsewhere", file);
        else
            fs::create_directory(file);
        const CheckResult result = check();
        QCOMPARE(result.errors,
            std::vector<std::string>{"Ann: The file can't be opened, because " + reason
                + ": Ann (1) Korvane Wrapped.jsonl.txt."});
        QCOMPARE(result.chats.size(), std::size_t{1});
        QCOMPARE(counts(result, 0), std::string("5 records"));
        QVERIFY(!result.isWhole());
    }

    void damagedDatabaseIsTheErrorOfTheChat()
    {
        m_setup->db.sql().execute("ALTER TABLE message RENAME COLUMN text TO prose");
        const CheckResult result = check();
        QCOMPARE(result.errors.size(), std::size_t{2});
        QVERIFY2(result.errors[0].starts_with("Ann: "), result.errors[0].c_str());
        QVERIFY(!result.isWhole());
    }

    void keptRecordsCountForTheirChat()
    {
        fs::create_directory(m_setup->folder() / "Kept");
        fs::copy_file(m_setup->file(2), m_setup->folder() / "Kept/Bo (2) E1.jsonl.txt");
        const CheckResult result = check();
        QCOMPARE(result.chats[0].kept, 0);
        QCOMPARE(result.chats[1].kept, 5);
        QVERIFY(result.isWhole());
    }

    void messagesOfNoChatAreUnfiled()
    {
        m_setup->db.addMessage(0, "lost");
        m_setup->db.addMessage(99, "of a chat that is not there");
        const CheckResult result = check();
        QCOMPARE(result.unfiled, 2);
        QVERIFY(result.isWhole());
    }

    void nothingIsWrittenAndNoFolderIsMade()
    {
        const fs::path nowhere = m_setup->db.folder() + "/nowhere";
        const CheckResult result = Checker::check(m_setup->chats, m_setup->names,
            nowhere / "export", SupportFolder(nowhere / "support"), m_setup->db.path());
        QVERIFY(result.chats.empty());
        QVERIFY(!fs::exists(nowhere));
        const std::string before = listing();
        check();
        QCOMPARE(listing(), before);
    }

    void progressCountsMessagesAndCanEndTheCheck()
    {
        m_setup->addMessages(1, 20'000);
        m_setup->chats[0].messageCount = 20'010;
        m_setup->chats[1].messageCount = 5;
        m_setup->sync();
        std::vector<std::int64_t> steps;
        const auto remember = [&](const CheckStep& step) {
            steps.push_back(step.done);
            return true;
        };
        check({}, remember);
        QVERIFY(steps.size() > 5);
        QVERIFY(std::is_sorted(steps.begin(), steps.end()));
        QCOMPARE(steps.back(), 20'010);

        int calls = 0;
        const CheckResult ended
            = check({}, [&](const CheckStep& step) { return step.total == 20'015 && ++calls < 3; });
        QVERIFY(ended.interrupted);
        QCOMPARE(calls, 3);
        QVERIFY(ended.chats.empty());
        QVERIFY(!ended.isWhole());
    }

private:
    void moveMessagesOfAnnToBo() const
    {
        m_setup->db.sql().execute("UPDATE chat_message_join SET chat_id = 2 WHERE message_id <= 3");
    }

    CheckResult check(const CheckScope& scope = {}, const CheckProgress& progress = {}) const
    {
        return Checker::check(m_setup->chats, m_setup->names, m_setup->folder(), m_setup->support(),
            m_setup->db.path(), scope, progress);
    }

    static std::string counts(const CheckResult& result, std::size_t chat)
    {
        return describe(result.chats.at(chat).counts);
    }

    /// Names, sizes and times of everything in the temporary folder.
    std::string listing() const
    {
        std::set<std::string> lines;
        for (const auto& entry : fs::recursive_directory_iterator(m_setup->db.folder())) {
            lines.insert(entry.path().string() + ' '
                + std::to_string(entry.last_write_time().time_since_epoch().count()) + ' '
                + std::to_string(entry.is_regular_file() ? entry.file_size() : 0));
        }
        return std::accumulate(lines.begin(), lines.end(), std::string(),
            [](const std::string& text, const std::string& line) { return text + line + '\n'; });
    }

    std::unique_ptr<ExportSetup> m_setup;
};

QTEST_GUILESS_MAIN(CheckerTest)
#include "CheckerTest.moc"
