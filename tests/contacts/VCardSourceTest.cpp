#include "contacts/VCardSource.h"
#include "contacts/Cards.h"
#include "support/OnlyDescriptors.h"

#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;

namespace korvane {

using Numbers = std::vector<std::string>;

/// The files of a folder that are read, and their order.
class VCardSourceTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        std::signal(SIGPIPE, SIG_IGN); // write() to a pipe without a reader then fails with EPIPE
        m_folder = std::make_unique<QTemporaryDir>();
        fs::create_directory(path("book"));
    }

    void readsOneFileWhateverItIsCalled()
    {
        writeCard("contacts.txt", "1");
        writeCard(".hidden", "2");
        QCOMPARE(numbersIn(path("contacts.txt")), Numbers({"1"}));
        QCOMPARE(numbersIn(path(".hidden")), Numbers({"2"}));
    }

    void readsAFolderInTheOrderOfItsPaths()
    {
        for (const char* name : {"c", "a", "e", "b", "d"})
            writeCard(std::string("book/") + name + ".vcf", name);
        QCOMPARE(numbers(), Numbers({"a", "b", "c", "d", "e"}));
    }

    void readsFoldersInFolders()
    {
        writeCard("book/b/work/1.vcf", "2");
        writeCard("book/c.vcf", "3");
        writeCard("book/a.vcf/1.vcf", "1");
        QCOMPARE(numbers(), Numbers({"1", "2", "3"}));
    }

    void takesBothExtensionsInAnyCaseAndNoOther()
    {
        writeCard("book/a.VCF", "1");
        writeCard("book/b.vCard", "2");
        for (const char* name : {"c.txt", "d", "e.vcf.tmp", "f.vcf~", "vcf", "g.vcfx"})
            writeCard(std::string("book/") + name, "9");
        QCOMPARE(numbers(), Numbers({"1", "2"}));
    }

    void skipsHiddenAndUnfinishedFiles()
    {
        writeCard("book/.a.vcf", "9");
        writeCard("book/.git/a.vcf", "9");
        writeCard("book/._b.vcf", "9");
        writeCard("book/~c.vcf", "9");
        writeCard("book/d.vcf", "1");
        QCOMPARE(numbers(), Numbers({"1"}));
    }

    void readsAHiddenFolderThatIsNamed()
    {
        writeCard(".contacts/a.vcf", "1");
        QCOMPARE(numbersIn(path(".contacts")), Numbers({"1"}));
        QCOMPARE(numbersIn(path(".contacts/")), Numbers({"1"}));
    }

    void findsNothingWhereNothingIs()
    {
        QCOMPARE(numbers(), Numbers());
        QCOMPARE(numbersIn(path("missing")), Numbers());
        QCOMPARE(numbersIn(path("missing/a.vcf")), Numbers());
        QCOMPARE(numbersIn(fs::path()), Numbers());
    }

    void followsLinksToFilesButNotToFolders()
    {
        writeCard("elsewhere/a.vcf", "1");
        writeCard("elsewhere/all/b.vcf", "9");
        fs::create_symlink(path("elsewhere/a.vcf"), path("book/a.vcf"));
        fs::create_directory_symlink(path("elsewhere/all"), path("book/all"));
        fs::create_directory_symlink(path("book"), path("book/loop"));
        QCOMPARE(numbers(), Numbers({"1"}));

        fs::create_directory_symlink(path("book"), path("link"));
        QCOMPARE(numbersIn(path("link")), Numbers({"1"}));
    }

    void skipsLinksThatLeadNowhere()
    {
        fs::create_symlink(path("gone.vcf"), path("book/a.vcf"));
        fs::create_symlink("b.vcf", path("book/b.vcf"));
        writeCard("book/c.vcf", "1");
        QCOMPARE(numbers(), Numbers({"1"}));
    }

    void skipsFilesThatMayNotBeRead()
    {
        if (geteuid() == 0)
            QSKIP("root may read everything");
        writeCard("book/a.vcf", "1");
        writeCard("book/b.vcf", "9");
        writeCard("book/c/a.vcf", "9");
        writeCard("book/d.vcf", "2");
        fs::permissions(path("book/b.vcf"), fs::perms::none);
        fs::permissions(path("book/c"), fs::perms::none);
        QCOMPARE(numbers(), Numbers({"1", "2"}));
        fs::permissions(path("book/c"), fs::perms::owner_all);
    }

    void outcomeTellsAbsenceFromFailure_data()
    {
        using enum ContactOutcome;
        QTest::addColumn<std::string>("name");
        QTest::addColumn<ContactOutcome>("outcome");
        QTest::addColumn<ContactOutcome>("withoutDescriptors");
        QTest::newRow("folder") << std::string("book") << Complete << Unanswered;
        QTest::newRow("file") << std::string("book/a.vcf") << Complete << Unanswered;
        QTest::newRow("pipe") << std::string("pipe") << Complete << Unanswered;
        QTest::newRow("nothing there") << std::string("missing") << Missing << Missing;
        QTest::newRow("below a file") << std::string("book/a.vcf/b") << Missing << Missing;
        QTest::newRow("link to itself") << std::string("loop") << Missing << Missing;
        QTest::newRow("too long a name") << std::string(300, 'x') << Missing << Missing;
    }

    void outcomeTellsAbsenceFromFailure()
    {
        QFETCH(const std::string, name);
        QFETCH(const ContactOutcome, outcome);
        QFETCH(const ContactOutcome, withoutDescriptors);
        writeCard("book/a.vcf", "1");
        fs::create_symlink("loop", path("loop"));
        QCOMPARE(::mkfifo(path("pipe").c_str(), 0600), 0);
        QCOMPARE(readingOf(path(name)).outcome, outcome);

        const OnlyDescriptors none(0);
        const ContactReading reading = readingOf(path(name));
        QCOMPARE(reading.outcome, withoutDescriptors);
        QCOMPARE(reading.silent,
            withoutDescriptors == ContactOutcome::Unanswered ? path(name).string() : "");
    }

    void neverWaitsForAPipeInAFolder()
    {
        writeCard("book/b.vcf", "1");
        QCOMPARE(mkfifo(path("book/a.vcf").c_str(), 0600), 0);
        QCOMPARE(numbers(), Numbers({"1"}));
    }

    void neverWaitsForAPipeThatNobodyWrites()
    {
        QCOMPARE(mkfifo(path("pipe").c_str(), 0600), 0);
        QCOMPARE(numbersIn(path("pipe")), Numbers());
    }

    void readsAPipeThatIsNamed_data()
    {
        QTest::addColumn<bool>("named");
        QTest::addColumn<int>("cards");
        QTest::newRow("a short book by its descriptor") << false << 1;
        QTest::newRow("a book larger than a pipe holds by its descriptor") << false << 5000;
        QTest::newRow("a short book by a name") << true << 1;
        QTest::newRow("a book larger than a pipe holds by a name") << true << 5000;
    }

    void readsAPipeThatIsNamed()
    {
        QFETCH(bool, named);
        QFETCH(int, cards);
        std::string book;
        for (int i = 0; i < cards; ++i)
            book += card("TEL:" + std::to_string(i));
        std::array<int, 2> ends{-1, -1};
        if (named) {
            QCOMPARE(mkfifo(path("pipe").c_str(), 0600), 0);
            ends[0] = ::open(path("pipe").c_str(), O_RDONLY | O_NONBLOCK);
            ends[1] = ::open(path("pipe").c_str(), O_WRONLY);
        } else {
            QCOMPARE(::pipe(ends.data()), 0);
        }
        const fs::path source
            = named ? path("pipe") : fs::path("/dev/fd/" + std::to_string(ends[0]));
        std::thread writer([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(100)); // the reader has to wait
            std::string_view rest = book;
            while (!rest.empty()) {
                const ssize_t count
                    = ::write(ends[1], rest.data(), std::min(rest.size(), std::size_t{3000}));
                rest.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : rest.size());
            }
            ::close(ends[1]);
        });
        const Numbers read = numbersIn(source);
        ::close(ends[0]);
        writer.join();
        QCOMPARE(read.size(), static_cast<std::size_t>(cards));
        QCOMPARE(read.back(), std::to_string(cards - 1));
    }

    void skipsAPipeWithMoreThanAnAddressBook()
    {
        std::array<int, 2> ends{-1, -1};
        QCOMPARE(::pipe(ends.data()), 0);
        std::thread writer([&] {
            const std::string block = card("TEL:1") + std::string(1U << 20U, ' ');
            while (::write(ends[1], block.data(), block.size()) > 0) { }
            ::close(ends[1]);
        });
        const Numbers read = numbersIn("/dev/fd/" + std::to_string(ends[0]));
        ::close(ends[0]);
        writer.join();
        QCOMPARE(read, Numbers());
    }

    void skipsDevices()
    {
        QCOMPARE(numbersIn("/dev/null"), Numbers());
        QCOMPARE(numbersIn("/dev/zero"), Numbers());
    }

    void skipsAFileTooLargeForAnAddressBook()
    {
        writeCard("book/a.vcf", "9");
        fs::resize_file(path("book/a.vcf"), (std::uintmax_t(256) << 20) + 1);
        writeCard("book/b.vcf", "1");
        QCOMPARE(numbers(), Numbers({"1"}));
    }

    void readsTheFilesAfterAnEmptyOne()
    {
        writeCard("book/a.vcf", "1");
        std::ofstream(path("book/b.vcf")).flush();
        writeCard("book/c.vcf", "2");
        QCOMPARE(numbers(), Numbers({"1", "2"}));
    }

    void readsAgainWhenAskedAgain()
    {
        const VCardSource source(path("book"));
        int contacts = 0;
        const auto count = [&](const Contact&) { ++contacts; };
        writeCard("book/a.vcf", "1");
        source.forEachContact(count);
        writeCard("book/b.vcf", "2");
        source.forEachContact(count);
        QCOMPARE(contacts, 3);
    }

    void letsTheVisitorStopByThrowing()
    {
        writeCard("book/a.vcf", "1");
        const auto stop = [](const Contact&) { throw std::runtime_error("enough"); };
        QVERIFY_THROWS_EXCEPTION(
            std::runtime_error, VCardSource(path("book")).forEachContact(stop));
    }

private:
    fs::path path(const std::string& name) const
    {
        return fs::path(m_folder->path().toStdString()) / name;
    }

    void writeCard(const std::string& name, const std::string& number) const
    {
        fs::create_directories(path(name).parent_path());
        std::ofstream(path(name), std::ios::binary) << card("TEL:" + number);
    }

    std::vector<std::string> numbersIn(const fs::path& fileOrFolder) const
    {
        Numbers numbers;
        VCardSource(fileOrFolder).forEachContact([&](const Contact& contact) {
            numbers.insert(numbers.end(), contact.phoneNumbers.begin(), contact.phoneNumbers.end());
        });
        return numbers;
    }

    static ContactReading readingOf(const fs::path& fileOrFolder)
    {
        return VCardSource(fileOrFolder).forEachContact([](const Contact&) {});
    }

    std::vector<std::string> numbers() const { return numbersIn(path("book")); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::VCardSourceTest)
#include "VCardSourceTest.moc"
