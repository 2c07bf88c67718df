#include "packaging/Command.h"

#include <QFile>
#include <QTemporaryDir>

using namespace korvane;
/// What `quietly` prints and when: the script that runs the long commands of ./run and ./test.
class QuietlyTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_tools; ///< the first folder in PATH
    const QString m_script = QStringLiteral(LINUX "/../quietly");

    /// Replaces `sleep` by one that sleeps for 10 ms, whatever its argument.
    void hurry() const
    {
        QFile sleep(m_tools.filePath(QStringLiteral("sleep")));
        QVERIFY(sleep.open(QIODevice::WriteOnly));
        sleep.write("#!/bin/sh\nexec /bin/sleep 0.01\n");
        sleep.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    Variables path() const
    {
        return {{QStringLiteral("PATH"), m_tools.path() + u':' + qEnvironmentVariable("PATH")},
            {QStringLiteral("TERM"), QStringLiteral("xterm")}};
    }

    Outcome quietly(const QString& command) const
    {
        return run(m_script, {QStringLiteral("sh"), QStringLiteral("-c"), command}, path());
    }

private slots:
    void initTestCase() { hurry(); }

    void commandThatSucceedsPrintsNothing()
    {
        const Outcome outcome = quietly(QStringLiteral("echo all is well; echo nearly >&2"));
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.out, QString());
        QCOMPARE(outcome.err, QString());
    }

    void commandThatFailsPrintsEverything()
    {
        const Outcome outcome = quietly(QStringLiteral("echo first; echo last >&2; exit 7"));
        QCOMPARE(outcome.code, 7);
        QCOMPARE(outcome.out, QString());
        QCOMPARE(outcome.err, QStringLiteral("first\nlast\n"));
    }

    void lastLineIsPrintedEveryMinuteWithoutATerminal()
    {
        const Outcome outcome
            = quietly(QStringLiteral("echo '[1/2] One'; echo '[2/2] Two'; /bin/sleep 4"));
        QCOMPARE(outcome.code, 0);
        QVERIFY2(outcome.err.startsWith(QStringLiteral("  1 min: [2/2] Two\n")),
            outcome.said().constData());
        const auto minutes = outcome.err.count(u'\n');
        QVERIFY2(minutes <= 6, outcome.said().constData()); // not one for each second
    }

    void lineIsKeptUpToDateOnATerminal()
    {
        NEEDS_PROGRAM("script");
        const QString command
            = QStringLiteral("'%1' sh -c 'echo half; /bin/sleep 1; echo done; /bin/sleep 1'");
        const Outcome outcome = run(QStringLiteral("script"),
            {QStringLiteral("-qec"), command.arg(m_script), QStringLiteral("/dev/null")}, path());
        QCOMPARE(outcome.code, 0);
        QVERIFY2(outcome.out.contains(QStringLiteral("\r\033[Khalf\r\033[K")),
            outcome.said().constData());
        QVERIFY2(outcome.out.contains(QStringLiteral("\r\033[Kdone\r\033[K")),
            outcome.said().constData());
        QVERIFY2(!outcome.out.contains(u'\n'), outcome.said().constData());
        QVERIFY2(outcome.out.endsWith(QStringLiteral("\r\033[K")), outcome.said().constData());
    }
};

QTEST_GUILESS_MAIN(QuietlyTest)
#include "QuietlyTest.moc"
