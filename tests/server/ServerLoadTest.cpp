#include "server/RunningServer.h"

#include "support/Printing.h"

#include <QtTest/QTest>

#include <sys/resource.h>

#include <fstream>
#include <thread>

using namespace korvane;
using namespace std::chrono_literals;

namespace fs = std::filesystem;

/// Many connections at once; afterwards memory and descriptors must be back where they were.
class ServerLoadTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!fs::exists("/proc/self/statm") || !fs::exists("/proc/self/fd"))
            QSKIP("no list of what a process uses here");
        rlimit files{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &files), 0);
        files.rlim_cur = files.rlim_max;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &files), 0);
        if (files.rlim_max < 2000)
            QSKIP("too few descriptors for a thousand clients and their server");
        m_chat.emplace();
        m_running = std::make_unique<RunningServer>(m_chat->setup.support());
        m_chat->offer(m_running->server());
        m_descriptors = openDescriptors(); // before any connection
    }

    void cleanupTestCase()
    {
        m_running.reset();
        m_chat.reset();
    }

    void init()
    {
        openAndReset(m_running->port(), 300); // warm-up: makes one-time allocations
        QVERIFY(isAnsweredWithinASecond(m_running->port()));
        QTRY_COMPARE(openDescriptors(), m_descriptors);
        m_memory = residentBytes();
    }

    void cleanup()
    {
        QVERIFY(isAnsweredWithinASecond(m_running->port()));
        QTRY_VERIFY2(isAsBefore(),
            QByteArray::number((residentBytes() - m_memory) / mebibyte) + " MiB and "
                + QByteArray::number(openDescriptors() - m_descriptors) + " descriptors more");
    }

    void tenThousandAreOpenedAndReset() { openAndReset(m_running->port(), 10'000); }

    void tenThousandAreOpenedAndResetByEightAtOnce()
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([this] { openAndReset(m_running->port(), 10'000 / 8); });
        for (std::thread& thread : threads)
            thread.join();
    }

    void aThousandAreIdle()
    {
        const auto clients = connected(m_running->port(), 1000);
        QVERIFY(isAnsweredWithinASecond(m_running->port()));
        // This process holds both ends of each connection; the server keeps at most `connections`.
        const auto most = m_descriptors + std::ssize(clients)
            + static_cast<std::ptrdiff_t>(ServerLimits().connections);
        QTRY_VERIFY(openDescriptors() <= most);
        QVERIFY(isAnsweredWithinASecond(m_running->port()));
        QVERIFY(clients.front().isClosedWithin(1s));
        QVERIFY(!clients[990].isClosedWithin(0ms));
    }

    void twoHundredSendAByteNowAndThen()
    {
        const auto clients = connected(m_running->port(), 200);
        for (int round = 0; round < 8; ++round) {
            for (const Client& client : clients)
                QVERIFY(client.send("x"));
            QVERIFY(isAnsweredWithinASecond(m_running->port()));
            std::this_thread::sleep_for(300ms);
        }
    }

    void largeTransfersAreBrokenOff()
    {
        m_chat->resize(static_cast<std::uintmax_t>(TransferTicket::largestFile));
        const std::string head = headFor(m_running->targetFor(m_chat->fileName()));
        std::vector<Client> clients;
        for (int i = 0; i < 6; ++i) {
            clients.emplace_back(m_running->port());
            QVERIFY(clients.back().send(head));
            QCOMPARE(clients.back().readExactly(1024).value_or(QByteArray()).size(), 1024);
        }
        if (memoryCounts)
            QVERIFY(residentBytes() - m_memory > tolerated); // the server holds the answers
        for (Client& client : clients)
            client.reset();
    }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr std::int64_t mebibyte = std::int64_t{1024} * 1024;
    static constexpr std::int64_t tolerated = 16 * mebibyte; ///< growth of memory, in bytes

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static constexpr bool memoryCounts = false; // sanitizers hold back freed memory
#else
    static constexpr bool memoryCounts = true;
#endif

    static std::int64_t residentBytes()
    {
        std::ifstream file("/proc/self/statm");
        std::int64_t all = 0;
        std::int64_t resident = 0;
        file >> all >> resident;
        return resident * ::sysconf(_SC_PAGESIZE);
    }

    static std::ptrdiff_t openDescriptors()
    {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    }

    static std::vector<Client> connected(std::uint16_t port, int count)
    {
        std::vector<Client> clients;
        for (int i = 0; i < count; ++i)
            clients.emplace_back(port);
        return clients;
    }

    static void openAndReset(std::uint16_t port, int count)
    {
        for (int i = 0; i < count; ++i) {
            Client client(port);
            if (i % 2 == 0)
                client.send("GET / HTTP/1.1\r\n");
            client.reset();
        }
    }

    static bool isAnsweredWithinASecond(std::uint16_t port)
    {
        const auto start = Clock::now();
        return get(port, "/").status == 401 && Clock::now() - start < 1s;
    }

    std::optional<ExportedChat> m_chat;
    std::unique_ptr<RunningServer> m_running;
    std::int64_t m_memory = 0;
    std::ptrdiff_t m_descriptors = 0;

    bool isAsBefore() const
    {
        return openDescriptors() == m_descriptors
            && (!memoryCounts || residentBytes() - m_memory < tolerated);
    }
};

QTEST_GUILESS_MAIN(ServerLoadTest)
#include "ServerLoadTest.moc"
