#include "contacts/ContactNames.h"
#include "contacts/ContactsFrameworkSource.h"
#include "mac/ContactsDouble.h"
#include "support/Printing.h"

#include <thread>

using namespace korvane;
using contactsDouble::Access;
using contactsDouble::Play;

/// How the adapter reads the Mac's contact store: order, access, failures.
class ContactsFrameworkTest : public QObject {
    Q_OBJECT

    using Texts = std::vector<std::string>;

    static Contact ann()
    {
        return {.givenName = "Ann",
            .familyName = "Lee",
            .phoneNumbers = {"+1 (555) 123-4567", "0171 / 23 45", "*67#"},
            .emailAddresses = {"Ann.Lee@Example.org", "ann@work.example"}};
    }

    static Contact acme()
    {
        return {.organizationName = "Acme \u2615", .phoneNumbers = {"555.000.1111"}};
    }

    static Contact bo() { return {.givenName = "Bo", .phoneNumbers = {"555.123.4567"}}; }

    std::vector<Contact> visited(Play play)
    {
        contactsDouble::begin(std::move(play));
        std::vector<Contact> contacts;
        m_outcome
            = ContactsFrameworkSource()
                  .forEachContact([&](const Contact& contact) { contacts.push_back(contact); })
                  .outcome;
        contactsDouble::release();
        return contacts;
    }

    ContactOutcome m_outcome = ContactOutcome::Missing; ///< of visited()

private slots:
    void contactsComeInTheOrderOfTheStore()
    {
        const std::vector<Contact> kept{bo(), ann(), acme(), Contact(), bo()};
        QVERIFY(visited({.contacts = kept}) == kept);
        QCOMPARE(m_outcome, ContactOutcome::Complete);
    }

    void emptyStoreVisitsNothing()
    {
        QVERIFY(visited({}).empty());
        QCOMPARE(contactsDouble::record().calls.back(), std::string("enumerate"));
        QCOMPARE(m_outcome, ContactOutcome::Complete);
    }

    void thousandsOfContactsCome()
    {
        std::vector<Contact> kept;
        for (int i = 0; i < 5000; ++i)
            kept.push_back({.givenName = std::to_string(i), .phoneNumbers = {std::to_string(-i)}});
        QVERIFY(visited({.contacts = kept}) == kept);
    }

    void textsKeepZeroBytesAndFarPlanes()
    {
        using namespace std::string_literals;
        const std::vector<Contact> kept{{.givenName = "A\0b"s, .familyName = "\U0001F98A e\u0301"}};
        QVERIFY(visited({.contacts = kept}) == kept);
    }

    void accessIsAskedForOnceAndBeforeAnythingElse()
    {
        visited({.contacts = {ann(), bo()}});
        QVERIFY(contactsDouble::record().calls == Texts({"create", "ask", "enumerate"}));
    }

    void fiveKeysAreFetchedInTheirOrder()
    {
        visited({.contacts = {ann()}});
        QVERIFY(contactsDouble::record().keys
            == Texts(
                {"givenName", "familyName", "organizationName", "phoneNumbers", "emailAddresses"}));
    }

    void visitsHappenOnTheCallingThread()
    {
        contactsDouble::begin({.contacts = {ann()}, .answersAfter = std::chrono::milliseconds(20)});
        std::thread::id thread;
        ContactsFrameworkSource().forEachContact(
            [&](const Contact&) { thread = std::this_thread::get_id(); });
        contactsDouble::release();
        QVERIFY(thread == std::this_thread::get_id());
    }

    void answerIsAwaited()
    {
        const Play play{.contacts = {ann()}, .answersAfter = std::chrono::milliseconds(600)};
        QCOMPARE(visited(play).size(), 1U);
    }

    void withoutAccessNothingIsRead_data()
    {
        using enum ContactOutcome;
        QTest::addColumn<Play>("play");
        QTest::addColumn<ContactOutcome>("outcome");
        QTest::newRow("denied") << Play{.contacts = {ann()}, .access = Access::Denied} << Denied;
        QTest::newRow("failed") << Play{.contacts = {ann()}, .access = Access::Failed}
                                << Unanswered;
        QTest::newRow("granted, with an error")
            << Play{.contacts = {ann()}, .access = Access::GrantedWithAnError} << Unanswered;
        QTest::newRow("denied after a while") << Play{.contacts = {ann()},
            .access = Access::Denied,
            .answersAfter = std::chrono::milliseconds(50)}
                                              << Denied;
        QTest::newRow("denied at the prompt") << Play{.contacts = {ann()},
            .access = Access::Denied,
            .answersAfter = std::chrono::milliseconds(50),
            .prompts = true} << Denied;
        QTest::newRow("an exception")
            << Play{.contacts = {ann()}, .throwsWhenAsked = true} << Unanswered;
    }

