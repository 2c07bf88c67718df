#include "Terminal.h"

#include "backup/PrivateFolder.h"
#include "backup/TestBackup.h"
#include "storage/Files.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QtTest/QTest>

#include <csignal>
#include <filesystem>

using namespace korvane;
namespace fs = std::filesystem;

/// Commands that read a phone's backup.
class BackupCommandTest : public QObject {
    Q_OBJECT

    using Words = std::vector<std::string>;

    static constexpr const char* password = "geheim";

    /// Other tests run the program at the same time, and each start removes what a killed process
    /// left. Keep the private folders of this test in a place that the others do not know.
    const QTemporaryDir m_runtime{QStringLiteral("/dev/shm/runtime.XXXXXX")};

    /// The private folders that a process has now or has left behind; -1 counts those of all.
    static int privateFolders(qint64 process = -1)
    {
        int count = 0;
        const std::string mark = "korvane-sync-backup."
            + (process < 0 ? std::string() : std::to_string(process) + '.');
        for (const fs::path& place : PrivateFolder::places()) {
            std::error_code ignored;
            for (const auto& entry : fs::directory_iterator(place, ignored))
                count += entry.path().filename().string().starts_with(mark) ? 1 : 0;
        }
        return count;
    }

    static QStringList encrypted()
    {
        return {QStringLiteral("--password"), QString::fromUtf8(password)};
    }

    static std::string passwordFile(const Terminal& terminal, const std::string& text = "geheim\n")
    {
        const std::string file = terminal.home() + "/password";
        Files::writeAtomically(file, text);
        return file;
    }

    static void fill(TestDatabase& database, int messages = 3)
    {
        database.addHandle(1, "+15550100");
        database.addChat(1, "G1", "", "+15550100");
        database.addMember(1, 1);
        for (int i = 0; i < messages; ++i)
            database.addMessage(1, "hello");
    }

    static Words joined(Words words, const Words& more)
    {
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    static std::string backupIn(const Terminal& terminal, const TestDatabase& database,
        const QStringList& options = {}, const char* name = "backup")
    {
        return makeBackup(terminal.home() + '/' + name, database.path(), options);
    }

    static QStringList words(const Words& words)
    {
        QStringList list;
        for (const std::string& word : words)
            list.append(QString::fromStdString(word));
        return list;
    }

private slots:
    void initTestCase()
    {
        if (m_runtime.isValid()) // not on macOS
            qputenv("XDG_RUNTIME_DIR", m_runtime.path().toUtf8());
    }

    void exportOfABackupIsThatOfTheDatabase_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("not encrypted") << QStringList();
        QTest::newRow("not encrypted, flat")
            << QStringList{QStringLiteral("--layout"), QStringLiteral("flat")};
        QTest::newRow("encrypted") << encrypted();
        QTest::newRow("encrypted, several classes, flat") << encrypted()
                + QStringList{QStringLiteral("--layout"), QStringLiteral("flat"),
                    QStringLiteral("--classes"),
                    QStringLiteral("manifest=4,messages=2,log=6,contacts=1")};
    }

    void exportOfABackupIsThatOfTheDatabase()
    {
        QFETCH(const QStringList, options);
        const Terminal terminal;
        const std::string database = terminal.home() + "/sample.db";
        const std::string cards = terminal.home() + "/people.vcf";
        QCOMPARE(terminal.run({"sample", database, "--contacts", cards}).code, 0);
        const std::string backup = makeBackup(terminal.home() + "/backup", database,
            options + QStringList{QStringLiteral("--address-book"), QString::fromStdString(cards)});
        const auto before = pictureOf(backup);
        const std::string ofDatabase = terminal.home() + "/of database";
        QCOMPARE(terminal
                     .run({"export", "--all", "--database", database, "--contacts", cards,
                              "--folder", ofDatabase},
                         "", SupportFolder(terminal.home() + "/other support"))
                     .code,
            0);
        const Words ofBackup{"--backup", backup, "--password-file", passwordFile(terminal)};
        const Outcome outcome
            = terminal.run(joined({"export", "--all", "--folder", terminal.exports()}, ofBackup));
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);

