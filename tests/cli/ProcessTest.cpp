#include "Terminal.h"

#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest/QTest>

#include <csignal>
#include <cstdint>
#include <limits>

using namespace korvane;

/// The program as a process of its own: signals, exit codes, and output that is no terminal.
class ProcessTest : public QObject {
    Q_OBJECT

private slots:
    void repeatedExportPicksUpNewMessagesUntilItIsInterrupted()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database, 3);
        QProcess program;
        start(program, {QStringLiteral("--every"), QStringLiteral("0.1")}, terminal, database);
        QCOMPARE(nextRun(program)[u"added"].toInt(), 3);
        database.addMessage(1, "new");
        int added = 0;
        for (int run = 0; run < 100 && added == 0; ++run)
            added = nextRun(program)[u"added"].toInt();
        QCOMPARE(added, 1);

        interrupt(program);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(program.readAllStandardError(), QByteArray());
    }

    void repeatedExportOutlivesAFailedRun()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database, 2);
        QProcess program;
        start(program, {QStringLiteral("--every"), QStringLiteral("0.1")}, terminal, database);
        QCOMPARE(nextRun(program)[u"added"].toInt(), 2);
        database.sql().execute("ALTER TABLE chat RENAME TO elsewhere");
        QByteArray complaints;
        const auto complained = [&] {
            complaints += program.readAllStandardError();
            return complaints.contains("no such table: chat");
        };
        QTRY_VERIFY(complained());
        database.sql().execute("ALTER TABLE elsewhere RENAME TO chat");
        database.addMessage(1, "after all");
        int added = 0;
        for (int run = 0; run < 100 && added == 0; ++run)
            added = nextRun(program)[u"added"].toInt();
        QCOMPARE(added, 1);
        interrupt(program);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), 0);
    }

    void interruptedRunEndsAfterTheChatAtHandWithItsStateSaved()
    {
        const Terminal terminal;
        const std::string database = terminal.home() + "/large.db";
        constexpr int chats = 40;
        QCOMPARE(
            terminal
                .run({"sample", database, "--messages", "120000", "--chats", std::to_string(chats)})
                .code,
            0);
        QProcess program;
        program.start(QStringLiteral(PROGRAM),
            {QStringLiteral("export"), QStringLiteral("--all"), QStringLiteral("--json"),
                QStringLiteral("--database"), QString::fromStdString(database),
                QStringLiteral("--folder"), QString::fromStdString(terminal.exports())});
        QTRY_VERIFY_WITH_TIMEOUT(!filesIn(terminal.exports()).empty(), 20000);
        interrupt(program);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 130);

        const auto result = QJsonDocument::fromJson(program.readAllStandardOutput()).object();
        const auto files = static_cast<int>(filesIn(terminal.exports()).size());
        QVERIFY(files < chats);
        QCOMPARE(result[u"chatsTouched"].toInt(), files);
        QCOMPARE(recordedMessages(terminal), result[u"added"].toInt());
        QCOMPARE(program.readAllStandardError(),
            QByteArray("korvane-sync: The export was interrupted. Run it again to continue.\n"));

        const Outcome rest = terminal.run(
            {"export", "--all", "--json", "--database", database, "--folder", terminal.exports()});
        QCOMPARE(rest.code, 0);
        QCOMPARE(rest.json()[u"chatsTouched"].toInt(), chats - files);
    }

    void processThatHoldsTheLockIsNamed()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database, 1);
        QProcess first;
        start(first, {QStringLiteral("--every"), QStringLiteral("0.001")}, terminal, database);
        nextRun(first);
        // The lock is held during a run only, so try until the attempt meets one of the many runs.
        const std::string holder = "korvane-sync, process " + std::to_string(first.processId());
        bool named = false;
        for (int attempt = 0; attempt < 2000 && !named; ++attempt) {
            const Outcome second = terminal.run(
                {"export", "--all", "--database", database.path(), "--folder", terminal.exports()});
            named = second.code == 1 && second.err.find(holder) != std::string::npos;
        }
        interrupt(first);
        QVERIFY(first.waitForFinished());
        QVERIFY(named);
    }

    void dateOutOfRangeEndsARepeatedExport()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database, 2);
        QProcess program;
        start(program, {QStringLiteral("--every"), QStringLiteral("0.1")}, terminal, database);
        QCOMPARE(nextRun(program)[u"added"].toInt(), 2);
        database.addMessage(1, {.date = std::numeric_limits<std::int64_t>::min()});
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 1);
        QVERIFY(program.readAllStandardError().contains("out of range"));
    }

    void userWithoutADatabaseIsToldHowToNameOne_data()
    {
        QTest::addColumn<QString>("command");
        QTest::newRow("chats") << "chats";
        QTest::newRow("export") << "export --all";
        QTest::newRow("transfer") << "transfer --chat G1";
    }

    void userWithoutADatabaseIsToldHowToNameOne()
    {
        QFETCH(QString, command);
        const Terminal terminal;
        const Outcome outcome = shell("exec " PROGRAM " " + command.toStdString());
        QCOMPARE(outcome.code, 1);
        const QStringList lines = QString::fromStdString(outcome.err).split(u'\n');
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines[0],
            QStringLiteral("korvane-sync: %1/Library/Messages/chat.db: Can't open "
                           "the Messages database.")
                .arg(QString::fromStdString(terminal.home())));
        QVERIFY2(lines[1].contains(u"--database FILE"), outcome.err.c_str());
    }

    void limitOnFileSizesFailsTheLargeChatAlone()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database, 1);
        database.addChat(2, "G2", "Large", "chat2", 43);
        database.addMessage(2, std::string(400'000, 'x'));
        const Outcome outcome = shell("ulimit -f 100; exec " PROGRAM " export --all --database '"
            + database.path() + "' --folder '" + terminal.exports() + "'");
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, std::string("korvane-sync: Large: File too large\n"));
        QCOMPARE(outcome.out, "Added 1 message to 1 chat in " + terminal.exports() + "\n");
        QCOMPARE(recordedMessages(terminal), 1);
    }

    void contactsMayComeThroughAPipe()
    {
        const Terminal terminal;
        TestDatabase database;
        fillUnnamed(database);
        const Outcome outcome
            = shell("printf 'BEGIN:VCARD\\nN:Lee;Ann\\nTEL:+15550100\\nEND:VCARD' | " PROGRAM
                    " chats --contacts /dev/stdin"
                    " --database '"
                + database.path() + "'");
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QVERIFY2(outcome.out.find("Ann Lee") != std::string::npos, outcome.out.c_str());
    }

    void repeatedExportKeepsTheContactsOfAPipe()
    {
        const Terminal terminal;
        TestDatabase database;
        fillUnnamed(database);
        QProcess program;
        start(program,
            {QStringLiteral("--every"), QStringLiteral("0.1"), QStringLiteral("--contacts"),
                QStringLiteral("/dev/stdin")},
            terminal, database);
        program.write("BEGIN:VCARD\nVERSION:3.0\nN:Lee;Ann\nTEL:+15550100\nEND:VCARD\n");
        program.closeWriteChannel();
        QCOMPARE(nextRun(program)[u"added"].toInt(), 1);
        for (int run = 0; run < 3; ++run)
            QCOMPARE(nextRun(program)[u"added"].toInt(-1), 0);
        interrupt(program);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.readAllStandardError(), QByteArray());
        QCOMPARE(filesIn(terminal.exports()),
            std::vector<std::string>{"Ann Lee (1) Korvane Wrapped.jsonl.txt"});
    }

    void outputThatCannotBeWrittenIsAnError()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database, 1);
        const Outcome outcome
            = shell("exec " PROGRAM " chats --database '" + database.path() + "' > /dev/full");
        QCOMPARE(outcome.code, 1);
        QCOMPARE(
            outcome.err, std::string("korvane-sync: Not all of the output could be written.\n"));
    }

    void localeWithoutUtf8IsNotWarnedAbout_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::newRow("the one of cron") << QStringLiteral("C");
        QTest::newRow("one that is not installed") << QStringLiteral("de_DE.ISO-8859-1");
    }

    void localeWithoutUtf8IsNotWarnedAbout()
    {
        QFETCH(const QString, locale);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LC_ALL"), locale);
        QProcess program;
        program.setProcessEnvironment(environment);
        program.start(QStringLiteral(PROGRAM), {QStringLiteral("--version")});
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(program.readAllStandardError(), QByteArray());
    }

    void helpThatCannotBeWrittenIsAnError_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::newRow("help") << "--help";
        QTest::newRow("help of a command") << "export --help";
        QTest::newRow("version") << "--version";
    }

    void helpThatCannotBeWrittenIsAnError()
    {
        QFETCH(QString, arguments);
        const Outcome outcome
            = shell("exec " PROGRAM " " + arguments.toStdString() + " > /dev/full");
        QCOMPARE(outcome.code, 1);
        QCOMPARE(
            outcome.err, std::string("korvane-sync: Not all of the output could be written.\n"));
    }

    void repeatedExportSaysThatItsOutputIsLostAndGoesOn()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database, 1);
        QProcess program;
        program.start(QStringLiteral("/bin/sh"),
            {QStringLiteral("-c"),
                QString::fromStdString("exec " PROGRAM " export --all --every 0.1 --database '"
                    + database.path() + "' --folder '" + terminal.exports() + "' > /dev/full")});
        QByteArray complaints;
        const auto complaintsOfTwoRuns = [&] {
            complaints += program.readAllStandardError();
            return complaints.count("Not all of the output could be written.") >= 2;
        };
        QTRY_VERIFY_WITH_TIMEOUT(complaintsOfTwoRuns(), 20000);
        interrupt(program);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), 1);
        QCOMPARE(recordedMessages(terminal), 1);
    }

    void noProgressIsDrawnWhereThereIsNoTerminal()
    {
        const Terminal terminal;
        QProcess program;
        program.start(QStringLiteral(PROGRAM),
            {QStringLiteral("sample"), QString::fromStdString(terminal.home() + "/s.db"),
                QStringLiteral("--messages"), QStringLiteral("2000")});
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(program.readAllStandardError(), QByteArray());
    }

