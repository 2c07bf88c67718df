#include "backup/OpenedBackup.h"

#include "backup/BackupError.h"
#include "backup/PrivateFolder.h"
#include "backup/TestBackup.h"
#include "contacts/ContactSource.h"
#include "messages/MessagesDB.h"
#include "storage/Files.h"
#include "support/FileMode.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"
#include "support/Unprivileged.h"

#include <QTemporaryDir>

#include <filesystem>

using namespace korvane;
namespace fs = std::filesystem;

/// Whole backups, as make_backup.py writes them.
class OpenedBackupTest : public QObject {
    Q_OBJECT

    using Contacts = OpenedBackup::Contacts;

    static constexpr const char* password = "geheim ü";

    /// What happened while a backup was opened.
    struct Events {
        int questions = 0;
        int derivations = 0;
        std::int64_t copied = 0;
        std::int64_t total = 0;
    };

    static std::string open(const std::string& folder, const std::string& answer = password,
        Contacts contacts = Contacts::Read)
    {
        try {
            OpenedBackup(Backup::read(folder), dialog(answer), contacts);
        } catch (const BackupError& error) {
            return error.what();
        }
        return "(opened)";
    }

    static BackupDialog dialog(const std::string& answer, Events* events = nullptr)
    {
        return {.password =
                    [answer, events] {
                        if (events)
                            ++events->questions;
                        return Secret(answer);
                    },
            .onDeriving = [] {},
            .onDerived =
                [events] {
                    if (events)
                        ++events->derivations;
                },
            .onCopying =
                [events](std::int64_t done, std::int64_t total) {
                    if (events) {
                        events->copied = done;
                        events->total = total;
                    }
                }};
    }

    /// The private folders of this process.
    static int privateFolders()
    {
        int count = 0;
        const std::string mark = "korvane-sync-backup." + std::to_string(::getpid()) + '.';
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

    static QStringList words(const char* options)
    {
        return QString::fromUtf8(options).split(u' ', Qt::SkipEmptyParts);
    }

    std::string newFolder()
    {
        return m_folder.filePath(QStringLiteral("backup%1").arg(++m_folders)).toStdString();
    }

    std::string makeBackup(const QStringList& options = {})
    {
        return korvane::makeBackup(newFolder(), m_database.path(), options);
    }

    QString writtenBook() const
    {
        const QString path = m_folder.filePath(QStringLiteral("people.json"));
        Files::writeAtomically(path.toStdString(),
            R"([{"first": "Ann", "last": "Lee", "organization": "", "phones": ["+15550100"],
                 "emails": ["ann@example.org"]}])");
        return path;
    }

    static void plainAndEncrypted()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("not encrypted") << QStringList();
        QTest::newRow("encrypted") << encrypted();
    }

