#include "Terminal.h"

#include "messages/Sqlite.h"
#include "support/Printing.h"

#include <QProcess>
#include <QtTest/QTest>

#include <csignal>
#include <filesystem>
#include <fstream>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

/// Writes an export file of one chat into the terminal's export folder.
void addChat(const Terminal& terminal, const std::string& title, int number, int messages)
{
    const std::string guid = "guid" + std::to_string(number);
    fs::create_directories(terminal.exports());
    std::ofstream file(terminal.exports() + '/' + title + " (" + std::to_string(number)
        + ") Korvane Wrapped.jsonl.txt");
    for (int i = 1; i <= messages; ++i) {
        file << R"({"attachmentCount":0,"body":"hello","conversationID":")" << guid
             << R"(","conversationName":")" << title
             << R"(","date":"2024-05-06T07:08:09.500Z","id":"mac:)" << guid << ':' << i
             << R"(","isOutgoing":false,"recordKind":"message","sender":"Ann","senderID":)"
             << R"("messages:handle:+1202","textUnavailable":false})" << '\n';
    }
}

std::string answer(const std::string& database, const char* sql)
{
    Sqlite connection = Sqlite::openReadOnly(database);
    Sqlite::Statement rows(connection, sql);
    return rows.step() ? std::string(rows.text(0).value_or("NULL")) : "(none)";
}

} // namespace