private:
    static void fill(TestDatabase& database, int messages)
    {
        database.addChat(1, "G1", "Family", "chat1", 43);
        for (int i = 0; i < messages; ++i)
            database.addMessage(1, "hello");
    }

    static void fillUnnamed(TestDatabase& database)
    {
        database.addHandle(1, "+15550100");
        database.addChat(1, "G1", "", "+15550100");
        database.addMember(1, 1);
        database.addMessage(1, "hello");
    }

    static void start(QProcess& program, const QStringList& more, const Terminal& terminal,
        const TestDatabase& database)
    {
        program.start(QStringLiteral(PROGRAM),
            QStringList{QStringLiteral("export"), QStringLiteral("--all"), QStringLiteral("--json"),
                QStringLiteral("--database"), QString::fromStdString(database.path()),
                QStringLiteral("--folder"), QString::fromStdString(terminal.exports())}
                + more);
    }

    /// Waits for the next line of output, which is the JSON of one run.
    static QJsonObject nextRun(QProcess& program)
    {
        while (!program.canReadLine() && program.waitForReadyRead(10000)) { }
        return QJsonDocument::fromJson(program.readLine()).object();
    }

    static Outcome shell(const std::string& command)
    {
        QProcess program;
        program.start(
            QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QString::fromStdString(command)});
        program.waitForFinished();
        return {program.exitCode(), program.readAllStandardOutput().toStdString(),
            program.readAllStandardError().toStdString()};
    }

    static void interrupt(const QProcess& program)
    {
        ::kill(static_cast<pid_t>(program.processId()), SIGINT);
    }

    static int recordedMessages(const Terminal& terminal)
    {
        const auto state = QJsonDocument::fromJson(
            QByteArray::fromStdString(contentsOf(terminal.support() + "/state.json")));
        int messages = 0;
        for (const QJsonValue& chat : state[u"chats"].toObject())
            messages += chat[u"messages"].toInt();
        return messages;
    }
};

QTEST_GUILESS_MAIN(ProcessTest)
#include "ProcessTest.moc"
