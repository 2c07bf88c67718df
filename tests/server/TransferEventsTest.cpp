#include "server/RunningServer.h"

#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;

/// The transfer events that the server reports for a ticket, and its reports of the paired phone.
class TransferEventsTest : public QObject {
    Q_OBJECT

private slots:
    void wholeFileIsStartedAndDelivered_data()
    {
        QTest::addColumn<qsizetype>("size");
        QTest::newRow("empty") << qsizetype{0};
        QTest::newRow("one packet") << qsizetype{1000};
        QTest::newRow("large") << large;
    }

    void wholeFileIsStartedAndDelivered()
    {
        QFETCH(const qsizetype, size);
        const Offered offered(static_cast<std::uintmax_t>(size));
        QCOMPARE(ask(offered.running.port(), offered.head).body.size(), sealedSize(size));
        QTRY_COMPARE(offered.running.transfers().kinds(), delivered(1));
    }

    void eventsNameThePeer()
    {
        const Offered offered(1000);
        QCOMPARE(ask(offered.running.port(), offered.head).status, 200);
        QTRY_COMPARE(offered.running.transfers().events().size(), 2U);
        for (const TransferEvent& event : offered.running.transfers().events())
            QCOMPARE(event.peer, std::string("127.0.0.1"));
    }

    void brokenOffTransferNamesThePeer()
    {
        const Offered offered(large);
        Client client(offered.running.port());
        QVERIFY(client.send(offered.head));
        QVERIFY(client.readExactly(1024));
        client.reset();
        QTRY_COMPARE(offered.running.transfers().kinds(), (Kinds{Kind::Started, Kind::BrokenOff}));
        for (const TransferEvent& event : offered.running.transfers().events())
            QCOMPARE(event.peer, std::string("127.0.0.1"));
    }

