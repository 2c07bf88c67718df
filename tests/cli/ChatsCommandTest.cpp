#include "Terminal.h"

#include "support/Printing.h"
#include "support/TestDatabase.h"
#include "support/Unprivileged.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QtTest/QTest>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

using namespace korvane;

class ChatsCommandTest : public QObject {
    Q_OBJECT

private slots:
    void tableListsTheNewestChatFirst()
    {
        qputenv("TZ", "UTC");
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const Outcome outcome = terminal.run({"chats", "--database", database.path()});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.out,
            std::string("TITLE            MESSAGES  LAST DATE         KIND    GUID\n"
                        "日本の友だち 🎉         1  2023-03-08 20:39  group   G2\n"
                        "+15550100               2  2023-03-08 20:38  person  G1\n"));
    }

    void jsonHasTheKeysOfAChat()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const Outcome outcome = terminal.run({"chats", "--json", "--database", database.path()});
        QCOMPARE(outcome.code, 0);
        const QJsonArray chats = outcome.json().array();
        QCOMPARE(chats.size(), 2);
        const QJsonObject person = chats[1].toObject();
        QCOMPARE(person.keys(),
            (QStringList{QStringLiteral("displayName"), QStringLiteral("guid"),
                QStringLiteral("id"), QStringLiteral("identifier"), QStringLiteral("isGroup"),
                QStringLiteral("lastDate"), QStringLiteral("members"),
                QStringLiteral("messageCount"), QStringLiteral("title")}));
        QCOMPARE(person[u"id"].toInt(), 1);
        QCOMPARE(person[u"guid"].toString(), QStringLiteral("G1"));
        QCOMPARE(person[u"title"].toString(), QStringLiteral("+15550100"));
        QCOMPARE(person[u"displayName"].toString(), QString());
        QCOMPARE(person[u"identifier"].toString(), QStringLiteral("+15550100"));
        QCOMPARE(person[u"isGroup"].toBool(), false);
        QCOMPARE(person[u"lastDate"].toString(), QStringLiteral("2023-03-08T20:38:50.000Z"));
        QCOMPARE(person[u"messageCount"].toInt(), 2);
        QCOMPARE(person[u"members"].toArray(), QJsonArray{QStringLiteral("+15550100")});
        QCOMPARE(chats[0].toObject()[u"isGroup"].toBool(), true);
    }

    void contactsNameTheChats()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const std::string cards = terminal.home() + "/my contacts é.vcf";
        std::ofstream(cards) << "BEGIN:VCARD\nVERSION:3.0\nN:Lee;Ann;;;\nTEL:555-0100\nEND:VCARD\n";
        const Outcome outcome
            = terminal.run({"chats", "--database", database.path(), "--contacts", cards});
        QVERIFY2(outcome.out.find("Ann Lee") == std::string::npos, "seven digits are not ten");
        std::ofstream(cards)
            << "BEGIN:VCARD\nVERSION:3.0\nN:Lee;Ann;;;\nTEL:+1 55501 00\nEND:VCARD\n";
        QVERIFY(terminal.run({"chats", "--database", database.path(), "--contacts", cards})
                    .out.find("Ann Lee")
            != std::string::npos);
    }

    void contactsOfTheHomeFolderAreFoundByThemselves()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const std::string folder = terminal.home() + "/.contacts/book";
        std::filesystem::create_directories(folder);
        std::ofstream(folder + "/1.vcf")
            << "BEGIN:VCARD\nVERSION:3.0\nN:Lee;Ann;;;\nTEL:+15550100\nEND:VCARD\n";
        const Outcome outcome = terminal.run({"chats", "--database", database.path()});
        QVERIFY(outcome.out.find("Ann Lee") != std::string::npos);
    }

    void titlesCannotSendCommandsToTheTerminal()
    {
        const Terminal terminal;
        TestDatabase database;
        database.addChat(1, "G1", "evil\x1B]0;title\x07\x1B[2J\nname");
        database.addMessage(1, "hello");
        const Outcome outcome = terminal.run({"chats", "--database", database.path()});
        QCOMPARE(outcome.out.find('\x1B'), std::string::npos);
        QCOMPARE(outcome.out.find('\x07'), std::string::npos);
        QCOMPARE(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 2);
    }

    void databaseThatCannotBeReadIsNamed_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("says");
        QTest::addColumn<QString>("reason");
        const QString cannotOpen = QStringLiteral("Can't open the Messages database.");
        const QString locked
            = QStringLiteral("Messages database is locked by macOS privacy settings.");
        QTest::newRow("not there") << "/nowhere.db" << cannotOpen << "No such file or directory";
        QTest::newRow("a folder") << "" << cannotOpen << "This is a folder";
        QTest::newRow("a named pipe") << "/pipe" << cannotOpen << "This is a named pipe";
        QTest::newRow("a text file") << "/a letter.txt" << locked << "file is not a database";
        QTest::newRow("an empty file") << "/empty.db" << locked << "The file is empty";
        QTest::newRow("a database cut short") << "/short.db" << locked << "malformed";
        QTest::newRow("a database of something else")
            << "/other.db" << locked << "no such table: message";
    }

    void databaseThatCannotBeReadIsNamed()
    {
        QFETCH(QString, file);
        QFETCH(QString, says);
        QFETCH(QString, reason);
        const Terminal terminal;
        putUnreadableFilesInto(terminal.home());
        const std::string path = terminal.home() + file.toStdString();
        const Outcome outcome = terminal.run({"chats", "--database", path});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.out, std::string());
        const QStringList lines = QString::fromStdString(outcome.err).split(u'\n');
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines[0],
            QStringLiteral("korvane-sync: %1: %2").arg(QString::fromStdString(path), says));
        QVERIFY2(lines[1].startsWith(u"korvane-sync: "), outcome.err.c_str());
        QVERIFY2(lines[1].contains(reason), outcome.err.c_str());
    }

    void lockOfAnotherProgramIsNamed()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        database.sql().execute("BEGIN EXCLUSIVE");
        const Outcome outcome = terminal.run({"chats", "--database", database.path()});
        QVERIFY2(outcome.err.find("SQLite says: database is locked.") != std::string::npos,
            outcome.err.c_str());
        QVERIFY2(outcome.err.find("nother program") != std::string::npos, outcome.err.c_str());
    }

    void copyInAFolderThatCannotBeWrittenIsExplained()
    {
        const Terminal terminal;
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        TestDatabase database;
        database.sql().execute("PRAGMA journal_mode = WAL");
        fill(database);
        const QTemporaryDir folder;
        const std::string copy = folder.path().toStdString() + "/copy.db";
        std::filesystem::copy_file(database.path(), copy);
        std::filesystem::copy_file(database.path() + "-wal", copy + "-wal");
        using std::filesystem::perms;
        std::filesystem::permissions(
            folder.path().toStdString(), perms::owner_read | perms::owner_exec);
        const Outcome outcome = terminal.run({"chats", "--database", copy});
        std::filesystem::permissions(folder.path().toStdString(), perms::owner_all);
        QVERIFY2(outcome.err.find("SQLite says: unable to open database file") != std::string::npos,
            outcome.err.c_str());
        QVERIFY2(
            outcome.err.find("Copy copy.db, copy.db-wal and copy.db-shm together into a folder")
                != std::string::npos,
            outcome.err.c_str());
    }

    void failureAfterTheFirstReadIsExplainedToo()
    {
        const Terminal terminal;
        TestDatabase database;
        database.sql().execute("DROP TABLE chat");
        const Outcome outcome = terminal.run({"chats", "--database", database.path()});
        QCOMPARE(outcome.err,
            "korvane-sync: " + database.path()
                + ": no such table: chat\n"
                  "korvane-sync: SQLite says: no such table: chat. This is a database, but not one "
                  "of Messages.\n");
    }

    void damagedPageIsExplained()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        overwriteTable(database, "chat");
        const Outcome outcome = terminal.run({"chats", "--database", database.path()});
        QCOMPARE(outcome.code, 1);
        const std::string name = std::filesystem::path(database.path()).filename().string();
        QCOMPARE(outcome.err,
            "korvane-sync: " + database.path()
                + ": database disk image is malformed\n"
                  "korvane-sync: SQLite says: database disk image is malformed. The file is "
                  "damaged or not complete: copy "
                + name + ", " + name + "-wal and " + name
                + "-shm together again while Messages is closed.\n");
    }

    void contactsThatAreNotThereAreAnError()
    {
        const Terminal terminal;
        TestDatabase database;
        const Outcome outcome
            = terminal.run({"chats", "--database", database.path(), "--contacts", "/nowhere"});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, std::string("korvane-sync: /nowhere: There are no contacts here.\n"));
    }

    void contactsThatCannotBeReadAreAnError_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("an empty file") << QStringLiteral("empty.vcf");
        QTest::newRow("a file that is no vCard") << QStringLiteral("letter.vcf");
        QTest::newRow("a vCard without a contact") << QStringLiteral("list.vcf");
        QTest::newRow("an empty folder") << QStringLiteral("folder");
        QTest::newRow("a folder of other files") << QStringLiteral("others");
        QTest::newRow("a device") << QStringLiteral("null");
        QTest::newRow("a pipe that nobody writes") << QStringLiteral("pipe");
        QTest::newRow("a file without permission") << QStringLiteral("closed.vcf");
        QTest::newRow("a folder without permission") << QStringLiteral("closed");
    }

    void contactsThatCannotBeReadAreAnError()
    {
        QFETCH(QString, name);
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const std::filesystem::path home = terminal.home();
        std::ofstream(home / "empty.vcf").flush();
        std::ofstream(home / "letter.vcf") << "Dear Jane,\nTEL:1 is my number.\n";
        std::ofstream(home / "list.vcf") << "BEGIN:VCARD\nVERSION:3.0\nKIND:group\nEND:VCARD\n";
        std::filesystem::create_directories(home / "folder");
        std::filesystem::create_directories(home / "others");
        std::ofstream(home / "others/a.txt") << card;
        std::filesystem::create_symlink("/dev/null", home / "null");
        QCOMPARE(::mkfifo((home / "pipe").c_str(), 0600), 0);
        std::ofstream(home / "closed.vcf") << card;
        std::filesystem::create_directories(home / "closed");
        std::ofstream(home / "closed/a.vcf") << card;
        const std::string path = home / name.toStdString();
        for (const auto& each : {home / "closed.vcf", home / "closed"})
            std::filesystem::permissions(each, std::filesystem::perms::none);
        for (const std::filesystem::path& each : {home, std::filesystem::path(database.folder())})
            std::filesystem::permissions(each, std::filesystem::perms(0755));
        Outcome outcome;
        {
            const Unprivileged user;
            if (!user.works())
                QSKIP("needs a user whom permissions stop");
            outcome = terminal.run({"chats", "--database", database.path(), "--contacts", path});
        }
        std::filesystem::permissions(home / "closed", std::filesystem::perms(0755));
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.out, std::string());
        QCOMPARE(outcome.err, "korvane-sync: " + path + ": There are no contacts here.\n");
    }

    void oneReadableCardAmongOthersIsEnough()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const std::filesystem::path book = terminal.home() + "/book";
        std::filesystem::create_directories(book);
        std::ofstream(book / "a.vcf") << "no card";
        std::ofstream(book / "b.vcf") << card;
        const Outcome outcome
            = terminal.run({"chats", "--database", database.path(), "--contacts", book.native()});
        QCOMPARE(outcome.code, 0);
        QVERIFY2(outcome.out.find("Ann Lee") != std::string::npos, outcome.out.c_str());
    }

