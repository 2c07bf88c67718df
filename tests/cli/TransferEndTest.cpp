#include "OutputPipe.h"
#include "RunningTransfer.h"

#include "cli/Console.h"
#include "cli/TransferCommand.h"
#include "server/RunningServer.h"
#include "support/Printing.h"

#include <QElapsedTimer>
#include <QtTest/QTest>

#include <fcntl.h>

#include <atomic>
#include <csignal>
#include <future>
#include <mutex>
#include <optional>
#include <ostream>
#include <streambuf>
#include <thread>

using namespace korvane;
using namespace std::chrono_literals;

namespace {

using Moment = TransferTicket::Clock::time_point;

/// A stream buffer that one thread prints to and another reads.
class SharedText : public std::streambuf {
public:
    std::string text() const
    {
        const std::lock_guard lock(m_lock);
        return m_text;
    }

    bool has(const std::string& part) const { return text().find(part) != std::string::npos; }

protected:
    int_type overflow(int_type character) override
    {
        const std::lock_guard lock(m_lock);
        m_text += traits_type::to_char_type(character);
        return character;
    }

    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        const std::lock_guard lock(m_lock);
        m_text.append(bytes, static_cast<std::size_t>(count));
        return count;
    }

private:
    mutable std::mutex m_lock;
    std::string m_text; ///< guarded by `m_lock`
};

/// Runs `transfer` on its own thread, with a clock that the test sets.
class TurnedTransfer {
public:
    /// If `output` is given, the command prints to this descriptor instead of to `printed`.
    explicit TurnedTransfer(const Owner& owner, std::optional<int> output = {})
    {
        m_options.sources.database = owner.database.path();
        m_options.chat = "G1";
        m_options.folder = owner.terminal.exports();
        m_options.host = "127.0.0.1";
        m_options.now = [this] { return now.load(); };
        m_code = std::async(std::launch::async, [this, output, support = owner.terminal.support()] {
            std::ostream out(&printed);
            std::ostream err(&complained);
            return runTransfer(
                m_options, SupportFolder(support), {out, err, false, std::cin, output});
        });
    }

    bool isReady() const
    {
        return QTest::qWaitFor([this] { return printed.has("Ctrl-C ends it at once.\n"); }, 10'000);
    }

    TransferLink link() const { return linkIn(printed.text()); }

    bool endsWithin(std::chrono::milliseconds time) const
    {
        return m_code.wait_for(time) == std::future_status::ready;
    }

    int exitCode() { return m_code.get(); }

    std::atomic<Moment> now = TransferTicket::Clock::now();
    SharedText printed;
    SharedText complained;

private:
    TransferOptions m_options;
    std::future<int> m_code;
};

bool isRefused(std::uint16_t port)
{
    try {
        const Client client(port);
        return false;
    } catch (const std::system_error&) {
        return true;
    }
}

} // namespace

/// How an offer ends: it expires, or the user ends it.
class TransferEndTest : public QObject {
    Q_OBJECT

private slots:
    void offerEndsWhenTheLinkExpires()
    {
        const Owner owner;
        TurnedTransfer transfer(owner);
        QVERIFY(transfer.isReady());
        const TransferLink link = transfer.link();
        const Moment begin = transfer.now;
        transfer.now = begin + 599s;
        QCOMPARE(get(link.port, link.target()).status, 200);
        QVERIFY(!transfer.endsWithin(700ms)); // it checks the clock twice a second
        transfer.now = begin + 600s;
        QVERIFY(transfer.endsWithin(5s));
        QCOMPARE(transfer.exitCode(), 0);
        QVERIFY(transfer.printed.text().ends_with("\nThe link has expired.\n"));
        QCOMPARE(transfer.complained.text(), std::string());
        QVERIFY_THROWS_EXCEPTION(std::system_error, Client{link.port});
    }

    void serverIsGoneInTimeWhileNobodyReadsTheOutput()
    {
        const Owner owner;
        OutputPipe output(owner.terminal.home() + "/pipe");
        const Descriptor writing(::open(output.path().c_str(), O_WRONLY | O_CLOEXEC));
        TurnedTransfer transfer(owner, writing.get());
        QVERIFY(output.prints("Ctrl-C ends it at once.\n"));
        const std::uint16_t port = linkIn(output.printed()).port;
        output.fill();
        transfer.now = transfer.now.load() + 600s;
        QTRY_VERIFY_WITH_TIMEOUT(isRefused(port), 10'000);
        QVERIFY(!transfer.endsWithin(700ms)); // the reader may continue
        QVERIFY(output.prints("\nThe link has expired.\n"));
        QVERIFY(transfer.endsWithin(10s));
        QCOMPARE(transfer.exitCode(), 0);
    }

    void fetchUnderWayMayFinish()
    {
        const Owner owner;
        constexpr qsizetype size = 500'000;
        owner.exportAndResize(size);
        TurnedTransfer transfer(owner);
        QVERIFY(transfer.isReady());
        const TransferLink link = transfer.link();
        const Client slow(link.port, {.receiveBuffer = 4096});
        slow.send(headFor(link.target()));
        const QByteArray begin = slow.readExactly(1000).value();
        transfer.now = transfer.now.load() + 601s;
        QVERIFY(!transfer.endsWithin(1200ms));
        QCOMPARE(get(link.port, link.target()).status, 410);

        const Response response = taken(begin + slow.readAll().value());
        QCOMPARE(response.body.size(), sealedSize(size));
        slow.finishSending();
        QVERIFY(transfer.endsWithin(10s));
        QCOMPARE(transfer.exitCode(), 0);
        const std::string printed = transfer.printed.text();
        QVERIFY2(printed.ends_with(" has it\nThe link has expired.\n"), printed.c_str());
    }

    void userEndsItAtOnce_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("Ctrl-C") << SIGINT;
        QTest::newRow("told to end") << SIGTERM;
        QTest::newRow("terminal closed") << SIGHUP;
    }

    void userEndsItAtOnce()
    {
        QFETCH(int, signal);
        const Owner owner;
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        const std::uint16_t port = running.link().port;
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(running.end(signal), 0);
        QVERIFY2(timer.elapsed() < 1500, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(running.printed().ends_with("\nEnded.\n"));
        QCOMPARE(running.complained(), std::string());
        QVERIFY_THROWS_EXCEPTION(std::system_error, Client{port});
    }

    void userEndsItInTheMiddleOfAFetch()
    {
        const Owner owner;
        owner.exportAndResize(32'000'000);
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        const Client slow(running.link().port, {.receiveBuffer = 4096});
        slow.send(headFor(running.link().target()));
        QVERIFY(running.prints(" is fetching it\n"));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(running.end(SIGINT), 0);
        QVERIFY2(timer.elapsed() < 1500, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(running.printed().ends_with("\nEnded.\n"));
    }
};

QTEST_GUILESS_MAIN(TransferEndTest)
#include "TransferEndTest.moc"
