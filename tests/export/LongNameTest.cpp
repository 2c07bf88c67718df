#include "export/ExportSetup.h"
#include "export/FileName.h"
#include "export/Manifest.h"
#include "support/Printing.h"

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

using Rows = std::vector<std::int64_t>;

const std::string hindi = "श्रीमती विजयलक्ष्मी चतुर्वेदी, प्रोफ़ेसर हरिश्चन्द्र त्रिपाठी, "
                          "कुमारी अन्नपूर्णा भट्टाचार्य";
const std::string tail = " (1) Korvane Wrapped.jsonl.txt";
constexpr std::size_t longestName = 255;

std::string times(int count, const std::string& text)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

std::vector<std::string> filesIn(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename());
    return names;
}

/// A set-up with chat 1, called `title`, and two messages.
std::unique_ptr<ExportSetup> setupWith(const std::string& title)
{
    auto setup = std::make_unique<ExportSetup>();
    setup->addChat(1, title);
    setup->addMessages(1, 2);
    return setup;
}

/// The record that earlier versions saved of a chat whose file they could not create.
ChatState recordOfNoFile(const std::string& title)
{
    return {.lastRowID = 0,
        .fileName = Exporter::exportFileName(title, 1),
        .title = title,
        .messages = 0,
        .epoch = "E",
        .formatVersion = currentFormatVersion};
}

} // namespace

/// Titles whose file names are longer than the file system allows (255 bytes). Relies on the limit
/// of the file system that holds the temporary folder.
class LongNameTest : public QObject {
    Q_OBJECT

private slots:
    void exportsUnderTheLongestNameThatFits_data()
    {
        QTest::addColumn<std::string>("title");
        QTest::addColumn<std::string>("kept");
        const auto row = [](const char* name, const std::string& title, const std::string& kept) {
            QTest::newRow(name) << title << kept;
        };
        row("76 Chinese characters", times(76, "漢"), times(75, "漢"));
        row("100 emoji", times(100, "😀"), times(56, "😀"));
        row("emoji of two code points", times(40, "👍🏽"), times(28, "👍🏽"));
        row("flags", times(40, "🇩🇪"), times(28, "🇩🇪"));
        row("a letter and its accent stay together", times(73, "漢") + "xxxxxe\u0301",
            times(73, "漢") + "xxxxx");
        row("Hindi vowel signs stay with their consonant", times(50, "की"), times(37, "की"));
        row("one letter too many", times(74, "漢") + "xyzé", times(74, "漢") + "xyz");
        row("a single character that is too long", "a" + times(200, "\u0301"), "");
    }

    void exportsUnderTheLongestNameThatFits()
    {
        QFETCH(std::string, title);
        QFETCH(std::string, kept);
        const auto setup = setupWith(title);
        QCOMPARE(describe(setup->sync()), "added 2, touched 1"s);
        QCOMPARE(setup->record(1).fileName, kept + tail);
        QVERIFY(setup->record(1).fileName.size() <= longestName);
        QCOMPARE(setup->record(1).title, std::optional(title));
        QCOMPARE(setup->rowIDs(1), (Rows{1, 2}));
        QCOMPARE(filesIn(setup->folder()), std::vector{kept + tail});
        const auto items
            = Exporter::manifest(setup->folder(), {ExportSetup::guid(1)}, setup->support());
        QCOMPARE(items.size(), 1U);
        QCOMPARE(items[0].file, kept + tail);
        QCOMPARE(items[0].title, title);
    }

    void aNameThatFitsIsNotShortened()
    {
        const std::string title = times(75, "漢");
        const auto setup = setupWith(title);
        QCOMPARE((title + tail).size(), longestName);
        QCOMPARE(describe(setup->sync()), "added 2, touched 1"s);
        QCOMPARE(setup->record(1).fileName, title + tail);
    }

