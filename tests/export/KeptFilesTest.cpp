#include "export/KeptFiles.h"
#include "export/ExportSetup.h"
#include "export/FileName.h"
#include "export/Journal.h"
#include "support/Printing.h"

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> filesIn(const fs::path& folder)
{
    std::vector<std::string> names;
    if (fs::exists(folder))
        for (const auto& file : fs::directory_iterator(folder))
            names.push_back(file.path().filename().string());
    std::ranges::sort(names);
    return names;
}

} // namespace

/// What happens to the old file when a chat's file starts from scratch.
class KeptFilesTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_setup = std::make_unique<ExportSetup>();
        m_setup->addChat(1, "Team");
        m_setup->addMessages(1, 5);
        m_setup->sync();
        m_old = readFile(m_setup->file(1));
        m_epoch = m_setup->record(1).epoch.value();
    }

    void oldFileIsDeletedIfTheDatabaseHasAllOfIt()
    {
        rename();
        const SyncResult result = m_setup->sync();
        QCOMPARE(describe(result), "added 5, touched 1"s);
        QVERIFY(result.kept.empty());
        QVERIFY(!fs::exists(kept()));
    }

    void oldFileStaysIfTheDatabaseLacksSomethingOfIt_data()
    {
        QTest::addColumn<std::string>("change");
        QTest::addColumn<std::int64_t>("missing");
        const auto row = [](const char* name, const char* change, std::int64_t missing) {
            QTest::newRow(name) << std::string(change) << missing;
        };
        row("a deleted message", "DELETE FROM chat_message_join WHERE message_id = 2", 1);
        row("all messages deleted", "DELETE FROM chat_message_join", 5);
        row("an edited message", "UPDATE message SET text = 'other' WHERE ROWID = 2", 1);
        row("an unsent message", "UPDATE message SET text = NULL WHERE ROWID = 2", 1);
        row("another date", "UPDATE message SET date = date + 5000000000 WHERE ROWID = 2", 1);
        row("another sender", "UPDATE message SET is_from_me = 1 - is_from_me WHERE ROWID = 2", 1);
        row("two of these",
            "DELETE FROM chat_message_join WHERE message_id = 2; "
            "UPDATE message SET text = 'other' WHERE ROWID = 3",
            2);
    }

    void oldFileStaysIfTheDatabaseLacksSomethingOfIt()
    {
        QFETCH(std::string, change);
        QFETCH(std::int64_t, missing);
        m_setup->db.sql().execute(change);
        rename();
        const SyncResult result = m_setup->sync();
        const std::string name = "Team (1) " + m_epoch + ".jsonl.txt";
        QVERIFY(result.errors.empty());
        QVERIFY(result.kept == std::vector<KeptFile>({{"Team", missing, "Kept/" + name}}));
        QCOMPARE(filesIn(kept()), std::vector<std::string>{name});
        QVERIFY(readFile(kept() / name) == m_old);
        QVERIFY(m_setup->sync().kept.empty()); // reported once
    }

    void textThatArrivesLateIsNoLoss()
    {
        m_setup->db.sql().execute("UPDATE message SET text = NULL WHERE ROWID = 2");
        rename();
        m_setup->sync();
        fs::remove_all(kept());
        m_setup->db.sql().execute("UPDATE message SET text = 'late' WHERE ROWID = 2");
        m_setup->chats[0].displayName = "Third";
        QVERIFY(m_setup->sync().kept.empty());
        QVERIFY(!fs::exists(kept()));
    }

    void recordBehindATornOneCounts()
    {
        const std::string line = m_old.substr(0, m_old.find('\n') + 1);
        writeFile(m_setup->file(1), m_old.substr(0, 30) + line);
        rename();
        QVERIFY(m_setup->sync().kept.empty());
        const std::string other
            = line.substr(0, line.find("hello")) + "gone" + line.substr(line.find("hello") + 5);
        writeFile(m_setup->file(1), m_old.substr(0, 30) + other);
        m_setup->chats[0].displayName = "Third";
        QCOMPARE(m_setup->sync().kept.size(), 1U);
    }

    void recordBeforeALostLineFeedCounts()
    {
        std::string glued = m_old;
        glued.erase(glued.find('\n'), 1); // of the first record, which the second now follows
        writeFile(m_setup->file(1), glued);
        m_setup->db.sql().execute("DELETE FROM chat_message_join WHERE message_id = 1");
        rename();
        const SyncResult result = m_setup->sync();
        QCOMPARE(result.kept.size(), 1U);
        QCOMPARE(result.kept.front().messages, 1);
    }

    void comparisonThatWasInterruptedIsRepeated()
    {
        const std::string name = "Team (1) " + m_epoch + ".jsonl.txt";
        fs::create_directories(kept());
        writeFile(kept() / (name + ".unchecked"), m_old);
        writeFile(kept() / "mine.unchecked", "not a record");
        QVERIFY(m_setup->sync().kept.empty());
        QVERIFY(!fs::exists(kept() / (name + ".unchecked")));
        QVERIFY(!fs::exists(kept() / name));
    }

    void interruptedRunLeavesTheComparisonToTheNext()
    {
        m_setup->db.sql().execute("DELETE FROM chat_message_join WHERE message_id = 2");
        m_setup->addChat(2, "Other");
        rename();
        const auto result
            = m_setup->sync([](const ChatInfo& chat) { return chat.displayName != "Other"; });
        QVERIFY(result.kept.empty());
        QCOMPARE(filesIn(kept()), std::vector{"Team (1) " + m_epoch + ".jsonl.txt.unchecked"});
        QCOMPARE(m_setup->sync().kept.size(), 1U);
        QCOMPARE(filesIn(kept()), std::vector{"Team (1) " + m_epoch + ".jsonl.txt"});
    }

    /// The folder was empty when the killed run began new files, and then the user put back the old
    /// ones, which have a message that Messages no longer has.
    void fileThatWasPutBackAfterAKilledExportIsKept()
    {
        const fs::path file = m_setup->file(1);
        const std::string name = file.filename();
        const Journal killed(m_setup->folder(), m_setup->support());
        killed.write({{name, {}, ""}});
        m_setup->db.sql().execute("DELETE FROM chat_message_join WHERE message_id = 2");
        const SyncResult result = m_setup->sync();
        QCOMPARE(describe(result), "added 4, touched 1"s);
        const std::string keptName = "Kept/Team (1) without epoch.jsonl.txt";
        QVERIFY(result.kept == std::vector<KeptFile>({{"Team", 1, keptName}}));
        QVERIFY(readFile(m_setup->folder() / keptName) == m_old);
    }

    /// Otherwise it would look as if Messages no longer had the records of the killed run.
    void fileOfAKilledExportIsNotComparedBeforeItsChatIsExported()
    {
        const std::string name = m_setup->file(1).filename();
        Journal(m_setup->folder(), m_setup->support()).write({{name, {}, ""}});
        const auto chats = std::exchange(m_setup->chats, {});
        QVERIFY(m_setup->sync().kept.empty());
        QCOMPARE(filesIn(kept()),
            std::vector<std::string>{"Team (1) without epoch.jsonl.txt.unchecked"});
        m_setup->chats = chats;
        QVERIFY(m_setup->sync().kept.empty());
        QVERIFY(!fs::exists(kept()));
        QVERIFY(readFile(m_setup->file(1)) == m_old);
    }

    void fileOfTheSameNameIsNotReplaced()
    {
        m_setup->db.sql().execute("DELETE FROM chat_message_join WHERE message_id = 2");
        fs::create_directories(kept());
        writeFile(kept() / ("Team (1) " + m_epoch + ".jsonl.txt"), "older");
        rename();
        const SyncResult result = m_setup->sync();
        QCOMPARE(result.kept.size(), 1U);
        QCOMPARE(result.kept[0].file, "Kept/Team (1) " + m_epoch + " 2.jsonl.txt");
        QCOMPARE(readFile(kept() / ("Team (1) " + m_epoch + ".jsonl.txt")), "older"s);
    }

    void namesHaveAtMost255Bytes()
    {
        const std::string title(300, 'x');
        const std::string name = KeptFiles::freeName(m_setup->folder(), title, 12345, m_epoch);
        QVERIFY(name.size() <= 255);
        QVERIFY(name.ends_with(" (12345) " + m_epoch + ".jsonl.txt.unchecked"));
        const std::string hindi = "क्षि"s;
        std::string many;
        for (int i = 0; i < 100; ++i)
            many += hindi;
        QVERIFY(KeptFiles::freeName(m_setup->folder(), many, 1, "no/epoch").size() <= 255);
        QCOMPARE(KeptFiles::freeName(m_setup->folder(), "A/B", 1, "../../x"),
            "A_B (1) without epoch.jsonl.txt.unchecked"s);
    }

    void linkInThePlaceOfTheFolderIsNotFollowed()
    {
        const fs::path elsewhere = m_setup->db.folder() + "/elsewhere";
        fs::create_directories(elsewhere);
        fs::create_directory_symlink(elsewhere, kept());
        const ChatState before = m_setup->record(1);
        rename();
        const SyncResult result = m_setup->sync();
        QCOMPARE(result.errors.size(), 1U);
        QVERIFY(result.errors[0].starts_with("Club: "));
        QVERIFY(readFile(m_setup->file(1)) == m_old);
        QVERIFY(m_setup->record(1) == before);
        QVERIFY(fs::is_empty(elsewhere));
    }

    void fileInThePlaceOfTheFolderIsTheChatsError()
    {
        writeFile(kept(), "mine");
        rename();
        QCOMPARE(describe(m_setup->sync()),
            "added 0, touched 0; Club: Can't move the old file to Kept: "
                + std::make_error_code(std::errc::not_a_directory).message()
                + ". It stays as it is.");
        QVERIFY(readFile(m_setup->file(1)) == m_old);
        QCOMPARE(readFile(kept()), "mine"s);
    }

    void folderThatCannotBeReadIsAnError()
    {
        const std::string tooLong(5000, 'x');
        std::vector<std::string> errors;
        QVERIFY(KeptFiles::compare(tooLong, {}, errors).empty());
        QCOMPARE(errors,
            std::vector{"Kept: " + std::make_error_code(std::errc::filename_too_long).message()});
    }

    void requestedRestartKeepsToTheSameRules()
    {
        m_setup->db.sql().execute("DELETE FROM chat_message_join WHERE message_id = 2");
        const SyncResult result = Exporter::sync(m_setup->chats, {}, m_setup->folder(),
            m_setup->support(), m_setup->db.path(), {}, {.restart = {ExportSetup::guid(1)}});
        QCOMPARE(describe(result), "added 4, touched 1"s);
        QCOMPARE(result.kept.size(), 1U);
        QVERIFY(m_setup->record(1).epoch != m_epoch);
        QCOMPARE(m_setup->rowIDs(1), (std::vector<std::int64_t>{1, 3, 4, 5}));
    }

private:
    void rename() { m_setup->chats[0].displayName = "Club"; }
    fs::path kept() const { return m_setup->folder() / "Kept"; }

    std::unique_ptr<ExportSetup> m_setup;
    std::string m_old; ///< bytes of the chat's first file
    std::string m_epoch;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::KeptFilesTest)
#include "KeptFilesTest.moc"
