#include "contacts/ContactNames.h"
#include "contacts/ContactSource.h"
#include "support/Printing.h"

#include <memory>
#include <utility>
#include <vector>

namespace korvane {

namespace {

/// A contact source with these contacts and this outcome.
class Place : public ContactSource {
public:
    explicit Place(std::vector<Contact> contacts,
        ContactReading reading = {.outcome = ContactOutcome::Complete})
        : m_contacts(std::move(contacts))
        , m_reading(std::move(reading))
    {
    }

    ContactReading forEachContact(const Visitor& visit) const override
    {
        for (const Contact& contact : m_contacts)
            visit(contact);
        return m_reading;
    }

private:
    std::vector<Contact> m_contacts;
    ContactReading m_reading;
};

ContactReading silent(const std::string& place)
{
    return {.outcome = ContactOutcome::Unanswered, .silent = place};
}

using Map = std::unordered_map<std::string, std::string>;

ContactSources sourcesOf(std::vector<Contact> contacts)
{
    ContactSources sources;
    sources.push_back(std::make_unique<Place>(std::move(contacts)));
    return sources;
}

ContactNames namesOf(std::vector<Contact> contacts)
{
    return ContactNames::load(sourcesOf(std::move(contacts))).names;
}

Contact named(const std::string& name, const std::string& number)
{
    return {.givenName = name, .phoneNumbers = {number}};
}

} // namespace

/// The map from normalised handle to display name: keys, names, contacts that share a key, and
/// sources that fail.
class ContactNamesTest : public QObject {
    Q_OBJECT

private slots:
    void normalizesHandles_data()
    {
        QTest::addColumn<std::string>("handle");
        QTest::addColumn<std::string>("key");

        const auto row = [](const char* name, std::string handle, std::string key) {
            QTest::newRow(name) << std::move(handle) << std::move(key);
        };
        row("nothing", "", "");
        row("a number with country code", "+1 (555) 123-4567", "5551234567");
        row("a number without", "555-123-4567", "5551234567");
        row("ten digits", "5551234567", "5551234567");
        row("eleven digits", "15551234567", "5551234567");
        row("nine digits", "555123456", "555123456");
        row("a short code", "22000", "22000");
        row("zeros at the front", "000", "000");
        row("only the last ten of many", "12345678901234567890", "1234567890");
        row("no digits", "unknown", "");
        row("digits between letters", "a1b2c3", "123");
        row("letters of a vanity number are no digits", "1-800-FLOWERS", "1800");
        row("Arabic digits", "\u0661\u0662\u0663", "\u0661\u0662\u0663");
        row("Devanagari digits", "\u0967\u0968", "\u0967\u0968");
        row("fullwidth digits", "\uFF11\uFF12", "\uFF11\uFF12");
        row("numerals of Chinese", "\u4E09\u5341\u767E\u5143",
            "\u4E09\u5341\u767E"); // 三十百, not 元
        row("a fraction", "\u00BD-1",
            "\u00BD"
            "1");
        row("raised and circled digits", "\u00B2\u2460", "\u00B2\u2460");
        row("Roman numerals, and plain letters", "\u2163 IV", "\u2163");
        row("digits beyond the first plane", "\U0001D7D8x\U00010107", "\U0001D7D8\U00010107");
        row("the last ten count characters, not bytes",
            "9\u4E09\u4E09\u4E09\u4E09\u4E09"
            "12345",
            "\u4E09\u4E09\u4E09\u4E09\u4E09"
            "12345");
        row("ill-formed bytes are no digits",
            "1\xFF\xE4\xB8"
            "2",
            "12");
        row("a NUL is no digit",
            std::string("1\0"
                        "2",
                3),
            "12");

        row("an address", "Ann.Lee@Example.ORG", "ann.lee@example.org");
        row("an address is not trimmed", " Ann@X.org\n", " ann@x.org\n");
        row("an address of digits stays whole", "+15551234567@X.org", "+15551234567@x.org");
        row("only the sign", "@", "@");
        row("letters beyond ASCII", "\u00C4\u00D6\u00DC@x", "\u00E4\u00F6\u00FC@x");
        row("other scripts", "\u0416\u0394\u13A0@x", "\u0436\u03B4\uAB70@x");
        row("a letter that grows", "\u0130@x", "i\u0307@x");
        row("no Turkish rule", "I\u0131@x", "i\u0131@x");
        row("the capital sharp s", "\u1E9E@x", "\u00DF@x");
        row("no folding of the small sharp s", "\u00DF@x", "\u00DF@x");
        row("the Kelvin sign", "\u212A@x", "k@x");
        row("a sigma inside a word", "\u03A3\u0391@x", "\u03C3\u03B1@x");
        row("a sigma at the end of a word", "\u0391\u03A3@", "\u03B1\u03C2@");
        row("letters beyond the first plane", "\U00010400@x", "\U00010428@x");
        row("a fullwidth sign is none",
            "a\uFF20"
            "1",
            "1");
    }

