#include "OutputPipe.h"
#include "RunningTransfer.h"

#include "server/RunningServer.h"
#include "support/Printing.h"

#include <QElapsedTimer>
#include <QtTest/QTest>

#include <csignal>
#include <filesystem>

using namespace korvane;

namespace {

constexpr int timeout = 10'000; ///< milliseconds

/// `transfer` as a process that prints into a pipe.
class PipedTransfer {
public:
    explicit PipedTransfer(const Owner& owner) : output(owner.terminal.home() + "/pipe")
    {
        m_program.setStandardOutputFile(QString::fromStdString(output.path()), QIODevice::Append);
        QStringList words;
        for (const std::string& word : owner.words())
            words << QString::fromStdString(word);
        m_program.start(QStringLiteral(PROGRAM), words);
    }

    ~PipedTransfer()
    {
        m_program.kill();
        m_program.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(PipedTransfer)

    bool isReady() { return output.prints("Ctrl-C ends it at once.\n"); }

    TransferLink link() const { return linkIn(output.printed()); }

    /// Fills the pipe, then fetches the chat.
    int statusOfAFetchWhileFull()
    {
        const TransferLink known = link();
        output.fill();
        return get(known.port, known.target()).status;
    }

    /// Sends a signal. Returns the milliseconds until the process ended; -1 if it goes on.
    qint64 endsAfter(int signal)
    {
        QElapsedTimer timer;
        timer.start();
        ::kill(static_cast<pid_t>(m_program.processId()), signal);
        return m_program.waitForFinished(timeout) ? timer.elapsed() : -1;
    }

    bool endedWell() const
    {
        return m_program.exitStatus() == QProcess::NormalExit && m_program.exitCode() == 0;
    }

    OutputPipe output;

private:
    QProcess m_program;
};

} // namespace

/// Output that nobody reads: a pager that waits for a key, a terminal after Ctrl-S, a full pipe.
class StuckOutputTest : public QObject {
    Q_OBJECT

private slots:
    void requestsAreAnsweredWhileNobodyReads()
    {
        const Owner owner;
        PipedTransfer transfer(owner);
        QVERIFY(transfer.isReady());
        const TransferLink link = transfer.link();
        transfer.output.fill();
        for (int i = 0; i < 20; ++i)
            QCOMPARE(get(link.port, link.target()).status, 200);
    }

    void firstSignalEndsItWhileNobodyReads_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("Ctrl-C") << SIGINT;
        QTest::newRow("told to end") << SIGTERM;
        QTest::newRow("terminal closed") << SIGHUP;
    }

    void firstSignalEndsItWhileNobodyReads()
    {
        QFETCH(int, signal);
        const Owner owner;
        PipedTransfer transfer(owner);
        QVERIFY(transfer.isReady());
        QCOMPARE(transfer.statusOfAFetchWhileFull(), 200);
        endsSoonAndWell(transfer, signal);
    }

    void firstSignalEndsItBeforeTheCodeIsRead()
    {
        const Owner owner;
        PipedTransfer transfer(owner);
        transfer.output.fill();
        const auto hasExported = [&owner] { return std::filesystem::exists(owner.file()); };
        QTRY_VERIFY_WITH_TIMEOUT(hasExported(), timeout);
        QTest::qWait(1000); // until it blocks in printing the code
        endsSoonAndWell(transfer, SIGINT);
    }

    void readerWhoGoesOnMissesNothing()
    {
        const Owner owner;
        PipedTransfer transfer(owner);
        QVERIFY(transfer.isReady());
        QCOMPARE(transfer.statusOfAFetchWhileFull(), 200);
        QVERIFY(transfer.output.prints("  127.0.0.1 is fetching it\n"));
        QVERIFY(transfer.output.prints("  127.0.0.1 has it\n"));
    }

private:
    static void endsSoonAndWell(PipedTransfer& transfer, int signal)
    {
        const qint64 time = transfer.endsAfter(signal);
        QVERIFY2(time >= 0 && time < 3000, qPrintable(QString::number(time)));
        QVERIFY(transfer.endedWell());
    }
};

QTEST_GUILESS_MAIN(StuckOutputTest)
#include "StuckOutputTest.moc"
