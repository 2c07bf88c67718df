#include "storage/FileReader.h"
#include "support/Printing.h"
#include "support/Unprivileged.h"

#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <limits>
#include <memory>

namespace korvane {

namespace fs = std::filesystem;

namespace {

using Text = std::optional<std::string>;

void write(const fs::path& file, std::string_view bytes)
{
    std::ofstream(file, std::ios::binary) << bytes;
}

/// At most `most` bytes read at `offset`; absent if reading fails.
Text readAt(const FileReader& reader, std::int64_t offset, std::size_t most = 100)
{
    std::string bytes(most, '?');
    const auto count = reader.readAt(offset, bytes);
    return count ? Text(bytes.substr(0, *count)) : std::nullopt;
}

/// The descriptor that the next open() would return.
int nextDescriptor()
{
    return Descriptor(::dup(STDERR_FILENO)).get();
}

/// RAII: kills the program by SIGALRM if this object exists for more than 20 seconds.
class Deadline {
public:
    Deadline() { ::alarm(20); }
    ~Deadline() { ::alarm(0); }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
};

} // namespace

/// Reading parts of a file, which may be of any type and may change while it is open.
class FileReaderTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_root = m_folder->path().toStdString();
    }

    void readsFromAnyOffset_data()
    {
        QTest::addColumn<qint64>("offset");
        QTest::addColumn<unsigned>("most");
        QTest::addColumn<std::string>("bytes");
        QTest::newRow("all of it") << qint64{0} << 10U << std::string("0123456789");
        QTest::newRow("its beginning") << qint64{0} << 3U << std::string("012");
        QTest::newRow("its middle") << qint64{4} << 3U << std::string("456");
        QTest::newRow("its end") << qint64{7} << 3U << std::string("789");
        QTest::newRow("over its end") << qint64{8} << 100U << std::string("89");
        QTest::newRow("its last byte") << qint64{9} << 1U << std::string("9");
        QTest::newRow("at its end") << qint64{10} << 100U << std::string();
        QTest::newRow("past its end") << qint64{11} << 100U << std::string();
        QTest::newRow("beyond 4 GiB") << qint64{0x1'0000'0001} << 100U << std::string();
    }

    void readsFromAnyOffset()
    {
        QFETCH(qint64, offset);
        QFETCH(unsigned, most);
        QFETCH(std::string, bytes);
        write(file(), "0123456789");
        const auto reader = FileReader::open(file());
        QVERIFY(reader);
        QCOMPARE(reader->size(), 10);
        QCOMPARE(readAt(*reader, offset, most), Text(bytes));
        QCOMPARE(readAt(*reader, 0), Text("0123456789")); // readAt() moves no file position
    }

    void readsALargeFileInPieces()
    {
        std::string bytes(5'000'003, '\0');
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(i * 31 % 251);
        write(file(), bytes);
        const auto reader = FileReader::open(file());
        QVERIFY(reader);
        QCOMPARE(reader->size(), 5'000'003);
        QVERIFY(readAt(*reader, 0, bytes.size() + 1) == Text(bytes));
        std::string pieces;
        while (pieces.size() < bytes.size()) {
            const Text piece = readAt(*reader, static_cast<std::int64_t>(pieces.size()), 1'000'000);
            QVERIFY(piece && !piece->empty());
            pieces += *piece;
        }
        QVERIFY(pieces == bytes);
    }

    void emptyFileHasNothingToRead()
    {
        write(file(), "");
        const auto reader = FileReader::open(file());
        QVERIFY(reader);
        QCOMPARE(reader->size(), 0);
        QCOMPARE(readAt(*reader, 0), Text(""));
    }

    void readingNothingGivesNothing()
    {
        write(file(), "0123456789");
        const auto reader = FileReader::open(file());
        QVERIFY(reader);
        QCOMPARE(readAt(*reader, 3, 0), Text(""));
    }

    void offsetThatCannotBeFails()
    {
        write(file(), "0123456789");
        const auto reader = FileReader::open(file());
        QVERIFY(reader);
        QCOMPARE(readAt(*reader, -1), Text());
        QCOMPARE(readAt(*reader, std::numeric_limits<std::int64_t>::min()), Text());
    }

    void whatIsNoRegularFileIsNotOpened_data()
    {
        QTest::addColumn<std::string>("name");
        QTest::newRow("a missing file") << std::string("missing");
        QTest::newRow("a file in a missing folder") << std::string("missing/file");
        QTest::newRow("a folder") << std::string("folder");
        QTest::newRow("a file as a folder") << std::string("file/below");
        QTest::newRow("a link to a file") << std::string("link");
        QTest::newRow("a link to nothing") << std::string("dangling");
        QTest::newRow("a link to itself") << std::string("loop");
        QTest::newRow("a link to a folder") << std::string("folder link");
        QTest::newRow("a pipe") << std::string("pipe");
        QTest::newRow("a device") << std::string("/dev/zero");
        QTest::newRow("no name") << std::string();
    }

    void whatIsNoRegularFileIsNotOpened()
    {
        QFETCH(std::string, name);
        write(file(), "contents");
        fs::create_directory(file("folder"));
        fs::create_symlink("file", file("link"));
        fs::create_symlink("nowhere", file("dangling"));
        fs::create_symlink("loop", file("loop"));
        fs::create_symlink("folder", file("folder link"));
        QCOMPARE(::mkfifo(file("pipe").c_str(), 0600), 0);
        const Deadline deadline;
        QVERIFY(!FileReader::open(name.empty() ? fs::path() : m_root / name));
        QVERIFY(FileReader::open(file()));
    }

    void pipeWithAWriterIsNotOpened()
    {
        QCOMPARE(::mkfifo(file().c_str(), 0600), 0);
        const Deadline deadline;
        std::fstream writer(file(), std::ios::in | std::ios::out);
        writer << "contents" << std::flush;
        QVERIFY(writer.good());
        QVERIFY(!FileReader::open(file()));
    }

    void linkInTheMiddleOfThePathIsFollowed()
    {
        fs::create_directory(file("folder"));
        write(file("folder/file"), "contents");
        fs::create_symlink("folder", file("link"));
        const auto reader = FileReader::open(file("link/file"));
        QVERIFY(reader);
        QCOMPARE(readAt(*reader, 0), Text("contents"));
    }

    void secondNameOfAFileIsAsGood()
    {
        write(file(), "contents");
        fs::create_hard_link(file(), file("second"));
        const auto reader = FileReader::open(file("second"));
        QVERIFY(reader);
        QCOMPARE(readAt(*reader, 0), Text("contents"));
    }

    void fileWithoutPermissionIsNotOpened()
    {
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        const QTemporaryDir own;
        m_root = own.path().toStdString();
        write(file(), "secret");
        fs::permissions(file(), fs::perms::owner_write);
        QVERIFY(!FileReader::open(file()));
        fs::permissions(file(), fs::perms::owner_read);
        QVERIFY(FileReader::open(file()));
        fs::permissions(m_root, fs::perms::owner_read);
        QVERIFY(!FileReader::open(file()));
        fs::permissions(m_root, fs::perms::owner_all);
    }

    void replacedFileIsReadToItsEnd()
    {
        write(file(), "old contents");
        const auto reader = FileReader::open(file());
        QVERIFY(reader);
        QCOMPARE(readAt(*reader, 0, 3), Text("old"));
        write(file("other"), "new");
        fs::rename(file("other"), file());
        QCOMPARE(readAt(*reader, 3), Text(" contents"));
        QCOMPARE(reader->size(), 12);
        const auto again = FileReader::open(file());
        QVERIFY(again);
        QCOMPARE(readAt(*again, 0), Text("new"));
    }

    void removedFileIsReadToItsEnd()
    {
        write(file(), "old contents");
        const auto reader = FileReader::open(file());
        QVERIFY(reader);
        fs::remove(file());
        QCOMPARE(readAt(*reader, 0), Text("old contents"));
    }

    void appendedBytesAreThereBeyondTheSize()
    {
        write(file(), "one\n");
        const auto reader = FileReader::open(file());
        QVERIFY(reader);
        std::ofstream(file(), std::ios::app) << "two\n";
        QCOMPARE(reader->size(), 4);
        QCOMPARE(readAt(*reader, 0, 4), Text("one\n"));
        QCOMPARE(readAt(*reader, 4), Text("two\n"));
    }

    void shortenedFileEndsEarlier()
    {
        write(file(), "0123456789");
        const auto reader = FileReader::open(file());
        QVERIFY(reader);
        fs::resize_file(file(), 4);
        QCOMPARE(reader->size(), 10);
        QCOMPARE(readAt(*reader, 2), Text("23"));
        QCOMPARE(readAt(*reader, 5), Text(""));
    }

    void everyDescriptorIsClosed()
    {
        write(file(), "contents");
        QCOMPARE(::mkfifo(file("pipe").c_str(), 0600), 0);
        const int before = nextDescriptor();
        {
            auto reader = FileReader::open(file());
            QVERIFY(reader);
            QVERIFY(nextDescriptor() != before); // the file is open
            const FileReader moved = std::move(*reader);
            reader.reset();
            QCOMPARE(readAt(moved, 0), Text("contents"));
        }
        for (const char* name : {"file", "pipe", "missing"})
            FileReader::open(file(name));
        FileReader::open(m_root);
        QCOMPARE(nextDescriptor(), before);
    }

private:
    fs::path file(const char* name = "file") const { return m_root / name; }

    std::unique_ptr<QTemporaryDir> m_folder;
    fs::path m_root;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::FileReaderTest)
#include "FileReaderTest.moc"
