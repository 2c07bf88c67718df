#include "contacts/Cards.h"

namespace korvane {

/// The cards of a file that are contacts, and the properties that name them.
class VCardTest : public QObject {
    Q_OBJECT

private slots:
    void readsTheFiveFields_data()
    {
        addCardColumns();
        const Contact jane{"Jane", "Doe", "Acme", {"555-0100", "555-0101"}, {"j@x.org", "k@x.org"}};
        row("all five, phones and addresses in order",
            card("N:Doe;Jane;Q.;Dr.;Jr.\r\nORG:Acme;Sales\r\nTEL:555-0100\r\nEMAIL:j@x.org\r\n"
                 "TEL:555-0101\r\nEMAIL:k@x.org"),
            {jane});
        row("version 4.0 with its own properties",
            "BEGIN:VCARD\nVERSION:4.0\nUID:urn:uuid:1\nFN;PREF=1:Jane Doe\nN;ALTID=1:Doe;Jane;;;\n"
            "GENDER:F\nEND:VCARD\n",
            {person("Jane", "Doe")});
        row("names of properties in any case",
            "begin:vcard\nversion:3.0\nn:Doe;Jane\ntEl:555\nEnd:vCard\n",
            {{"Jane", "Doe", "", {"555"}, {}}});
        row("a group before the name, as iPhones write it",
            card("item1.EMAIL;type=pref:j@x.org\r\nitem1.X-ABLabel:_$!<Other>!$_\r\nitem2.TEL:555"),
            {{"", "", "", {"555"}, {"j@x.org"}}});
        row("family name alone", card("N:Doe"), {person("", "Doe")});
        row("given name alone", card("N:;Jane;;;"), {person("Jane", "")});
        row("only names that do not count", card("N:;;Q.;Dr.;Jr.\r\nTEL:1"), {phone("1")});
        row("the first of several names wins", card("N:Doe;Jane\r\nN:Roe;Rita"),
            {person("Jane", "Doe")});
        row("an empty name does not hide the second one", card("N:;;;;\r\nN:Roe;Rita"),
            {person("Rita", "Roe")});
        row("the first organisation wins", card("ORG:\r\nORG:Acme\r\nORG:Bolt"),
            {organization("Acme")});
        row("a unit alone is no organisation", card("ORG:;Sales\r\nTEL:1"), {phone("1")});
        row("empty values add nothing", card("N:Doe;\r\nTEL:\r\nTEL;TYPE=cell: \r\nEMAIL:\r\nORG:"),
            {person("", "Doe")});
        row("names that only begin like ours",
            card("NICKNAME:Jinx\r\nTELEX:7\r\nX-TEL:8\r\nORGANIZER:x\r\nEMAILS:y\r\nNOTE:n\r\nTEL:"
                 "1"),
            {phone("1")});
        row("names and numbers in fields of a maker's own",
            card("X-PHONETIC-FIRST-NAME:Jein\r\nX-PHONETIC-LAST-NAME:Dou\r\nX-PHONE:9\r\n"
                 "X-AIM:jane\r\nX-ANDROID-CUSTOM:vnd.android.cursor.item/nickname;Jinx;1;;\r\n"
                 "X-MAIDENNAME:Roe\r\nX-EMAIL:k@x.org\r\nX-ORG:Bolt\r\nX-N:Roe;Rita\r\nN:Doe;Jane"),
            {person("Jane", "Doe")});
        row("a card as Evolution keeps it",
            card("PRODID:-//Example//EN\r\nUID:pas-id-5CE9F53C\r\nN:Doe;Jane;;;\r\nFN:Jane Doe\r\n"
                 "X-EVOLUTION-FILE-AS:Doe\\, Jane\r\nORG:Acme;Sales\r\n"
                 "TEL;X-EVOLUTION-E164=5550100,\"+1\";TYPE=CELL:+1 555-0100\r\n"
                 "EMAIL;TYPE=WORK;X-EVOLUTION-UI-SLOT=1:j@x.org\r\nX-EVOLUTION-VIDEO-URL:\r\n"
                 "REV:2026-11-21T16:12:45Z"),
            {{"Jane", "Doe", "Acme", {"+1 555-0100"}, {"j@x.org"}}});
        row("several values in one phone line stay together", card("TEL:555-1,,22#"),
            {phone("555-1,,22#")});
    }

