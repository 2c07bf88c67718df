#include "server/RunningServer.h"

#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QTcpServer>
#include <QtTest/QTest>

#include <system_error>

using namespace korvane;

/// Starting a server and reaching it: construction, start() and the ports that it reports.
class SyncServerTest : public QObject {
    Q_OBJECT

private slots:
    void ticketFetchesTheFileSealedWithItsKey()
    {
        const ExportedChat chat;
        RunningServer running(chat.setup.support());
        chat.offer(running.server());
        const auto issued = running.server().issueTransfer(chat.fileName());
        QVERIFY(issued);
        const std::string target = "/v1/transfer/" + issued->ticket;
        const Response response = get(running.port(), target);
        QCOMPARE(response.status, 200);
        const auto text = SealedByOthers::open(issued->key.bytes(), response.body, target);
        QVERIFY(text);
        QCOMPARE(text->toStdString(), chat.contents());
    }

    void nothingListensBeforeTheStart()
    {
        if (!std::filesystem::exists("/proc/self/fd"))
            QSKIP("no list of open descriptors here");
        const ExportSetup setup;
        const int before = openSockets();
        Reporting reporting(setup);
        QTest::qWait(settled);
        QCOMPARE(openSockets(), before);
        QCOMPARE(reporting.count(), 0U);
        reporting.server.start(0);
        QTRY_COMPARE(reporting.count(), 1U);
        QCOMPARE(openSockets(), before + 1);
    }

    void anyPortIsReportedOnceAndAnswers()
    {
        const ExportSetup setup;
        Reporting reporting(setup);
        reporting.server.start(0);
        QTRY_COMPARE(reporting.count(), 1U);
        QVERIFY(reporting.last() != 0);
        QCOMPARE(get(reporting.last(), "/").status, 401);
        QTest::qWait(settled);
        QCOMPARE(reporting.count(), 1U);
    }

    void freePreferredPortIsTaken()
    {
        const ExportSetup setup;
        std::uint16_t port = 0;
        {
            QTcpServer probe;
            QVERIFY(probe.listen(QHostAddress::LocalHost));
            port = probe.serverPort();
        }
        Reporting reporting(setup);
        reporting.server.start(port);
        QTRY_COMPARE(reporting.count(), 1U);
        QCOMPARE(reporting.last(), port);
        QCOMPARE(get(port, "/").status, 401);
    }

    void takenPreferredPortGivesOneListenerOnAnother()
    {
        const ExportSetup setup;
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::LocalHost));
        Reporting reporting(setup);
        reporting.server.start(other.serverPort());
        QTRY_COMPARE(reporting.count(), 1U);
        QVERIFY(reporting.last() != other.serverPort());
        QCOMPARE(get(reporting.last(), "/").status, 401);
        QTest::qWait(settled);
        QCOMPARE(reporting.count(), 1U);
    }

    void startingAgainReplacesTheListener()
    {
        const ExportSetup setup;
        Reporting reporting(setup);
        reporting.server.start(0);
        QTRY_COMPARE(reporting.count(), 1U);
        const std::uint16_t first = reporting.last();
        const Client accepted(first);
        QVERIFY(accepted.send("GET / HTTP"));
        QCOMPARE(get(first, "/").status, 401); // accepted in order: `accepted` is, too

        reporting.server.start(0);
        QTRY_COMPARE(reporting.count(), 2U);
        const std::uint16_t second = reporting.last();
        QCOMPARE(get(second, "/").status, 401);
        if (second != first)
            QVERIFY(isRefused(first));
        QVERIFY(accepted.send("/1.1\r\n\r\n"));
        QCOMPARE(taken(accepted.readAll().value_or(QByteArray())).status, 401);
    }

    void startingAgainOnTheSamePortTakesItAgain()
    {
        const ExportSetup setup;
        Reporting reporting(setup);
        reporting.server.start(0);
        QTRY_COMPARE(reporting.count(), 1U);
        const std::uint16_t port = reporting.last();
        QCOMPARE(get(port, "/").status, 401);
        reporting.server.start(port); // closes the old listener before it opens the new one
        QTRY_COMPARE(reporting.count(), 2U);
        QCOMPARE(reporting.last(), port);
        QCOMPARE(get(port, "/").status, 401);
    }

    void startReturnsAtOnceInACallbackToo()
    {
        const ExportSetup setup;
        Reporting reporting(setup);
        std::atomic<int> nested = 0;
        std::atomic<int> deepest = 0;
        std::atomic<int> reports = 0;
        reporting.server.onReady = [&](std::uint16_t) {
            deepest = std::max<int>(deepest, ++nested);
            if (++reports == 1)
                reporting.server.start(0);
            --nested;
        };
        reporting.server.start(0);
        QTRY_COMPARE(reports.load(), 2);
        QCOMPARE(deepest.load(), 1);
    }

    void damagedPairingIsReplacedOnDisk_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::newRow("no json") << QByteArray("not at all {");
        QTest::newRow("no key") << QByteArray(R"({"token":"abc"})");
        QTest::newRow("empty") << QByteArray();
    }

    void damagedPairingIsReplacedOnDisk()
    {
        QFETCH(const QByteArray, contents);
        const ExportSetup setup;
        const auto file = setup.home() / "pairing.json";
        writeFile(file, contents.toStdString());
        const SyncServer server(setup.support());
        const Pairing pairing = server.state().pairing;
        QCOMPARE(pairing.token.size(), 22U);
        QVERIFY(pairing.token != Pairing::make().token);
        const auto stored = Pairing::fromJson(readFile(file));
        QVERIFY(stored);
        QVERIFY(*stored == pairing);
        QVERIFY(SyncServer(setup.support()).state().pairing == pairing);
    }

    void wholePairingIsKept()
    {
        const ExportSetup setup;
        const Pairing pairing = Pairing::make();
        writeFile(setup.home() / "pairing.json", pairing.toJson());
        QVERIFY(SyncServer(setup.support()).state().pairing == pairing);
    }

private:
    /// A server and the ports that it reported.
    struct Reporting {
        explicit Reporting(const ExportSetup& setup, const std::string& address = "127.0.0.1")
            : server(setup.support(), ServerOptions{.address = address})
        {
            server.onReady = [this](std::uint16_t port) {
                const std::lock_guard guard(lock);
                ports.push_back(port);
            };
        }

        std::size_t count() const
        {
            const std::lock_guard guard(lock);
            return ports.size();
        }

        std::uint16_t last() const
        {
            const std::lock_guard guard(lock);
            return ports.back();
        }

        mutable std::mutex lock;
        std::vector<std::uint16_t> ports;
        SyncServer server; // last: its destructor ends the callbacks that use the others
    };

    static bool isRefused(std::uint16_t port)
    {
        try {
            const Client client(port);
        } catch (const std::system_error& error) {
            return error.code() == std::errc::connection_refused;
        }
        return false;
    }

    static int openSockets()
    {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            const auto target = std::filesystem::read_symlink(entry.path(), gone);
            count += target.native().starts_with("socket:") ? 1 : 0;
        }
        return count;
    }

    static constexpr int settled = 100; ///< ms within which a surplus report would arrive
};

QTEST_GUILESS_MAIN(SyncServerTest)
#include "SyncServerTest.moc"
