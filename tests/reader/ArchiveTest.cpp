#include "reader/Archive.h"
#include "reader/Records.h"
#include "support/Printing.h"

#include <sys/stat.h>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

/// One record of a chat.
std::string recordOf(const std::string& guid, const std::string& title)
{
    Record record = message(1);
    record.conversationID = guid;
    record.conversationName = title;
    return lineOf(record) + '\n';
}

using Names = std::vector<std::string>;
using Indexes = std::vector<std::size_t>;

Names titles(const Archive& archive)
{
    Names names;
    for (const ArchivedChat& chat : archive.chats)
        names.push_back(chat.title);
    return names;
}

Names fileNames(const ArchivedChat& chat)
{
    Names names;
    for (const ArchiveFile& file : chat.files)
        names.push_back(file.path.filename().string());
    return names;
}

} // namespace

/// Finding the chats of an export folder or of files, and the ones that a word means.
class ArchiveTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void chatsAreThoseOfTheRecords()
    {
        write("Old name (7) Korvane Wrapped.jsonl.txt",
            recordOf("a", "Old name") + recordOf("a", "Ann"));
        write("Bo (12) Korvane Wrapped.jsonl.txt", recordOf("b", "Bo"));
        write("notes.txt", recordOf("n", "Notes"));
        const Archive archive = Archive::inFolder(folder());
        QCOMPARE(titles(archive), (Names{"Ann", "Bo"}));
        QCOMPARE(archive.chats.front().guid, std::string("a"));
        QCOMPARE(archive.chats.front().number, std::string("7"));
        QCOMPARE(archive.errors, Names{});
    }

    void keptFilesComeAfterTheCurrentOne()
    {
        write("Ann (7) Korvane Wrapped.jsonl.txt", recordOf("a", "Ann Lee"));
        write("Ann (7) Korvane Wrapped (1).jsonl.txt", recordOf("a", "Ann Lee"));
        write("Kept/Ann (7) B.jsonl.txt", recordOf("a", "Ann"));
        write("Kept/Ann (7) A.jsonl.txt.unchecked", recordOf("a", "Ann"));
        write("Kept/Gone (8) C.jsonl.txt", recordOf("g", "Gone"));
        const Archive archive = Archive::inFolder(folder());
        QCOMPARE(titles(archive), (Names{"Ann Lee", "Gone"}));
        const ArchivedChat& ann = archive.chats.front();
        QCOMPARE(fileNames(ann),
            (Names{"Ann (7) Korvane Wrapped.jsonl.txt", "Ann (7) Korvane Wrapped (1).jsonl.txt",
                "Ann (7) A.jsonl.txt.unchecked", "Ann (7) B.jsonl.txt"}));
        QVERIFY(!ann.files.front().isKept);
        QVERIFY(ann.files.back().isKept);
        QCOMPARE(ann.number, std::string("7"));
        QVERIFY(archive.chats.back().files.front().isKept);
        QCOMPARE(archive.chats.back().number, std::string("8"));
    }

    /// After a move to a new Mac, a chat can have a new number and thus a new file.
    void fileThatWasChangedLastIsTheCurrentOne()
    {
        write("+1202 (2) Korvane Wrapped.jsonl.txt", recordOf("a", "+1202"));
        write("Ann (1002) Korvane Wrapped.jsonl.txt", recordOf("a", "Ann"));
        const fs::path old = folder() / "+1202 (2) Korvane Wrapped.jsonl.txt";
        fs::last_write_time(old, fs::last_write_time(old) - std::chrono::hours(1));
        const Archive archive = Archive::inFolder(folder());
        QCOMPARE(titles(archive), Names{"Ann"});
        QCOMPARE(archive.chats.front().number, std::string("1002"));
        QCOMPARE(findChats(archive, "1002"), Indexes{0});
        QCOMPARE(findChats(archive, "2"), Indexes{0});
        QCOMPARE(findChats(archive, "100"), Indexes{});
    }

    void damagedEndsDoNotHideTheChat_data()
    {
        QTest::addColumn<std::string>("text");
        const std::string record = recordOf("a", "Ann");
        QTest::newRow("an unfinished end") << record + record.substr(0, 30);
        QTest::newRow("torn lines") << record + "torn\n\n{}\n";
        QTest::newRow("a long last line") << record + std::string(3'000'000, 'x') + '\n';
        QTest::newRow("a torn first line") << record.substr(0, 30) + record;
    }

    void damagedEndsDoNotHideTheChat()
    {
        QFETCH(std::string, text);
        write("x (1) Korvane Wrapped.jsonl.txt", text);
        QCOMPARE(titles(Archive::inFolder(folder())), Names{"Ann"});
    }

    void fileWithoutRecordsHasTheTitleOfItsName()
    {
        write("Ann (7) Korvane Wrapped.jsonl.txt", "");
        write("Bo (8) Korvane Wrapped.jsonl.txt", "torn");
        const Archive archive = Archive::inFolder(folder());
        QCOMPARE(titles(archive),
            (Names{"Ann (7) Korvane Wrapped.jsonl.txt", "Bo (8) Korvane Wrapped.jsonl.txt"}));
        QCOMPARE(archive.chats.front().guid, std::string());
    }

    void whatIsNoFileIsAnError()
    {
        const std::string end = " Korvane Wrapped.jsonl.txt";
        write("Ann (1)" + end, recordOf("a", "Ann"));
        fs::create_directory(folder() / ("folder" + end));
        fs::create_symlink(folder() / ("Ann (1)" + end), folder() / ("link" + end));
        QCOMPARE(::mkfifo((folder() / ("pipe" + end)).c_str(), 0600), 0);
        const Archive archive = Archive::inFolder(folder());
        QCOMPARE(titles(archive), Names{"Ann"});
        QCOMPARE(archive.errors,
            (Names{"folder" + end + ": It is a folder.", "link" + end + ": It is a symbolic link.",
                "pipe" + end + ": It is not a regular file."}));
    }

    void missingFolderIsAnError()
    {
        const fs::path missing = folder() / "missing";
        QCOMPARE(Archive::inFolder(missing).errors,
            Names{"There is no folder " + missing.string() + '.'});
    }

    void newestKeptFileComesFirst()
    {
        write("Ann (7) Korvane Wrapped.jsonl.txt", recordOf("a", "Ann"));
        write("Kept/Ann (7) A.jsonl.txt", recordOf("a", "Ann"));
        write("Kept/Ann (7) B.jsonl.txt", recordOf("a", "Ann"));
        const auto anHourAgo = fs::file_time_type::clock::now() - std::chrono::hours(1);
        fs::last_write_time(folder() / "Kept/Ann (7) A.jsonl.txt", anHourAgo);
        const Archive archive = Archive::inFolder(folder());
        QCOMPARE(archive.chats.size(), std::size_t{1});
        QCOMPARE(archive.chats.front().files.at(1).path.filename().string(), "Ann (7) B.jsonl.txt");
    }

    void folderMayBeALinkButKeptMayNot()
    {
        write("real/Ann (1) Korvane Wrapped.jsonl.txt", recordOf("a", "Ann"));
        write("elsewhere/Bo (2) E.jsonl.txt", recordOf("b", "Bo"));
        fs::create_symlink(folder() / "elsewhere", folder() / "real" / "Kept");
        fs::create_symlink(folder() / "real", folder() / "link");
        const Archive archive = Archive::inFolder(folder() / "link");
        QCOMPARE(titles(archive), Names{"Ann"});
    }

    void filesMayHaveAnyNameAndLieAnywhere()
    {
        write("a/copy.txt", recordOf("a", "Ann"));
        write("b/older", recordOf("a", "Ann before"));
        write("b/bo", recordOf("b", "Bo"));
        fs::create_symlink(folder() / "b/bo", folder() / "link");
        const Archive archive = Archive::ofFiles({folder() / "a/copy.txt", folder() / "b/older",
            folder() / "link", folder() / "a/copy.txt"});
        QCOMPARE(titles(archive), (Names{"Ann", "Bo"}));
        QCOMPARE(fileNames(archive.chats.front()), (Names{"copy.txt", "older"}));
        QCOMPARE(fileNames(archive.chats.back()), Names{"bo"});
    }

    void currentFileComesBeforeKeptOnesWhateverTheirOrder()
    {
        write("Kept/Ann (7) E.jsonl.txt", recordOf("a", "Ann before"));
        write("Ann (7) Korvane Wrapped.jsonl.txt", recordOf("a", "Ann"));
        const Archive archive = Archive::ofFiles({folder() / "Kept/Ann (7) E.jsonl.txt",
            folder() / "Ann (7) Korvane Wrapped.jsonl.txt"});
        QCOMPARE(titles(archive), Names{"Ann"});
        QCOMPARE(archive.chats.front().files.back().isKept, true);
    }

    void errorsOfFilesNameThemAsTheUserDid()
    {
        QCOMPARE(Archive::ofFiles({"/nowhere/x"}).errors,
            Names{"/nowhere/x: No such file or directory."});
    }

    void wordsMeanChats_data()
    {
        QTest::addColumn<std::string>("word");
        QTest::addColumn<Indexes>("expected");
        QTest::newRow("a guid") << std::string("iMessage;-;ann@x.org") << Indexes{1};
        QTest::newRow("a part of a guid") << std::string("iMessage") << Indexes{};
        QTest::newRow("a number") << std::string("12") << Indexes{2};
        QTest::newRow("a title that is part of another one") << std::string("Ann") << Indexes{0};
        QTest::newRow("in lower case") << std::string("ann") << Indexes{0};
        QTest::newRow("part of a title") << std::string("lee") << Indexes{1};
        QTest::newRow("part of two titles") << std::string("nn") << Indexes{0, 1};
        QTest::newRow("with an accent composed otherwise")
            << std::string("zoe\xCC\x88") << Indexes{3};
        QTest::newRow("without its accent") << std::string("zoe") << Indexes{3};
        QTest::newRow("nothing") << std::string("Carl") << Indexes{};
        QTest::newRow("an empty word") << std::string() << Indexes{};
    }

    void wordsMeanChats()
    {
        QFETCH(std::string, word);
        QFETCH(Indexes, expected);
        Archive archive;
        archive.chats = {{.guid = "a", .title = "Ann", .number = "1"},
            {.guid = "iMessage;-;ann@x.org", .title = "Ann Lee", .number = "7"},
            {.guid = "b", .title = "Route 12", .number = "12"},
            {.guid = "z", .title = "ZOË", .number = "2"}};
        QCOMPARE(findChats(archive, word), expected);
    }

private:
    fs::path folder() const { return m_folder->path().toStdString(); }

    void write(const std::string& name, const std::string& bytes) const
    {
        writeBytes(folder() / name, bytes);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(ArchiveTest)
#include "ArchiveTest.moc"
