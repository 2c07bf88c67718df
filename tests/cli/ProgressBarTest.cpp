#include "cli/Console.h"

#include "support/Printing.h"

#include <QtTest/QTest>

#include <sstream>

using namespace korvane;
using namespace std::chrono_literals;

class ProgressBarTest : public QObject {
    Q_OBJECT

private slots:
    void shortWorkShowsNoBar()
    {
        std::ostringstream out;
        {
            ProgressBar bar(out, true, 10, 1h);
            bar.show(5, "half-way");
        }
        QCOMPARE(out.str(), std::string());
    }

    void longWorkShowsABarAndWipesItAway()
    {
        std::ostringstream out;
        {
            ProgressBar bar(out, true, 10, 0s);
            bar.show(5, "half-way");
            QCOMPARE(out.str(), std::string("\r\x1B[K[############............] 50% half-way"));
        }
        QVERIFY(out.str().ends_with("half-way\r\x1B[K"));
    }

    void barIsNotRedrawnAllTheTime()
    {
        std::ostringstream out;
        ProgressBar bar(out, true, 10, 0s);
        bar.show(5, "first");
        bar.show(6, "second");
        QCOMPARE(out.str().find("second"), std::string::npos);
    }

    void invisibleBarDrawsNothing()
    {
        std::ostringstream out;
        {
            ProgressBar bar(out, false, 10, 0s);
            bar.show(5, "half-way");
        }
        QCOMPARE(out.str(), std::string());
    }

    void moreDoneThanThereIsCountsAsAll()
    {
        std::ostringstream out;
        ProgressBar bar(out, true, 0, 0s);
        bar.show(5, "x");
        QVERIFY(out.str().find("100%") != std::string::npos);
    }
};

QTEST_GUILESS_MAIN(ProgressBarTest)
#include "ProgressBarTest.moc"