private slots:
    void initTestCase()
    {
        m_database.addChat(1, "G1", "Family", "chat1", 43);
        for (int i = 0; i < 200; ++i)
            m_database.addMessage(1, std::string(500, 'x'));
    }

    void init() { QCOMPARE(privateFolders(), 0); }
    void cleanup() { QCOMPARE(privateFolders(), 0); }

    void copyIsTheDatabase_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("not encrypted") << QStringList();
        QTest::newRow("not encrypted, flat") << words("--layout flat");
        QTest::newRow("encrypted") << encrypted();
        QTest::newRow("encrypted, flat") << encrypted() + words("--layout flat");
        QTest::newRow("one round of key derivation") << encrypted() + words("--no-dpsl");
        QTest::newRow("several classes")
            << encrypted() + words("--classes manifest=4,messages=2,log=6,contacts=1");
        QTest::newRow("the index padded, too") << encrypted() + words("--padding all");
        QTest::newRow("nothing padded") << encrypted() + words("--padding none");
        QTest::newRow("without Info.plist") << encrypted() + words("--damage no-info");
    }

    void copyIsTheDatabase()
    {
        QFETCH(const QStringList, options);
        const std::string folder = makeBackup(options);
        const auto before = pictureOf(folder);
        {
            const OpenedBackup backup(Backup::read(folder), dialog(password), Contacts::Read);
            QCOMPARE(Files::read(backup.database()), Files::read(m_database.path()));
            const fs::path parent = fs::path(backup.database()).parent_path();
            QCOMPARE(modeOf(parent), std::string("700"));
            QCOMPARE(privateFolders(), 1);
            QVERIFY(backup.contacts().empty());
        }
        QVERIFY(pictureOf(folder) == before);
    }

    void copyHasTheMessagesOfTheLog_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("not encrypted") << QStringList();
        QTest::newRow("encrypted") << encrypted();
        QTest::newRow("encrypted, flat") << encrypted() + words("--layout flat");
    }

    void copyHasTheMessagesOfTheLog()
    {
        QFETCH(const QStringList, options);
        TestDatabase live;
        live.sql().execute("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0");
        live.addChat(1, "G1", "Family", "chat1", 43);
        live.addMessage(1, "in the log");
        const std::string folder = korvane::makeBackup(newFolder(), live.path(),
            options
                + QStringList{
                    QStringLiteral("--wal"), QString::fromStdString(live.path() + "-wal")});
        const auto before = pictureOf(folder);
        {
            const OpenedBackup backup(Backup::read(folder), dialog(password), Contacts::Read);
            MessagesDB database(backup.database());
            const auto chats = database.chats();
            QCOMPARE(chats.size(), std::size_t(1));
            QCOMPARE(
                database.messages(chats.front().id, 0).front().text, std::string("in the log"));
            QCOMPARE(Files::read(backup.database() + "-wal"), Files::read(live.path() + "-wal"));
        }
        QVERIFY(pictureOf(folder) == before);
    }

    void emptyLogNeedsNoFile_data() { plainAndEncrypted(); }

    void emptyLogNeedsNoFile()
    {
        QFETCH(const QStringList, options);
        const std::string folder = makeBackup(options + words("--empty-log"));
        const OpenedBackup backup(Backup::read(folder), dialog(password), Contacts::Read);
        QCOMPARE(Files::read(backup.database()), Files::read(m_database.path()));
        QVERIFY(!fs::exists(backup.database() + "-wal"));
    }

    void contactsAreThoseOfThePhone_data() { plainAndEncrypted(); }

    void contactsAreThoseOfThePhone()
    {
        QFETCH(const QStringList, options);
        const std::string folder
            = makeBackup(options + QStringList{QStringLiteral("--address-book"), writtenBook()});
        const OpenedBackup backup(Backup::read(folder), dialog(password), Contacts::Read);
        QCOMPARE(backup.contacts().size(), std::size_t(1));
        std::vector<Contact> contacts;
        backup.contacts().front()->forEachContact(
            [&](const Contact& contact) { contacts.push_back(contact); });
        QVERIFY(contacts
            == (std::vector<Contact>{{.givenName = "Ann",
                .familyName = "Lee",
                .phoneNumbers = {"+15550100"},
                .emailAddresses = {"ann@example.org"}}}));
        const fs::path privateFolder = fs::path(backup.database()).parent_path();
        QVERIFY(!fs::exists(privateFolder / "AddressBook.sqlitedb")); // not needed any more
    }

    void contactsThatAreNotWantedAreNotRead()
    {
        const std::string folder
            = makeBackup(QStringList{QStringLiteral("--address-book"), writtenBook()});
        const fs::path book = folder + "/31/31bb7ba8914766d4ba40d6dfb6113c8b614be442";
        Files::writeAtomically(book, "damaged");
        QCOMPARE(open(folder, "", Contacts::Ignore), std::string("(opened)"));
        QCOMPARE(open(folder, "", Contacts::Read),
            folder
                + ": Library/AddressBook/AddressBook.sqlitedb in the backup is truncated or does "
                  "not belong to its index: it has 7 bytes for contents of "
                + std::to_string(sizeOfBook(folder))
                + " bytes. The backup is damaged: make it again.");
    }

    void damagedAddressBookIsExplained()
    {
        const std::string folder
            = makeBackup(QStringList{QStringLiteral("--address-book"), writtenBook()});
        const fs::path book = folder + "/31/31bb7ba8914766d4ba40d6dfb6113c8b614be442";
        Files::writeAtomically(book, std::string(fs::file_size(book), 'x'));
        QCOMPARE(open(folder),
            folder
                + ": The address book in the backup is damaged (file is not a database). Make the "
                  "backup again, name other contacts with --contacts FILE, or write bare numbers "
                  "with --contacts none.");
    }

    void passwordIsAskedForOnlyIfNeeded()
    {
        Events events;
        const auto open = [&](const std::string& folder, const char* answer) {
            const OpenedBackup opened(
                Backup::read(folder), dialog(answer, &events), Contacts::Read);
        };
        open(makeBackup(), "");
        QCOMPARE(events.questions, 0);
        QCOMPARE(events.derivations, 0);
        open(makeBackup(encrypted()), password);
        QCOMPARE(events.questions, 1);
        QCOMPARE(events.derivations, 1);
    }

    void progressEndsWithEverything()
    {
        Events events;
        const std::string folder
            = makeBackup(QStringList{QStringLiteral("--address-book"), writtenBook()});
        const OpenedBackup opened(Backup::read(folder), dialog("", &events), Contacts::Read);
        QCOMPARE(events.copied, events.total);
        QVERIFY(events.total > static_cast<std::int64_t>(fs::file_size(m_database.path())));
    }

    void wrongPasswordIsReported()
    {
        const std::string folder = makeBackup(encrypted());
        const auto before = pictureOf(folder);
        for (const char* wrong : {"", "geheim", "geheim ü "})
            QCOMPARE(open(folder, wrong),
                folder + ": The password of the backup is wrong. Nothing was changed.");
        QVERIFY(pictureOf(folder) == before);
    }

    void emptyPasswordIsOne()
    {
        const std::string folder
            = makeBackup({QStringLiteral("--password"), QString::fromUtf8("")});
        QCOMPARE(open(folder, ""), std::string("(opened)"));
    }

    void damagedBackupIsOneClearLine_data()
    {
        QTest::addColumn<std::string>("damage");
        QTest::addColumn<std::string>("complaint");
        const auto row = [](const char* damage, const std::string& complaint) {
            QTest::newRow(damage) << std::string(damage) << complaint;
        };
        const std::string again = ". Make the backup again.";
        const auto keyBag = [&](const std::string& what) {
            return "The key bag in Manifest.plist is damaged (" + what + ')' + again;
        };
        const auto record = [&](const std::string& what) {
            return "The index of the backup is damaged (" + what + ')' + again;
        };
        const auto index = [&](const std::string& what) {
            return "The index of the backup, Manifest.db, is damaged (" + what + ')' + again;
        };
        const auto messages = [](const std::string& what) {
            return "Library/SMS/sms.db in the backup " + what
                + ". The backup is damaged: make it again.";
        };
        const std::string size = std::to_string(fs::file_size(m_database.path()));
        const auto truncated = [&](const std::string& has, const std::string& contents) {
            return messages("is truncated or does not belong to its index: it has " + has
                + " bytes for contents of " + contents + " bytes");
        };
        const std::string tooLong = "an entry is longer than the key bag";
        const std::string noSalt = "the salt or the number of iterations is missing";
        const std::string noClass = messages("is encrypted with the key of class 3, which its key "
                                             "bag does not give to the password");
        row("absurd-first-entry", keyBag(tooLong));
        row("absurd-keybag", keyBag(tooLong));
        row("short-keybag", keyBag(tooLong));
        row("short-class-key", keyBag(tooLong));
        row("empty-keybag", keyBag(noSalt));
        row("keybag-without-salt", keyBag(noSalt));
        row("no-rounds", keyBag(noSalt));
        row("endless-rounds", keyBag("it asks for 4294967295 iterations"));
        row("short-number", keyBag("an integer does not have four bytes"));
        row("no-keybag", "Manifest.plist of the backup has no key bag" + again);
        row("text-for-keybag", "Manifest.plist of the backup has no key bag" + again);
        row("missing-class", noClass);
        row("device-class", noClass);
        row("broken-manifest", "Manifest.plist in the backup is damaged" + again);
        row("list-manifest", "Manifest.plist in the backup is damaged" + again);
        row("no-manifest",
            "Manifest.plist is missing, so the backup is not complete. Make it again.");
        row("broken-status", "Status.plist in the backup is damaged" + again);
        row("no-status", "Status.plist is missing, so the backup is not complete. Make it again.");
        row("no-manifest-key", index("file is not a database"));
        row("broken-index", index("file is not a database"));
        row("truncated-index", index("database disk image is malformed"));
        row("no-table", index("no such table: Files"));
        row("other-table", index("no such column: file"));
        row("no-index",
            "Manifest.db in the backup is missing. The backup is damaged: make it again.");
        row("short-manifest-key", record("a key of 3 bytes"));
        row("no-record", record("a record that is not a property list"));
        row("broken-record", record("a record that is not a property list"));
        row("no-key", record("a record without its key"));
        row("key-in-circle", record("a record without its key"));
        row("key-out-of-range", record("a record without its key"));
        row("short-key", record("a key of 20 bytes"));
        row("negative-size", record("a record without a valid Size"));
        row("text-for-size", record("a record without a valid Size"));
        row("evil-id", "There are no messages in this backup.");
        row("no-messages", "There are no messages in this backup.");
        row("missing-file", messages("is missing, although its index has it"));
        row("empty-file", truncated("0", size));
        row("wrong-key", messages("is encrypted with a key that does not belong to the backup"));
    }

    void damagedBackupIsOneClearLine()
    {
        QFETCH(const std::string, damage);
        QFETCH(const std::string, complaint);
        const std::string folder = makeBackup(
            encrypted() + QStringList{QStringLiteral("--damage"), QString::fromStdString(damage)});
        const auto before = pictureOf(folder);
        QCOMPARE(open(folder), folder + ": " + complaint);
        QVERIFY(pictureOf(folder) == before);
    }

    void fileOfAnotherSizeIsRefused_data()
    {
        QTest::addColumn<QStringList>("options");
        for (const char* damage : {"truncated-file", "odd-length", "wrong-size", "huge-size"})
            QTest::newRow(damage) << encrypted()
                    + QStringList{QStringLiteral("--damage"), QString::fromUtf8(damage)};
        QTest::newRow("truncated, not encrypted") << words("--damage truncated-file");
        QTest::newRow("wrong size, not encrypted") << words("--damage wrong-size");
        QTest::newRow("empty, not encrypted") << words("--damage empty-file");
    }

    void fileOfAnotherSizeIsRefused()
    {
        QFETCH(const QStringList, options);
        const std::string folder = makeBackup(options);
        const std::string complaint = open(folder);
        QVERIFY2(complaint.starts_with(folder
                     + ": Library/SMS/sms.db in the backup is truncated or does not belong to its "
                       "index: it has "),
            complaint.c_str());
    }

    void unfinishedBackupIsRefused()
    {
        const std::string folder = makeBackup(words("--unfinished"));
        QCOMPARE(
            open(folder), folder + ": The backup is not finished. Complete it, or make it again.");
    }

    void otherFolderIsNoBackup()
    {
        const QTemporaryDir other;
        const std::string folder = other.path().toStdString();
        QCOMPARE(open(folder), folder + ": This is not the folder of a phone's backup.");
    }

    void otherDatabaseIsRefused()
    {
        const std::string path = m_folder.filePath(QStringLiteral("other.db")).toStdString();
        Sqlite::openForWriting(path).execute("CREATE TABLE other (a)");
        const std::string folder = korvane::makeBackup(newFolder(), path);
        QCOMPARE(open(folder),
            folder
                + ": The messages database in the backup cannot be read (no such table: message). "
                  "The backup is damaged: make it again.");
    }

    void linkInPlaceOfAFileIsNotFollowed()
    {
        const std::string folder = makeBackup();
        const fs::path file = folder + "/3d/3d0d7e5fb2ce288813306e4d4636395e047a3d28";
        fs::rename(file, folder + "/elsewhere");
        fs::create_symlink(folder + "/elsewhere", file);
        QCOMPARE(open(folder),
            folder
                + ": Library/SMS/sms.db in the backup is not a file. The backup is damaged: make "
                  "it "
                  "again.");
    }

    void fileThatMayNotBeReadIsNamed_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("inside");
        QTest::addColumn<QString>("name");
        const QString messages = QStringLiteral("3d/3d0d7e5fb2ce288813306e4d4636395e047a3d28");
        const QString index = QStringLiteral("Manifest.db");
        const QString name = QStringLiteral("Library/SMS/sms.db");
        QTest::newRow("messages") << messages << messages << name;
        QTest::newRow("folder of the messages") << QStringLiteral("3d") << messages << name;
        QTest::newRow("index") << index << index << index;
    }

    void fileThatMayNotBeReadIsNamed()
    {
        QFETCH(const QString, file);
        QFETCH(const QString, name);
        QFETCH(const QString, inside);
        const std::string folder = makeBackup();
        const std::string path = folder + '/' + file.toStdString();
        fs::permissions(m_folder.path().toStdString(), fs::perms::all);
        fs::permissions(path, fs::perms::none);
        const Unprivileged user;
        if (!user.works())
            QSKIP("cannot drop privileges");
        QCOMPARE(open(folder),
            folder + ": " + name.toStdString()
                + " in the backup cannot be read (Permission denied). Check who may read "
                + (fs::path(folder) / inside.toStdString()).string() + '.');
    }

    void listThatMayNotBeReadIsNamed()
    {
        const std::string folder = makeBackup();
        const std::string path = folder + "/Status.plist";
        fs::permissions(m_folder.path().toStdString(), fs::perms::all);
        fs::permissions(path, fs::perms::none);
        const Unprivileged user;
        if (!user.works())
            QSKIP("cannot drop privileges");
        QCOMPARE(open(folder),
            folder + ": Status.plist in the backup cannot be read. Check who may read " + path
                + '.');
    }

private:
    static std::int64_t sizeOfBook(const std::string& folder)
    {
        const std::string complaint = open(folder);
        const std::string mark = "for contents of ";
        return std::stoll(complaint.substr(complaint.find(mark) + mark.size()));
    }

    const QTemporaryDir m_folder;
    TestDatabase m_database;
    int m_folders = 0;
};

QTEST_GUILESS_MAIN(OpenedBackupTest)
#include "OpenedBackupTest.moc"