        const std::vector<std::string> files = filesIn(ofDatabase);
        QVERIFY(files.size() > 20);
        QCOMPARE(filesIn(terminal.exports()), files); // named after the same people
        for (const std::string& file : files)
            QCOMPARE(
                contentsOf(terminal.exports() + '/' + file), contentsOf(ofDatabase + '/' + file));
        QCOMPARE(terminal.run(joined({"check", "--folder", terminal.exports()}, ofBackup)).code, 0);
        QCOMPARE(terminal.run(joined({"chats", "--json"}, ofBackup)).out,
            terminal.run({"chats", "--json", "--database", database, "--contacts", cards}).out);
        QVERIFY(pictureOf(backup) == before);
    }

    void messagesInTheLogAreExported()
    {
        const Terminal terminal;
        TestDatabase database;
        database.sql().execute("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0");
        fill(database, 5);
        const std::string backup = backupIn(terminal, database,
            encrypted()
                + QStringList{
                    QStringLiteral("--wal"), QString::fromStdString(database.path() + "-wal")});
        const Outcome outcome = terminal.run({"export", "--all", "--json", "--backup", backup,
            "--password-file", passwordFile(terminal), "--folder", terminal.exports()});
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.json()[u"added"].toInt(), 5);
    }

    void laterBackupContinuesTheFiles()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database, 3);
        const Words command{"export", "--all", "--json", "--folder", terminal.exports()};
        const std::string first = backupIn(terminal, database, encrypted(), "1");
        const Words access{"--password-file", passwordFile(terminal), "--backup"};
        QCOMPARE(
            terminal.run(joined(joined(command, access), {first})).json()[u"added"].toInt(), 3);
        database.addMessage(1, "later");
        const std::string second = backupIn(terminal, database, encrypted(), "2");
        QCOMPARE(
            terminal.run(joined(joined(command, access), {second})).json()[u"added"].toInt(), 1);
        QCOMPARE(
            terminal.run(joined(joined(command, access), {second})).json()[u"added"].toInt(), 0);
    }

    void backupOfAPhoneDoesNotMixWithTheMessagesOfAMac()
    {
        const Terminal terminal;
        TestDatabase mac;
        fill(mac, 6);
        QCOMPARE(
            terminal
                .run({"export", "--all", "--database", mac.path(), "--folder", terminal.exports()})
                .code,
            0);
        TestDatabase phone;
        phone.addHandle(1, "+15550100");
        phone.addChat(1, "G1", "", "+15550100");
        phone.addMember(1, 1);
        for (int i = 0; i < 6; ++i)
            phone.addMessage(1, {.text = "on the phone", .date = 750'000'000 + 60 * i});
        const Outcome outcome = terminal.run({"export", "--all", "--backup",
            backupIn(terminal, phone), "--folder", terminal.exports()});
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.find("give it a KORVANE_SYNC_HOME and a --folder of its own")
                != std::string::npos,
            outcome.err.c_str());
        const Outcome check = terminal.run({"check", "--repair", "--backup",
            terminal.home() + "/backup", "--folder", terminal.exports()});
        QVERIFY2(check.err.find("from a different database than " + terminal.home() + "/backup:")
                != std::string::npos,
            check.err.c_str());
    }

    void newestOfSeveralBackupsIsUsedAndNamed()
    {
        const Terminal terminal;
        TestDatabase old;
        fill(old, 1);
        TestDatabase recent;
        fill(recent, 4);
        const std::string folder = terminal.home() + "/phones";
        fs::create_directory(folder);
        const auto date = [](const char* text) {
            return QStringList{QStringLiteral("--date"), QString::fromUtf8(text)};
        };
        makeBackup(folder + "/a", old.path(), date("2026-10-01T08:00:00"));
        makeBackup(folder + "/b", recent.path(), date("2026-10-05T08:00:00"));
        makeBackup(folder + "/c", old.path(),
            date("2026-10-09T08:00:00") + QStringList{QStringLiteral("--unfinished")});
        makeBackup(folder + "/d", old.path(),
            date("2026-10-10T08:00:00")
                + QStringList{QStringLiteral("--damage"), QStringLiteral("no-manifest")});
        const Outcome outcome = terminal.run({"chats", "--json", "--backup", folder});
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.json()[0][u"messageCount"].toInt(), 4);
        QCOMPARE(outcome.err,
            "korvane-sync: Of 4 backups, this is the newest that is finished: " + folder
                + "/b (Ann’s iPhone)\n");
    }

    void onlyBackupInAFolderIsUsed()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        fs::create_directory(terminal.home() + "/phones");
        makeBackup(terminal.home() + "/phones/a", database.path());
        const Outcome outcome
            = terminal.run({"chats", "--json", "--backup", terminal.home() + "/phones"});
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.json().array().size(), 1);
    }

    void folderWithoutABackupIsAnError()
    {
        const Terminal terminal;
        const Outcome outcome = terminal.run({"chats", "--backup", terminal.home()});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err,
            "korvane-sync: " + terminal.home()
                + ": There is no backup of a phone in this folder. \"korvane-sync backups DIR\" "
                  "lists those in a folder.\n");
    }

    void optionsThatContradictEachOtherAreRefused_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<std::string>("complaint");
        const auto row = [](const char* options, const char* complaint) {
            QTest::newRow(options)
                << QString::fromUtf8(options).split(u' ') << std::string(complaint);
        };
        row("chats --backup a --database b", "--backup excludes --database");
        row("check --backup a --database b", "--backup excludes --database");
        row("transfer --chat G --backup a --database b", "--backup excludes --database");
        row("export --all --backup a --database b", "--backup excludes --database");
        row("export --all --backup a --every 60", "--every excludes --backup");
        row("chats --password-file a", "--password-file requires --backup");
        row("chats --password-fd 3", "--password-fd requires --backup");
        row("chats --backup a --password-file b --password-fd 3",
            "--password-fd excludes --password-file");
    }

    void optionsThatContradictEachOtherAreRefused()
    {
        QFETCH(const QStringList, options);
        QFETCH(const std::string, complaint);
        Words words;
        for (const QString& option : options)
            words.push_back(option.toStdString());
        const Terminal terminal;
        const Outcome outcome = terminal.run(words);
        QCOMPARE(outcome.code, 2);
        const std::string other // CLI11 may name them the other way round
            = complaint.find(" excludes ") == std::string::npos
            ? complaint
            : complaint.substr(complaint.rfind(' ') + 1) + " excludes "
                + complaint.substr(0, complaint.find(' '));
        QVERIFY2(outcome.err == "korvane-sync: " + complaint + " (see korvane-sync --help)\n"
                || outcome.err == "korvane-sync: " + other + " (see korvane-sync --help)\n",
            outcome.err.c_str());
    }

    void wrongPasswordChangesNothing_data() { addCommands(); }
    void wrongPasswordChangesNothing()
    {
        QFETCH(const QStringList, command);
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const std::string backup = backupIn(terminal, database, encrypted());
        const auto before = pictureOf(backup);
        Words words;
        for (const QString& word : command)
            words.push_back(word.toStdString());
        const Outcome outcome = terminal.run(joined(
            words, {"--backup", backup, "--password-file", passwordFile(terminal, "wrong\n")}));
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err,
            "korvane-sync: " + backup
                + ": The password of the backup is wrong. Nothing was changed.\n");
        QVERIFY(!fs::exists(terminal.home() + "/Documents"));
        QVERIFY(pictureOf(backup) == before);
    }

    void failureToOpenABackupIsPartOfTheJson_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::newRow("export") << QStringList{QStringLiteral("export"), QStringLiteral("--all")};
        QTest::newRow("check") << QStringList{QStringLiteral("check")};
    }

    void failureToOpenABackupIsPartOfTheJson()
    {
        QFETCH(const QStringList, command);
        const Terminal terminal;
        Words words;
        for (const QString& word : command)
            words.push_back(word.toStdString());
        const Outcome outcome
            = terminal.run(joined(words, {"--json", "--backup", terminal.home()}));
        QCOMPARE(outcome.code, 1);
        const QJsonArray errors = outcome.json()[u"errors"].toArray();
        QCOMPARE(errors.size(), 1);
        QVERIFY(errors[0].toString().contains(u"There is no backup of a phone in this folder."));
    }

    void passwordIsTheFirstLineOfAFile_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::newRow("a line") << std::string("geheim\n");
        QTest::newRow("without its end") << std::string("geheim");
        QTest::newRow("as Windows ends it") << std::string("geheim\r\n");
        QTest::newRow("and more lines") << std::string("geheim\nuser: ann\n");
    }

    void passwordIsTheFirstLineOfAFile()
    {
        QFETCH(const std::string, text);
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const Outcome outcome
            = terminal.run({"chats", "--backup", backupIn(terminal, database, encrypted()),
                "--password-file", passwordFile(terminal, text)});
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
    }

    void passwordThatCannotBeReadIsAnError_data()
    {
        QTest::addColumn<QStringList>("access");
        QTest::addColumn<std::string>("complaint");
        QTest::newRow("no file") << QStringList{QStringLiteral("--password-file"),
            QStringLiteral("/absent")}
                                 << std::string(
                                        "/absent: The password cannot be read (No such file or "
                                        "directory).");
        QTest::newRow("a folder") << QStringList{QStringLiteral("--password-file"),
            QStringLiteral("/")} << std::string("/: The password cannot be read (Is a directory).");
        QTest::newRow("an empty file")
            << QStringList{QStringLiteral("--password-file"), QStringLiteral("/dev/null")}
            << std::string("/dev/null: There is no password here.");
        QTest::newRow("an endless line") << QStringList{QStringLiteral("--password-file"),
            QStringLiteral("/dev/zero")} << std::string("The password is too long.");
        QTest::newRow("no descriptor")
            << QStringList{QStringLiteral("--password-fd"), QStringLiteral("99")}
            << std::string("Descriptor 99: The password cannot be read (Bad "
                           "file descriptor).");
    }

    void passwordThatCannotBeReadIsAnError()
    {
        QFETCH(const QStringList, access);
        QFETCH(const std::string, complaint);
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        Words words{"chats", "--backup", backupIn(terminal, database, encrypted())};
        for (const QString& word : access)
            words.push_back(word.toStdString());
        const Outcome outcome = terminal.run(words);
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err, "korvane-sync: " + complaint + '\n');
    }

    void withoutATerminalThePasswordIsNotAskedFor()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        const std::string backup = backupIn(terminal, database, encrypted());
        const Outcome outcome = terminal.run({"chats", "--backup", backup}, "geheim\n");
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err,
            "korvane-sync: " + backup
                + ": The backup is encrypted. Name a file with its password with --password-file "
                  "FILE, or start the program in a terminal.\n");
    }

    void passwordMayComeThroughADescriptor()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        QProcess program;
        program.start(QStringLiteral("/bin/sh"),
            {QStringLiteral("-c"),
                QString::fromStdString("printf 'geheim\\nrest' | (" PROGRAM
                                       " chats --json --backup '"
                    + backupIn(terminal, database, encrypted())
                    + "' --password-fd 0 && cat >&2)")});
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(program.readAllStandardError(), QByteArray("rest")); // stays for others
        QVERIFY(program.readAllStandardOutput().contains("G1"));
    }

    void transferNeedsTheBackupOnlyForTheExport()
    {
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        QProcess program;
        program.start(QStringLiteral(PROGRAM),
            words({"transfer", "--chat", "G1", "--host", "127.0.0.1", "--backup",
                backupIn(terminal, database, encrypted()), "--password-file",
                passwordFile(terminal), "--folder", terminal.exports()}));
        QByteArray printed;
        const auto hasLink = [&] {
            printed += program.readAllStandardOutput();
            return printed.contains("korvane://");
        };
        QTRY_VERIFY_WITH_TIMEOUT(hasLink(), 20000);
        QCOMPARE(privateFolders(program.processId()), 0);
        ::kill(static_cast<pid_t>(program.processId()), SIGINT);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), 0);
    }

    void nothingIsLeftBehind_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<int>("code");
        QTest::newRow("after success") << QStringList() << 0;
        QTest::newRow("after an error")
            << QStringList{QStringLiteral("--contacts"), QStringLiteral("/absent")} << 1;
    }

    void nothingIsLeftBehind()
    {
        QFETCH(const QStringList, options);
        QFETCH(const int, code);
        const Terminal terminal;
        TestDatabase database;
        fill(database);
        QProcess program;
        program.start(QStringLiteral(PROGRAM),
            words({"chats", "--backup", backupIn(terminal, database)}) + options);
        QVERIFY(program.waitForStarted());
        const qint64 process = program.processId();
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), code);
        QCOMPARE(privateFolders(process), 0);
    }

    void signalLeavesNothingBehind_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("Ctrl-C") << SIGINT;
        QTest::newRow("kill") << SIGTERM;
        QTest::newRow("closed terminal") << SIGHUP;
        QTest::newRow("Ctrl-\\") << SIGQUIT;
    }

    void signalLeavesNothingBehind()
    {
        QFETCH(const int, signal);
        const Terminal terminal;
        const std::string backup = largeBackup(terminal);
        QProcess program;
        startExport(program, terminal, backup);
        const qint64 process = program.processId();
        ::kill(static_cast<pid_t>(process), signal);
        QVERIFY(program.waitForFinished());
        QVERIFY(program.exitStatus() == QProcess::CrashExit || program.exitCode() == 130);
        QCOMPARE(privateFolders(process), 0);
    }

    void secondCtrlCLeavesNothingBehind()
    {
        const Terminal terminal;
        const std::string backup = largeBackup(terminal);
        QProcess program;
        startExport(program, terminal, backup);
        const qint64 process = program.processId();
        QTRY_VERIFY_WITH_TIMEOUT(!filesIn(terminal.exports()).empty(), 20000);
        ::kill(static_cast<pid_t>(process), SIGINT);
        ::kill(static_cast<pid_t>(process), SIGINT);
        QVERIFY(program.waitForFinished());
        QCOMPARE(privateFolders(process), 0);
    }

    void nextStartRemovesWhatAKilledOneLeft()
    {
        const Terminal terminal;
        const std::string backup = largeBackup(terminal);
        QProcess program;
        startExport(program, terminal, backup);
        const qint64 process = program.processId();
        program.kill();
        QVERIFY(program.waitForFinished());
        QCOMPARE(privateFolders(process), 1);
        terminal.run({"backups"}); // any command
        QCOMPARE(privateFolders(process), 0);
    }

    void backupsAreListed()
    {
        const Terminal terminal;
        TestDatabase database;
        const std::string folder = terminal.home() + "/iPhone"; // a usual place
        fs::create_directory(folder);
        makeBackup(folder + "/a", database.path(),
            {QStringLiteral("--date"), QStringLiteral("2026-10-01T08:00:00"),
                QStringLiteral("--device-name"), QStringLiteral("Old")});
        makeBackup(folder + "/b", database.path(),
            encrypted()
                + QStringList{QStringLiteral("--date"), QStringLiteral("2026-10-05T08:00:00"),
                    QStringLiteral("--unfinished"), QStringLiteral("--device-name"),
                    QStringLiteral("New")});
        for (const Words& command : {Words{"backups", folder}, Words{"backups"}}) {
            const QStringList lines
                = QString::fromStdString(terminal.run(command).out).split(u'\n');
            QCOMPARE(lines.size(), 4);
            QCOMPARE(lines[0].simplified(),
                QStringLiteral("DEVICE DATE ENCRYPTED FINISHED MESSAGES FOLDER"));
            QVERIFY(lines[1].contains(QRegularExpression(QStringLiteral(
                "^New     2026-10-0\\d \\d\\d:\\d\\d  yes        no        yes       .*/b$"))));
            QVERIFY(lines[2].startsWith(u"Old     2026-"));
        }
        const QJsonDocument json = terminal.run({"backups", "--json", folder}).json();
        QCOMPARE(json[0][u"device"].toString(), QStringLiteral("New"));
        QCOMPARE(json[0][u"date"].toString(), QStringLiteral("2026-10-05T08:00:00Z"));
        QCOMPARE(json[0][u"isEncrypted"].toBool(), true);
        QCOMPARE(json[0][u"isFinished"].toBool(true), false);
        QCOMPARE(json[0][u"hasMessages"].toBool(), true);
        QCOMPARE(json[0][u"folder"].toString().toStdString(), folder + "/b");
        QCOMPARE(json[1][u"isEncrypted"].toBool(true), false);
    }

    void encryptionThatIsNotKnownIsSaid()
    {
        const Terminal terminal;
        TestDatabase database;
        const std::string folder = backupIn(
            terminal, database, {QStringLiteral("--damage"), QStringLiteral("broken-manifest")});
        const std::string table = terminal.run({"backups", folder}).out;
        QVERIFY2(
            table.find("  unknown    no        yes       ") != std::string::npos, table.c_str());
        const QJsonDocument json = terminal.run({"backups", "--json", folder}).json();
        QVERIFY(json[0].toObject().contains(u"isEncrypted"));
        QVERIFY(json[0][u"isEncrypted"].isNull());
        QCOMPARE(json[0][u"isFinished"].toBool(true), false);
    }

    void noBackupsAreNoError()
    {
        const Terminal terminal;
        const Outcome usual = terminal.run({"backups"});
        QCOMPARE(usual.code, 0);
        QCOMPARE(usual.out, std::string());
        QVERIFY2(usual.err.starts_with(
                     "korvane-sync: There is no backup of a phone in " + terminal.home() + "/"),
            usual.err.c_str());
        const Outcome named = terminal.run({"backups", "--json", terminal.home()});
        QCOMPARE(named.out, std::string("[]\n"));
        QCOMPARE(
            named.err, "korvane-sync: There is no backup of a phone in " + terminal.home() + ".\n");
    }

    void folderThatDoesNotExistIsAnError()
    {
        const Terminal terminal;
        const Outcome outcome = terminal.run({"backups", "/absent"});
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.err,
            std::string("korvane-sync: /absent: This folder cannot be read (No such file or "
                        "directory).\n"));
    }

