#include "storage/Files.h"
#include "storage/OutputFile.h"
#include "support/Printing.h"

#include <QTemporaryDir>

#include <dlfcn.h>

#include <cerrno>
#include <memory>
#include <system_error>

namespace {

/// The error code with which fsync() fails in this program; 0 calls the system's fsync().
int flushError = 0;

} // namespace

/// Interposes the C library's fsync() in the whole program.
extern "C" int fsync(int descriptor)
{
    if (flushError == 0)
        return reinterpret_cast<int (*)(int)>(::dlsym(RTLD_NEXT, "fsync"))(descriptor);
    errno = flushError;
    return -1;
}

namespace korvane {

namespace fs = std::filesystem;

namespace {

using Text = std::optional<std::string>;

void append(const fs::path& file, std::string_view bytes)
{
    OutputFile(file).append(bytes);
    Files::flush(file);
}

void writeWhole(const fs::path& file)
{
    Files::writeWhole(file, "new", Files::Existing::Replace);
}

/// The code of the std::system_error that `action` throws, or 0.
template <typename Action>
int errorOf(Action action)
{
    try {
        action();
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    return 0;
}

} // namespace

/// Writing where fsync() fails: because it is not supported, or because of an I/O error.
class FlushTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_root = m_folder->path().toStdString();
    }

    void cleanup() { flushError = 0; }
    void writesWhereFlushingIsNotSupported_data()
    {
        QTest::addColumn<int>("error");
        QTest::newRow("EINVAL") << EINVAL;
        QTest::newRow("ENOTSUP") << ENOTSUP;
        QTest::newRow("EOPNOTSUPP") << EOPNOTSUPP;
        QTest::newRow("ENOSYS") << ENOSYS;
        QTest::newRow("EROFS") << EROFS;
    }

    void writesWhereFlushingIsNotSupported()
    {
        QFETCH(int, error);
        flushError = error;
        QCOMPARE(errorOf([this] { append(file("a"), "one"); }), 0);
        QCOMPARE(errorOf([this] { append(file("a"), ", two"); }), 0);
        QCOMPARE(errorOf([this] { Files::writeAtomically(file("b"), "new"); }), 0);
        QCOMPARE(errorOf([this] { writeWhole(file("c")); }), 0);
        QCOMPARE(Files::read(file("a")), Text("one, two"));
        QCOMPARE(Files::read(file("b")), Text("new"));
        QCOMPARE(Files::read(file("c")), Text("new"));
    }

    void reportsThatTheBytesDidNotReachTheDisk_data()
    {
        QTest::addColumn<int>("error");
        QTest::newRow("EIO") << EIO;
        QTest::newRow("ENOSPC") << ENOSPC;
        QTest::newRow("EDQUOT") << EDQUOT;
    }

    void reportsThatTheBytesDidNotReachTheDisk()
    {
        QFETCH(int, error);
        Files::writeAtomically(file("b"), "old");
        flushError = error;
        QCOMPARE(errorOf([this] { append(file("a"), "one"); }), error);
        QCOMPARE(errorOf([this] { Files::writeAtomically(file("b"), "new"); }), error);
        QCOMPARE(errorOf([this] { writeWhole(file("c")); }), error);
        QCOMPARE(Files::read(file("b")), Text("old"));
        QVERIFY(!fs::exists(file("c")));
    }

    void appendsToADeviceThatCannotBeFlushed()
    {
        QCOMPARE(errorOf([] { append("/dev/null", "hello"); }), 0); // its fsync() fails with EINVAL
    }

private:
    fs::path file(const char* name) const { return m_root / name; }

    std::unique_ptr<QTemporaryDir> m_folder;
    fs::path m_root;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::FlushTest)
#include "FlushTest.moc"
