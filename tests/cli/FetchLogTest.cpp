#include "cli/TransferOutput.h"

#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;
using namespace std::chrono_literals;

/// Which fetches get a line and which are only counted.
class FetchLogTest : public QObject {
    Q_OBJECT

    using Kind = TransferEvent::Kind;
    using Moment = FetchLog::Clock::time_point;

    static constexpr Moment start{1000h};

    /// The lines for one fetch that starts and ends at `now`, joined by ", ".
    static std::string fetch(FetchLog& log, const std::string& peer, Kind end, Moment now = start)
    {
        const std::string begun = log.add({Kind::Started, peer}, now);
        const std::string ended = log.add({end, peer}, now);
        return begun + (begun.empty() || ended.empty() ? "" : ", ") + ended;
    }

private slots:
    void firstFetchesAreListedFromBeginningToEnd()
    {
        FetchLog log(start);
        for (int i = 1; i <= FetchLog::listedAtOnce; ++i) {
            const std::string peer = "192.168.1." + std::to_string(i);
            const bool delivered = i % 2 == 0;
            QCOMPARE(fetch(log, peer, delivered ? Kind::Delivered : Kind::BrokenOff),
                peer + " is fetching it, " + peer + (delivered ? " has it" : " broke off"));
        }
        QCOMPARE(log.lastSummary(), std::string());
    }

    void listedFetchIsListedAtItsEndWhateverHappensInBetween()
    {
        FetchLog log(start);
        log.add({Kind::Started, "192.168.1.7"}, start);
        for (int i = 0; i < 1000; ++i)
            fetch(log, "192.168.1.66", Kind::BrokenOff);
        QCOMPARE(
            log.add({Kind::BrokenOff, "192.168.1.7"}, start), std::string("192.168.1.7 broke off"));
    }

    void floodOfFetchesThatBreakOffIsCounted()
    {
        FetchLog log(start);
        int lines = 0;
        constexpr int fetches = 10'000;
        for (int i = 0; i < fetches; ++i)
            lines += fetch(log, "192.168.1.66", Kind::BrokenOff).empty() ? 0 : 1;
        QCOMPARE(lines, FetchLog::listedAtOnce);
        QCOMPARE(log.summary(start + FetchLog::interval - 1ms), std::string());
        QCOMPARE(log.summary(start + FetchLog::interval),
            std::to_string(fetches - lines)
                + " more fetches broke off, the last from 192.168.1.66");
        QCOMPARE(log.summary(start + FetchLog::interval), std::string()); // printed once
    }

    void phoneThatHasItIsNamedInTheMiddleOfAFlood()
    {
        FetchLog log(start);
        for (int i = 0; i < 1000; ++i)
            fetch(log, "192.168.1.66", Kind::BrokenOff);
        QCOMPARE(fetch(log, "192.168.1.7", Kind::Delivered), std::string("192.168.1.7 has it"));
    }

    void fewLinesComeOfALongFlood()
    {
        FetchLog log(start);
        int lines = 0;
        for (auto time = 0s; time < 600s; time += 1s) {
            for (int i = 0; i < 20; ++i) {
                const Kind end = i % 2 == 0 ? Kind::Delivered : Kind::BrokenOff;
                lines += log.add({Kind::Started, "192.168.1.66"}, start + time).empty() ? 0 : 1;
                lines += log.add({end, "192.168.1.66"}, start + time).empty() ? 0 : 1;
            }
            lines += log.summary(start + time).empty() ? 0 : 1;
        }
        QVERIFY2(lines <= 30, std::to_string(lines).c_str());
    }

    void deliveriesBeyondTheLimitAreCountedToo()
    {
        FetchLog log(start);
        std::string last;
        for (int i = 0; i < 2 * FetchLog::listedAtOnce; ++i)
            last = fetch(log, "192.168.1.2", Kind::Delivered);
        QCOMPARE(last, std::string("192.168.1.2 has it"));
        fetch(log, "192.168.1.2", Kind::Delivered);
        fetch(log, "192.168.1.2", Kind::BrokenOff);
        fetch(log, "192.168.1.3", Kind::Delivered);
        QCOMPARE(log.lastSummary(),
            std::string("1 more fetch broke off, 2 more fetches ended well, the last from "
                        "192.168.1.3"));
    }

    void listingGoesOnAfterAWhile()
    {
        FetchLog log(start);
        for (int i = 0; i < 1000; ++i)
            fetch(log, "192.168.1.66", Kind::BrokenOff);
        const Moment later = start + FetchLog::interval;
        QCOMPARE(fetch(log, "192.168.1.7", Kind::BrokenOff, later),
            std::string("192.168.1.7 is fetching it, 192.168.1.7 broke off"));
        QCOMPARE(fetch(log, "192.168.1.7", Kind::BrokenOff, later), std::string());
    }

    void fetchesUnderWayAreCountedWhetherListedOrNot()
    {
        FetchLog log(start);
        for (int i = 1; i <= 100; ++i) {
            log.add({Kind::Started, "192.168.1.7"}, start);
            QCOMPARE(log.underWay(), i);
        }
        for (int i = 99; i >= 0; --i) {
            log.add({Kind::BrokenOff, "192.168.1.7"}, start);
            QCOMPARE(log.underWay(), i);
        }
    }
};

QTEST_GUILESS_MAIN(FetchLogTest)
#include "FetchLogTest.moc"
