#include "cli/Sources.h"
#include "contacts/ContactNames.h"
#include "contacts/FilledStore.h"
#include "contacts/PrivateDesktop.h"
#include "support/Printing.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QTest>

#include <future>

namespace korvane {

namespace {

using Map = std::unordered_map<std::string, std::string>;

QString named(const char* name, const char* number)
{
    return FilledStore::card(
        QStringLiteral("N:;%1\r\nTEL:%2").arg(QLatin1String(name), QLatin1String(number)));
}

void writeCard(const QString& folder, const QString& card)
{
    QDir().mkpath(folder);
    QFile file(folder + QStringLiteral("/card.vcf"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(card.toUtf8());
}

} // namespace

/// Loading names from a real Evolution Data Server on a private message bus.
class DesktopContactsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!PrivateDesktop::isInstalled())
            QSKIP("needs the packages evolution-data-server and dbus");
    }

    void init()
    {
        m_desktop = std::make_unique<PrivateDesktop>();
        m_store = std::make_unique<FilledStore>();
    }

    void cleanup()
    {
        m_store.reset();
        m_desktop.reset();
    }

    void emptyStoreGivesNoNames() { QVERIFY(ContactNames::load().names.map.empty()); }

    void threeContactsAreNamed()
    {
        m_store->addCards(FilledStore::personalBook(),
            {FilledStore::card(QStringLiteral("N:Müller;Zoë;Q.;Dr.;\r\nFN:Dr. Zoë Q. Müller\r\n"
                                              "TEL;TYPE=CELL:+1 (555) 010-0001\r\nTEL:555 2\r\n"
                                              "EMAIL;TYPE=WORK:Zoe@Example.org")),
                FilledStore::card(
                    QStringLiteral("N:;;;;\r\nFN:Acme\r\nORG:Acme;Sales\r\nTEL:555 3")),
                FilledStore::card(QStringLiteral("N:山田;太郎\r\nitem1.EMAIL:taro@example.org"))});
        const Map expected{{"5550100001", "Zoë Müller"}, {"5552", "Zoë Müller"},
            {"zoe@example.org", "Zoë Müller"}, {"5553", "Acme"}, {"taro@example.org", "太郎 山田"}};
        QVERIFY(ContactNames::load().names.map == expected);
    }

    void fiveThousandContactsAreNamed()
    {
        constexpr int count = 5'000;
        m_store->addNumberedCards(count);
        const ContactNames names = ContactNames::load().names;
        QCOMPARE(names.map.size(), std::size_t(2) * count); // each has a number and an address
        for (int number = 0; number < count; ++number) {
            const std::string name = FilledStore::numberedName(number);
            QCOMPARE(names.name(FilledStore::phoneNumber(number)), name);
            QCOMPARE(names.name("person" + std::to_string(number) + "@example.org"), name);
        }
    }

    void allBooksAreRead()
    {
        for (const char* number : {"1", "2", "3"}) {
            const QString book = QLatin1String(number);
            m_store->addBook(book);
            m_store->addCards(book, {named("Bo", number), named(number, "555")});
        }
        m_store->addCards(FilledStore::personalBook(), {named("Ann", "777")});
        const ContactNames names = ContactNames::load().names;
        const Map expected{{"1", "Bo"}, {"2", "Bo"}, {"3", "Bo"}, {"777", "Ann"}, {"555", "3"}};
        QVERIFY(names.map == expected); // the last book wins
    }

    void booksThatAreSwitchedOffAreLeftOut_data()
    {
        QTest::addColumn<QString>("account");
        QTest::addColumn<QString>("book");
        QTest::addColumn<std::string>("name");

        const auto row
            = [](const char* description, const char* account, const char* book, std::string name) {
                  QTest::newRow(description) << QString::fromLatin1(account)
                                             << QString::fromLatin1(book) << std::move(name);
              };
        row("both are on", "Enabled=true", "Enabled=true", "Bo");
        row("nothing is said", "", "", "Bo");
        row("the book is off", "Enabled=true", "Enabled=false", "555");
        row("the account is off", "Enabled=false", "Enabled=true", "555");
    }

