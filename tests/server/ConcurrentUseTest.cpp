#include "server/RunningServer.h"

#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QtTest/QTest>

#include <thread>

using namespace korvane;

namespace fs = std::filesystem;

/// Many threads fetch, issue tickets and change the offer at the same time. Run it under
/// ThreadSanitizer as well.
class ConcurrentUseTest : public QObject {
    Q_OBJECT

private slots:
    void ticketsOffersAndFetchesAtOnce()
    {
        World world;
        Tally tally;
        std::vector<std::thread> threads;
        for (int client = 0; client < clients; ++client) {
            threads.emplace_back([&world, &tally, client] {
                for (int i = 0; i < fetches; ++i)
                    fetchOne(world, world.tickets.at(client + i), tally);
                --tally.running;
            });
        }
        threads.emplace_back([&] {
            while (tally.running > 0)
                world.issue(); // fails while nothing is on offer
        });

        SyncServer& server = world.running.server();
        int strange = 0;
        while (tally.running > 0) {
            world.offer(world.other());
            strange += world.issue() ? 0 : 1;
            server.offer({}, world.other());
            strange += world.issue() ? 1 : 0;
            server.offer({ExportSetup::guid(1), ExportSetup::guid(2)}, world.chat.setup.folder());
            strange += world.issue() ? 1 : 0;
            world.offer(world.chat.setup.folder());
            strange += world.issue() ? 0 : 1;
            strange += server.state().guids.size() == 1 ? 0 : 1;
        }
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(strange, 0);
        QCOMPARE(tally.wrong.load(), 0);
        QCOMPARE(tally.whole + tally.refused, clients * fetches);
        QVERIFY(tally.whole > 0);
    }

    void startsAndFetchesAtOnce()
    {
        World world;
        std::mutex lock;
        std::vector<std::uint16_t> ports;
        const ExportSetup setup;
        SyncServer server(setup.support(), ServerOptions{.address = "127.0.0.1"});
        server.onReady = [&](std::uint16_t port) {
            const std::lock_guard guard(lock);
            ports.push_back(port);
        };
        constexpr int starts = 50;
        std::vector<std::thread> threads;
        for (int client = 0; client < clients; ++client) {
            threads.emplace_back([&] {
                for (int i = 0; i < starts / clients + 1; ++i) {
                    server.start(0);
                    server.offer({ExportSetup::guid(1)}, world.other());
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        const auto reports = [&] {
            const std::lock_guard guard(lock);
            return ports.size();
        };
        QTRY_COMPARE(reports(), static_cast<std::size_t>(clients * (starts / clients + 1)));
        QCOMPARE(get(ports.back(), "/").status, 401);
    }

private:
    static constexpr int clients = 8;
    static constexpr int fetches = 40; ///< per client
    static constexpr int ticketsKept = 16;

    struct Ticket {
        std::string target;
        QByteArray key;
    };

    /// The newest tickets. Thread-safe.
    class Tickets {
    public:
        void add(const IssuedTransfer& issued)
        {
            const std::lock_guard lock(m_lock);
            m_tickets.push_back({"/v1/transfer/" + issued.ticket, issued.key.bytes()});
            if (m_tickets.size() > ticketsKept)
                m_tickets.erase(m_tickets.begin());
        }

        Ticket at(int number) const
        {
            const std::lock_guard lock(m_lock);
            return m_tickets[static_cast<std::size_t>(number) % m_tickets.size()];
        }

    private:
        mutable std::mutex m_lock;
        std::vector<Ticket> m_tickets;
    };

    /// A server that offers one chat, whose file exists in two folders with different texts.
    struct World {
        World()
        {
            fs::create_directories(other());
            writeFile(other() / chat.fileName(), otherText);
            offer(chat.setup.folder());
            issue();
        }

        fs::path other() const { return chat.setup.db.folder() + "/other"; }

        void offer(const fs::path& folder)
        {
            running.server().offer({ExportSetup::guid(1)}, folder);
        }

        bool issue()
        {
            const auto issued = running.server().issueTransfer(chat.fileName());
            if (issued)
                tickets.add(*issued);
            return issued.has_value();
        }

        ExportedChat chat;
        RunningServer running{chat.setup.support()};
        Tickets tickets;
        const std::string otherText = std::string(200'000, 'o');
        const std::string text = chat.contents();
    };

    /// Counts the outcomes of the fetches, and the clients still running.
    struct Tally {
        std::atomic<int> whole = 0;
        std::atomic<int> refused = 0;
        std::atomic<int> wrong = 0;
        std::atomic<int> running = clients;
    };

    static void fetchOne(const World& world, const Ticket& ticket, Tally& tally)
    {
        const Response response = get(world.running.port(), ticket.target);
        if (response.status != 200) {
            ++(response.status == 404 ? tally.refused : tally.wrong);
            return;
        }
        const auto opened = SealedByOthers::open(ticket.key, response.body, ticket.target);
        const std::string text = opened ? opened->toStdString() : "";
        ++(text == world.text || text == world.otherText ? tally.whole : tally.wrong);
    }
};

QTEST_GUILESS_MAIN(ConcurrentUseTest)
#include "ConcurrentUseTest.moc"
