#include "storage/Files.h"
#include "storage/OutputFile.h"
#include "support/Printing.h"
#include "support/Unprivileged.h"

#include <QTemporaryDir>

#include <sys/resource.h>

#include <csignal>
#include <initializer_list>
#include <memory>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

void append(const fs::path& file, std::initializer_list<std::string_view> pieces)
{
    OutputFile output(file);
    for (const std::string_view piece : pieces)
        output.append(piece);
    Files::flush(file);
}

/// The system's text for the error that `action` throws, or "(no error)".
template <typename Action>
std::string errorOf(Action action)
{
    try {
        action();
    } catch (const std::system_error& error) {
        return error.code().message();
    }
    return "(no error)";
}

/// RAII: limits the size of files to `bytes` (RLIMIT_FSIZE), to imitate a full disk.
class SizeLimit {
public:
    explicit SizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limited{.rlim_cur = bytes, .rlim_max = m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~SizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int) = nullptr;
};

const std::string large(3'000'000, 'x');

} // namespace

/// Appending and writing that fail: the error, and what stays on disk.
class FileFailuresTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_root = m_folder->path().toStdString();
    }

    void failuresCarryTheSystemsText_data()
    {
        QTest::addColumn<std::string>("name");
        QTest::addColumn<std::string>("error");
        QTest::newRow("a missing folder")
            << std::string("missing/file") << std::string("No such file or directory");
        QTest::newRow("a file as a folder")
            << std::string("plain/file") << std::string("Not a directory");
        QTest::newRow("a folder") << std::string("folder") << std::string("Is a directory");
        QTest::newRow("a name too long")
            << std::string(300, 'n') << std::string("File name too long");
    }

    void failuresCarryTheSystemsText()
    {
        QFETCH(std::string, name);
        QFETCH(std::string, error);
        append(file("plain"), {"hello"});
        fs::create_directory(file("folder"));
        append(file("folder/inside"), {"hello"});
        QCOMPARE(errorOf([&] { append(m_root / name, {"hello"}); }), error);
        QCOMPARE(errorOf([&] { Files::writeAtomically(m_root / name, "hello"); }), error);
        QCOMPARE(std::distance(fs::directory_iterator(m_root), {}), 2); // nothing left behind
    }

    void fullDiskFailsAnAppend()
    {
        if (!fs::exists("/dev/full"))
            QSKIP("needs a device that is always full");
        QCOMPARE(errorOf([] { append("/dev/full", {"hello"}); }), "No space left on device");
    }

    void fileTooLargeFailsAnAppendHalfWay()
    {
        append(file(), {"start"});
        std::string error;
        {
            const SizeLimit limit(5000);
            error = errorOf([this] { append(file(), {std::string(3000, 'a'), large}); });
        }
        QCOMPARE(error, "File too large");
        QCOMPARE(fs::file_size(file()), 5000U);
    }

    void failedWriteKeepsTheOldContents()
    {
        Files::writeAtomically(file(), "old");
        std::string error;
        {
            const SizeLimit limit(5000);
            error = errorOf([this] { Files::writeAtomically(file(), large); });
        }
        QCOMPARE(error, "File too large");
        QCOMPARE(Files::read(file()), std::optional<std::string>("old"));
        QCOMPARE(std::distance(fs::directory_iterator(m_root), {}), 1);
    }

    void missingPermissionFailsBoth()
    {
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        const QTemporaryDir own;
        m_root = own.path().toStdString();
        append(file(), {"old"});
        fs::permissions(file(), fs::perms::owner_read);
        fs::permissions(m_root, fs::perms::owner_read | fs::perms::owner_exec);
        QCOMPARE(errorOf([this] { append(file(), {"new"}); }), "Permission denied");
        QCOMPARE(errorOf([this] { append(file("other"), {"new"}); }), "Permission denied");
        QCOMPARE(errorOf([this] { Files::writeAtomically(file(), "new"); }), "Permission denied");
        QCOMPARE(Files::read(file()), std::optional<std::string>("old"));
        fs::permissions(m_root, fs::perms::owner_all);
    }

private:
    fs::path file(const char* name = "file") const { return m_root / name; }

    std::unique_ptr<QTemporaryDir> m_folder;
    fs::path m_root;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::FileFailuresTest)
#include "FileFailuresTest.moc"
