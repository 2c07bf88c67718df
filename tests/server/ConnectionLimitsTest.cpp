#include "server/RunningServer.h"

#include "support/Printing.h"

#include <QtTest/QTest>

#include <future>
#include <thread>

using namespace korvane;
using namespace std::chrono_literals;

/// Timeouts for sending the head and for closing, and the limit on open connections.
class ConnectionLimitsTest : public QObject {
    Q_OBJECT

private slots:
    void theLimitsAreThese()
    {
        const ServerLimits limits;
        QCOMPARE(limits.connections, 256U);
        QCOMPARE(limits.headBytes, 16'384U);
        QVERIFY(limits.headTimeout == 15s);
        QVERIFY(limits.writeTimeout == 60s);
        QVERIFY(limits.answerTimeout == 30s);
        QVERIFY(limits.answerTimePer64KiB == 1s);
        QVERIFY(limits.lingerTimeout <= limits.writeTimeout);
        QVERIFY(limits.heldBytes >= TransferTicket::largestFile + sealedSize(0));
    }

    void silentConnectionIsDroppedAtTheDeadline_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::newRow("nothing sent") << QByteArray();
        QTest::newRow("half a head") << QByteArray("GET / HTTP/1.1\r\nHost: x\r\n");
    }

    void silentConnectionIsDroppedAtTheDeadline()
    {
        QFETCH(const QByteArray, sent);
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.headTimeout = soon});
        const auto before = Clock::now();
        const Client client(running.port());
        QVERIFY(client.send(sent.toStdString()));
        QVERIFY(client.isClosedWithin(late));
        const auto after = Clock::now() - before;
        QVERIFY(after >= soon);
        QVERIFY(after < soon * 3);
    }

    void everyByteDoesNotBuyMoreTime()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.headTimeout = soon});
        const auto before = Clock::now();
        const Client client(running.port());
        bool closed = false;
        while (!closed && Clock::now() - before < late) {
            client.send("x");
            closed = client.isClosedWithin(20ms);
        }
        QVERIFY(closed);
        const auto after = Clock::now() - before;
        QVERIFY(after >= soon);
        QVERIFY(after < soon * 3);
    }

    void headJustInTimeIsAnswered()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.headTimeout = 1s});
        const Client client(running.port());
        std::this_thread::sleep_for(500ms);
        QVERIFY(isAnswered(client));
    }

    void connectionKeptAfterItsAnswerIsClosed()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.connections = 1, .lingerTimeout = soon});
        const Client client(running.port());
        QVERIFY(isAnswered(client)); // the server has sent its FIN and lingers for ours
        std::this_thread::sleep_for(soon * 2);
        client.send("x");
        std::this_thread::sleep_for(20ms);
        QVERIFY(!client.send("x")); // "x" was answered with a reset
    }

    void peerThatSendsForeverIsNotReadForever()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.lingerTimeout = soon});
        const Client client(running.port());
        QVERIFY(client.send("POST / HTTP/1.1\r\n\r\n"));
        const auto before = Clock::now();
        bool open = true;
        while (open && Clock::now() - before < late)
            open = client.send(std::string(4096, 'x'));
        QVERIFY(!open);
    }

    void asManyAsAllowedStayOpen()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.connections = 8});
        const auto clients = silent(running.port(), 8);
        QCOMPARE(closedAmong(clients), 0U);
        for (const Client& client : clients)
            QVERIFY(isAnswered(client));
    }

    void oneMoreTakesThePlaceOfTheLongestWaiting()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.connections = 8});
        const auto clients = silent(running.port(), 8);
        QVERIFY(clients.front().send("GET / HTTP/1.1\r\n")); // an incomplete head does not count
        QVERIFY(isAnswered(Client(running.port())));
        QVERIFY(clients.front().isClosedWithin(late));
        for (std::size_t i = 1; i < clients.size(); ++i)
            QVERIFY(isAnswered(clients[i]));
    }

    void manyMoreTakeThePlacesOneAfterTheOther()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.connections = 8});
        const auto clients = silent(running.port(), 100);
        for (std::size_t i = 0; i + 8 < clients.size(); ++i)
            QVERIFY(clients[i].isClosedWithin(late));
        for (std::size_t i = clients.size() - 8; i < clients.size(); ++i)
            QVERIFY(isAnswered(clients[i]));
    }

    void placesAreFreeAgainAfterwards()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.connections = 4});
        for (int i = 0; i < 20; ++i)
            QVERIFY(isAnswered(Client(running.port())));
        const auto clients = silent(running.port(), 4);
        QCOMPARE(closedAmong(clients), 0U);
    }

    void placesGivenUpAreFreeAtOnce()
    {
        constexpr std::size_t limit = 64;
        if (!std::filesystem::exists("/proc/self/fd"))
            QSKIP("no list of open descriptors here");
        const ExportedChat chat;
        ServerOptions options{.address = "127.0.0.1"};
        options.limits = {.connections = limit, .lingerTimeout = 60s};
        std::promise<void> crowdIsThere;
        std::promise<std::uint16_t> ready;
        std::atomic<std::ptrdiff_t> most = 0;
        std::atomic<int> ended = 0;
        SyncServer server(chat.setup.support(), options);
        server.onReady = [&](std::uint16_t port) { ready.set_value(port); };
        server.onPhoneSync = [&](auto) { crowdIsThere.get_future().wait(); };
        server.onTransfer = [&](const TransferEvent& event) {
            most = std::max<std::ptrdiff_t>(most, openDescriptors());
            ended += event.kind == TransferEvent::Kind::Started ? 0 : 1;
        };
        chat.offer(server);
        server.start(0);
        const std::uint16_t port = ready.get_future().get();
        const std::string head
            = headFor("/v1/transfer/" + server.issueTransfer(chat.fileName()).value().ticket);
        const std::string bearer = "Authorization: Bearer " + server.state().pairing.token + "\r\n";

        auto clients = silent(port, limit); // each stays open after its answer
        for (const Client& client : clients) {
            QVERIFY(client.send(head));
            QVERIFY(client.readAll());
        }
        const Client busy(port);
        QVERIFY(busy.send(headFor("/v1/manifest", bearer)));
        QTRY_COMPARE(ended.load(), 1); // evicted by `busy`, which blocks the server
        for (Client& client : silent(port, 3 * limit)) // all stay in the listen backlog
            clients.push_back(std::move(client));
        const std::ptrdiff_t before = openDescriptors();
        most = 0;
        crowdIsThere.set_value();
        QTRY_COMPARE(ended.load(), static_cast<int>(limit));
        QVERIFY2(most <= before + 2, std::to_string(most - before).c_str());
    }

    void whoIsBeingAnsweredDoesNotGiveWay()
    {
        const ExportedChat chat;
        chat.resize(large);
        RunningServer running(chat.setup.support(), {.connections = 2});
        chat.offer(running.server());
        const std::string head = headFor(running.targetFor(chat.fileName()));
        const Client fetching(running.port(), {.receiveBuffer = 64 * 1024});
        QVERIFY(fetching.send(head));
        QVERIFY(fetching.readExactly(1000));
        const Client waiting(running.port());
        QVERIFY(isAnswered(Client(running.port())));
        QVERIFY(waiting.isClosedWithin(late));

        const Client alsoFetching(running.port(), {.receiveBuffer = 64 * 1024});
        QVERIFY(alsoFetching.send(head));
        QVERIFY(alsoFetching.readExactly(1000));
        QVERIFY(Client(running.port()).isClosedWithin(late)); // no connection may be evicted for it
        QVERIFY(fetching.readAll().value_or(QByteArray()).size() > large - 1000);
        QVERIFY(alsoFetching.readAll().value_or(QByteArray()).size() > large - 1000);
        QVERIFY(isAnswered(Client(running.port())));
    }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr auto soon = 300ms; ///< a timeout short enough for a test
    static constexpr auto late = 3s; ///< upper bound for what must happen

    static constexpr qsizetype large
        = qsizetype{32} * 1024 * 1024; ///< more than the socket buffers hold

    static bool isAnswered(const Client& client)
    {
        client.send("GET / HTTP/1.1\r\n\r\n");
        return taken(client.readAll().value_or(QByteArray())).status == 401;
    }

    /// Opens connections, in this order, that send nothing.
    static std::vector<Client> silent(std::uint16_t port, std::size_t count)
    {
        std::vector<Client> clients;
        for (std::size_t i = 0; i < count; ++i)
            clients.emplace_back(port);
        return clients;
    }

    static std::ptrdiff_t openDescriptors()
    {
        namespace fs = std::filesystem;
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    }

    static std::size_t closedAmong(const std::vector<Client>& clients)
    {
        std::size_t count = 0;
        for (const Client& client : clients)
            count += client.isClosedWithin(20ms) ? 1 : 0;
        return count;
    }
};

QTEST_GUILESS_MAIN(ConnectionLimitsTest)
#include "ConnectionLimitsTest.moc"
