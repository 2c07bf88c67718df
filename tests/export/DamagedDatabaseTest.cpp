#include "export/ExportSetup.h"
#include "support/Printing.h"

#include <functional>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr auto malformed = "database disk image is malformed";
constexpr auto marker = "the text on the page that will be lost";

/// Adds chat 1, whose middle message fills pages of its own, and chat 2 after it.
void fill(ExportSetup& setup)
{
    setup.addChat(1, "Torn");
    setup.addChat(2, "Sound");
    setup.addMessages(1, 50);
    setup.db.addMessage(1, {.rowID = 1000, .text = std::string(200'000, 'x') + marker});
    setup.addMessages(1, 50);
    setup.addMessages(2, 2);
}

/// Breaks the chain of overflow pages of the long message. Returns a function that repairs it.
std::function<void()> damage(const ExportSetup& setup)
{
    constexpr std::size_t pageSize = 4096;
    const fs::path file = setup.db.path();
    const std::string whole = readFile(file);
    const std::size_t last = whole.find(marker) / pageSize * pageSize;
    const std::size_t earlier = last - 20 * pageSize;
    std::string torn = whole;
    torn.replace(earlier, 4, "\x7f\xff\xff\xff"); // the number of the next page
    writeFile(file, torn);
    return [file, whole] { writeFile(file, whole); };
}

} // namespace

/// A damaged database in which some chats cannot be read, while others can.
class DamagedDatabaseTest : public QObject {
    Q_OBJECT

private slots:
    void nothingIsWrittenOfAChatThatFailsHalfWay()
    {
        ExportSetup setup;
        fill(setup);
        const auto repair = damage(setup);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1; Torn: "s + malformed);
        QVERIFY(!fs::exists(setup.folder() / "Torn (1) Korvane Wrapped.jsonl.txt"));
        QCOMPARE(ExportState::load(setup.support()).chats.size(), 1U);
        QCOMPARE(setup.rowIDs(2).size(), 2U);

        repair();
        QCOMPARE(describe(setup.sync()), "added 101, touched 1"s);
        QCOMPARE(setup.rowIDs(1).size(), 101U);
    }

    void aKnownChatKeepsItsRecordAndItsFile()
    {
        ExportSetup setup;
        setup.addChat(1, "Torn");
        setup.addMessages(1, 2);
        setup.sync();
        const ChatState before = setup.record(1);
        const std::string bytes = readFile(setup.file(1));
        setup.chats.clear();
        setup.db.sql().execute(
            "DELETE FROM chat; DELETE FROM message; DELETE FROM chat_message_join");
        fill(setup);
        const auto repair = damage(setup);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1; Torn: "s + malformed);
        QVERIFY(setup.record(1) == before);
        QCOMPARE(readFile(setup.file(1)), bytes);

        repair();
        QCOMPARE(describe(setup.sync()), "added 101, touched 1"s);
        QCOMPARE(setup.record(1).epoch, before.epoch);
        QVERIFY(readFile(setup.file(1)).starts_with(bytes));
    }

    void aChatThatFailsWhileItRestartsKeepsItsOldFile()
    {
        ExportSetup setup;
        fill(setup);
        setup.sync();
        const ChatState before = setup.record(1);
        const auto repair = damage(setup);
        const std::string bytes = readFile(setup.file(1));
        setup.chats[0].displayName = "Renamed";
        QCOMPARE(describe(setup.sync()), "added 0, touched 0; Renamed: "s + malformed);
        QVERIFY(setup.record(1) == before);
        QCOMPARE(readFile(setup.file(1)), bytes);

        repair();
        QCOMPARE(describe(setup.sync()), "added 101, touched 1"s);
        QCOMPARE(setup.file(1), setup.folder() / "Torn (1) Korvane Wrapped.jsonl.txt");
        QVERIFY(setup.record(1).epoch != before.epoch);
        QCOMPARE(setup.record(1).title, std::optional("Renamed"s));
    }

    void aMissingTableFailsEveryChat()
    {
        ExportSetup setup;
        fill(setup);
        setup.db.sql().execute("DROP TABLE handle");
        QCOMPARE(describe(setup.sync()),
            "added 0, touched 0; Torn: no such table: handle; Sound: no such table: handle"s);
        QCOMPARE(readFile(setup.stateFile()), R"({"chats":{}})"s);
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::DamagedDatabaseTest)
#include "DamagedDatabaseTest.moc"
