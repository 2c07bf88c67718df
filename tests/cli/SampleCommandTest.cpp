#include "Terminal.h"

#include "support/Printing.h"

#include <QtTest/QTest>

#include <fstream>

using namespace korvane;

class SampleCommandTest : public QObject {
    Q_OBJECT

private slots:
    void sampleCanBeListedAndExported()
    {
        const Terminal terminal;
        const std::string file = terminal.home() + "/sample.db";
        const Outcome outcome
            = terminal.run({"sample", file, "--messages", "300", "--chats", "5", "--seed", "7"});
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.out, "Wrote 300 messages in 5 chats to " + file + "\n");
        QVERIFY(
            terminal.run({"chats", "--database", file}).out.find("iMessage;") != std::string::npos);
        QCOMPARE(
            terminal.run({"export", "--all", "--database", file, "--folder", terminal.exports()})
                .code,
            0);
        QVERIFY(!filesIn(terminal.exports()).empty());
    }

    void sameSeedGivesTheSameBytes()
    {
        const Terminal terminal;
        const std::string first = terminal.home() + "/1.db";
        const std::string second = terminal.home() + "/2.db";
        terminal.run({"sample", first, "--messages", "300"});
        terminal.run({"sample", second, "--messages", "300"});
        QVERIFY(contentsOf(first).size() > 100'000);
        QVERIFY(contentsOf(first) == contentsOf(second));
    }

    void existingFileIsLeftAlone()
    {
        const Terminal terminal;
        const std::string file = terminal.home() + "/precious.db";
        std::ofstream(file) << "my only copy";
        const Outcome outcome = terminal.run({"sample", file, "--messages", "10"});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(
            outcome.err, "korvane-sync: " + file + ": The file exists; --force overwrites it.\n");
        QCOMPARE(contentsOf(file), std::string("my only copy"));
    }

    void existingFileIsOverwrittenWhenToldTo()
    {
        const Terminal terminal;
        const std::string file = terminal.home() + "/old.db";
        std::ofstream(file) << "not my only copy";
        QCOMPARE(terminal.run({"sample", file, "--messages", "10", "--force"}).code, 0);
        QVERIFY(contentsOf(file).starts_with("SQLite format 3"));
        QCOMPARE(filesIn(terminal.home()), std::vector<std::string>{"old.db"});
    }

    void filesBesideTheSampleAreLeftAlone()
    {
        const Terminal terminal;
        const std::string file = terminal.home() + "/new.db";
        std::ofstream(file + ".new") << "someone's";
        QCOMPARE(terminal.run({"sample", file, "--messages", "10"}).code, 0);
        QCOMPARE(contentsOf(file + ".new"), std::string("someone's"));
    }

    void overwritingTakesTheOldLogAway()
    {
        const Terminal terminal;
        const std::string file = terminal.home() + "/old.db";
        std::ofstream(file) << "old";
        std::ofstream(file + "-wal") << "the log of the old one";
        QCOMPARE(terminal.run({"sample", file, "--messages", "10", "--force"}).code, 0);
        QCOMPARE(terminal.run({"chats", "--database", file}).code, 0);
        QCOMPARE(filesIn(terminal.home()), std::vector<std::string>{"old.db"});
    }

    void folderIsNotOverwritten()
    {
        const Terminal terminal;
        const Outcome outcome = terminal.run({"sample", terminal.home(), "--force"});
        QCOMPARE(outcome.code, 1);
        QVERIFY(filesIn(terminal.home()).empty());
    }

    void existingContactsAreLeftAloneToo()
    {
        const Terminal terminal;
        const std::string cards = terminal.home() + "/people.vcf";
        std::ofstream(cards) << "my friends";
        const Outcome outcome = terminal.run(
            {"sample", terminal.home() + "/new.db", "--messages", "10", "--contacts", cards});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(contentsOf(cards), std::string("my friends"));
        QCOMPARE(filesIn(terminal.home()), std::vector<std::string>{"people.vcf"});
    }

    void oneFileCannotHoldBothTheSampleAndItsPeople_data()
    {
        QTest::addColumn<QString>("people");
        QTest::addColumn<bool>("force");
        QTest::newRow("the same name") << "/home.db" << false;
        QTest::newRow("the same name, overwritten") << "/home.db" << true;
        QTest::newRow("another name of it") << "/./home.db" << true;
        QTest::newRow("a file that SQLite keeps beside it") << "/home.db-wal" << true;
    }

    void oneFileCannotHoldBothTheSampleAndItsPeople()
    {
        QFETCH(QString, people);
        QFETCH(bool, force);
        const Terminal terminal;
        std::vector<std::string> words{"sample", terminal.home() + "/home.db", "--messages", "10",
            "--contacts", terminal.home() + people.toStdString()};
        if (force)
            words.emplace_back("--force");
        const Outcome outcome = terminal.run(words);
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.find("another file") != std::string::npos, outcome.err.c_str());
        QVERIFY(filesIn(terminal.home()).empty());
    }

    void seedGoesUpToTheLargestNumber()
    {
        const Terminal terminal;
        const Outcome outcome = terminal.run({"sample", terminal.home() + "/s.db", "--messages",
            "10", "--seed", "18446744073709551615"});
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
    }

    void peopleOfTheSampleNameItsChats()
    {
        const Terminal terminal;
        const std::string file = terminal.home() + "/sample.db";
        const std::string cards = terminal.home() + "/sample.vcf";
        terminal.run({"sample", file, "--messages", "500", "--contacts", cards});
        const std::string bare = terminal.run({"chats", "--database", file}).out;
        const std::string named
            = terminal.run({"chats", "--database", file, "--contacts", cards}).out;
        QVERIFY(contentsOf(cards).starts_with("BEGIN:VCARD"));
        QVERIFY(bare != named);
    }

    void folderThatIsNotThereIsAnError()
    {
        const Terminal terminal;
        const Outcome outcome = terminal.run({"sample", terminal.home() + "/no/where.db"});
        QCOMPARE(outcome.code, 1);
        QVERIFY(outcome.err.starts_with("korvane-sync: "));
    }
};

QTEST_GUILESS_MAIN(SampleCommandTest)
#include "SampleCommandTest.moc"
