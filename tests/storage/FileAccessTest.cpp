#include "storage/Descriptor.h"
#include "storage/Files.h"
#include "support/FileMode.h"
#include "support/Printing.h"

#include <QTemporaryDir>

#include <fcntl.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <system_error>
#include <thread>

namespace korvane {

namespace fs = std::filesystem;

namespace {

using Text = std::optional<std::string>;

constexpr auto everybody
    = fs::perms::owner_all | fs::perms::group_all | fs::perms::others_all; // 0777

/// Polls a file's mode on its own thread, and records whether group or others ever had access. The
/// getters may be called from any thread.
class Watcher {
public:
    explicit Watcher(const fs::path& file) : m_file(file), m_thread([this] { watch(); }) { }
    ~Watcher() { stop(); }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    void stop()
    {
        m_stopping = true;
        if (m_thread.joinable())
            m_thread.join();
    }
    int sightings() const { return m_sightings; }
    bool sawItOpenToOthers() const { return m_openToOthers; }

private:
    void watch()
    {
        while (!m_stopping) {
            struct stat info { };
            if (::stat(m_file.c_str(), &info) != 0)
                continue;
            ++m_sightings;
            if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0)
                m_openToOthers = true;
        }
    }

    const fs::path m_file;
    std::atomic<bool> m_stopping = false;
    std::atomic<bool> m_openToOthers = false;
    std::atomic<int> m_sightings = 0;
    std::thread m_thread;
};

} // namespace

/// The permissions of files that are written atomically.
class FileAccessTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_root = m_folder->path().toStdString();
    }

    void ownerAloneWhateverTheUmask_data()
    {
        QTest::addColumn<unsigned>("mask");
        QTest::newRow("none") << 0U;
        QTest::newRow("the usual one") << 022U;
        QTest::newRow("a careful one") << 077U;
    }

    void ownerAloneWhateverTheUmask()
    {
        QFETCH(unsigned, mask);
        const Umask umask(mask);
        writeForOwner();
        QCOMPARE(modeOf(file()), "600");
        QCOMPARE(Files::read(file()), Text("secret"));
        writeForOwner("another secret");
        QCOMPARE(modeOf(file()), "600");
        QCOMPARE(Files::read(file()), Text("another secret"));
        QCOMPARE(std::distance(fs::directory_iterator(m_root), {}), 1);
    }

    void asUsualFollowsTheUmask_data()
    {
        QTest::addColumn<unsigned>("mask");
        QTest::addColumn<std::string>("mode");
        QTest::newRow("none") << 0U << std::string("666");
        QTest::newRow("the usual one") << 022U << std::string("644");
        QTest::newRow("one for a team") << 007U << std::string("660");
        QTest::newRow("a careful one") << 077U << std::string("600");
    }

    void asUsualFollowsTheUmask()
    {
        QFETCH(unsigned, mask);
        QFETCH(std::string, mode);
        const Umask umask(mask);
        Files::writeAtomically(file(), "export");
        QCOMPARE(modeOf(file()), mode);
        Files::writeAtomically(file("other"), "export", Files::Access::AsUsual);
        QCOMPARE(modeOf(file("other")), mode);
    }

    void oldFilesModeIsNotTakenOver()
    {
        const Umask umask(0);
        std::ofstream(file()) << "old";
        fs::permissions(file(), everybody);
        writeForOwner();
        QCOMPARE(modeOf(file()), "600");
        Files::writeAtomically(file(), "public");
        QCOMPARE(modeOf(file()), "666");
    }

    void leftoversModeIsNotTakenOver()
    {
        const Umask umask(0);
        for (const char* mode : {"666", "644", "000"}) {
            leaveBeside(mode);
            writeForOwner();
            QCOMPARE(modeOf(file()), "600");
            QCOMPARE(Files::read(file()), Text("secret"));
            QVERIFY(!fs::exists(file("file.new")));
        }
    }

    void whoHasALeftoverOpenReadsNothingNew()
    {
        leaveBeside("666");
        const Descriptor reader(::open(file("file.new").c_str(), O_RDONLY | O_CLOEXEC));
        QVERIFY(reader);
        writeForOwner();
        std::string seen(100, '\0');
        const ssize_t count = ::pread(reader.get(), seen.data(), seen.size(), 0);
        QVERIFY(count > 0);
        QCOMPARE(seen.substr(0, static_cast<std::size_t>(count)),
            "half of a text that was never finished");
    }

    void linkInTheLeftoversPlaceIsNotWrittenThrough()
    {
        for (const char* target : {"elsewhere", "missing"}) {
            std::ofstream(file("elsewhere")) << "somebody's file";
            fs::create_symlink(target, file("file.new"));
            writeForOwner();
            QCOMPARE(Files::read(file("elsewhere")), Text("somebody's file"));
            QVERIFY(!fs::exists(file("missing")));
            QVERIFY(fs::is_regular_file(fs::symlink_status(file())));
            QCOMPARE(modeOf(file()), "600");
        }
    }

    void ownerAloneFromTheFirstByteOn()
    {
        const Umask umask(0);
        const std::string large(3'000'000, 'x');
        Watcher watcher(file("file.new"));
        for (int write = 0; write < 200 && (write < 20 || watcher.sightings() < 20); ++write)
            writeForOwner(large);
        watcher.stop();
        QVERIFY(watcher.sightings() > 0);
        QVERIFY(!watcher.sawItOpenToOthers());
    }

    void failureLeavesTheOldContents()
    {
        writeForOwner("old");
        fs::create_directory(file("file.new"));
        std::ofstream(file("file.new") / "inside") << "in the way";
        QVERIFY_THROWS_EXCEPTION(std::system_error, writeForOwner("new"));
        QCOMPARE(Files::read(file()), Text("old"));
        QCOMPARE(modeOf(file()), "600");
    }

private:
    fs::path file(const char* name = "file") const { return m_root / name; }
    void leaveBeside(const char* mode) const
    {
        std::ofstream(file("file.new")) << "half of a text that was never finished";
        ::chmod(file("file.new").c_str(), static_cast<mode_t>(std::stoi(mode, nullptr, 8)));
        QCOMPARE(modeOf(file("file.new")), mode);
    }

    void writeForOwner(std::string_view bytes = "secret") const
    {
        Files::writeAtomically(file(), bytes, Files::Access::OwnerOnly);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    fs::path m_root;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::FileAccessTest)
#include "FileAccessTest.moc"