private:
    /// Overwrites the first page of a table.
    static void overwriteTable(TestDatabase& database, const std::string& table)
    {
        const auto numberOf = [&database](const std::string& sql) {
            Sqlite::Statement row(database.sql(), sql);
            row.step();
            return row.integer(0);
        };
        const std::int64_t size = numberOf("PRAGMA page_size");
        const std::int64_t page
            = numberOf("SELECT rootpage FROM sqlite_master WHERE name = '" + table + "'");
        std::fstream file(database.path(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp((page - 1) * size);
        file << std::string(static_cast<std::size_t>(size), '\xFF');
    }

    static constexpr const char* card
        = "BEGIN:VCARD\nVERSION:3.0\nN:Lee;Ann\nTEL:+15550100\nEND:VCARD\n";
    static void putUnreadableFilesInto(const std::string& folder)
    {
        std::ofstream(folder + "/a letter.txt") << std::string(5000, 'x');
        std::ofstream(folder + "/empty.db") << "";
        QCOMPARE(::mkfifo((folder + "/pipe").c_str(), 0600), 0);
        TestDatabase database;
        std::filesystem::copy_file(database.path(), folder + "/short.db");
        std::filesystem::resize_file(folder + "/short.db", 8192);
        database.sql().execute("DROP TABLE message");
        std::filesystem::copy_file(database.path(), folder + "/other.db");
    }

    static void fill(TestDatabase& database)
    {
        database.addHandle(1, "+15550100");
        database.addChat(1, "G1", "", "+15550100");
        database.addMember(1, 1);
        database.addChat(2, "G2", "日本の友だち 🎉", "chat2", 43);
        database.addMessage(1, {.date = 700'000'000});
        database.addMessage(1, {.date = 700'000'730});
        database.addMessage(2, {.date = 700'000'790});
    }
};

QTEST_GUILESS_MAIN(ChatsCommandTest)
#include "ChatsCommandTest.moc"
