#include "storage/Descriptor.h"

#include <QtTest/QTest>

#include <sys/resource.h>

using namespace korvane;

/// Raising the process's limit on open descriptors (RLIMIT_NOFILE).
class DescriptorTest : public QObject {
    Q_OBJECT

    rlimit m_before{};

    static rlimit limits()
    {
        rlimit now{};
        ::getrlimit(RLIMIT_NOFILE, &now);
        return now;
    }

    static bool setSoft(rlim_t soft)
    {
        const rlimit wanted{soft, limits().rlim_max};
        return ::setrlimit(RLIMIT_NOFILE, &wanted) == 0;
    }

private slots:
    void initTestCase()
    {
        m_before = limits();
        if (m_before.rlim_max < 2048)
            QSKIP("the hard limit is too low for this test");
    }

    void cleanup() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

    void lowSoftLimitIsRaised()
    {
        QVERIFY(setSoft(256));
        QCOMPARE(descriptorLimit(), std::size_t{256});
        raiseDescriptorLimit();
        QCOMPARE(limits().rlim_cur, rlim_t{1024});
        QCOMPARE(limits().rlim_max, m_before.rlim_max);
        QCOMPARE(descriptorLimit(), std::size_t{1024});
    }

    void highSoftLimitStays()
    {
        QVERIFY(setSoft(2000));
        raiseDescriptorLimit();
        QCOMPARE(limits().rlim_cur, rlim_t{2000});
    }

    void hardLimitIsRespected() // last: raising it again needs privileges
    {
        const rlimit low{256, 300};
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &low), 0);
        raiseDescriptorLimit();
        QCOMPARE(limits().rlim_cur, rlim_t{300});
        QCOMPARE(limits().rlim_max, rlim_t{300});
    }
};

QTEST_GUILESS_MAIN(DescriptorTest)
#include "DescriptorTest.moc"