    void normalizesHandles()
    {
        QFETCH(std::string, handle);
        QFETCH(std::string, key);
        QCOMPARE(ContactNames::normalize(handle), key);
    }

    void namesContacts_data()
    {
        QTest::addColumn<std::string>("given");
        QTest::addColumn<std::string>("family");
        QTest::addColumn<std::string>("organization");
        QTest::addColumn<std::string>("name");

        const auto row = [](const char* name, std::string given, std::string family,
                             std::string organization, std::string expected) {
            QTest::newRow(name) << std::move(given) << std::move(family) << std::move(organization)
                                << std::move(expected);
        };
        row("both names", "Ann", "Lee", "Acme", "Ann Lee");
        row("the given name alone", "Ann", "", "Acme", "Ann");
        row("the family name alone", "", "Lee", "Acme", "Lee");
        row("the organisation alone", "", "", "Acme", "Acme");
        row("nothing is trimmed", " Ann ", " Lee", "", " Ann   Lee");
        row("a blank is a name", " ", "", "Acme", " ");
        row("two blanks", " ", " ", "Acme", "   ");
    }

    void namesContacts()
    {
        QFETCH(std::string, given);
        QFETCH(std::string, family);
        QFETCH(std::string, organization);
        QFETCH(std::string, name);
        const ContactNames names = namesOf({{given, family, organization, {"555"}, {"a@x.org"}}});
        QVERIFY(names.map == (Map{{"555", name}, {"a@x.org", name}}));
    }

    void findsANumberHoweverItIsWritten()
    {
        const ContactNames names = namesOf({named("Ann", "555.123.4567")});
        QCOMPARE(names.name("+1 555 123 4567"), "Ann");
        QCOMPARE(names.name("(555) 123-4567"), "Ann");
        QCOMPARE(names.name("555.123.4567"), "Ann");
        QCOMPARE(names.name("123-4567"), "123-4567");
    }

    void findsAnAddressInAnyCase()
    {
        const ContactNames names
            = namesOf({{.givenName = "Ann", .emailAddresses = {"Ann.Lee@Example.org"}}});
        QCOMPARE(names.name("ann.lee@example.org"), "Ann");
        QCOMPARE(names.name("ANN.LEE@EXAMPLE.ORG"), "Ann");
        QCOMPARE(names.name("annlee@example.org"), "annlee@example.org");
    }

    void unknownHandleStaysAsItIs()
    {
        const ContactNames names = namesOf({named("Ann", "555")});
        for (const char* handle : {"+1 (555) 999", "Bo@Example.ORG", " ", "", "urn:biz:x"}) {
            QCOMPARE(names.name(handle), std::string(handle));
            QCOMPARE(names.find(handle), nullptr);
        }
        QCOMPARE(*names.find("5-5-5"), "Ann");
        QCOMPARE(ContactNames().name("Bo@Example.ORG"), "Bo@Example.ORG");
    }

    void allNumbersAndAddressesLeadToTheName()
    {
        const ContactNames names
            = namesOf({{"Ann", "Lee", "", {"+1 555 0100", "555 0101"}, {"A@x.org", "b@X.org"}}});
        const std::string ann = "Ann Lee";
        QVERIFY(names.map
            == (Map{{"15550100", ann}, {"5550101", ann}, {"a@x.org", ann}, {"b@x.org", ann}}));
    }