    void withoutAccessNothingIsRead()
    {
        QFETCH(const Play, play);
        QFETCH(const ContactOutcome, outcome);
        const auto begin = std::chrono::steady_clock::now();
        QVERIFY(visited(play).empty());
        QCOMPARE(m_outcome, outcome);
        QVERIFY(contactsDouble::record().calls == Texts({"create", "ask"}));
        QVERIFY(std::chrono::steady_clock::now() - begin < std::chrono::seconds(2));
    }

    void whatCameBeforeAFailureCounts_data()
    {
        QTest::addColumn<Play>("play");
        QTest::addColumn<int>("count");
        const std::vector<Contact> three{ann(), bo(), acme()};
        QTest::newRow("error at once") << Play{.contacts = three, .failsAfter = 0} << 0;
        QTest::newRow("error half-way") << Play{.contacts = three, .failsAfter = 2} << 2;
        QTest::newRow("error at the end") << Play{.contacts = three, .failsAfter = 3} << 3;
        QTest::newRow("exception at once") << Play{.contacts = three, .throwsAfter = 0} << 0;
        QTest::newRow("exception half-way") << Play{.contacts = three, .throwsAfter = 1} << 1;
        QTest::newRow("exception at the end") << Play{.contacts = three, .throwsAfter = 3} << 3;
        QTest::newRow("exception on a thread of the store's") << Play{.contacts = three,
            .answersAfter = std::chrono::milliseconds(20),
            .throwsAfter = 2} << 2;
    }

    void whatCameBeforeAFailureCounts()
    {
        QFETCH(const Play, play);
        QFETCH(const int, count);
        const std::vector<Contact> expected(play.contacts.begin(), play.contacts.begin() + count);
        const auto begin = std::chrono::steady_clock::now();
        QVERIFY(visited(play) == expected);
        QCOMPARE(m_outcome, ContactOutcome::Unanswered);
        QVERIFY(std::chrono::steady_clock::now() - begin < std::chrono::seconds(2));
    }

    void nothingIsKept_data()
    {
        QTest::addColumn<Play>("play");
        QTest::newRow("all is well") << Play{.contacts = {ann(), bo()}};
        QTest::newRow("denied") << Play{.access = Access::Denied};
        QTest::newRow("failed half-way") << Play{.contacts = {ann(), bo()}, .failsAfter = 1};
    }

    void nothingIsKept()
    {
        QFETCH(const Play, play);
        visited(play);
        QTRY_COMPARE(contactsDouble::alive(), 0);
    }

    void visitorMayThrow()
    {
        contactsDouble::begin({.contacts = {ann(), bo()}});
        const auto refuse = [](const Contact&) { throw std::runtime_error("enough"); };
        QVERIFY_THROWS_EXCEPTION(
            std::runtime_error, ContactsFrameworkSource().forEachContact(refuse));
        contactsDouble::release();
    }

    void namesOfThePlatformAreThoseOfTheStore()
    {
        contactsDouble::begin({.contacts = {ann(), acme(), bo()}});
        const ContactNames names = ContactNames::load().names;
        contactsDouble::release();
        QCOMPARE(names.name("ann.lee@example.ORG"), std::string("Ann Lee"));
        QCOMPARE(names.name("+1 555 000 1111"), std::string("Acme \u2615"));
        QCOMPARE(names.name("(555) 123-4567"), std::string("Bo")); // the last contact wins
        QCOMPARE(names.map.size(), 6U);
    }

    void deniedNamesAreNone()
    {
        contactsDouble::begin({.contacts = {ann()}, .access = Access::Denied});
        const LoadedNames loaded = ContactNames::load();
        QVERIFY(loaded.names == ContactNames());
        QVERIFY(loaded.reading == ContactReading{ContactOutcome::Denied});
        contactsDouble::release();
    }
};

QTEST_GUILESS_MAIN(ContactsFrameworkTest)
#include "ContactsFrameworkTest.moc"