    void readsTheFiveFields()
    {
        QFETCH(std::string, file);
        QFETCH(Contacts, expected);
        QCOMPARE(contactsIn(file), expected);
    }

    void namesACardWithoutUsableName_data()
    {
        addCardColumns();
        row("a display name alone", card("FN:Jane Doe"), {person("Jane Doe", "")});
        row("a display name beside an empty name", card("N:;;;;\r\nFN:Jane Doe"),
            {person("Jane Doe", "")});
        row("a display name beside a name does not count", card("FN:Dr. Jane Doe\r\nN:Doe;Jane"),
            {person("Jane", "Doe")});
        row("a display name beside half a name does not count", card("FN:Jane Doe\r\nN:;Jane"),
            {person("Jane", "")});
        row("the card of a company", card("N:;;;;\r\nFN:Acme\r\nORG:Acme;\r\nX-ABShowAs:COMPANY"),
            {organization("Acme")});
        row("the card of a company that comes first", card("ORG:Acme\r\nFN:Acme"),
            {organization("Acme")});
        row("a person with a display name who works at a company", card("FN:Jane Doe\r\nORG:Acme"),
            {{"Jane Doe", "", "Acme", {}, {}}});
        row("a company with another display name", card("N:;;;;\r\nFN:Garage Ann\r\nORG:Acme"),
            {organization("Acme")});
        row("the first display name wins", card("FN:\r\nFN:Jane\r\nFN:Rita"), {person("Jane", "")});
        row("a display name is one text, semicolons and all", card("FN:Doe; Jane, Dr."),
            {person("Doe; Jane, Dr.", "")});
        row("no name of any kind", card("EMAIL:j@x.org"), {email("j@x.org")});
    }

    void namesACardWithoutUsableName()
    {
        QFETCH(std::string, file);
        QFETCH(Contacts, expected);
        QCOMPARE(contactsIn(file), expected);
    }

    void tellsCardsApart_data()
    {
        addCardColumns();
        row("several cards", card("TEL:1") + card("TEL:2") + oldCard("TEL:3"),
            {phone("1"), phone("2"), phone("3")});
        row("garbage between cards",
            "TEL:0\n\n<html>\n" + card("TEL:1") + "TEL:9\n" + card("TEL:2"),
            {phone("1"), phone("2")});
        row("no END before the next card", "BEGIN:VCARD\nTEL:1\nBEGIN:VCARD\nTEL:2\nEND:VCARD\n",
            {phone("1"), phone("2")});
        row("no END before the end", "BEGIN:VCARD\nN:Doe;Jane", {person("Jane", "Doe")});
        row("an END too many", card("TEL:1") + "END:VCARD\nTEL:9\n" + card("TEL:2"),
            {phone("1"), phone("2")});
        row("an agent's card inside",
            oldCard("AGENT:\r\nBEGIN:VCARD\r\nVERSION:3.0\r\nN:Roe;Rita\r\nTEL:9\r\nEND:"
                    "VCARD\r\nTEL:1"),
            {phone("1")});
        row("an agent's card that begins on the agent's line",
            oldCard("item1.AGENT: BEGIN:VCARD\r\nTEL:9\r\nEND:VCARD\r\nTEL:1"), {phone("1")});
        row("an agent's card after a blank line",
            oldCard("AGENT:\r\n\r\nBEGIN:VCARD\r\nTEL:9\r\nEND:VCARD\r\nTEL:1"), {phone("1")});
        row("an agent's agent",
            oldCard(
                "AGENT:\r\nBEGIN:VCARD\r\nTEL:8\r\nAGENT:\r\nBEGIN:VCARD\r\nTEL:9\r\nEND:VCARD\r\n"
                "TEL:8\r\nEND:VCARD\r\nTEL:1"),
            {phone("1")});
        row("an agent in one escaped line",
            card("AGENT:BEGIN:VCARD\\nTEL:9\\nEND:VCARD\\n\r\nTEL:1"), {phone("1")});
        row("an agent without a card is followed by the next card",
            "BEGIN:VCARD\nAGENT:\nTEL:1\nBEGIN:VCARD\nTEL:2\nEND:VCARD\n",
            {phone("1"), phone("2")});
        row("other things that begin and end", card("BEGIN:VEVENT\r\nEND:VEVENT\r\nTEL:1"),
            {phone("1")});
    }

