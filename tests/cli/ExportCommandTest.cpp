#include "Terminal.h"

#include "storage/SupportLock.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QtTest/QTest>

#include <algorithm>
#include <filesystem>
#include <fstream>

using namespace korvane;

class ExportCommandTest : public QObject {
    Q_OBJECT

private slots:
    void allChatsGetAFile()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const Outcome outcome = exportAll(terminal, database);
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.out, "Added 3 messages to 2 chats in " + terminal.exports() + "\n");
        QCOMPARE(filesIn(terminal.exports()).size(), std::size_t{2});
        QVERIFY(std::filesystem::exists(terminal.support() + "/state.json"));
    }

    void secondRunAddsOnlyWhatIsNew()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        exportAll(terminal, database);
        QCOMPARE(exportAll(terminal, database).out, std::string("Nothing new.\n"));
        database.addMessage(1, "one more");
        QCOMPARE(exportAll(terminal, database).out,
            "Added 1 message to 1 chat in " + terminal.exports() + "\n");
    }

    void jsonIsOneObjectARun()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const Outcome outcome = exportAll(terminal, database, {"--json"});
        QCOMPARE(outcome.out,
            std::string(R"({"added":3,"chatsTouched":2,"errors":[]})"
                        "\n"));
    }

    void keptFilesAreToldInALineEach()
    {
        const Terminal terminal;
        TestDatabase database;
        fillAndLose(terminal, database);
        const Outcome outcome = exportAll(terminal, database);
        const std::string kept = terminal.exports() + "/Kept";
        const std::vector<std::string> names = filesIn(kept);
        QCOMPARE(names.size(), std::size_t{2});
        QCOMPARE(outcome.out,
            "Added 2 messages to 2 chats in " + terminal.exports()
                + "\nKept 1,124 messages of Crew\uFFFD[31m that Messages no longer has: Kept/"
                + names[0] + "\nKept 1 message of Family that Messages no longer has: Kept/"
                + names[1] + "\n");
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QCOMPARE(exportAll(terminal, database).out, std::string("Nothing new.\n"));
    }

    void keptFilesHaveAKeyInJson()
    {
        const Terminal terminal;
        TestDatabase database;
        fillAndLose(terminal, database);
        const QJsonObject result = exportAll(terminal, database, {"--json"}).json().object();
        const QJsonArray kept = result[QStringLiteral("kept")].toArray();
        QCOMPARE(kept.size(), 2);
        QJsonObject crew;
        for (const QJsonValue& file : kept) {
            if (file[QStringLiteral("messages")].toInt() == 1124)
                crew = file.toObject();
        }
        QCOMPARE(crew[QStringLiteral("title")].toString(), QStringLiteral("Crew\u001b[31m"));
        const QString file = crew[QStringLiteral("file")].toString();
        QVERIFY(std::filesystem::exists(terminal.exports() + '/' + file.toStdString()));
        QCOMPARE(crew.keys().size(), 3);
        const Outcome next = exportAll(terminal, database, {"--json"});
        QVERIFY(!next.json().object().contains(QStringLiteral("kept")));
    }

    void onlyTheChosenChatsAreExported()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const Outcome outcome = terminal.run({"export", "--chat", "G2", "--database",
            database.path(), "--folder", terminal.exports()});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(filesIn(terminal.exports()),
            std::vector<std::string>{"Family (2) Korvane Wrapped.jsonl.txt"});
    }

    void severalChatsCanBeChosen_data()
    {
        QTest::addColumn<bool>("repeated");
        QTest::newRow("after one --chat") << false;
        QTest::newRow("each after its own --chat") << true;
    }

    void severalChatsCanBeChosen()
    {
        QFETCH(bool, repeated);
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        std::vector<std::string> words{"export", "--database", database.path(), "--folder",
            terminal.exports(), "--chat", "G2"};
        if (repeated)
            words.emplace_back("--chat");
        words.emplace_back("G1");
        QCOMPARE(terminal.run(words).code, 0);
        QCOMPARE(filesIn(terminal.exports()).size(), std::size_t{2});
    }

    void chatThatIsNotThereIsAnErrorAndTheOthersAreExported()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const Outcome outcome = terminal.run({"export", "--chat", "G1", "nobody", "--database",
            database.path(), "--folder", terminal.exports()});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(
            outcome.err, std::string("korvane-sync: There is no chat with the guid nobody.\n"));
        QCOMPARE(filesIn(terminal.exports()).size(), std::size_t{1});
    }

    void chatThatCannotBeWrittenIsAnErrorAndTheOthersAreExported()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const std::string inTheWay = terminal.exports() + "/Family (2) Korvane Wrapped.jsonl.txt";
        std::filesystem::create_directories(inTheWay + "/full");
        const Outcome outcome = exportAll(terminal, database, {"--json"});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, std::string("korvane-sync: Family: Is a directory\n"));
        QCOMPARE(outcome.json().object()[u"added"].toInt(), 2);
        QCOMPARE(outcome.json().object()[u"errors"].toArray(),
            QJsonArray{QStringLiteral("Family: Is a directory")});
    }

    void folderThatCannotBeMadeIsAnError()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        std::ofstream(terminal.exports()) << "a file in the way";
        const Outcome outcome = exportAll(terminal, database);
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with("korvane-sync: Can't create output folder: "),
            outcome.err.c_str());
    }

    void databaseThatCannotBeReadIsAnErrorAndNothingIsWritten()
    {
        const Terminal terminal;
        const Outcome outcome = terminal.run(
            {"export", "--all", "--database", "/nowhere.db", "--folder", terminal.exports()});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with(
                     "korvane-sync: /nowhere.db: Can't open the Messages database.\n"),
            outcome.err.c_str());
        QVERIFY(!std::filesystem::exists(terminal.exports()));
        QVERIFY(!std::filesystem::exists(terminal.support() + "/state.json"));
    }

    void runThatCannotBeginIsAnObjectToo()
    {
        const Terminal terminal;
        const Outcome outcome = terminal.run({"export", "--all", "--json", "--database",
            "/nowhere.db", "--folder", terminal.exports()});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.json().object()[u"added"].toInt(-1), 0);
        QCOMPARE(outcome.json().object()[u"chatsTouched"].toInt(-1), 0);
        QCOMPARE(outcome.json().object()[u"errors"].toArray(),
            QJsonArray{QStringLiteral("/nowhere.db: Can't open the Messages database.")});
        QCOMPARE(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 2);
        QVERIFY2(outcome.err.find("No such file") != std::string::npos, outcome.err.c_str());
    }

    void errorsCannotSendCommandsToTheTerminal()
    {
        const Terminal terminal;
        TestDatabase database;
        database.addChat(1, "G1", "red\x1B[31m\nkorvane-sync: all is well");
        database.addMessage(1, "hello");
        std::filesystem::create_directories(terminal.exports()
            + "/red_[31m_korvane-sync_ all is well (1) Korvane Wrapped.jsonl.txt/full");
        const Outcome outcome = exportAll(terminal, database);
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.out, std::string("Nothing added.\n"));
        QCOMPARE(outcome.err.find('\x1B'), std::string::npos);
        QCOMPARE(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1);
    }

    void guidThatIsNotUtf8IsRepairedInTheError()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const Outcome outcome = terminal.run({"export", "--chat", "\xFF", "--json", "--database",
            database.path(), "--folder", terminal.exports()});
        QCOMPARE(outcome.json().object()[u"errors"].toArray(),
            QJsonArray{QStringLiteral("There is no chat with the guid \uFFFD.")});
    }

    void jsonIsUtf8WhateverAPathIsMadeOf_data()
    {
        QTest::addColumn<bool>("database");
        QTest::newRow("the database") << true;
        QTest::newRow("the contacts") << false;
    }

    void jsonIsUtf8WhateverAPathIsMadeOf()
    {
        QFETCH(bool, database);
        const Terminal terminal;
        TestDatabase real;
        fill(real);
        const std::string odd = terminal.home() + "/\xFF\xC3.missing";
        const Outcome outcome = terminal.run(
            {"export", "--all", "--json", "--folder", terminal.exports(), "--database",
                database ? odd : real.path(), "--contacts", database ? terminal.home() : odd});
        QCOMPARE(outcome.code, 1);
        QVERIFY(QString::fromUtf8(outcome.out.c_str()).toUtf8() == outcome.out.c_str());
        const QJsonArray errors = outcome.json().object()[u"errors"].toArray();
        QCOMPARE(errors.size(), 1);
        QVERIFY(errors[0].toString().startsWith(
            QString::fromStdString(terminal.home()) + QStringLiteral("/\uFFFD\uFFFD.missing: ")));
    }

    void contactsWithoutACardChangeNoFile()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const std::string book = terminal.home() + "/book.vcf";
        std::ofstream(book) << "BEGIN:VCARD\nVERSION:3.0\nN:Lee;Ann\nTEL:+15550100\nEND:VCARD\n";
        QCOMPARE(exportAll(terminal, database, {"--contacts", book}).code, 0);
        const auto files = filesIn(terminal.exports());
        QVERIFY(files[0].starts_with("Ann Lee"));
        const std::string records = contentsOf(terminal.exports() + '/' + files[0]);

        const std::string closed = terminal.home() + "/closed";
        std::filesystem::create_directories(closed);
        std::filesystem::permissions(closed, std::filesystem::perms::none);
        const Outcome outcome = exportAll(terminal, database, {"--contacts", closed});
        std::filesystem::permissions(closed, std::filesystem::perms::owner_all);
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, "korvane-sync: " + closed + ": There are no contacts here.\n");
        QCOMPARE(filesIn(terminal.exports()), files);
        QCOMPARE(contentsOf(terminal.exports() + '/' + files[0]), records);
    }

    void pathsWithBlanksAndForeignLettersWork()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const std::string odd = terminal.home() + "/Ünï cödé 日本 's";
        std::filesystem::create_directories(odd);
        std::filesystem::copy_file(database.path(), odd + "/chat copy.db");
        const Outcome outcome = terminal.run(
            {"export", "--all", "--database", odd + "/chat copy.db", "--folder", odd + "/out put"},
            "", SupportFolder(odd + "/support"));
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QCOMPARE(filesIn(odd + "/out put").size(), std::size_t{2});
        QVERIFY(std::filesystem::exists(odd + "/support/state.json"));
    }

    void withoutAFolderTheDefaultOneIsUsed()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        QCOMPARE(terminal.run({"export", "--all", "--database", database.path()}).code, 0);
        QCOMPARE(filesIn(terminal.home() + "/Documents/Quorvish").size(), std::size_t{2});
    }

    void runningExportKeepsASecondOneOut()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const SupportLock first(SupportFolder(terminal.support()));
        const Outcome outcome = exportAll(terminal, database);
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with("korvane-sync: Another export is running (Export"),
            outcome.err.c_str());
        QVERIFY(outcome.err.find("process " + std::to_string(QCoreApplication::applicationPid()))
            != std::string::npos);
        QVERIFY(!std::filesystem::exists(terminal.exports()));
    }

    void lockIsFreeAgainAfterARun()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        exportAll(terminal, database);
        const SupportLock free(SupportFolder(terminal.support()));
        QCOMPARE(
            filesIn(terminal.support()), (std::vector<std::string>{"export.lock", "state.json"}));
    }

    void supportFolderThatCannotBeMadeIsAnError()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        std::ofstream(terminal.support()) << "a file in the way";
        const Outcome outcome = exportAll(terminal, database);
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err,
            "korvane-sync: Can't write to the support folder " + terminal.support() + ".\n");
    }

