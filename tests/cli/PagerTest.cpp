#include "Terminal.h"

#include "reader/Records.h"
#include "storage/Descriptor.h"
#include "support/Printing.h"

#include <QProcess>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

using namespace korvane;

namespace {

/// A terminal of 60 columns whose output a test reads.
class PseudoTerminal {
public:
    PseudoTerminal() : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        const struct winsize size {
            .ws_row = 24, .ws_col = 60
        };
        m_works = ::grantpt(m_master.get()) == 0 && ::unlockpt(m_master.get()) == 0;
        m_slave = Descriptor(::open(::ptsname(m_master.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
        m_works = m_works && ::ioctl(m_slave.get(), TIOCSWINSZ, &size) == 0;
        ::fcntl(m_master.get(), F_SETFL, O_NONBLOCK);
    }

    bool works() const { return m_works; }
    QString name() const { return QString::fromLocal8Bit(::ptsname(m_master.get())); }

    /// What was printed since the last call. The terminal's line ends are made plain.
    QByteArray printed() const
    {
        QByteArray all;
        char block[4096];
        for (ssize_t size = 0; (size = ::read(m_master.get(), block, sizeof block)) > 0;)
            all.append(block, static_cast<int>(size));
        return all.replace("\r\n", "\n");
    }

private:
    Descriptor m_master;
    Descriptor m_slave; ///< stays open: otherwise the output is lost with its last user
    bool m_works = false;
};

struct TerminalOutcome {
    int code = -1;
    QByteArray out;
    QByteArray err;
};

} // namespace

/// `korvane-sync read` as a process whose output is a terminal, or a pipe that is closed early.
class PagerTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_terminal = std::make_unique<Terminal>();
        writeBytes(m_terminal->exports() + "/Team (1) Korvane Wrapped.jsonl.txt",
            linesOf({message(1, "a message of some length that does not fit on one line")}));
    }

    void textGoesToThePagerInColoursAndAsWideAsTheTerminal()
    {
        const TerminalOutcome outcome = read({{"PAGER", "sed 's/^/> /'"}});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err, QByteArray());
        QVERIFY2(outcome.out.startsWith("> \x1B[1mTeam\x1B[0m\n"), outcome.out);
        QVERIFY2(outcome.out.contains("  \x1B[36mAnn\x1B[0m  a message of some length that does not"
                                      " fit on\n>             one line\n"),
            outcome.out);
    }

    void pagerCanBeClosedEarly()
    {
        std::vector<Record> records;
        for (int i = 0; i < 3000; ++i)
            records.push_back(message(i, std::string(100, 'x')));
        writeBytes(m_terminal->exports() + "/Team (1) Korvane Wrapped.jsonl.txt", linesOf(records));
        const TerminalOutcome outcome = read({{"PAGER", "head -n 1"}});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err, QByteArray());
        QCOMPARE(outcome.out, QByteArray("\x1B[1mTeam\x1B[0m\n"));
    }

    void emptyPagerMeansNone()
    {
        for (const char* pager : {"", "cat"})
            QVERIFY(read({{"PAGER", pager}}).out.startsWith("\x1B[1mTeam\x1B[0m\n"));
    }

    void pagerThatCannotBeRunIsAnError_data()
    {
        QTest::addColumn<QByteArray>("pager");
        QTest::newRow("not installed") << QByteArray("nonexistent-pager -R");
        QTest::newRow("not executable") << QByteArray("/dev/null");
    }

    void pagerThatCannotBeRunIsAnError()
    {
        QFETCH(const QByteArray, pager);
        const TerminalOutcome outcome = read({{"PAGER", pager.constData()}});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.out, QByteArray());
        QVERIFY2(outcome.err.endsWith("korvane-sync: The pager could not be run: " + pager
                     + ". Set PAGER to another program, or to cat for none.\n"),
            outcome.err);
    }

    void coloursCanBeTurnedOff()
    {
        QVERIFY(read({{"PAGER", ""}, {"NO_COLOR", "1"}}).out.startsWith("Team\n"));
        QVERIFY(read({{"PAGER", ""}, {"TERM", "dumb"}}).out.startsWith("Team\n"));
    }

    void otherFormsDoNotGoToThePager()
    {
        QVERIFY(read({{"PAGER", "false"}}, QStringLiteral("--json")).out.startsWith("{\"att"));
    }

    void remarksAreComplaintsAfterThePager()
    {
        writeBytes(m_terminal->exports() + "/Ann (2) Korvane Wrapped.jsonl.txt",
            "torn\n" + linesOf({message(1)}));
        const TerminalOutcome outcome = read({{"PAGER", "true"}});
        QCOMPARE(outcome.code, 0);
        QVERIFY(outcome.err.startsWith("korvane-sync: Skipped what is damaged in 1 line of Ann"));
    }

    void closedOutputIsNoErrorMessage()
    {
        std::vector<Record> records;
        for (int i = 0; i < 3000; ++i)
            records.push_back(message(i, std::string(100, 'x')));
        writeBytes(m_terminal->exports() + "/Team (1) Korvane Wrapped.jsonl.txt", linesOf(records));
        for (const char* form : {"--text", "--json", "--csv"}) {
            QProcess shell;
            shell.start(QStringLiteral("sh"),
                {QStringLiteral("-c"),
                    QStringLiteral("'%1' read %2 --folder '%3' | head -n 1")
                        .arg(QStringLiteral(PROGRAM), QString::fromLatin1(form),
                            QString::fromStdString(m_terminal->exports()))});
            QVERIFY(shell.waitForFinished());
            QCOMPARE(shell.readAllStandardError(), QByteArray());
            QCOMPARE(shell.readAllStandardOutput().count('\n'), 1);
        }
    }

private:
    using Environment = std::vector<std::pair<const char*, const char*>>;

    /// Runs `read` with a terminal as its output.
    TerminalOutcome read(const Environment& changes, const QString& form = {}) const
    {
        const PseudoTerminal terminal;
        if (!terminal.works())
            return {.err = "There is no pseudo-terminal."};
        QProcess program;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TERM"), QStringLiteral("xterm"));
        environment.remove(QStringLiteral("NO_COLOR"));
        for (const auto& [name, value] : changes)
            environment.insert(QString::fromLatin1(name), QString::fromLatin1(value));
        program.setProcessEnvironment(environment);
        program.setStandardOutputFile(terminal.name());
        QStringList words{QStringLiteral("read"), QStringLiteral("--folder"),
            QString::fromStdString(m_terminal->exports())};
        if (!form.isEmpty())
            words.append(form);
        program.start(QStringLiteral(PROGRAM), words);
        TerminalOutcome outcome;
        while (!program.waitForFinished(20))
            outcome.out += terminal.printed();
        outcome.out += terminal.printed();
        outcome.code = program.exitCode();
        outcome.err = program.readAllStandardError();
        return outcome;
    }

    std::unique_ptr<Terminal> m_terminal;
};

QTEST_GUILESS_MAIN(PagerTest)
#include "PagerTest.moc"