private:
    static void addCommands()
    {
        QTest::addColumn<QStringList>("command");
        QTest::newRow("chats") << QStringList{QStringLiteral("chats")};
        QTest::newRow("check") << QStringList{QStringLiteral("check")};
        QTest::newRow("transfer") << QStringList{
            QStringLiteral("transfer"), QStringLiteral("--chat"), QStringLiteral("G1")};
    }

    static std::string largeBackup(const Terminal& terminal)
    {
        const std::string database = terminal.home() + "/large.db";
        terminal.run({"sample", database, "--messages", "100000", "--chats", "40"});
        return makeBackup(terminal.home() + "/backup", database);
    }

    /// Returns when the program has its private folder with the database.
    static void startExport(QProcess& program, const Terminal& terminal, const std::string& backup)
    {
        program.start(QStringLiteral(PROGRAM),
            words({"export", "--all", "--backup", backup, "--folder", terminal.exports()}));
        QVERIFY(program.waitForStarted());
        const auto isThere = [&] { return privateFolders(program.processId()) == 1; };
        for (int i = 0; i < 20000 && !isThere(); ++i)
            QTest::qWait(1);
        QVERIFY(isThere());
    }
};

QTEST_GUILESS_MAIN(BackupCommandTest)
#include "BackupCommandTest.moc"