private:
    static void fill(TestDatabase& database)
    {
        database.addHandle(1, "+15550100");
        database.addChat(1, "G1", "", "+15550100");
        database.addMember(1, 1);
        database.addChat(2, "G2", "Family", "chat2", 43);
        database.addMessage(1, "first");
        database.addMessage(1, "second");
        database.addMessage(2, "third");
    }

    /// Exports two chats. Then Messages loses nearly all of them, and they get new titles.
    static void fillAndLose(const Terminal& terminal, TestDatabase& database)
    {
        constexpr int lost = 1124;
        database.addChat(1, "G1", "Crew\u001b[31m", "chat1", 43);
        database.addChat(2, "G2", "Family", "chat2", 43);
        database.sql().execute("BEGIN");
        for (int i = 0; i <= lost; ++i)
            database.addMessage(1, "hello");
        database.addMessage(2, "first");
        database.addMessage(2, "second");
        database.sql().execute("COMMIT");
        exportAll(terminal, database);
        database.sql().execute("DELETE FROM chat_message_join WHERE message_id <= 1124;"
                               "DELETE FROM chat_message_join WHERE message_id = 1126;"
                               "UPDATE chat SET display_name = 'New ' || ROWID");
    }

    static Outcome exportAll(const Terminal& terminal, const TestDatabase& database,
        const std::vector<std::string>& more = {})
    {
        std::vector<std::string> words{
            "export", "--all", "--database", database.path(), "--folder", terminal.exports()};
        words.insert(words.end(), more.begin(), more.end());
        return terminal.run(words);
    }
};

QTEST_GUILESS_MAIN(ExportCommandTest)
#include "ExportCommandTest.moc"
