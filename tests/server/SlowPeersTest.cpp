#include "server/RunningServer.h"

#include "support/Printing.h"

#include <QtTest/QTest>

#include <future>
#include <thread>

using namespace korvane;
using namespace std::chrono_literals;

/// Peers that read their answers slowly or not at all; others must not wait for them.
class SlowPeersTest : public QObject {
    Q_OBJECT

private slots:
    void oneThatStopsReadingKeepsNobodyWaiting()
    {
        const Offered offered(largest);
        const Client stopped = offered.fetching();
        std::chrono::milliseconds longest{0};
        for (int i = 0; i < 200; ++i) {
            const auto start = Clock::now();
            QCOMPARE(get(offered.running.port(), "/").status, 401);
            longest = std::max(longest, since(start));
        }
        QVERIFY2(longest < 500ms, std::to_string(longest.count()).c_str());
        QVERIFY(restOf(stopped) > restOfLargest); // the transfer continues where it stalled
    }

    void oneWithHalfAHeadKeepsNobodyWaiting()
    {
        const Offered offered(1000);
        const Client half(offered.running.port());
        QVERIFY(half.send("GET / HTTP/1.1\r\n"));
        const auto start = Clock::now();
        QCOMPARE(ask(offered.running.port(), offered.head).body.size(), sealedSize(1000));
        QVERIFY(since(start) < 500ms);
        QVERIFY(half.send("\r\n"));
        QCOMPARE(taken(half.readAll().value_or(QByteArray())).status, 401);
    }

    void oneThatTakesNothingIsDropped()
    {
        const Offered offered(largest, {.writeTimeout = 400ms});
        const Client stopped = offered.fetching();
        const auto start = Clock::now();
        const Kinds brokenOff{TransferEvent::Kind::Started, TransferEvent::Kind::BrokenOff};
        QTRY_COMPARE(offered.running.transfers().kinds(), brokenOff);
        QVERIFY(since(start) >= 350ms);
        QVERIFY(since(start) < 2s);
        QVERIFY(restOf(stopped) < restOfLargest);
    }

    void oneThatTakesNothingOfWhatTheSystemTookIsDropped()
    {
        constexpr qsizetype fitsTheSystem = 300'000;
        const Offered offered(fitsTheSystem, {.writeTimeout = 400ms, .lingerTimeout = 100ms});
        const Client stopped = offered.fetching();
        const auto start = Clock::now();
        const Kinds brokenOff{TransferEvent::Kind::Started, TransferEvent::Kind::BrokenOff};
        QTRY_COMPARE(offered.running.transfers().kinds(), brokenOff);
        QVERIFY(since(start) >= 350ms);
        QVERIFY(since(start) < 2s);
    }

    void oneThatReadsSlowlyIsServedToTheEnd()
    {
        constexpr qsizetype size = 280'000;
        const Offered offered(size, {.writeTimeout = 1s, .lingerTimeout = 100ms});
        const auto start = Clock::now();
        const Client slow = offered.fetching();
        qsizetype rest = 0;
        for (auto some = slow.readSome(4096); some && !some->isEmpty();
             some = slow.readSome(4096)) {
            rest += some->size();
            std::this_thread::sleep_for(50ms);
        }
        QVERIFY(since(start) > 3s); // several times the timeout
        QVERIFY(rest > size - 1024);
        const Kinds delivered{TransferEvent::Kind::Started, TransferEvent::Kind::Delivered};
        QTRY_COMPARE(offered.running.transfers().kinds(), delivered);
    }

    void oneWhoseBodyIsInTheSystemAlreadyIsServedToTheEnd()
    {
        constexpr qsizetype fitsTheSystem = 150'000;
        const Offered offered(fitsTheSystem, {.writeTimeout = 1s, .lingerTimeout = 100ms});
        const Client slow = offered.fetching();
        QByteArray rest;
        for (auto some = slow.readSome(2048); some && !some->isEmpty();
             some = slow.readSome(2048)) {
            rest += *some;
            std::this_thread::sleep_for(30ms);
        }
        QVERIFY(rest.size() > fitsTheSystem - 1024);
        const Kinds delivered{TransferEvent::Kind::Started, TransferEvent::Kind::Delivered};
        QTRY_COMPARE(offered.running.transfers().kinds(), delivered);
    }

    void oneThatReadsForTooLongIsCutOff_data()
    {
        QTest::addColumn<int>("perPiece"); // ms per 64 KiB
        QTest::addColumn<int>("allowed"); // ms in total
        QTest::newRow("whatever the size") << 0 << 500;
        QTest::newRow("later where the answer is larger") << 20 << 500 + 64 * 20;
    }

