#include "messages/Sqlite.h"
#include "sample/SampleDatabase.h"
#include "support/Printing.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <algorithm>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <sys/resource.h>
#include <vector>

namespace korvane {

namespace {

constexpr SampleSize smallSize{.messages = 12'000, .chats = 10};

QByteArray contentOf(const std::string& path)
{
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Limits the size of the files that this process writes, until destroyed. Writing more fails, as
/// on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit lowered{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &lowered);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, SIG_DFL);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
};

/// The message of the DBError that writing a sample to `path` throws, or an empty text.
std::string errorOfWriting(const std::string& path, const SampleProgress& progress = {})
{
    try {
        writeSampleDatabase(path, smallSize, progress);
    } catch (const DBError& error) {
        return error.message;
    }
    return {};
}

} // namespace

/// The file that writeSampleDatabase() creates; a failure leaves no file.
class SampleFileTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void sameSizeGivesTheSameBytes()
    {
        writeSampleDatabase(pathOf("one.db"), smallSize);
        writeSampleDatabase(pathOf("two.db"), smallSize, [](std::int64_t) { return true; });
        QVERIFY(contentOf(pathOf("one.db")).size() > 1'000'000);
        QVERIFY(contentOf(pathOf("one.db")) == contentOf(pathOf("two.db")));
    }

    void differentSeedGivesDifferentBytes()
    {
        SampleSize other = smallSize;
        other.seed = 2;
        writeSampleDatabase(pathOf("one.db"), smallSize);
        writeSampleDatabase(pathOf("two.db"), other);
        QVERIFY(contentOf(pathOf("one.db")) != contentOf(pathOf("two.db")));
    }

    void existingFileIsNotOverwritten()
    {
        QFile file(QString::fromStdString(pathOf("existing.db")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("existing content");
        file.close();
        QCOMPARE(errorOfWriting(pathOf("existing.db")), pathOf("existing.db") + " exists already.");
        QCOMPARE(contentOf(pathOf("existing.db")), QByteArray("existing content"));
    }

    void danglingLinkIsNotOverwritten()
    {
        QVERIFY(QFile::link(QStringLiteral("nowhere"), QString::fromStdString(pathOf("link.db"))));
        QCOMPARE(errorOfWriting(pathOf("link.db")), pathOf("link.db") + " exists already.");
        QCOMPARE(files(), QStringList{QStringLiteral("link.db")});
    }

    void errorNamesThePathAndTheReason()
    {
        const std::string path = pathOf("missing/chat.db");
        QCOMPARE(errorOfWriting(path), "Can't write " + path + ": No such file or directory");
    }

    void createsNoOtherFile()
    {
        QCOMPARE(errorOfWriting(pathOf("chat.db")), std::string());
        QCOMPARE(files(), QStringList{QStringLiteral("chat.db")});
    }

    void reportsTheNumberOfMessagesWritten()
    {
        std::vector<std::int64_t> reports;
        writeSampleDatabase(pathOf("chat.db"), smallSize, [&](std::int64_t written) {
            reports.push_back(written);
            return true;
        });
        QVERIFY(reports.size() > 4);
        QVERIFY(std::is_sorted(reports.begin(), reports.end()));
        QCOMPARE(reports.front(), std::int64_t{0});
        QCOMPARE(reports.back(), smallSize.messages);
    }

    void leavesNoFileWhenCancelled_data()
    {
        QTest::addColumn<int>("reportsBefore");
        QTest::newRow("before the first message") << 0;
        QTest::newRow("between messages") << 2;
        QTest::newRow("between indexes") << 5;
    }

    void leavesNoFileWhenCancelled()
    {
        QFETCH(int, reportsBefore);
        const std::string error
            = errorOfWriting(pathOf("chat.db"), [&](std::int64_t) { return reportsBefore-- > 0; });
        QCOMPARE(error, std::string("Writing the sample was stopped."));
        QCOMPARE(files(), QStringList());
    }

    void leavesNoFileWhenProgressThrows()
    {
        const auto fail = [](std::int64_t) -> bool { throw std::runtime_error("progress failed"); };
        QVERIFY_THROWS_EXCEPTION(
            std::runtime_error, writeSampleDatabase(pathOf("chat.db"), smallSize, fail));
        QCOMPARE(files(), QStringList());
    }

    void leavesNoFileOnAFullDisk()
    {
        const FileSizeLimit limit(300'000);
        QVERIFY(!errorOfWriting(pathOf("chat.db")).empty());
        QCOMPARE(files(), QStringList());
    }

private:
    std::string pathOf(const char* name) const
    {
        return m_folder->filePath(QString::fromLatin1(name)).toStdString();
    }

    QStringList files() const
    {
        return QDir(m_folder->path())
            .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::SampleFileTest)
#include "SampleFileTest.moc"