    void tellsCardsApart()
    {
        QFETCH(std::string, file);
        QFETCH(Contacts, expected);
        QCOMPARE(contactsIn(file), expected);
    }

    void leavesOutWhatIsNoContact_data()
    {
        addCardColumns();
        row("an empty file", "", {});
        row("a file of something else", "\x89PNG\r\n\x1a\nTEL:1\n", {});
        row("a card with nothing of ours", card("NOTE:hello\r\nN:;;;;\r\nFN:"), {});
        row("a distribution list of Evolution", card("FN:All\r\nX-EVOLUTION-LIST:TRUE\r\nEMAIL:a"),
            {});
        row("no distribution list of Evolution", card("X-EVOLUTION-LIST:FALSE\r\nEMAIL:a"),
            {email("a")});
        row("a group of version 4.0", card("KIND:group\r\nFN:All\r\nMEMBER:urn:uuid:1"), {});
        row("a group of an address book server",
            card("N:All;;;;\r\nX-ADDRESSBOOKSERVER-KIND:Group\r\n"
                 "X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:1"),
            {});
        row("a group whose kind is told last", card("FN:All\r\nEMAIL:a\r\nitem1.KIND: GROUP "), {});
        row("an individual", card("KIND:individual\r\nEMAIL:a"), {email("a")});
        row("a group does not hide the next card", card("KIND:group\r\nFN:All") + card("FN:Jane"),
            {person("Jane", "")});
    }

    void leavesOutWhatIsNoContact()
    {
        QFETCH(std::string, file);
        QFETCH(Contacts, expected);
        QCOMPARE(contactsIn(file), expected);
    }

    void readsPastTenMegabytesInOneLine_data()
    {
        addCardColumns();
        std::string endless;
        endless.resize(10'000'000, 'A');
        const auto between = [](const std::string& line) {
            return card("N:Doe;Jane\r\nORG:Acme\r\n" + line + "\r\nTEL:1\r\nEMAIL:j@x.org");
        };
        const Contacts jane = {{"Jane", "Doe", "Acme", {"1"}, {"j@x.org"}}};
        row("a note", between("NOTE:" + endless), jane);
        row("a photo", between("PHOTO;ENCODING=b;TYPE=JPEG:" + endless), jane);
        row("nothing that has a colon", between(endless), jane);
        row("the name of a property", between(endless + ":2"), jane);
        row("a parameter", between("NOTE;X-LABEL=" + endless + ":2"), jane);
        row("an address", card("N:Doe;Jane\r\nTEL:1\r\nEMAIL:" + endless),
            {{"Jane", "Doe", "", {"1"}, {endless}}});
        row("garbage between cards", card("TEL:1") + endless + "\r\n" + card("TEL:2"),
            {phone("1"), phone("2")});
    }

    void readsPastTenMegabytesInOneLine()
    {
        QFETCH(std::string, file);
        QFETCH(Contacts, expected);
        QVERIFY(contactsIn(file) == expected); // QCOMPARE would print up to ten megabytes
    }

    void survivesDamage_data()
    {
        addCardColumns();
        row("lines without a colon", card("TEL\r\nEMAIL;TYPE=home\r\n\r\n;;;\r\nTEL:1\r\n="),
            {phone("1")});
        row("lines of nothing but a colon", card(":\r\n:TEL\r\n.:x\r\nTEL:1"), {phone("1")});
        row("NULs inside a value", card(withNulls("N:D\0oe;Ja\0ne")), {person("Jane", "Doe")});
        row("NULs between cards", card("TEL:1") + std::string(4096, '\0') + card("TEL:2"),
            {phone("1"), phone("2")});
        row("an END swallowed by a soft line break",
            "BEGIN:VCARD\nN;QUOTED-PRINTABLE:Doe;Jane=\nEND:VCARD\nBEGIN:VCARD\nTEL:2\nEND:VCARD\n",
            {person("Jane", "Doe"), phone("2")});
        row("an indented END", "BEGIN:VCARD\nTEL:1\n  END:VCARD\n" + card("TEL:2"),
            {phone("1"), phone("2")});
        row("a file cut off in a photo", "BEGIN:VCARD\nTEL:1\nPHOTO;ENCODING=b:AAAA\n BBBB\n CC",
            {phone("1")});
        row("a file cut off in a quoted parameter", "BEGIN:VCARD\nTEL:1\nEMAIL;TYPE=\"ho",
            {phone("1")});
        row("a file cut off in a soft line break",
            "BEGIN:VCARD\nN;ENCODING=QUOTED-PRINTABLE:Doe=", {person("", "Doe")});
    }

