#include "backup/AddressBook.h"

#include "backup/BackupError.h"
#include "messages/Sqlite.h"
#include "storage/Files.h"
#include "support/Printing.h"

#include <QTemporaryDir>

using namespace korvane;

/// Address books with the columns that matter here.
class AddressBookTest : public QObject {
    Q_OBJECT

    const QTemporaryDir m_folder;

    std::string path() const { return m_folder.filePath(QStringLiteral("book")).toStdString(); }

    std::vector<Contact> contacts() const
    {
        std::vector<Contact> contacts;
        const AddressBook book(path());
        const ContactReading reading
            = book.forEachContact([&](const Contact& contact) { contacts.push_back(contact); });
        return reading.outcome == ContactOutcome::Complete ? contacts : std::vector<Contact>();
    }

    Sqlite emptyBook() const
    {
        Sqlite database = Sqlite::openForWriting(path());
        database.execute("CREATE TABLE ABPerson (ROWID INTEGER PRIMARY KEY, First TEXT, Last TEXT, "
                         "Organization TEXT); CREATE TABLE ABMultiValue (UID INTEGER PRIMARY KEY, "
                         "record_id INTEGER, property INTEGER, value TEXT)");
        return database;
    }

private slots:
    void cleanup() { QFile::remove(QString::fromStdString(path())); }

    void peopleHaveNamesNumbersAndAddresses()
    {
        Sqlite database = emptyBook();
        database.execute("INSERT INTO ABPerson VALUES (7, 'Ann', 'Lee', NULL), "
                         "(3, NULL, NULL, 'Café Ö')");
        database.execute("INSERT INTO ABMultiValue VALUES (1, 7, 3, '+1 555 0100'), "
                         "(2, 7, 4, 'ann@example.org'), (3, 7, 3, '555 0101'), "
                         "(4, 3, 3, '555 0102')");
        const std::vector<Contact> expected{
            {.organizationName = "Café Ö", .phoneNumbers = {"555 0102"}},
            {.givenName = "Ann",
                .familyName = "Lee",
                .phoneNumbers = {"+1 555 0100", "555 0101"},
                .emailAddresses = {"ann@example.org"}}};
        QVERIFY(contacts() == expected);
    }

    void otherValuesAreLeftOut()
    {
        Sqlite database = emptyBook();
        database.execute("INSERT INTO ABPerson VALUES (1, 'Ann', 'Lee', NULL)");
        database.execute("INSERT INTO ABMultiValue VALUES (1, 1, 3, NULL), "
                         "(2, 1, 22, 'https://example.org'), (3, 9, 3, '555 0100')");
        QVERIFY(contacts() == (std::vector<Contact>{{.givenName = "Ann", .familyName = "Lee"}}));
    }

    void emptyBookHasNoContacts()
    {
        emptyBook();
        QVERIFY(contacts().empty());
    }

    void damagedBookIsExplained_data()
    {
        QTest::addColumn<std::string>("bytes");
        QTest::addColumn<std::string>("reason");
        QTest::newRow("other contents")
            << std::string(5000, 'x') << std::string("file is not a database");
        QTest::newRow("no tables") << std::string() << std::string("no such table: ABPerson");
    }

    void damagedBookIsExplained()
    {
        QFETCH(const std::string, bytes);
        QFETCH(const std::string, reason);
        Files::writeAtomically(path(), bytes);
        std::string complaint;
        try {
            const AddressBook book(path());
        } catch (const BackupError& error) {
            complaint = error.what();
        }
        QCOMPARE(complaint,
            "The address book in the backup is damaged (" + reason
                + "). Make the backup again, name other contacts with --contacts FILE, or write "
                  "bare numbers with --contacts none.");
    }
};

QTEST_GUILESS_MAIN(AddressBookTest)
#include "AddressBookTest.moc"