    void oneThatReadsForTooLongIsCutOff()
    {
        QFETCH(const int, perPiece);
        QFETCH(const int, allowed);
        constexpr qsizetype size = qsizetype{4} * 1024 * 1024; // takes 20 s to read
        const Offered offered(size,
            {.answerTimeout = 500ms, .answerTimePer64KiB = std::chrono::milliseconds(perPiece)});
        const auto start = Clock::now();
        const Client slow = offered.fetching();
        const auto reading = std::async(std::launch::async, readSlowly, std::cref(slow));
        const Kinds brokenOff{TransferEvent::Kind::Started, TransferEvent::Kind::BrokenOff};
        QTRY_COMPARE_WITH_TIMEOUT(offered.running.transfers().kinds(), brokenOff, 15'000);
        const auto after = since(start);
        reading.wait();
        QVERIFY(after >= std::chrono::milliseconds(allowed));
        QVERIFY2(after < std::chrono::milliseconds(allowed) + 1500ms,
            std::to_string(after.count()).c_str());
    }

    void oneThatIsCutOffLeavesNothingWithTheSystem()
    {
        constexpr qsizetype fitsTheSystem = 300'000;
        const Offered offered(fitsTheSystem, {.answerTimeout = 300ms, .answerTimePer64KiB = 0ms});
        const Client stopped = offered.fetching();
        const Kinds brokenOff{TransferEvent::Kind::Started, TransferEvent::Kind::BrokenOff};
        QTRY_COMPARE(offered.running.transfers().kinds(), brokenOff);
        QVERIFY(restOf(stopped) < fitsTheSystem / 2); // only what our end had received
    }

    void tooMuchHeldCutsOffTheLongestStalled()
    {
        const Offered offered(largest, {.lingerTimeout = 40ms, .heldBytes = 3 * largest});
        const Client longest = offered.fetching();
        std::this_thread::sleep_for(100ms);
        const Client second = offered.fetching();
        std::this_thread::sleep_for(100ms);
        const Client third = offered.fetching(); // three sealed bodies exceed heldBytes
        QVERIFY(restOf(longest) < restOfLargest);
        const Kinds kinds = offered.running.transfers().kinds();
        QCOMPARE(std::count(kinds.begin(), kinds.end(), TransferEvent::Kind::BrokenOff), 1);
        QVERIFY(restOf(second) > restOfLargest);
        QVERIFY(restOf(third) > restOfLargest);
    }

    void tooMuchHeldSparesTheFirstWhereItKeepsReading()
    {
        const Offered offered(largest, {.lingerTimeout = 40ms, .heldBytes = 2 * largest + 1024});
        const Client reading = offered.fetching();
        const Client stalled = offered.fetching();
        for (int i = 0; i < 10; ++i) {
            QCOMPARE(reading.readExactly(100'000).value_or(QByteArray()).size(), 100'000);
            std::this_thread::sleep_for(20ms);
        }
        const Client third = offered.fetching();
        QVERIFY(restOf(stalled) < restOfLargest);
        QVERIFY(restOf(reading) > restOfLargest - 1'000'000);
        QVERIFY(restOf(third) > restOfLargest);
    }

    void theNewestIsNeverCutOff()
    {
        const Offered offered(largest, {.heldBytes = 1024});
        const Client older = offered.fetching();
        const Client newest = offered.fetching();
        QVERIFY(restOf(older) < restOfLargest);
        QVERIFY(restOf(newest) > restOfLargest);
    }

    void theNewestAnswerCountsNotTheNewestConnection()
    {
        const Offered offered(largest, {.heldBytes = 1024});
        const Client early(offered.running.port(), small);
        QCOMPARE(get(offered.running.port(), "/").status, 401); // `early` is accepted by now
        const Client older = offered.fetching();
        QVERIFY(early.send(offered.head));
        QVERIFY(restOf(older) < restOfLargest);
        QVERIFY(restOf(early) > restOfLargest);
    }

private:
    using Clock = std::chrono::steady_clock;
    using Kinds = std::vector<TransferEvent::Kind>;

    static constexpr qsizetype largest = qsizetype{64} * 1024 * 1024;

    /// A client with a small receive buffer, so that the server soon has to wait for it.
    static constexpr Client::Settings small{.receiveBuffer = 16 * 1024, .segment = 1400};

    /// A server with a ticket for a file of `size` bytes.
    struct Offered {
        explicit Offered(qsizetype size, ServerLimits limits = {})
            : running(chat.setup.support(), limits)
        {
            chat.resize(static_cast<std::uintmax_t>(size));
            chat.offer(running.server());
            head = headFor(running.targetFor(chat.fileName()));
        }

        /// A client that has the first bytes of its answer.
        Client fetching(Client::Settings settings = small) const
        {
            Client client(running.port(), settings);
            client.send(head);
            if (client.readExactly(1024).value_or(QByteArray()).size() != 1024)
                throw std::runtime_error("no answer");
            return client;
        }

        ExportedChat chat;
        RunningServer running;
        std::string head;
    };

    static std::chrono::milliseconds since(Clock::time_point start)
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    }

    /// Reads until the connection ends or is reset, and returns the number of bytes.
    static qsizetype restOf(const Client& client)
    {
        qsizetype size = 0;
        constexpr std::size_t most = std::size_t{1024} * 1024;
        for (auto some = client.readSome(most); some && !some->isEmpty();
             some = client.readSome(most))
            size += some->size();
        return size;
    }

    /// Reads 4 KiB every 20 ms, at most 200 KiB/s, until the connection ends or is reset.
    static void readSlowly(const Client& client)
    {
        for (auto some = client.readSome(4096); some && !some->isEmpty();
             some = client.readSome(4096))
            std::this_thread::sleep_for(20ms);
    }

    static constexpr qsizetype restOfLargest = largest - 2048; ///< lower bound after fetching()
};

QTEST_GUILESS_MAIN(SlowPeersTest)
#include "SlowPeersTest.moc"
