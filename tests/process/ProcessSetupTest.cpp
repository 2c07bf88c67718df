#include "process/ProcessSetup.h"
#include "storage/Descriptor.h"

#include <QtTest/QTest>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace korvane;

namespace {

rlimit descriptorLimits()
{
    rlimit now{};
    ::getrlimit(RLIMIT_NOFILE, &now);
    return now;
}

bool setSoftLimit(rlim_t soft)
{
    const rlimit wanted{soft, descriptorLimits().rlim_max};
    return ::setrlimit(RLIMIT_NOFILE, &wanted) == 0;
}

QStringList messages;

void record(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text)
{
    messages.append(text);
}

/// Writes one byte behind the limit on file sizes. Returns the error, 0 if there is none.
int errorOfTooLargeFile()
{
    std::FILE* const file = std::tmpfile();
    const rlimit oneByte{1, 1};
    ::setrlimit(RLIMIT_FSIZE, &oneByte);
    return ::pwrite(::fileno(file), "x", 1, 1) == 1 ? 0 : errno;
}

} // namespace

/// What main() sets for the whole process.
class ProcessSetupTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { m_before = descriptorLimits(); }
    void cleanup() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

    void onlyTheWarningAboutTheLocaleIsSuppressed()
    {
        const QtMessageHandler before = qInstallMessageHandler(record);
        ProcessSetup::suppressLocaleWarning();
        qWarning("Detected locale \"C\" with character encoding \"ANSI_X3.4-1968\"");
        qInfo("Detected locale");
        qWarning("another warning");
        qInstallMessageHandler(before);
        QCOMPARE(messages,
            QStringList({QStringLiteral("Detected locale"), QStringLiteral("another warning")}));
    }

    void fileOverTheSizeLimitIsAnErrorInsteadOfASignal()
    {
        const pid_t child = ::fork();
        if (child == 0) {
            ::signal(SIGXFSZ, SIG_DFL);
            ProcessSetup::ignoreFileSizeSignal();
            ::_exit(errorOfTooLargeFile());
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), EFBIG);
    }

    void lowSoftLimitIsRaised()
    {
        if (m_before.rlim_max < enough)
            QSKIP("the hard limit is too low for this test");
        QVERIFY(setSoftLimit(256));
        QCOMPARE(descriptorLimit(), std::size_t{256});
        ProcessSetup::raiseDescriptorLimit();
        QCOMPARE(descriptorLimits().rlim_cur, rlim_t{1024});
        QCOMPARE(descriptorLimits().rlim_max, m_before.rlim_max);
        QCOMPARE(descriptorLimit(), std::size_t{1024});
    }

    void highSoftLimitStays()
    {
        if (m_before.rlim_max < enough)
            QSKIP("the hard limit is too low for this test");
        QVERIFY(setSoftLimit(2000));
        ProcessSetup::raiseDescriptorLimit();
        QCOMPARE(descriptorLimits().rlim_cur, rlim_t{2000});
    }

    void hardLimitIsRespected() // last: raising it again needs privileges
    {
        if (m_before.rlim_max < enough)
            QSKIP("the hard limit is too low for this test");
        const rlimit low{256, 300};
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &low), 0);
        ProcessSetup::raiseDescriptorLimit();
        QCOMPARE(descriptorLimits().rlim_cur, rlim_t{300});
        QCOMPARE(descriptorLimits().rlim_max, rlim_t{300});
    }

private:
    static constexpr rlim_t enough = 2048;

    rlimit m_before{};
};

QTEST_GUILESS_MAIN(ProcessSetupTest)
#include "ProcessSetupTest.moc"
