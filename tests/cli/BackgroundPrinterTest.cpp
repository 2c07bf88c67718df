#include "cli/BackgroundPrinter.h"

#include "cli/Console.h"
#include "storage/Descriptor.h"

#include <QElapsedTimer>
#include <QtTest/QTest>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <optional>
#include <sstream>
#include <string>

using namespace korvane;
using namespace std::chrono_literals;

namespace {

/// A pipe to print into, and to read what was printed.
struct Pipe {
    Pipe()
    {
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) == 0) {
            reading = Descriptor(ends[0]);
            writing = Descriptor(ends[1]);
        }
    }

    /// Reads `count` bytes; fewer if nothing comes for 10 s.
    std::string read(std::size_t count) const
    {
        std::string text;
        std::array<char, 65'536> bytes;
        constexpr int timeout = 10'000;
        pollfd readable{reading.get(), POLLIN, 0};
        while (text.size() < count && ::poll(&readable, 1, timeout) == 1) {
            const ssize_t some
                = ::read(reading.get(), bytes.data(), std::min(bytes.size(), count - text.size()));
            text.append(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(some, 0)));
        }
        return text;
    }

    Console console() { return {stream, stream, false, stream, writing.get()}; }

    std::stringstream stream;
    Descriptor reading;
    Descriptor writing;
};

} // namespace

/// Printing from a background thread, which a reader may block.
class BackgroundPrinterTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { std::signal(SIGPIPE, SIG_IGN); } // a thread left behind may write later

    void textsArePrintedInTheirOrder()
    {
        std::ostringstream out;
        std::istringstream in;
        std::string expected;
        {
            BackgroundPrinter printer({out, out, false, in});
            for (int i = 0; i < 1000; ++i) {
                printer.print(std::to_string(i) + '\n');
                expected += std::to_string(i) + '\n';
            }
            QVERIFY(printer.isDoneWithin(10s));
        }
        QVERIFY(out.str() == expected);
    }

    void textsGoToTheDescriptorWhereThereIsOne_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::newRow("blocking") << true;
        QTest::newRow("non-blocking") << false;
    }

    void textsGoToTheDescriptorWhereThereIsOne()
    {
        QFETCH(const bool, blocking);
        Pipe pipe;
        if (!blocking)
            ::fcntl(pipe.writing.get(), F_SETFL, O_NONBLOCK);
        BackgroundPrinter printer(pipe.console());
        const std::string text(200'000, 'x'); // more than a pipe buffers
        printer.print(text);
        QVERIFY(!printer.isDoneWithin(100ms));
        QVERIFY(pipe.read(text.size()) == text);
        QVERIFY(printer.isDoneWithin(10s));
        QVERIFY(pipe.stream.str().empty());
    }

    void nothingWaitsWhileNobodyReads()
    {
        Pipe pipe;
        QElapsedTimer timer;
        timer.start();
        {
            BackgroundPrinter printer(pipe.console());
            for (int i = 0; i < 10; ++i)
                printer.print(std::string(100'000, 'x'));
            QVERIFY(!printer.isDoneWithin(10ms));
        }
        QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    }

    void whatIsOverTheLimitIsDropped()
    {
        Pipe pipe;
        BackgroundPrinter printer(pipe.console());
        const std::string text(BackgroundPrinter::limit / 2, 'x');
        printer.print(text);
        printer.print(text);
        printer.print("dropped");
        QVERIFY(pipe.read(2 * text.size()) == text + text);
        QVERIFY(printer.isDoneWithin(10s));
        printer.print("printed");
        QCOMPARE(QString::fromStdString(pipe.read(7)), QStringLiteral("printed"));
    }

    void closedOutputIsNoTrouble()
    {
        Pipe pipe;
        Console console = pipe.console();
        console.outDescriptor = -1;
        BackgroundPrinter printer(console);
        printer.print("nobody sees this");
        QVERIFY(printer.isDoneWithin(10s));
    }
};

QTEST_GUILESS_MAIN(BackgroundPrinterTest)
#include "BackgroundPrinterTest.moc"
