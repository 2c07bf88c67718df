#include "check/KeptRecords.h"
#include "export/ExportSetup.h"
#include "export/RecordWriter.h"
#include "support/Printing.h"

using namespace korvane;
namespace fs = std::filesystem;

namespace {

std::string recordsOf(const std::string& guid, int count)
{
    const ContactNames names;
    RecordWriter writer({.guid = guid}, "T", names);
    std::string lines;
    for (int i = 1; i <= count; ++i)
        writer.append({.rowID = i, .text = "hello"}, lines);
    return lines;
}

} // namespace

/// Counting the records that restarts kept.
class KeptRecordsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        fs::create_directory(kept());
    }

    void recordsCountForTheChatThatTheyName()
    {
        writeFile(kept() / "Ann (1) E1.jsonl.txt", recordsOf("a", 3));
        writeFile(kept() / "Ann (1) E2.jsonl.txt", recordsOf("a", 2) + "torn");
        writeFile(kept() / "Bo (2) E3.jsonl.txt.unchecked", recordsOf("b", 4));
        const KeptRecords records = count();
        QCOMPARE(records.byChat, (std::map<std::string, std::int64_t>{{"a", 5}, {"b", 4}}));
        QVERIFY(records.errors.empty());
    }

    void otherFilesDoNotCount()
    {
        writeFile(kept() / "notes.txt", recordsOf("a", 3));
        QVERIFY(count().byChat.empty());
    }

    void withoutAFolderThereIsNothing()
    {
        fs::remove(kept());
        QVERIFY(count().byChat.empty());
        QVERIFY(count().errors.empty());
    }

    void linksAreNotFollowed_data()
    {
        QTest::addColumn<bool>("folder");
        QTest::newRow("the folder") << true;
        QTest::newRow("a file") << false;
    }

    void linksAreNotFollowed()
    {
        QFETCH(bool, folder);
        const fs::path elsewhere = root() / "elsewhere";
        fs::create_directory(elsewhere);
        writeFile(elsewhere / "Ann (1) E1.jsonl.txt", recordsOf("a", 3));
        if (folder) {
            fs::remove(kept());
            fs::create_symlink(elsewhere, kept());
        } else {
            fs::create_symlink(elsewhere / "Ann (1) E1.jsonl.txt", kept() / "Ann (1) E1.jsonl.txt");
        }
        const KeptRecords records = count();
        QVERIFY(records.byChat.empty());
        QCOMPARE(records.errors.size(), std::size_t{folder ? 0U : 1U});
    }

    void fileThatCannotBeReadIsAnError()
    {
        fs::create_directory(kept() / "Ann (1) E1.jsonl.txt");
        const KeptRecords records = count();
        QCOMPARE(records.errors,
            std::vector<std::string>{"Kept/Ann (1) E1.jsonl.txt: The file can't be read."});
    }

private:
    fs::path root() const { return m_folder->path().toStdString(); }
    fs::path kept() const { return root() / "Kept"; }
    KeptRecords count() const
    {
        return keptRecords(root(), [] {});
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(KeptRecordsTest)
#include "KeptRecordsTest.moc"
