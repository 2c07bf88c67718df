#include "Terminal.h"

#include "support/Printing.h"

#include <QtTest/QTest>

#include <algorithm>

using namespace korvane;

class CommandLineTest : public QObject {
    Q_OBJECT

private slots:
    void badUsageIsOneLineAndExitCodeTwo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("says");

        const auto row = [](const char* name, const char* arguments, const char* says) {
            QTest::newRow(name) << QString::fromUtf8(arguments).split(u' ', Qt::SkipEmptyParts)
                                << QString::fromUtf8(says);
        };
        row("nothing at all", "", "command");
        row("unknown command", "exprot --all", "exprot");
        row("unknown option", "chats --colour", "--colour");
        row("option without its value", "chats --database", "--database");
        row("export of nothing", "export", "--all");
        row("export of all and of one", "export --all --chat X", "--all");
        row("--chat without a guid", "export --chat", "--chat");
        row("--every that is no number", "export --all --every soon", "--every");
        row("--every that is zero", "export --all --every 0", "--every");
        row("--every that is negative", "export --all --every -5", "--every");
        row("--every without an end", "export --all --every inf", "--every");
        row("--every that is not a number by name", "export --all --every nan", "--every");
        row("--every that is too long", "export --all --every 1e9",
            "--every: 1e9 is not a number of seconds above 0 and below 1000000000");
        row("chat without a guid", "export --chat ''", "--chat: A guid is missing");
        row("transfer of a chat without a guid", "transfer --chat ''", "--chat: A guid is missing");
        row("contacts without a name", "chats --contacts ''", "--contacts: A name is missing");
        row("contacts of a sample without a name", "sample x.db --contacts ''",
            "--contacts: A name is missing");
        row("sample with a seed that is too large", "sample x.db --seed 18446744073709551616",
            "--seed");
        row("sample with a negative seed", "sample x.db --seed -1", "--seed");
        row("seed that is missing", "sample x.db --seed ''", "--seed: A number is missing");
        row("port out of range", "transfer --chat X --port 65536",
            "--port: 65536 is not a whole number from 0 to 65535 (see");
        row("negative port", "transfer --chat X --port -1",
            "--port: -1 is not a whole number from 0 to 65535 (see");
        row("port that is no number", "transfer --chat X --port http",
            "--port: http is not a whole number from 0 to 65535 (see");
        row("port that is missing", "transfer --chat X --port ''", "--port: A number is missing");
        row("negative descriptor", "chats --backup x --password-fd -1",
            "--password-fd: -1 is not a whole number from 0 to 2147483647 (see");
        row("descriptor out of range", "chats --backup x --password-fd 2147483648",
            "--password-fd: 2147483648 is not a whole number from 0 to 2147483647 (see");
        row("half a descriptor", "chats --backup x --password-fd 3.5",
            "--password-fd: 3.5 is not a whole number from 0 to 2147483647 (see");
        row("descriptor that is missing", "chats --backup x --password-fd ''",
            "--password-fd: A number is missing");
        row("folder without a name", "export --all --folder=", "--folder");
        row("database without a name", "chats --database=", "--database");
        row("sample without a file", "sample", "file");
        row("sample with a negative number", "sample x.db --messages -1", "--messages");
        row("sample without chats", "sample x.db --chats 0", "--chats");
        row("sample with too many messages", "sample x.db --messages 99999999999999999999",
            "--messages");
        row("sample with half a message", "sample x.db --messages 1.5", "--messages");
        row("two files for one sample", "sample x.db y.db", "y.db");
    }

    void badUsageIsOneLineAndExitCodeTwo()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, says);
        std::vector<std::string> words;
        for (const QString& word : arguments)
            words.push_back(word == u"''" ? "" : word.toStdString());

        const Terminal terminal;
        const Outcome outcome = terminal.run(words);
        QCOMPARE(outcome.code, 2);
        QCOMPARE(outcome.out, std::string());
        QVERIFY2(outcome.err.starts_with("korvane-sync: "), outcome.err.c_str());
        QCOMPARE(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1);
        QVERIFY2(outcome.err.find(says.toStdString()) != std::string::npos, outcome.err.c_str());
    }

    void everyCommandHasHelp_data() { commands(); }

    void everyCommandHasHelp()
    {
        QFETCH(QString, command);
        const Outcome outcome = ask(command, "--help");
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err, std::string());
        QVERIFY(outcome.out.find("Usage: korvane-sync") != std::string::npos);
        QVERIFY(outcome.out.find(command.toStdString()) != std::string::npos);
    }

    void everyCommandTellsItsVersion_data() { commands(); }

    void everyCommandTellsItsVersion()
    {
        QFETCH(QString, command);
        const Outcome outcome = ask(command, "--version");
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err, std::string());
        QVERIFY(outcome.out.starts_with("korvane-sync 0."));
    }

    void helpTellsWhatEveryOptionDefaultsTo()
    {
        const Terminal terminal;
        const Outcome outcome = terminal.run({"export", "--help"});
        QVERIFY(outcome.out.find(terminal.home() + "/Documents/Quorvish") != std::string::npos);
    }

private:
    static void commands()
    {
        QTest::addColumn<QString>("command");
        for (const char* name : {"", "chats", "export", "sample"})
            QTest::newRow(*name ? name : "the program itself") << QString::fromUtf8(name);
    }

    static Outcome ask(const QString& command, const std::string& question)
    {
        std::vector<std::string> words{question};
        if (!command.isEmpty())
            words.insert(words.begin(), command.toStdString());
        return Terminal().run(words);
    }
};

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
