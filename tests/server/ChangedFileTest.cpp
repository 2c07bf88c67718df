#include "export/Child.h"
#include "server/Offer.h"

#include "support/Printing.h"

#include <QtTest/QTest>

#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <thread>

using namespace korvane;
using namespace std::string_literals;

namespace fs = std::filesystem;

/// Export files that change after the export, and system files whose size differs from what they
/// hold.
class ChangedFileTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_offer = std::make_unique<Offer>();
        m_offer->add(2, "a.txt");
        m_offer->state.transferTickets.insert({"T",
            TransferTicket{
                "a.txt", SymmetricKey::make().value(), m_offer->now + TransferTicket::lifetime}});
        m_file = m_offer->state.folder / "a.txt";
        QCOMPARE(outcomes(), "200 OK / 200 OK");
    }

    void cleanup() { m_offer.reset(); }

    void aRemovedFileIsNotFound()
    {
        fs::remove(m_file);
        QCOMPARE(outcomes(), "404 Not Found / 404 Not Found");
    }

    void aShortenedFileHasItsNewSize()
    {
        fs::resize_file(m_file, 4);
        QCOMPARE(
            summary(m_offer->getPaired("/v1/files/a.txt?offset=5")), "416 Range Not Satisfiable");
        const Answer answer = m_offer->getPaired(filePath);
        QCOMPARE(m_offer->opened(answer, filePath), "0123"s);
        QCOMPARE(headersOf(answer).at("X-File-Size"), "4");
        QCOMPARE(openedTransfer(), "0123"s);
        fs::resize_file(m_file, 0);
        QCOMPARE(m_offer->opened(m_offer->getPaired(filePath), filePath), ""s);
        QCOMPARE(openedTransfer(), ""s);
    }

    void aGrownFileGoesOnWhereItEnded()
    {
        std::ofstream(m_file, std::ios::app) << "abc";
        const std::string target = "/v1/files/a.txt?offset=10";
        const Answer answer = m_offer->getPaired(target);
        QCOMPARE(m_offer->opened(answer, target), "abc"s);
        QCOMPARE(headersOf(answer).at("X-File-Size"), "13");
        QCOMPARE(openedTransfer(), "0123456789abc"s);
    }

    void whatIsNoFileIsNotServed_data()
    {
        QTest::addColumn<std::string>("kind");
        for (const char* kind : {"a link to another file", "a folder", "a pipe", "a device"})
            QTest::newRow(kind) << std::string(kind);
    }

    void whatIsNoFileIsNotServed()
    {
        QFETCH(std::string, kind);
        fs::remove(m_file);
        if (kind == "a link to another file")
            fs::create_symlink(m_offer->chat.setup.file(1), m_file);
        else if (kind == "a folder")
            fs::create_directory(m_file);
        else if (kind == "a pipe")
            QCOMPARE(::mkfifo(m_file.c_str(), 0600), 0);
        else if (::mknod(m_file.c_str(), S_IFCHR | 0600, 0x105) != 0) // device 1:5 is /dev/zero
            QSKIP("needs the right to make devices");
        QCOMPARE(outcomes(), "404 Not Found / 404 Not Found");
        const auto list = m_offer->opened(m_offer->getPaired("/v1/manifest"), "/v1/manifest");
        QVERIFY2(list && list->find("a.txt") == list->npos, list.value_or("").c_str());
    }

    void anUnreadableFileIsNotServed()
    {
        fs::permissions(m_offer->chat.setup.db.folder(), fs::perms(0755));
        fs::permissions(m_offer->chat.setup.stateFile(), fs::perms(0644));
        QCOMPARE(inUnprivilegedChild([this] { return outcomes(); }), "200 OK / 200 OK");
        fs::permissions(m_file, fs::perms(0));
        QCOMPARE(inUnprivilegedChild([this] { return outcomes(); }),
            "404 Not Found / 500 Transfer Failed");
    }

    void aFileThatEndsEarlyGivesWhatItHas()
    {
        const std::string address = "00:00:00:00:00:00\n";
        if (!offerSystemFile("address", address.size()))
            QSKIP("needs a system file that is shorter than its size");
        const Answer answer = m_offer->getPaired("/v1/files/address");
        QCOMPARE(m_offer->opened(answer, "/v1/files/address"), address);
        QCOMPARE(m_offer->opened(m_offer->getPaired("/v1/files/address?offset=9"),
                     "/v1/files/address?offset=9"),
            address.substr(9));
        QCOMPARE(openedTransfer(), address);
    }

    void aFileThatCannotBeReadGivesNothing()
    {
        if (!offerSystemFile("speed", 0) || std::ifstream("/sys/class/net/lo/speed").get() != EOF)
            QSKIP("needs a system file that cannot be read");
        const Answer answer = m_offer->getPaired("/v1/files/speed");
        QCOMPARE(summary(answer), "200 OK");
        QCOMPARE(m_offer->opened(answer, "/v1/files/speed"), ""s);
        QCOMPARE(summary(m_offer->get(transferPath)), "500 Transfer Failed");
    }

    void aFileReplacedMeanwhileIsOneOrTheOther()
    {
        const std::string one(100'000, '1');
        const std::string two(200'000, '2');
        writeFile(m_file, one);
        std::atomic<bool> stop = false;
        std::thread replacing([&] {
            for (int i = 0; !stop; ++i) {
                writeFile(m_file.native() + ".new", i % 2 == 0 ? two : one);
                fs::rename(m_file.native() + ".new", m_file);
            }
        });
        std::set<std::string> bodies;
        for (int i = 0; i < 300; ++i) {
            bodies.insert(openedTransfer().value_or("(not opened)"));
            bodies.insert(
                m_offer->opened(m_offer->getPaired(filePath), filePath).value_or("(none)"));
        }
        stop = true;
        replacing.join();
        bodies.erase(one);
        bodies.erase(two);
        QVERIFY2(bodies.empty(), bodies.empty() ? "" : bodies.begin()->c_str());
    }

private:
    /// The outcomes of fetching "a.txt" as the paired phone and with a ticket, joined by " / ".
    std::string outcomes() const
    {
        return summary(m_offer->getPaired(filePath)) + " / " + summary(m_offer->get(transferPath));
    }

    /// Offers the file `name` of "/sys/class/net/lo", also for the ticket "T". Such files report a
    /// larger size than they hold. Returns false if this one reports no more than `size` bytes.
    bool offerSystemFile(const char* name, std::size_t size) const
    {
        const fs::path folder = "/sys/class/net/lo";
        m_offer->state.folder = folder;
        m_offer->chat.setup.setRecord(2, {.lastRowID = 1, .fileName = name, .epoch = "E"});
        m_offer->state.transferTickets.at("T").fileName = name;
        std::error_code error;
        return fs::file_size(folder / name, error) > size && !error;
    }

    std::optional<std::string> openedTransfer() const
    {
        return Offer::openedWith(
            m_offer->state.transferTickets.at("T").key, m_offer->get(transferPath), transferPath);
    }

    static constexpr const char* filePath = "/v1/files/a.txt";
    static constexpr const char* transferPath = "/v1/transfer/T";

    fs::path m_file;
    std::unique_ptr<Offer> m_offer;
};

QTEST_GUILESS_MAIN(ChangedFileTest)
#include "ChangedFileTest.moc"