/// korvane-sync read --sqlite.
class ReadTablesTest : public QObject {
    Q_OBJECT

private slots:
    void allChatsBecomeTables()
    {
        const Terminal terminal;
        addChat(terminal, "Ann", 1, 3);
        addChat(terminal, "Team", 2, 4);
        const Outcome outcome = read(terminal, {});
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.out, "Wrote 7 records to " + database(terminal) + "\n");
        QCOMPARE(outcome.code, 0);
        QCOMPARE(answer(database(terminal), "SELECT group_concat(conversationName) FROM chat"),
            std::string("Ann,Team"));
    }

    void onlyWhatIsChosenIsWritten()
    {
        const Terminal terminal;
        addChat(terminal, "Ann", 1, 3);
        addChat(terminal, "Team", 2, 4);
        QCOMPARE(read(terminal, {"team", "--since", "2024"}).code, 0);
        QCOMPARE(answer(database(terminal), "SELECT group_concat(conversationName) FROM chat"),
            std::string("Team"));
        QCOMPARE(read(terminal, {"--until", "2023", "--force"}).err,
            std::string("korvane-sync: There is no such message.\n"));
        QCOMPARE(answer(database(terminal), "SELECT count(*) FROM chat"), std::string("0"));
    }

    void fileThatExistsIsOverwrittenOnlyWhenToldTo()
    {
        const Terminal terminal;
        addChat(terminal, "Ann", 1, 3);
        read(terminal, {});
        addChat(terminal, "Ann", 1, 5);
        const Outcome refused = read(terminal, {});
        QCOMPARE(refused.code, 1);
        QCOMPARE(refused.err,
            "korvane-sync: " + database(terminal) + ": The file exists; --force overwrites it.\n");
        QCOMPARE(answer(database(terminal), "SELECT count(*) FROM message"), std::string("3"));
        QCOMPARE(read(terminal, {"--force"}).code, 0);
        QCOMPARE(answer(database(terminal), "SELECT count(*) FROM message"), std::string("5"));
    }

    void messagesDatabaseIsNeverOverwritten()
    {
        const Terminal terminal;
        addChat(terminal, "Ann", 1, 3);
        const std::string messages = database(terminal);
        terminal.run({"sample", messages, "--messages", "20"});
        const std::string before = contentsOf(messages);
        QCOMPARE(read(terminal, {"--force"}).code, 1);
        QVERIFY(contentsOf(messages) == before);
    }

    void whatCannotBeOverwrittenIsSaidAtOnce_data()
    {
        QTest::addColumn<std::string>("name");
        QTest::addColumn<std::string>("reason");
        QTest::newRow("a folder") << std::string("folder")
                                  << std::string("This is a folder. Name a file in it.");
        QTest::newRow("a device") << std::string("/dev/full")
                                  << std::string("This is not a regular file. Name another one.");
        QTest::newRow("a link") << std::string("link")
                                << std::string("This is not a regular file. Name another one.");
        QTest::newRow("a foreign file")
            << std::string("letter") << std::string("so it is not overwritten. Remove it, or name");
    }

    void whatCannotBeOverwrittenIsSaidAtOnce()
    {
        QFETCH(const std::string, name);
        QFETCH(const std::string, reason);
        const Terminal terminal;
        addChat(terminal, "Ann", 1, 3);
        const fs::path home = terminal.home();
        fs::create_directory(home / "folder");
        fs::create_symlink("/dev/null", home / "link");
        std::ofstream(home / "letter") << "Dear Ann,\n";
        const auto before = filesIn(terminal.home());
        for (const char* option : {"--sqlite", "--html"}) {
            const Outcome outcome = terminal.run(
                {"read", "--folder", terminal.exports(), option, (home / name).string()});
            QCOMPARE(outcome.code, 1);
            QVERIFY2(outcome.err.find(reason) != std::string::npos, outcome.err.c_str());
            QVERIFY(outcome.err.find("--force") == std::string::npos);
        }
        QCOMPARE(filesIn(terminal.home()), before);
        QCOMPARE(contentsOf(home / "letter"), std::string("Dear Ann,\n"));
    }

    void nothingIsWrittenIntoTheExportFolder_data()
    {
        QTest::addColumn<std::string>("file");
        QTest::newRow("in it") << std::string("exports/all.db");
        QTest::newRow("in Kept") << std::string("exports/Kept/all.db");
        QTest::newRow("in a folder that does not exist") << std::string("exports/no/all.db");
        QTest::newRow("through a link") << std::string("link/all.db");
        QTest::newRow("out of it and back") << std::string("exports/../exports/all.db");
    }

    void nothingIsWrittenIntoTheExportFolder()
    {
        QFETCH(const std::string, file);
        const Terminal terminal;
        addChat(terminal, "Ann", 1, 3);
        fs::create_directory(terminal.exports() + "/Kept");
        fs::create_directory_symlink(terminal.exports(), terminal.home() + "/link");
        const auto before = filesIn(terminal.exports());
        const std::string path = terminal.home() + '/' + file;
        const Outcome outcome
            = terminal.run({"read", "--folder", terminal.exports(), "--sqlite", path});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err,
            "korvane-sync: " + path
                + ": This is in a folder of export files, where only exports write. "
                  "Name a file elsewhere.\n");
        QCOMPARE(filesIn(terminal.exports()), before);
    }

    void nothingIsWrittenBesideAFileThatIsNamed_data()
    {
        QTest::addColumn<std::string>("option");
        QTest::addColumn<std::string>("file");
        QTest::addColumn<int>("code");
        QTest::newRow("tables") << std::string("--sqlite") << std::string("exports/all") << 1;
        QTest::newRow("a page") << std::string("--html") << std::string("exports/all") << 1;
        QTest::newRow("in Kept") << std::string("--html") << std::string("exports/Kept/all") << 1;
        QTest::newRow("elsewhere") << std::string("--html") << std::string("all") << 0;
    }

    void nothingIsWrittenBesideAFileThatIsNamed()
    {
        QFETCH(const std::string, option);
        QFETCH(const std::string, file);
        QFETCH(const int, code);
        const Terminal terminal;
        addChat(terminal, "Ann", 1, 3);
        fs::create_directory(terminal.exports() + "/Kept");
        const std::string exported = terminal.exports() + '/' + filesIn(terminal.exports()).front();
        const std::string path = terminal.home() + '/' + file;
        const Outcome outcome = terminal.run({"read", exported, option, path});
        QCOMPARE(outcome.code, code);
        QCOMPARE(outcome.err.find("in a folder of export files") != std::string::npos, code != 0);
        QCOMPARE(fs::exists(path), code == 0);
    }

    void chatThatIsNotThereGivesNoFile()
    {
        const Terminal terminal;
        addChat(terminal, "Ann", 1, 3);
        const Outcome outcome = read(terminal, {"Bo"});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.out, std::string());
        QVERIFY(!fs::exists(database(terminal)));
    }

    void oneFormAtATime()
    {
        const Terminal terminal;
        QCOMPARE(read(terminal, {"--json"}).code, 2);
        QCOMPARE(terminal.run({"read", "--force"}).code, 2);
        QCOMPARE(terminal.run({"read", "--sqlite", ""}).code, 2);
    }

    void interruptionLeavesNothing()
    {
        const Terminal terminal;
        addChat(terminal, "Ann", 1, 200'000);
        const QString file = QString::fromStdString(database(terminal));
        QProcess program;
        program.start(QStringLiteral(PROGRAM),
            {QStringLiteral("read"), QStringLiteral("--folder"),
                QString::fromStdString(terminal.exports()), QStringLiteral("--sqlite"), file});
        QTRY_VERIFY(filesIn(terminal.home()).size() > 1 || program.state() == QProcess::NotRunning);
        ::kill(static_cast<pid_t>(program.processId()), SIGINT);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.readAllStandardError(),
            QByteArray("korvane-sync: Interrupted. The incomplete file was deleted.\n"));
        QCOMPARE(program.exitCode(), 130);
        QCOMPARE(program.readAllStandardOutput(), QByteArray());
        QCOMPARE(filesIn(terminal.home()), std::vector<std::string>{"exports"});
    }

private:
    static std::string database(const Terminal& terminal) { return terminal.home() + "/all.db"; }

    static Outcome read(const Terminal& terminal, const std::vector<std::string>& arguments)
    {
        std::vector<std::string> all{
            "read", "--folder", terminal.exports(), "--sqlite", database(terminal)};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return terminal.run(all);
    }
};

QTEST_GUILESS_MAIN(ReadTablesTest)
#include "ReadTablesTest.moc"
