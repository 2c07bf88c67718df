#include "contacts/ContactsFrameworkSource.h"
#include "mac/ContactsDouble.h"
#include "support/Printing.h"

#include <QElapsedTimer>

using namespace korvane;
using namespace std::chrono_literals;
using contactsDouble::Access;
using contactsDouble::Play;

/// A slow or silent contact store: how long the adapter waits for it, and what happens if it
/// answers after the timeout.
class SilentStoreTest : public QObject {
    Q_OBJECT

    using Texts = std::vector<std::string>;

    /// The contacts that one call visited, and how long it took.
    struct Visit {
        std::vector<Contact> contacts;
        ContactReading reading{};
        qint64 milliseconds = 0;
    };

    static std::vector<Contact> people(int count)
    {
        std::vector<Contact> contacts;
        for (int i = 0; i < count; ++i)
            contacts.push_back({.givenName = "No. " + std::to_string(i)});
        return contacts;
    }

    static Visit visit(const ContactsFrameworkSource& source)
    {
        Visit visit;
        QElapsedTimer time;
        time.start();
        visit.reading = source.forEachContact(
            [&visit](const Contact& contact) { visit.contacts.push_back(contact); });
        visit.milliseconds = time.elapsed();
        return visit;
    }

    static ContactReading silent()
    {
        return {.outcome = ContactOutcome::Unanswered, .silent = "the system's address book"};
    }

private slots:
    void cleanup() { contactsDouble::release(); }

    void silentStoreIsGivenUpAfterThreeSeconds_data()
    {
        QTest::addColumn<Play>("play");
        QTest::newRow("no answer") << Play{.access = Access::Unanswered};
        QTest::newRow("a call that does not return") << Play{.blocksWhenAsked = true};
        QTest::newRow("no contact") << Play{.contacts = people(3), .blocksAfter = 0};
    }

    void silentStoreIsGivenUpAfterThreeSeconds()
    {
        QFETCH(const Play, play);
        contactsDouble::begin(play);
        const Visit gone = visit(ContactsFrameworkSource());
        QVERIFY(gone.contacts.empty());
        QVERIFY(gone.reading == silent());
        QVERIFY2(gone.milliseconds >= 2990, qPrintable(QString::number(gone.milliseconds)));
        QVERIFY2(gone.milliseconds < 3500, qPrintable(QString::number(gone.milliseconds)));
    }

    void lateAnswerTouchesNothing()
    {
        contactsDouble::begin({.contacts = people(3), .answersAfter = 3300ms});
        int visits = 0;
        QElapsedTimer time;
        time.start();
        {
            const ContactsFrameworkSource source;
            source.forEachContact([&visits](const Contact&) { ++visits; });
        }
        QVERIFY2(time.elapsed() < 3250, qPrintable(QString::number(time.elapsed())));
        contactsDouble::release(); // waits for the late answer
        QVERIFY(time.elapsed() >= 3300);
        QVERIFY(contactsDouble::record().calls == Texts({"create", "ask"}));
        QCOMPARE(visits, 0);
    }

    void callAfterALateAnswerHasTheContacts()
    {
        contactsDouble::begin({.contacts = people(3), .answersAfter = 300ms});
        QVERIFY(visit(ContactsFrameworkSource({}, 100ms)).contacts.empty());
        contactsDouble::release();
        contactsDouble::begin({.contacts = people(3)});
        QVERIFY(visit(ContactsFrameworkSource()).contacts == people(3));
    }

    void unansweredCallDoesNotHoldUpTheNext()
    {
        contactsDouble::begin({.access = Access::Unanswered});
        QVERIFY(visit(ContactsFrameworkSource({}, 200ms)).contacts.empty());
        contactsDouble::begin({.contacts = people(2)});
        const Visit next = visit(ContactsFrameworkSource());
        QVERIFY(next.contacts == people(2));
        QVERIFY(next.milliseconds < 1500);
    }

    void storeThatStopsHalfWayKeepsWhatItGave()
    {
        contactsDouble::begin({.contacts = people(5), .blocksAfter = 2});
        const Visit part = visit(ContactsFrameworkSource({}, 300ms));
        QVERIFY(part.contacts == people(2));
        QVERIFY(part.reading == silent());
        QVERIFY(part.milliseconds < 800);
    }

    void enumerationThatGoesOnLaterIsStopped()
    {
        contactsDouble::begin({.contacts = people(1000), .blocksAfter = 2});
        const Visit part = visit(ContactsFrameworkSource({}, 100ms));
        contactsDouble::release();
        QCOMPARE(part.contacts.size(), 2U);
        QCOMPARE(contactsDouble::record().handedOut, 3U); // the third stops the enumeration
    }

    void slowStoreIsHeardOutAsLongAsItSpeaks()
    {
        contactsDouble::begin({.contacts = people(8), .betweenContacts = 100ms});
        const Visit slow = visit(ContactsFrameworkSource({}, 500ms));
        QVERIFY(slow.contacts == people(8));
        QVERIFY(slow.reading == ContactReading{ContactOutcome::Complete});
        QVERIFY(slow.milliseconds >= 800);
    }

    void accessAloneIsNoReasonToWaitLonger()
    {
        contactsDouble::begin({.contacts = people(1), .answersAfter = 400ms, .blocksAfter = 0});
        const Visit none = visit(ContactsFrameworkSource({}, 600ms));
        QVERIFY(none.contacts.empty());
        QVERIFY(none.milliseconds >= 600);
        QVERIFY2(none.milliseconds < 900, qPrintable(QString::number(none.milliseconds)));
    }

    void userMayTakeLongerThanTheTimeout()
    {
        contactsDouble::begin({.contacts = people(3), .answersAfter = 600ms, .prompts = true});
        int opened = 0;
        const Visit late
            = visit(ContactsFrameworkSource({.onOpen = [&opened] { ++opened; }}, 100ms));
        QVERIFY(late.contacts == people(3));
        QVERIFY(late.reading == ContactReading{ContactOutcome::Complete});
        QVERIFY(late.milliseconds >= 600);
        QCOMPARE(opened, 1);
    }

    void promptIsToldOnlyIfTheSystemAsks()
    {
        contactsDouble::begin({.contacts = people(3), .answersAfter = 50ms});
        int opened = 0;
        visit(ContactsFrameworkSource({.onOpen = [&opened] { ++opened; }}));
        QCOMPARE(opened, 0);
    }

    void waitForTheUserCanBeCancelled()
    {
        contactsDouble::begin({.access = Access::Unanswered, .prompts = true});
        QElapsedTimer time;
        time.start();
        const auto isCancelled = [&time] { return time.hasExpired(400); };
        const Visit none = visit(ContactsFrameworkSource({.isCancelled = isCancelled}, 100ms));
        QVERIFY(none.reading == silent());
        QVERIFY2(none.milliseconds >= 400, qPrintable(QString::number(none.milliseconds)));
        QVERIFY2(none.milliseconds < 800, qPrintable(QString::number(none.milliseconds)));
    }

    void storeThatIsSilentAfterTheAnswerIsGivenUp()
    {
        contactsDouble::begin(
            {.contacts = people(1), .answersAfter = 400ms, .prompts = true, .blocksAfter = 0});
        const Visit none = visit(ContactsFrameworkSource({}, 300ms));
        QVERIFY(none.reading == silent());
        QVERIFY2(none.milliseconds >= 700, qPrintable(QString::number(none.milliseconds)));
        QVERIFY2(none.milliseconds < 1100, qPrintable(QString::number(none.milliseconds)));
    }
};

QTEST_GUILESS_MAIN(SilentStoreTest)
#include "SilentStoreTest.moc"
