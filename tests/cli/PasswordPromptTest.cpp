#include "Terminal.h"

#include "backup/TestBackup.h"
#include "storage/Descriptor.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <QElapsedTimer>
#include <QtTest/QTest>

#include <array>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

using namespace korvane;

namespace {

/// The program in a pseudo-terminal of its own.
class Session {
public:
    enum class Errors { Shown, Discarded };

    /// In the background with no parent that could continue it, a process may read the settings of
    /// its terminal, but not change them. Its exit code is then not known.
    enum class Place { Foreground, OrphanedBackground };

    explicit Session(const std::vector<std::string>& arguments, Errors errors = Errors::Shown,
        Place place = Place::Foreground)
        : m_screen(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        ::grantpt(m_screen.get());
        ::unlockpt(m_screen.get());
        const std::string terminal = ::ptsname(m_screen.get());
        m_process = ::fork();
        if (m_process == 0)
            run(terminal, arguments, errors, place);
        m_keyboard = Descriptor(::open(terminal.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    }
    ~Session()
    {
        if (m_process > 0)
            ::kill(m_process, SIGKILL);
        end();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Waits until the screen shows the text, for at most 20 seconds.
    bool shows(const std::string& text)
    {
        QElapsedTimer since;
        since.start();
        while (m_shown.find(text) == std::string::npos && !since.hasExpired(20'000))
            readSome();
        return m_shown.find(text) != std::string::npos;
    }

    void type(const std::string& text) const
    {
        QCOMPARE(
            ::write(m_screen.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void signal(int number) const { ::kill(m_process, number); }

    bool echoes() const
    {
        termios settings{};
        ::tcgetattr(m_screen.get(), &settings);
        return (settings.c_lflag & static_cast<tcflag_t>(ECHO)) != 0;
    }

    /// Waits until the program ends. Returns its wait status.
    int end()
    {
        if (m_process <= 0)
            return -1;
        int status = 0;
        QElapsedTimer since;
        since.start();
        while (::waitpid(m_process, &status, WNOHANG) == 0) { // a full terminal would block it
            if (since.hasExpired(20'000))
                ::kill(m_process, SIGKILL);
            readSome();
        }
        readSome();
        m_process = -1;
        return status;
    }

    const std::string& shown() const { return m_shown; }

private:
    [[noreturn]] static void run(const std::string& terminal,
        const std::vector<std::string>& arguments, Errors errors, Place place)
    {
        ::setsid();
        const int descriptor = ::open(terminal.c_str(), O_RDWR);
        ::ioctl(descriptor, TIOCSCTTY, 0);
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::dup2(descriptor, standard);
        if (errors == Errors::Discarded)
            ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
        if (place == Place::OrphanedBackground)
            becomeAnOrphan();
        std::vector<char*> words{const_cast<char*>(PROGRAM)};
        for (const std::string& argument : arguments)
            words.push_back(const_cast<char*>(argument.c_str()));
        words.push_back(nullptr);
        ::execv(PROGRAM, words.data());
        ::_exit(127);
    }

    /// Goes on in a grandchild, whose parent is gone. The terminal stays open until it ends.
    static void becomeAnOrphan()
    {
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0)
            ::_exit(127);
        const pid_t child = ::fork();
        if (child != 0) {
            ::close(ends[1]);
            ::waitpid(child, nullptr, 0);
            ::read(ends[0], &ends[1], 1); // until the grandchild closes its end
            ::_exit(0);
        }
        ::setpgid(0, 0);
        const pid_t parent = ::getpid();
        if (::fork() != 0)
            ::_exit(0);
        while (::getppid() == parent)
            ::usleep(1000);
    }

    void readSome()
    {
        pollfd readable{m_screen.get(), POLLIN, 0};
        while (::poll(&readable, 1, 20) > 0) {
            std::string piece(4096, '\0');
            const ssize_t count = ::read(m_screen.get(), piece.data(), piece.size());
            if (count <= 0)
                return;
            m_shown.append(piece, 0, static_cast<std::size_t>(count));
        }
    }

    Descriptor m_screen;
    Descriptor m_keyboard; ///< keeps the terminal's settings after the program has ended
    pid_t m_process = -1;
    std::string m_shown;
};

} // namespace

/// The question for a backup's password, in a real terminal.
class PasswordPromptTest : public QObject {
    Q_OBJECT

    const Terminal m_terminal;
    TestDatabase m_database;
    std::string m_backup;

    std::vector<std::string> chats() const { return {"chats", "--backup", m_backup}; }

    static constexpr const char* question = "Password of the backup of \"Ann’s iPhone\": ";

private slots:
    void initTestCase()
    {
        m_database.addChat(1, "G1", "Family", "chat1", 43);
        m_database.addMessage(1, "hello");
        m_backup = makeBackup(m_terminal.home() + "/backup", m_database.path(),
            {QStringLiteral("--password"), QStringLiteral("geheim")});
    }

    void passwordIsNotShown()
    {
        Session session(chats());
        QVERIFY(session.shows(question));
        QVERIFY(!session.echoes());
        session.type("geheim\n");
        const int status = session.end();
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 0);
        QVERIFY(session.echoes());
        QVERIFY(session.shown().find("Family") != std::string::npos);
        QVERIFY(session.shown().find("geheim") == std::string::npos);
    }

    void questionIsSeenThoughErrorsGoElsewhere()
    {
        Session session(chats(), Session::Errors::Discarded);
        QVERIFY(session.shows(question));
        QVERIFY(!session.echoes());
        session.type("geheim\n");
        QVERIFY(WIFEXITED(session.end()));
        QVERIFY(session.shown().find("Family") != std::string::npos);
    }

    void terminalThatKeepsItsEchoIsNotUsed()
    {
        Session session(chats(), Session::Errors::Shown, Session::Place::OrphanedBackground);
        QVERIFY(session.shows("The terminal cannot hide a password (Input/output error).\r\n"));
        session.end();
        QVERIFY(session.shown().find(question) == std::string::npos);
        QVERIFY(session.echoes());
    }

    void derivationIsShown()
    {
        Session session(chats());
        QVERIFY(session.shows(question));
        session.type("geheim\n");
        QVERIFY(session.shows("Deriving the key from the password …"));
        QCOMPARE(WEXITSTATUS(session.end()), 0);
    }

    void wrongPasswordIsReportedAtOnce()
    {
        Session session(chats());
        QVERIFY(session.shows(question));
        session.type("Geheim\n");
        QVERIFY(session.shows("The password of the backup is wrong. Nothing was changed."));
        QCOMPARE(WEXITSTATUS(session.end()), 1);
        QVERIFY(session.echoes());
    }

    void ctrlCAtTheQuestionRestoresTheTerminal()
    {
        Session session(chats());
        QVERIFY(session.shows(question));
        session.type("gehe\x03");
        const int status = session.end();
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 130);
        QVERIFY(session.echoes());
        QVERIFY(session.shown().find(question + std::string("\r\nkorvane-sync: Interrupted.\r\n"))
            != std::string::npos);
    }

    void keyThatWouldKillOrStopTheProgramIsPartOfTheAnswer_data()
    {
        QTest::addColumn<QByteArray>("key");
        QTest::newRow("Ctrl-\\") << QByteArray("\x1C");
        QTest::newRow("Ctrl-Z") << QByteArray("\x1A");
    }

    void keyThatWouldKillOrStopTheProgramIsPartOfTheAnswer()
    {
        QFETCH(const QByteArray, key);
        Session session(chats());
        QVERIFY(session.shows(question));
        session.type(key.toStdString());
        session.type("geheim\n");
        QVERIFY(session.shows("The password of the backup is wrong."));
        QCOMPARE(WEXITSTATUS(session.end()), 1);
        QVERIFY(session.echoes());
    }

    void signalAtTheQuestionRestoresTheTerminal_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("kill") << SIGTERM;
        QTest::newRow("closed terminal") << SIGHUP;
    }

    void signalAtTheQuestionRestoresTheTerminal()
    {
        QFETCH(const int, signal);
        Session session(chats());
        QVERIFY(session.shows(question));
        session.signal(signal);
        QCOMPARE(WEXITSTATUS(session.end()), 130);
        QVERIFY(session.echoes());
    }

    void endOfInputIsNoPassword()
    {
        Session session(chats());
        QVERIFY(session.shows(question));
        session.type("\x04");
        QVERIFY(session.shows("No password was entered."));
        QCOMPARE(WEXITSTATUS(session.end()), 1);
        QVERIFY(session.echoes());
    }

    void interruptedExportPrintsNoResult()
    {
        Session session(
            {"export", "--all", "--json", "--backup", m_backup, "--folder", m_terminal.exports()});
        QVERIFY(session.shows(question));
        session.type("\x03");
        QCOMPARE(WEXITSTATUS(session.end()), 130);
        QVERIFY(session.shown().find("added") == std::string::npos);
    }

    void derivationCanBeInterrupted()
    {
        const std::string slow = makeBackup(m_terminal.home() + "/slow", m_database.path(),
            {QStringLiteral("--password"), QStringLiteral("geheim"), QStringLiteral("--iterations"),
                QStringLiteral("3000000")});
        Session session({"chats", "--backup", slow});
        QVERIFY(session.shows(question));
        session.type("geheim\n");
        QVERIFY(session.shows("Deriving the key from the password …"));
        QElapsedTimer since;
        since.start();
        session.type("\x03");
        const int status = session.end();
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGINT);
        QVERIFY(!since.hasExpired(2000));
    }
};

QTEST_GUILESS_MAIN(PasswordPromptTest)
#include "PasswordPromptTest.moc"
