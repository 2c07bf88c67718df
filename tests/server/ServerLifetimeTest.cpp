#include "server/RunningServer.h"

#include "support/Printing.h"

#include <QThread>
#include <QtTest/QTest>

using namespace korvane;

/// The server's thread: which callbacks run on it, and how it ends.
class ServerLifetimeTest : public QObject {
    Q_OBJECT

private slots:
    void callbacksRunOnTheServersThread()
    {
        const ExportedChat chat;
        std::mutex lock;
        QStringList threads;
        const auto noteThread = [&] {
            const std::lock_guard guard(lock);
            threads += QThread::currentThread()->objectName();
        };
        const auto noted = [&] {
            const std::lock_guard guard(lock);
            return threads;
        };
        std::atomic<std::uint16_t> ready = 0;
        SyncServer server(chat.setup.support(), ServerOptions{.address = "127.0.0.1"});
        server.onReady = [&](std::uint16_t port) {
            noteThread();
            ready = port;
        };
        server.onPhoneSync = [&](auto) { noteThread(); };
        server.onTransfer = [&](const TransferEvent&) { noteThread(); };
        chat.offer(server);
        server.start(0);
        QTRY_VERIFY(ready != 0);
        const std::string bearer = "Authorization: Bearer " + server.state().pairing.token + "\r\n";
        QCOMPARE(get(ready, "/v1/manifest", bearer).status, 200);
        const std::string ticket = server.issueTransfer(chat.fileName()).value().ticket;
        QCOMPARE(get(ready, "/v1/transfer/" + ticket).status, 200);
        QTRY_COMPARE(noted().size(), 4); // ready, synced, started, ended
        for (const QString& name : noted())
            QCOMPARE(name, QStringLiteral("KorvaneSync.server"));
    }

    void endsWithoutEverStarting()
    {
        const ExportSetup setup;
        for (int round = 0; round < rounds; ++round)
            const SyncServer server(setup.support());
    }

    void endsRightAfterTheStart()
    {
        const ExportSetup setup;
        std::atomic<bool> alive = false;
        std::atomic<int> late = 0;
        for (int round = 0; round < rounds; ++round) {
            alive = true;
            {
                SyncServer server(setup.support(), ServerOptions{.address = "127.0.0.1"});
                server.onReady = [&](std::uint16_t) { late += alive ? 0 : 1; };
                server.start(0);
            }
            alive = false;
        }
        QCOMPARE(late.load(), 0);
    }

    void endsWithClientsInTheMiddle()
    {
        const ExportedChat chat;
        chat.resize(std::uintmax_t{2} * 1024 * 1024);
        for (int round = 0; round < rounds; ++round) {
            auto running = std::make_unique<RunningServer>(chat.setup.support());
            chat.offer(running->server());
            const std::string target = running->targetFor(chat.fileName());
            const Client silent(running->port());
            const Client reading(running->port());
            QVERIFY(reading.send("GET /v1/man"));
            const Client sending(running->port(), {.receiveBuffer = 16 * 1024});
            QVERIFY(sending.send(headFor(target)));
            if (round % 2 == 0)
                QVERIFY(!sending.readSome(1024).value_or(QByteArray()).isEmpty());
            running.reset();
            QVERIFY(silent.isClosedWithin(Client::timeout));
            QVERIFY(reading.isClosedWithin(Client::timeout));
        }
    }

    void endsWhileClientsComeAndGo()
    {
        const ExportedChat chat;
        for (int round = 0; round < rounds / 10; ++round) {
            auto running = std::make_unique<RunningServer>(
                chat.setup.support(), ServerLimits{.connections = 4});
            chat.offer(running->server());
            const std::uint16_t port = running->port();
            std::atomic<bool> gone = false;
            std::thread phones([&] {
                while (!gone) {
                    try {
                        Client client(port);
                        client.send(headFor("/v1/transfer/none"));
                        client.reset();
                    } catch (const std::system_error&) { // the server is gone
                    }
                }
            });
            QTest::qSleep(round % 7);
            running.reset();
            gone = true;
            phones.join();
        }
    }

private:
    static constexpr int rounds = 300;
};

QTEST_GUILESS_MAIN(ServerLifetimeTest)
#include "ServerLifetimeTest.moc"