    void appendsToTheSameFileFromThenOn()
    {
        const auto setup = setupWith(hindi);
        QCOMPARE(describe(setup->sync()), "added 2, touched 1"s);
        const ChatState first = setup->record(1);
        QVERIFY(hindi.starts_with(first.fileName.substr(0, first.fileName.size() - tail.size())));
        QVERIFY(first.fileName.size() > longestName - 24); // at most one Hindi syllable is missing
        QCOMPARE(describe(setup->sync()), "added 0, touched 0"s);
        QVERIFY(setup->record(1) == first);

        setup->addMessages(1, 1);
        QCOMPARE(describe(setup->sync()), "added 1, touched 1"s);
        QCOMPARE(setup->record(1).fileName, first.fileName);
        QCOMPARE(setup->record(1).epoch, first.epoch);
        QCOMPARE(setup->record(1).messages, std::optional<std::int64_t>(3));
        QCOMPARE(setup->rowIDs(1), (Rows{1, 2, 3}));
    }

    void aRestartKeepsTheShortName()
    {
        const auto setup = setupWith(hindi);
        setup->sync();
        const ChatState first = setup->record(1);
        setup->chats[0].displayName = "Three friends";
        QCOMPARE(describe(setup->sync()), "added 2, touched 1"s);
        QCOMPARE(setup->record(1).fileName, first.fileName);
        QVERIFY(setup->record(1).epoch != first.epoch);
        QCOMPARE(setup->rowIDs(1), (Rows{1, 2}));
        QCOMPARE(filesIn(setup->folder()).size(), 1U);
    }

    void aRecordWithANameThatIsTooLongHeals()
    {
        const auto setup = setupWith(hindi);
        setup->setRecord(1, recordOfNoFile(hindi));
        QCOMPARE(describe(setup->sync()), "added 2, touched 1"s);
        const ChatState healed = setup->record(1);
        QVERIFY(healed.fileName.size() <= longestName);
        QVERIFY(isEpoch(healed.epoch.value()));
        QCOMPARE(setup->rowIDs(1), (Rows{1, 2}));
        QCOMPARE(describe(setup->sync()), "added 0, touched 0"s);
        QVERIFY(setup->record(1) == healed);
    }

    void aRecordThatHealsStartsItsFileAfresh()
    {
        const auto setup = setupWith(hindi);
        setup->sync();
        const fs::path file = setup->file(1);
        setup->setRecord(1, recordOfNoFile(hindi)); // as if the last run had ended before it saved
        QCOMPARE(describe(setup->sync()), "added 2, touched 1"s);
        QCOMPARE(setup->file(1), file);
        QCOMPARE(setup->rowIDs(1), (Rows{1, 2}));
    }

    void aLostStateAppendsToTheFileThatIsThere()
    {
        const auto setup = setupWith(hindi);
        setup->sync();
        const fs::path file = setup->file(1);
        fs::remove(setup->stateFile());
        QCOMPARE(describe(setup->sync()), "added 2, touched 1"s);
        QCOMPARE(setup->file(1), file);
        QCOMPARE(setup->rowIDs(1), (Rows{1, 2, 1, 2}));
    }

    void chatsWithTheSameTitleHaveFilesOfTheirOwn()
    {
        const auto setup = setupWith(hindi);
        setup->addChat(12345, hindi);
        setup->addMessages(12345, 1);
        QCOMPARE(describe(setup->sync()), "added 3, touched 2"s);
        QVERIFY(setup->record(1).fileName != setup->record(12345).fileName);
        QCOMPARE(setup->rowIDs(1), (Rows{1, 2}));
        QCOMPARE(setup->rowIDs(12345), Rows{3});
    }

    void aChatWithoutMessagesKeepsItsName()
    {
        ExportSetup setup;
        setup.addChat(1, hindi);
        QCOMPARE(describe(setup.sync()), "added 0, touched 0"s);
        QCOMPARE(setup.record(1).fileName, hindi + tail);
        setup.addMessages(1, 1);
        QCOMPARE(describe(setup.sync()), "added 1, touched 1"s);
        QVERIFY(setup.record(1).fileName.size() <= longestName);
    }

    void anotherObstacleIsReported()
    {
        const auto setup = setupWith(times(76, "漢"));
        fs::create_directories(setup->folder() / (times(75, "漢") + tail) / "full");
        const std::string isFolder = std::make_error_code(std::errc::is_a_directory).message();
        QCOMPARE(
            describe(setup->sync()), "added 0, touched 0; " + times(76, "漢") + ": " + isFolder);
        QVERIFY(ExportState::load(setup->support()).chats.empty());
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::LongNameTest)
#include "LongNameTest.moc"
