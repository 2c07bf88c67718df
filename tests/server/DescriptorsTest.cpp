#include "server/RunningServer.h"

#include "support/OnlyDescriptors.h"
#include "support/Printing.h"

#include <QtTest/QTest>

#include <sys/resource.h>

#include <thread>

using namespace korvane;
using namespace std::chrono_literals;

/// The server in a process that has run out of file descriptors.
class DescriptorsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const SoftLimit high(enough);
        rlimit now{};
        ::getrlimit(RLIMIT_NOFILE, &now);
        if (now.rlim_cur < enough)
            QSKIP("too few descriptors for these tests");
    }

    void noneForAConnectionIsWaitedFor()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support());
        for (int round = 0; round < 3; ++round) {
            std::optional<Client> waiting;
            {
                const OnlyDescriptors one(1);
                QVERIFY(one.works());
                waiting.emplace(running.port()); // takes it; accept() gets none
                QVERIFY(waiting->send("GET / HTTP/1.1\r\n\r\n"));
                const auto before = processorTime();
                QVERIFY(!waiting->isClosedWithin(500ms)); // neither closed nor answered
                const auto spent = processorTime() - before;
                QVERIFY2(spent < 100ms, std::to_string(spent.count()).c_str());
            }
            const auto answer = waiting->readAll();
            QCOMPARE(taken(answer.value_or(QByteArray())).status, 401);
            QCOMPARE(get(running.port(), "/").status, 401);
        }
    }

    void transferUnderWayGoesOnMeanwhile()
    {
        const ExportedChat chat;
        constexpr qsizetype large = qsizetype{32} * 1024 * 1024; // exceeds the socket buffers
        chat.resize(large);
        RunningServer running(chat.setup.support());
        chat.offer(running.server());
        const Client fetching(running.port(), {.receiveBuffer = 64 * 1024});
        QVERIFY(fetching.send(headFor(running.targetFor(chat.fileName()))));
        QVERIFY(fetching.readExactly(1000));
        const OnlyDescriptors one(1);
        const Client waiting(running.port());
        QVERIFY(!waiting.isClosedWithin(300ms));
        QVERIFY(fetching.readAll().value_or(QByteArray()).size() > large - 1000);
    }

    void idleConnectionsAreEvictedWhereNoneIsLeft()
    {
        const ExportSetup setup;
        const RunningServer running(setup.support());
        auto sockets = socketsAside(200);
        const OnlyDescriptors few(40);
        QVERIFY(few.works());
        const auto idle = connected(running.port(), std::move(sockets));
        const auto start = std::chrono::steady_clock::now();
        QVERIFY(idle.back().send("GET / HTTP/1.1\r\n\r\n"));
        QCOMPARE(taken(idle.back().readAll().value_or(QByteArray())).status, 401);
        QVERIFY(std::chrono::steady_clock::now() - start < 1s);
        QVERIFY(idle.front().isClosedWithin(1s));
    }

    void lowLimitLeavesSomeForAnExportBesideAFullPool()
    {
        ExportedChat chat;
        auto sockets = socketsAside(741);
        const SoftLimit usualOnMacOS(256);
        RunningServer running(chat.setup.support());
        chat.offer(running.server());
        const auto idle = connected(running.port(), std::move(sockets));
        const auto start = std::chrono::steady_clock::now();
        QVERIFY(idle.back().send(headFor(running.targetFor(chat.fileName()))));
        QCOMPARE(taken(idle.back().readAll().value_or(QByteArray())).status, 200);
        QVERIFY(std::chrono::steady_clock::now() - start < 1s);
        chat.setup.addMessages(1, 5);
        QCOMPARE(chat.setup.sync().errors, std::vector<std::string>());
    }

    void noneForTheFileIsAnError()
    {
        const ExportedChat chat;
        RunningServer running(chat.setup.support());
        chat.offer(running.server());
        const std::string file = chat.fileName();
        const std::string head = headFor(running.targetFor(file));
        const Client early(running.port());
        QCOMPARE(get(running.port(), "/").status, 401);
        {
            const OnlyDescriptors none(0);
            QVERIFY(none.works());
            QVERIFY(early.send(head));
            const int status = taken(early.readAll().value_or(QByteArray())).status;
            QVERIFY2(status == 404 || status == 500, std::to_string(status).c_str());
            QVERIFY(!running.server().issueTransfer(file));
        }
        QCOMPARE(ask(running.port(), head).status, 200);
        QVERIFY(running.server().issueTransfer(file));
    }

private:
    /// The CPU time that this process has used so far, in user and kernel mode.
    static std::chrono::microseconds processorTime()
    {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        const auto total = [](const timeval& time) {
            return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
        };
        return total(usage.ru_utime) + total(usage.ru_stime);
    }

    /// RAII: lowers or raises the soft limit RLIMIT_NOFILE and restores it at the end. New
    /// descriptors are below the limit.
    class SoftLimit {
    public:
        explicit SoftLimit(rlim_t limit)
        {
            ::getrlimit(RLIMIT_NOFILE, &m_before);
            const rlimit now{std::min(limit, m_before.rlim_max), m_before.rlim_max};
            ::setrlimit(RLIMIT_NOFILE, &now);
        }
        ~SoftLimit() { ::setrlimit(RLIMIT_NOFILE, &m_before); }
        Q_DISABLE_COPY_MOVE(SoftLimit)

    private:
        rlimit m_before{};
    };

    static constexpr int aside = 2000; ///< the lowest descriptor of socketsAside()
    static constexpr rlim_t enough = 3000;

    /// Makes sockets to be connected later. Their descriptors are above any low limit, so that only
    /// the server needs low ones.
    static std::vector<Descriptor> socketsAside(int count)
    {
        const SoftLimit high(enough);
        std::vector<Descriptor> sockets;
        for (int i = 0; i < count; ++i) {
            const Descriptor low = Client::unconnected({});
            sockets.emplace_back(::fcntl(low.get(), F_DUPFD_CLOEXEC, aside));
        }
        return sockets;
    }

    static std::vector<Client> connected(std::uint16_t port, std::vector<Descriptor> sockets)
    {
        std::vector<Client> clients;
        for (Descriptor& socket : sockets)
            clients.emplace_back(port, std::move(socket));
        return clients;
    }
};

QTEST_GUILESS_MAIN(DescriptorsTest)
#include "DescriptorsTest.moc"