    void contactWithoutNameEntersNothing()
    {
        QVERIFY(namesOf({{"", "", "", {"555"}, {"a@x.org"}}}).map.empty());
        const ContactNames names
            = namesOf({named("Ann", "555"), {"", "", "", {"555", "777"}, {}}, named("Bo", "888")});
        QVERIFY(
            names.map == (Map{{"555", "Ann"}, {"888", "Bo"}})); // a nameless one replaces nothing
    }

    void lastContactTakesAKeyOver()
    {
        const ContactNames names
            = namesOf({named("Ann", "555-0100"), named("Bo", "5550100"), named("Cy", "+1 (2) 3")});
        QCOMPARE(names.name("5550100"), "Bo");
        QCOMPARE(names.map.size(), std::size_t(2));
    }

    void lastSourceTakesAKeyOver()
    {
        ContactSources sources = sourcesOf({named("Ann", "555"), named("Bo", "777")});
        sources.push_back(std::make_unique<Place>(std::vector{named("Cy", "5-5-5")}));
        const ContactNames names = ContactNames::load(sources).names;
        QCOMPARE(names.name("555"), "Cy");
        QCOMPARE(names.name("777"), "Bo");
    }

    void numberWithoutDigitsEntersTheEmptyKey()
    {
        const ContactNames names = namesOf({named("Ann", "ask her")});
        QVERIFY(names.map == (Map{{"", "Ann"}}));
        QCOMPARE(names.name("unknown"), "Ann");
        QCOMPARE(names.name(""), "Ann");
        QCOMPARE(names.name("x@y"), "x@y");
    }

    void failingSourceKeepsWhatItGave()
    {
        ContactSources sources;
        sources.push_back(std::make_unique<Place>(
            std::vector{named("Ann", "555"), named("Bo", "777")}, silent("book")));
        sources.push_back(std::make_unique<Place>(std::vector<Contact>(), silent("other book")));
        sources.push_back(std::make_unique<Place>(std::vector{named("Cy", "888")}));
        const LoadedNames loaded = ContactNames::load(sources);
        QVERIFY(loaded.names.map == (Map{{"555", "Ann"}, {"777", "Bo"}, {"888", "Cy"}}));
        QVERIFY(loaded.isUnanswered());
        QCOMPARE(loaded.reading.silent, "book");
    }

    void withoutSourcesOrContactsTheMapIsEmpty()
    {
        QVERIFY(ContactNames::load(ContactSources()) == LoadedNames());
        QVERIFY(namesOf({}).map.empty());
        QVERIFY(namesOf({}) == ContactNames());
        QVERIFY(namesOf({named("Ann", "555")}) != ContactNames());
    }

    void contactsWithoutNameAreCounted()
    {
        const LoadedNames loaded
            = ContactNames::load(sourcesOf({{.phoneNumbers = {"555"}}, named("Ann", "777")}));
        QCOMPARE(loaded.contacts, std::size_t(2));
        QCOMPARE(loaded.names.map.size(), std::size_t(1));
    }

    void severalSourcesHaveOneOutcome_data()
    {
        using enum ContactOutcome;
        QTest::addColumn<std::vector<ContactOutcome>>("each");
        QTest::addColumn<ContactOutcome>("all");
        const auto row = [](const char* name, std::vector<ContactOutcome> each,
                             ContactOutcome all) { QTest::newRow(name) << std::move(each) << all; };
        row("no source", {}, Missing);
        row("none is there", {Missing, Missing}, Missing);
        row("one is denied", {Missing, Denied, Missing}, Denied);
        row("one is complete", {Denied, Complete, Missing}, Complete);
        row("the first is silent", {Unanswered, Complete}, Unanswered);
        row("the last is silent", {Complete, Missing, Unanswered}, Unanswered);
        row("only one, and it is silent", {Unanswered}, Unanswered);
    }

    void severalSourcesHaveOneOutcome()
    {
        QFETCH(const std::vector<ContactOutcome>, each);
        QFETCH(const ContactOutcome, all);
        ContactSources sources;
        for (const ContactOutcome outcome : each)
            sources.push_back(
                std::make_unique<Place>(std::vector<Contact>(), ContactReading{outcome, ""}));
        const LoadedNames loaded = ContactNames::load(sources);
        QCOMPARE(loaded.reading.outcome, all);
        QCOMPARE(loaded.isUnanswered(), all == ContactOutcome::Unanswered);
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::ContactNamesTest)
#include "ContactNamesTest.moc"