    void phoneThatLeavesWithItsLastByteHasIt_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("times");
        QTest::newRow("taken by the system at once") << 100'000 << 100;
        QTest::newRow("taken bit by bit") << 8 * 1024 * 1024 << 20;
    }

    void phoneThatLeavesWithItsLastByteHasIt()
    {
        QFETCH(const int, size);
        QFETCH(const int, times);
        const Offered offered(static_cast<std::uintmax_t>(size));
        const qsizetype whole
            = ask(offered.running.port(), offered.head).head.size() + sealedSize(size);
        for (int i = 1; i < times; ++i) {
            const Client client(offered.running.port());
            QVERIFY(client.send(offered.head));
            QCOMPARE(client.readExactly(whole).value_or(QByteArray()).size(), whole);
        }
        const auto count = [&](Kind kind) {
            const Kinds kinds = offered.running.transfers().kinds();
            return std::count(kinds.begin(), kinds.end(), kind);
        };
        QTRY_COMPARE(count(Kind::Delivered) + count(Kind::BrokenOff), times);
        QCOMPARE(count(Kind::BrokenOff), 0);
    }

    void phoneThatHasItAllAndThenResetsHasIt_data()
    {
        QTest::addColumn<qsizetype>("size");
        QTest::newRow("one packet") << qsizetype{1000};
        QTest::newRow("taken bit by bit") << qsizetype{8} * 1024 * 1024;
    }

    void phoneThatHasItAllAndThenResetsHasIt()
    {
        QFETCH(const qsizetype, size);
        const Offered offered(static_cast<std::uintmax_t>(size));
        constexpr int times = 20;
        for (int i = 0; i < times; ++i) {
            Client client(offered.running.port());
            QVERIFY(client.send(offered.head));
            QCOMPARE(taken(client.readAll().value_or(QByteArray())).body.size(), sealedSize(size));
            client.reset();
        }
        QTRY_COMPARE(offered.running.transfers().events().size(), 2 * std::size_t{times});
        QCOMPARE(offered.running.transfers().kinds(), delivered(times));
    }

    void phoneThatResetsAtOnceIsNamedAndHasNothing()
    {
        const Offered offered(std::uintmax_t{4} * 1024 * 1024);
        constexpr int times = 50;
        for (int i = 0; i < times; ++i) {
            Client client(offered.running.port());
            QVERIFY(client.send(offered.head));
            client.reset();
        }
        const auto answered = [&] { return get(offered.running.port(), "/").status == 401; };
        QTRY_VERIFY(answered()); // accepted after all of those above
        for (const TransferEvent& event : offered.running.transfers().events()) {
            QCOMPARE(event.peer, std::string("127.0.0.1"));
            QVERIFY(event.kind != Kind::Delivered);
        }
        QVERIFY(!offered.running.transfers().events().empty());
    }

    void halfClosedPhoneGetsAllAndIsBelieved()
    {
        const Offered offered(large);
        const Client client(offered.running.port());
        QVERIFY(client.send(offered.head));
        client.finishSending();
        const Response response = taken(client.readAll().value_or(QByteArray()));
        QCOMPARE(response.body.size(), sealedSize(large));
        QTRY_COMPARE(offered.running.transfers().kinds(), delivered(1));
    }

    void phoneThatKeepsItsConnectionIsDeliveredAfterAWhile()
    {
        const Offered offered(1000, {.lingerTimeout = std::chrono::milliseconds(200)});
        const Client client(offered.running.port());
        QVERIFY(client.send(offered.head));
        QVERIFY(client.readAll()); // reads everything, but does not close
        QTRY_COMPARE(offered.running.transfers().kinds(), delivered(1));
    }

    void phoneThatHasItAllAndMakesRoomIsDelivered()
    {
        const Offered offered(1000, {.connections = 1, .lingerTimeout = std::chrono::seconds(60)});
        const Client client(offered.running.port());
        QVERIFY(client.send(offered.head));
        QVERIFY(client.readAll());
        QCOMPARE(get(offered.running.port(), "/").status, 401); // evicts the connection above
        QTRY_COMPARE(offered.running.transfers().kinds(), delivered(1));
    }

    void refusalsAreNoTransfers()
    {
        const Offered offered(1000);
        QCOMPARE(get(offered.running.port(), "/v1/transfer/unknown").status, 410);
        QCOMPARE(get(offered.running.port(), "/v1/transfer/").status, 404);
        QCOMPARE(
            get(offered.running.port(), "/v1/manifest", offered.running.authorization()).status,
            200);
        QTest::qWait(100);
        QCOMPARE(offered.running.transfers().events().size(), 0U);
    }

    void onlyTheManifestIsAPhoneSync()
    {
        const Offered offered(1000);
        const std::uint16_t port = offered.running.port();
        const std::string bearer = offered.running.authorization();
        QCOMPARE(get(port, "/v1/manifest").status, 401);
        QCOMPARE(get(port, "/v1/manifests", bearer).status, 404);
        QCOMPARE(get(port, "/v1/files/" + offered.chat.fileName(), bearer).status, 404);
        QCOMPARE(ask(port, offered.head).status, 200);
        QCOMPARE(offered.running.phoneSyncs(), 0);
        QCOMPARE(get(port, "/v1/manifest", bearer).status, 200);
        QCOMPARE(offered.running.phoneSyncs(), 1);
        QCOMPARE(get(port, "/v1/manifest?again", bearer).status, 200);
        QCOMPARE(offered.running.phoneSyncs(), 2);
    }

private:
    using Kind = TransferEvent::Kind;
    using Kinds = std::vector<Kind>;

    static constexpr qsizetype large
        = qsizetype{32} * 1024 * 1024; ///< more than the socket buffers hold

    /// A server with a ticket for a file of `size` bytes.
    struct Offered {
        explicit Offered(std::uintmax_t size, ServerLimits limits = {})
            : running(chat.setup.support(), limits)
        {
            chat.resize(size);
            chat.offer(running.server());
            head = headFor(running.targetFor(chat.fileName()));
        }

        ExportedChat chat;
        RunningServer running;
        std::string head;
    };

    static Kinds delivered(int times)
    {
        Kinds kinds;
        for (int i = 0; i < times; ++i)
            kinds.insert(kinds.end(), {Kind::Started, Kind::Delivered});
        return kinds;
    }
};

QTEST_GUILESS_MAIN(TransferEventsTest)
#include "TransferEventsTest.moc"
