#include "server/Listener.h"
#include "server/RunningServer.h"
#include "server/Socket.h"

#include "support/Printing.h"

#include <QtTest/QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>

#include <array>
#include <future>
#include <thread>

using namespace korvane;
using namespace std::chrono_literals;

/// Clients without a ticket or token open many connections; the server must still answer others.
class FloodTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support());
        if (!Client(running.port()).discardIncoming())
            QSKIP("no packet filters here");
        rlimit files{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &files), 0);
        files.rlim_cur = files.rlim_max;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &files), 0);
    }

    void burstDoesNotKeepOthersWaiting_data() { attackData(); }

    void burstDoesNotKeepOthersWaiting()
    {
        QFETCH(const Attack, attack);
        QFETCH(const int, count);
        QFETCH(const QByteArray, source);
        const ExportSetup setup;
        const RunningServer running(setup.support());
        Clients open;
        for (int i = 0; i < count; ++i)
            attack(idle(running, source.constData()), open);
        for (int i = 0; i < 20; ++i) {
            const auto time = answerTime(running.port());
            QVERIFY2(time && *time < quick, "not answered quickly");
        }
    }

    /// About a tenth of the default limits, except the linger timeout, so that the pool stays full.
    void steadyAttackDoesNotKeepOthersWaiting_data()
    {
        QTest::addColumn<QByteArray>("source");
        QTest::newRow("from the same address") << QByteArray(host);
        QTest::newRow("from another address") << QByteArray(neighbour);
    }

    void steadyAttackDoesNotKeepOthersWaiting()
    {
        QFETCH(const QByteArray, source);
        const ExportSetup setup;
        const RunningServer running(setup.support(),
            {.connections = 25, .headTimeout = 1500ms, .writeTimeout = 6s, .answerTimeout = 3s});
        std::atomic<bool> ended = false;
        std::thread attacker([&] {
            Clients open;
            for (int i = 0; i < 12 * 8; ++i) {
                mix(idle(running, source.constData()), open);
                std::this_thread::sleep_for(std::chrono::milliseconds(1000 / 12));
            }
            ended = true;
        });
        int slow = 0;
        while (!ended) {
            const auto time = answerTime(running.port());
            slow += time && *time < quick ? 0 : 1;
            std::this_thread::sleep_for(50ms);
        }
        attacker.join();
        QCOMPARE(slow, 0);
    }

    void deadConnectionIsClosedAtOnce()
    {
        if (!std::filesystem::exists("/proc/self/fd"))
            QSKIP("no list of open descriptors here");
        const ExportSetup setup;
        const RunningServer running(setup.support());
        QCOMPARE(get(running.port(), "/").status, 401);
        QTest::qWait(100);
        const auto before = openDescriptors();
        Clients none;
        for (int i = 0; i < 100; ++i)
            closeWithoutReading(Client(running.port()), none);
        QCOMPARE(get(running.port(), "/").status, 401); // accepted in order: those before are, too
        QTRY_VERIFY_WITH_TIMEOUT(openDescriptors() <= before, 3000);
    }

    void transferToADeadPeerEndsAtOnce()
    {
        const ExportedChat chat;
        chat.resize(100'000); // fits into the socket buffers
        RunningServer running(chat.setup.support());
        chat.offer(running.server());
        const std::string head = headFor(running.targetFor(chat.fileName()));
        for (int i = 0; i < 20; ++i)
            QVERIFY(Client(running.port()).send(head)); // closes without reading
        const auto ended = [&] {
            const Kinds kinds = running.transfers().kinds();
            return std::ssize(kinds)
                - std::count(kinds.begin(), kinds.end(), TransferEvent::Kind::Started);
        };
        QTRY_COMPARE_WITH_TIMEOUT(ended(), 20, 5000);
    }

    void fullPoolEvictsRefusedConnectionsFirst()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.connections = 4});
        const Client oldest = idle(running, host);
        const Client second = idle(running, host);
        Clients refused;
        for (int i = 0; i < 2; ++i)
            acknowledgeNothing(idle(running, neighbour), refused);
        QTest::qWait(200); // until both have been refused
        QVERIFY(isAnswered(idle(running, host)));
        QVERIFY(isAnswered(oldest));
        QVERIFY(isAnswered(second));
    }

    void fullPoolEvictsTheOldestOfTheAddressWithMost_data()
    {
        QTest::addColumn<std::string>("address");
        QTest::newRow("IPv4") << std::string("127.0.0.1");
        QTest::newRow("IPv4 mapped into IPv6") << std::string("::ffff:127.0.0.1");
    }

    void fullPoolEvictsTheOldestOfTheAddressWithMost()
    {
        QFETCH(const std::string, address);
        const ExportSetup setup;
        const RunningServer running(setup.support(), {.connections = 4}, address);
        const Client alone = idle(running, host);
        const Client first = idle(running, neighbour);
        const Client second = idle(running, neighbour);
        const Client third = idle(running, neighbour);
        const Client newcomer = idle(running, "127.0.0.7");
        QVERIFY(first.isClosedWithin(3s));
        for (const Client* client : {&alone, &second, &third, &newcomer})
            QVERIFY(isAnswered(*client));
    }

    void hostsAreToldApartByTheirNetwork_data()
    {
        QTest::addColumn<std::string>("one");
        QTest::addColumn<std::string>("other");
        QTest::addColumn<bool>("same");
        const auto row = [](const char* one, const char* other, bool same) {
            const QByteArray name = QByteArray(one) + " and " + other;
            QTest::newRow(name) << std::string(one) << std::string(other) << same;
        };
        row("10.0.0.1", "10.0.0.1", true);
        row("10.0.0.1", "10.0.0.2", false);
        row("10.0.0.1", "::ffff:10.0.0.1", true);
        row("::ffff:10.0.0.1", "::ffff:10.0.0.2", false);
        row("2001:db8:1:2::1", "2001:db8:1:2:ffff::2", true);
        row("2001:db8:1:2::1", "2001:db8:1:3::1", false);
        row("::1", "0.0.0.1", false);
    }

    void hostsAreToldApartByTheirNetwork()
    {
        QFETCH(const std::string, one);
        QFETCH(const std::string, other);
        QFETCH(const bool, same);
        QCOMPARE(networkOf(socketAddress(one)) == networkOf(socketAddress(other)), same);
    }

    void requestThatHasArrivedIsAnsweredDuringAFlood()
    {
        const ExportedChat chat;
        ServerOptions options{.address = host};
        options.limits = {.connections = 8};
        std::promise<void> crowdIsThere;
        std::promise<std::uint16_t> ready;
        SyncServer server(chat.setup.support(), options);
        server.onReady = [&](std::uint16_t port) { ready.set_value(port); };
        server.onPhoneSync = [&](auto) { crowdIsThere.get_future().wait(); };
        chat.offer(server);
        server.start(0);
        const std::uint16_t port = ready.get_future().get();
        const std::string bearer = "Authorization: Bearer " + server.state().pairing.token + "\r\n";

        const Client early(port);
        QCOMPARE(get(port, "/").status, 401); // accepted in order: `early` is, too
        const Client busy(port);
        QVERIFY(busy.send(headFor("/v1/manifest", bearer))); // blocks the server's thread
        QTest::qWait(100);
        QVERIFY(early.send(request));
        Clients crowd;
        for (int i = 0; i < 300; ++i)
            crowd.emplace_back(port);
        crowdIsThere.set_value();
        QCOMPARE(taken(early.readAll().value_or(QByteArray())).status, 401);
        QVERIFY(busy.readAll());
    }

    void listenerAcceptsABoundedNumberPerWakeUp()
    {
        std::vector<Descriptor> accepted;
        const auto listener = Listener::on(
            host, 0,
            [&](int descriptor, const sockaddr_storage& /*peer*/) {
                accepted.emplace_back(descriptor);
            },
            [] { return false; });
        QVERIFY(listener != nullptr);
        Clients crowd;
        for (int i = 0; i < 200; ++i)
            crowd.emplace_back(listener->port());
        std::size_t most = 0;
        for (int i = 0; i < 100 && accepted.size() < crowd.size(); ++i) {
            const std::size_t before = accepted.size();
            QCoreApplication::processEvents();
            most = std::max(most, accepted.size() - before);
        }
        QCOMPARE(accepted.size(), crowd.size());
        QVERIFY2(most <= 32, std::to_string(most).c_str());
    }

private:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static constexpr auto quick = 5s; // under a sanitizer, beside another test
#else
    static constexpr auto quick = 1s;
#endif

    using Clock = std::chrono::steady_clock;
    using Kinds = std::vector<TransferEvent::Kind>;
    using Clients = std::vector<Client>;

    /// What a hostile client does with one connection. If it stays open, it is moved into `open`.
    using Attack = void (*)(Client client, Clients& open);

    static constexpr const char* request = "GET / HTTP/1.1\r\n\r\n";
    static constexpr const char* host = "127.0.0.1"; ///< the clients' usual source address
    static constexpr const char* neighbour = "127.0.0.9";

    static void closeWithoutReading(Client client, Clients& /*open*/)
    {
        client.send(request);
    }

    static void acknowledgeNothing(Client client, Clients& open)
    {
        if (!client.discardIncoming())
            throw std::runtime_error("no packet filters here");
        client.send(request);
        open.push_back(std::move(client));
    }

    static void sayNothing(Client client, Clients& open)
    {
        open.push_back(std::move(client));
    }

    static void scan(Client client, Clients& open)
    {
        if (open.size() % 2 == 0) // otherwise it closes with a FIN
            client.reset();
    }

    /// Uses the attacks above in turn.
    static void mix(Client client, Clients& open)
    {
        static constexpr std::array attacks{
            closeWithoutReading, acknowledgeNothing, sayNothing, scan};
        static std::atomic<std::size_t> turn = 0;
        attacks.at(turn++ % attacks.size())(std::move(client), open);
    }

    static void attackData()
    {
        QTest::addColumn<Attack>("attack");
        QTest::addColumn<int>("count");
        QTest::addColumn<QByteArray>("source");
        for (const char* source : {host, neighbour}) {
            const QByteArray from = QByteArray(" from ") + source;
            QTest::newRow("closes without reading" + from)
                << Attack(closeWithoutReading) << 850 << QByteArray(source);
            QTest::newRow("acknowledges nothing" + from)
                << Attack(acknowledgeNothing) << 300 << QByteArray(source);
            QTest::newRow("says nothing" + from) << Attack(sayNothing) << 300 << QByteArray(source);
            QTest::newRow("scans ports" + from) << Attack(scan) << 850 << QByteArray(source);
            QTest::newRow("mixed" + from) << Attack(mix) << 500 << QByteArray(source);
        }
    }

    /// The time from a request to its answer; nullopt if the answer is not the expected one.
    static std::optional<std::chrono::milliseconds> answerTime(std::uint16_t port)
    {
        const auto start = Clock::now();
        if (get(port, "/v1/manifest").status != 401)
            return std::nullopt;
        return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    }

    static bool isAnswered(const Client& client)
    {
        client.send(request);
        return taken(client.readAll().value_or(QByteArray())).status == 401;
    }

    static Client idle(const RunningServer& running, const char* source)
    {
        return Client(running.port(), {.source = source});
    }

    static sockaddr_storage socketAddress(const std::string& text)
    {
        sockaddr_storage storage{};
        auto& ipv6 = reinterpret_cast<sockaddr_in6&>(storage);
        auto& ipv4 = reinterpret_cast<sockaddr_in&>(storage);
        const bool isIPv6 = text.find(':') != text.npos;
        storage.ss_family = isIPv6 ? AF_INET6 : AF_INET;
        void* const numeric = isIPv6 ? static_cast<void*>(&ipv6.sin6_addr) : &ipv4.sin_addr;
        if (::inet_pton(storage.ss_family, text.c_str(), numeric) != 1)
            throw std::invalid_argument(text);
        return storage;
    }

    static std::ptrdiff_t openDescriptors()
    {
        namespace fs = std::filesystem;
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    }
};

QTEST_GUILESS_MAIN(FloodTest)
#include "FloodTest.moc"