    void booksThatAreSwitchedOffAreLeftOut()
    {
        QFETCH(QString, account);
        QFETCH(QString, book);
        QFETCH(std::string, name);
        m_store->addSource(QStringLiteral("account"),
            QStringLiteral("[Data Source]\nDisplayName=Account\nParent=\n%1\n").arg(account));
        QString keyFile = FilledStore::localBook(book);
        keyFile.replace(QStringLiteral("local-stub"), QStringLiteral("account"));
        m_store->addBook(QStringLiteral("book"), keyFile);
        m_store->addCards(QStringLiteral("book"), {named("Bo", "555")});
        m_store->addCards(FilledStore::personalBook(), {named("Ann", "777")});
        const ContactNames names = ContactNames::load().names;
        QCOMPARE(names.name("555"), name);
        QCOMPARE(names.name("777"), "Ann");
    }

    void distributionListsAreLeftOut()
    {
        m_store->addCards(FilledStore::personalBook(),
            {named("Ann", "777"),
                FilledStore::card(
                    QStringLiteral("FN:Everyone\r\nN:Everyone\r\nX-EVOLUTION-LIST:TRUE"
                                   "\r\nEMAIL;X-EVOLUTION-DEST-NAME=Ann:ann@x.org"))});
        QVERIFY(ContactNames::load().names.map == (Map{{"777", "Ann"}}));
    }

    /// Versions in service names are compared as numbers: 9 is older than 10. The services
    /// registered here answer nothing.
    void olderServicesAreNotAsked()
    {
        m_store->addCards(FilledStore::personalBook(), {named("Ann", "777")});
        QDBusConnection bus = m_store->connection();
        for (const char* name : {"Sources0", "Sources1", "AddressBook1", "AddressBook9",
                 "AddressBook10000x", "AddressBook", "AddressBookView99"})
            QVERIFY(bus.registerService(
                QStringLiteral("org.gnome.evolution.dataserver.") + QLatin1String(name)));
        QCOMPARE(ContactNames::load().names.name("777"), "Ann");
    }

    void foldersComeAfterTheStoreInTheirOrder()
    {
        const QString home = m_desktop->home();
        QStringList cards{
            named("store", "1"), named("store", "2"), named("store", "3"), named("store", "4")};
        m_store->addCards(FilledStore::personalBook(), cards);
        writeCard(home + QStringLiteral("/.local/share/contacts"),
            named("first", "2") + named("first", "3") + named("first", "4"));
        writeCard(home + QStringLiteral("/.contacts"), named("second", "3") + named("second", "4"));
        writeCard(home + QStringLiteral("/.local/share/kpeoplevcard/phone"), named("third", "4"));
        const Map expected{{"1", "store"}, {"2", "first"}, {"3", "second"}, {"4", "third"}};
        QVERIFY(ContactNames::load().names.map == expected);

        const Stopped stopped(m_store->booksProcess());
        const Map withoutStore{{"2", "first"}, {"3", "second"}, {"4", "third"}};
        QVERIFY(ContactNames::load().names.map == withoutStore);
    }

    void chosenFileTakesThePlaceOfThemAll()
    {
        m_store->addCards(FilledStore::personalBook(), {named("store", "1")});
        writeCard(m_desktop->home() + QStringLiteral("/.contacts"), named("folder", "2"));
        const QString chosen = m_desktop->home() + QStringLiteral("/chosen");
        writeCard(chosen, named("chosen", "3"));
        const Sources sources{.contacts = chosen.toStdString()};
        QVERIFY(readNames(sources).map == (Map{{"3", "chosen"}}));
        QVERIFY(readNames({}).map == (Map{{"1", "store"}, {"2", "folder"}}));
    }

    /// Uses threads without an event loop, like those of a thread pool.
    void severalThreadsLoadAtOnce()
    {
        m_store->addNumberedCards(100);
        std::vector<std::future<ContactNames>> loads;
        for (int i = 0; i < 4; ++i)
            loads.push_back(
                std::async(std::launch::async, [] { return ContactNames::load().names; }));
        for (auto& load : loads)
            QCOMPARE(load.get().map.size(), std::size_t(200));
    }

    void nothingStaysOpen()
    {
        const auto names = [this] {
            return m_store->connection().interface()->registeredServiceNames().value().size();
        };
        m_store->addNumberedCards(3);
        QCOMPARE(ContactNames::load().names.map.size(), std::size_t(6));
        const auto before = names();
        for (int i = 0; i < 5; ++i)
            QCOMPARE(ContactNames::load().names.map.size(), std::size_t(6));
        QTRY_COMPARE(names(), before);
    }

private:
    std::unique_ptr<PrivateDesktop> m_desktop;
    std::unique_ptr<FilledStore> m_store;
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::DesktopContactsTest)
#include "DesktopContactsTest.moc"