    void survivesDamage()
    {
        QFETCH(std::string, file);
        QFETCH(Contacts, expected);
        QCOMPARE(contactsIn(file), expected);
    }

    void readsTheFirstOfThreeThousandCardsAndTheLast()
    {
        std::string file;
        for (int i = 1; i <= 3000; ++i)
            file += card("TEL:" + std::to_string(i));
        const Contacts contacts = contactsIn(file);
        QCOMPARE(contacts.size(), std::size_t(3000));
        QCOMPARE(contacts.front(), phone("1"));
        QCOMPARE(contacts.back(), phone("3000"));
    }

    void takesNoLongerThanTheFileIsLong_data()
    {
        QTest::addColumn<std::string>("start");
        QTest::addColumn<std::string>("repeated");

        const auto endless = [](const char* name, const char* start, const char* repeated) {
            QTest::newRow(name) << std::string(start) << std::string(repeated);
        };
        endless("letters", "NOTE:", "a");
        endless("folds", "TEL:", "\r\n ");
        endless("line feeds", "", "\n");
        endless("carriage returns", "", "\r");
        endless("quotes", "TEL;X=", "\"");
        endless("parameters", "TEL", ";A=\"b");
        endless("semicolons", "N:", ";");
        endless("backslashes", "N:", "\\");
        endless("equals signs", "N;QUOTED-PRINTABLE:", "=");
        endless("soft line breaks", "N;QUOTED-PRINTABLE:", "=\n");
        endless("spaces after equals signs", "N;QUOTED-PRINTABLE:", "=   ");
        endless("beginnings", "", "BEGIN:VCARD\n");
        endless("agents", "", "AGENT:\nBEGIN:VCARD\n");
    }

    void takesNoLongerThanTheFileIsLong()
    {
        QFETCH(std::string, start);
        QFETCH(std::string, repeated);
        std::string file = "BEGIN:VCARD\nTEL:1\n" + start;
        while (file.size() < 1'000'000)
            file += repeated;

        QElapsedTimer timer;
        timer.start();
        const Contacts contacts = contactsIn(file);
        QVERIFY(timer.elapsed() < 5'000);
        QVERIFY(!contacts.empty());
        QCOMPARE(contacts.front().phoneNumbers.front(), "1");
    }

    void readsEightMegabytesOfOneLineBreakInLinearTime_data()
    {
        QTest::addColumn<std::string>("lineBreak");
        QTest::newRow("CR") << std::string("\r");
        QTest::newRow("LF") << std::string("\n");
        QTest::newRow("CRLF") << std::string("\r\n");
    }

    /// A search for a line break that the file does not contain, repeated in each line, would take
    /// a minute.
    void readsEightMegabytesOfOneLineBreakInLinearTime()
    {
        QFETCH(std::string, lineBreak);
        const std::string line = "NOTE:" + std::string(60, 'a') + lineBreak;
        std::string file = "BEGIN:VCARD" + lineBreak;
        while (file.size() < 8'000'000)
            file += line;
        file += "TEL:1" + lineBreak + "END:VCARD" + lineBreak;

        QElapsedTimer timer;
        timer.start();
        QVERIFY(contactsIn(file) == Contacts({phone("1")}));
        QVERIFY2(timer.elapsed() < 5'000, qPrintable(QString::number(timer.elapsed())));
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::VCardTest)
#include "VCardTest.moc"
