#include "contacts/Cards.h"

#include <QStringEncoder>

namespace korvane {

/// Decoding the values of a card: folded lines, parameters, encodings, escapes and URIs.
class VCardTextTest : public QObject {
    Q_OBJECT

private slots:
    void joinsLines_data()
    {
        addCardColumns();
        const Contacts jane = {person("Jane", "Doe")};
        row("ended by CRLF", "BEGIN:VCARD\r\nN:Doe;Jane\r\nEND:VCARD\r\n", jane);
        row("ended by LF", "BEGIN:VCARD\nN:Doe;Jane\nEND:VCARD\n", jane);
        row("ended by CR", "BEGIN:VCARD\rN:Doe;Jane\rEND:VCARD\r", jane);
        row("ended by CR CRLF", "BEGIN:VCARD\r\r\nN:Doe;\r\r\n Jane\r\r\nEND:VCARD\r\r\n", jane);
        row("ended by all of them", "BEGIN:VCARD\rN:Doe;Jane\nTEL:1\r\nEND:VCARD",
            {{"Jane", "Doe", "", {"1"}, {}}});
        row("folded before a space", card("N:Do\r\n e;Ja\r\n ne"), jane);
        row("folded before a tab", card("N:Do\n\te;Ja\n\tne"), jane);
        row("folded after CR", card("N:Do\r e;Ja\r ne"), jane);
        row("only one space belongs to the fold", card("N:van\r\n  Doe;Jane"),
            {person("Jane", "van Doe")});
        row("folded inside a character", card("N:Do\xC3\r\n \xAB;Jane"), {person("Jane", "Doë")});
        row("folded inside the parameters", card("TEL;TYPE=cell;\r\n TYPE=voi\r\n ce:555"),
            {phone("555")});
        row("folded inside an encoding", oldCard("N;ENCODING=QUOTED-\r\n PRINTABLE:D=6Fe"),
            {person("", "Doe")});
        row("folded inside the name of a property", card("EMA\r\n IL:j@x.org"), {email("j@x.org")});
        row("folded into nothing", card("N:Doe;Jane\r\n \r\n\t"), jane);
        row("blank lines between", card("\r\nN:Doe;Jane\r\n\r\n\r\nTEL:1"),
            {{"Jane", "Doe", "", {"1"}, {}}});
        row("indented after a blank line", card("N:Doe;Jane\r\n\r\n  TEL:1"),
            {{"Jane", "Doe", "", {"1"}, {}}});
        row("white space at the ends of lines",
            "BEGIN:VCARD \nVERSION:3.0\t\nN:Doe;Jane  \nEND:VCARD  \n", jane);
        row("white space around the colon", "BEGIN : VCARD\nN : Doe;Jane\nEND : VCARD\nTEL:9",
            jane);
        row("a folded note is no property", card("NOTE:call\r\n TEL:9\r\nTEL:1"), {phone("1")});
        row("no line break at the end", "BEGIN:VCARD\nN:Doe;Jane\nEND:VCARD", jane);
    }

    void joinsLines() { compareContacts(); }

    void passesOverPhotos_data()
    {
        addCardColumns();
        const std::string base64(60, 'A');
        std::string folded, bare;
        for (int i = 0; i < 3000; ++i) {
            folded += "\r\n " + base64;
            bare += "\r\n" + base64;
        }
        row("folded", card("PHOTO;ENCODING=b;TYPE=JPEG:" + folded + "\r\nTEL:1"), {phone("1")});
        row("in one line", card("PHOTO;ENCODING=b:" + std::string(200'000, 'A') + "\r\nTEL:1"),
            {phone("1")});
        row("ended by a blank line", oldCard("PHOTO;JPEG;BASE64:" + bare + "==\r\n\r\nTEL:1"),
            {phone("1")});
        row("ended by nothing at all", oldCard("PHOTO;ENCODING=BASE64:" + bare + "=\r\nTEL:1"),
            {phone("1")});
        row("padded like a soft line break", card("PHOTO;ENCODING=b:AAA=\r\nTEL:1"), {phone("1")});
        row("as a URI of version 4.0", card("PHOTO:data:image/jpeg;base64,AAAA\r\nTEL:1"),
            {phone("1")});
        row("with lines that read like properties",
            oldCard("PHOTO;ENCODING=BASE64:\r\nTEL\r\nEND\r\nN=\r\n\r\nTEL:1"), {phone("1")});
    }

    void passesOverPhotos() { compareContacts(); }

    void readsParameters_data()
    {
        addCardColumns();
        row("types, preferences and languages do not matter",
            card("TEL;TYPE=CELL,VOICE;TYPE=pref;PREF=1;LANGUAGE=de:1\r\nTEL;HOME;VOICE:2"),
            {{"", "", "", {"1", "2"}, {}}});
        row("a quoted colon", card("TEL;X-LABEL=\"work: desk\":1"), {phone("1")});
        row("a quoted semicolon and comma", card("TEL;X-LABEL=\"a;CHARSET=b,c\":1"), {phone("1")});
        row("a quote that is never closed", card("TEL;X-LABEL=\"work:1"), {phone("1")});
        row("quotes in the value", card("FN:Jane \"J: D\" Doe"), {person("Jane \"J: D\" Doe", "")});
        row("a quoted encoding", card("N;ENCODING=\"quoted-printable\":D=6Fe"),
            {person("", "Doe")});
        row("white space around parameters",
            card("N ; CHARSET = ISO-8859-1 ; ENCODING = QUOTED-PRINTABLE :D=F6e"),
            {person("", "Döe")});
        row("empty parameters", card("TEL;;=;TYPE=;:1"), {phone("1")});
        row("names of parameters in any case",
            card("N;charset=iso-8859-1:D\xF6"
                 "e"),
            {person("", "Döe")});
    }

    void readsParameters() { compareContacts(); }

    void decodesQuotedPrintable_data()
    {
        addCardColumns();
        row("named", oldCard("N;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;J=c3=b6rg"),
            {person("Jörg", "Müller")});
        row("bare", oldCard("N;QUOTED-PRINTABLE;CHARSET=UTF-8:M=C3=BCller;J=C3=B6rg"),
            {person("Jörg", "Müller")});
        row("not asked for", oldCard("N:M=C3=BCller;J=41"), {person("J=41", "M=C3=BCller")});
        row("named by another parameter", oldCard("TEL;TYPE=QUOTED-PRINTABLE:=41"), {phone("=41")});
        row("with soft line breaks",
            oldCard("N;ENCODING=QUOTED-PRINTABLE:M=C3=\r\n=BCll=\r\ner;Jane"),
            {person("Jane", "Müller")});
        row("with white space after a soft line break's mark",
            oldCard("N;ENCODING=QUOTED-PRINTABLE:Mül= \t\r\nler;Jane"), {person("Jane", "Müller")});
        row("with a space that begins the next line",
            oldCard("N;ENCODING=QUOTED-PRINTABLE:van=\r\n Doe;Jane"), {person("Jane", "van Doe")});
        row("folded as well", card("N;ENCODING=QUOTED-PRINTABLE:M=C3=BC\r\n ller;Jane"),
            {person("Jane", "Müller")});
        row("in a note that goes on like a property",
            oldCard("NOTE;ENCODING=QUOTED-PRINTABLE:call=0D=0A=\r\nTEL:9=\r\nTEL:8\r\nTEL:1"),
            {phone("1")});
        row("a blank line after a soft line break",
            oldCard("NOTE;ENCODING=QUOTED-PRINTABLE:call=\r\n\r\nTEL:1"), {phone("1")});
        row("digits that are none", oldCard("FN;ENCODING=QUOTED-PRINTABLE:a=G1b=4"),
            {person("a=G1b=4", "")});
        row("a line break at the end", oldCard("FN;ENCODING=QUOTED-PRINTABLE:Jane=0D=0A"),
            {person("Jane", "")});
        row("an escaped semicolon", oldCard("N;ENCODING=QUOTED-PRINTABLE:A=5C=3BB;C"),
            {person("C", "A;B")});
    }

    void decodesQuotedPrintable() { compareContacts(); }

    void decodesCharsets_data()
    {
        addCardColumns();
        row("UTF-8", oldCard("N;CHARSET=UTF-8:Дедов;山田"), {person("山田", "Дедов")});
        row("ISO-8859-1", oldCard("N;CHARSET=ISO-8859-1:M\xFCller;Andr\xE9"),
            {person("André", "Müller")});
        row("windows-1252",
            oldCard("N;CHARSET=windows-1252:O\x92"
                    "Brien;Zo\xEB"),
            {person("Zoë", "O’Brien")});
        row("windows-1251", oldCard("N;CHARSET=WINDOWS-1251:\xC4\xE5\xE4"), {person("", "Дед")});
        row("KOI8-R in quoted-printable",
            oldCard("N;CHARSET=KOI8-R;ENCODING=QUOTED-PRINTABLE:=E4=C5=C4"), {person("", "Дед")});
        row("Shift_JIS, whose second bytes may be backslashes",
            oldCard("N;CHARSET=SHIFT_JIS:\x8E\x52\x93\x63;\x91\xBE\x98\x59\nORG;CHARSET=Shift_JIS:"
                    "\x83\x5C\x83\x6A\x81\x5B"),
            {{"太郎", "山田", "ソニー", {}, {}}});
        row("ISO-2022-JP, all of ASCII", oldCard("FN;CHARSET=ISO-2022-JP:\x1B$B;3ED\x1B(B"),
            {person("山田", "")});
        row("GBK", oldCard("FN;CHARSET=GBK:\xCD\xF5"), {person("王", "")});
        row("UTF-16 in quoted-printable",
            oldCard("FN;CHARSET=UTF-16BE;ENCODING=QUOTED-PRINTABLE:=4E=2D=00=41"),
            {person("中A", "")});
        row("none, UTF-8 in version 2.1", oldCard("FN:Zoë"), {person("Zoë", "")});
        row("none, not UTF-8 in version 2.1", oldCard("FN:Zo\xEB \x80"), {person("Zoë €", "")});
        row("none, and the version told last", "BEGIN:VCARD\nFN:Zo\xEB\nVERSION:2.1\nEND:VCARD\n",
            {person("Zoë", "")});
        row("unknown, UTF-8", oldCard("FN;CHARSET=KLINGON:Zoë"), {person("Zoë", "")});
        row("unknown, not UTF-8", oldCard("FN;CHARSET=../../x:Zo\xEB"), {person("Zoë", "")});
        row("none, not UTF-8 in version 3.0", card("N:M\xFCller;Zo\xEB\r\nORG:\x80"),
            {{"Zoë", "Müller", "€", {}, {}}});
        row("none, in quoted-printable in version 3.0", card("FN;ENCODING=QUOTED-PRINTABLE:Zo=EB"),
            {person("Zoë", "")});
        row("none, not UTF-8 and no version", "BEGIN:VCARD\nFN:Zo\xEB\nEND:VCARD\n",
            {person("Zoë", "")});
        row("an agent's version does not count",
            newCard("FN:Zo\xEB\r\nAGENT:\r\nBEGIN:VCARD\r\nVERSION:2.1\r\nEND:VCARD"),
            {person("Zo\uFFFD", "")});
    }

    void decodesCharsets() { compareContacts(); }

    void repairsWhatIsNotUtf8_data()
    {
        addCardColumns();
        row("a byte of another charset", newCard("FN:Zo\xEB"), {person("Zo\uFFFD", "")});
        row("a character cut short is one replacement", newCard("FN:a\xF0\x9F\x98z"),
            {person("a\uFFFDz", "")});
        row("an overlong form is one replacement a byte", newCard("FN:\xC0\xAF"),
            {person("\uFFFD\uFFFD", "")});
        row("a surrogate is one replacement a byte", newCard("FN:\xED\xA0\x80"),
            {person("\uFFFD\uFFFD\uFFFD", "")});
        row("a broken character at the end", newCard("TEL:1\xE2\x82"), {phone("1\uFFFD")});
        row("named UTF-8 in version 2.1", oldCard("FN;CHARSET=UTF-8:Zo\xEB"),
            {person("Zo\uFFFD", "")});
        row("named UTF-8 in version 3.0", card("FN;CHARSET=UTF-8:Zo\xEB"),
            {person("Zo\uFFFD", "")});
        row("broken Shift_JIS", oldCard("FN;CHARSET=Shift_JIS:a\x81"), {person("a\uFFFD", "")});
        row("percent-encoded in a URI", card("EMAIL:mailto:%FFj@x.org"), {email("\uFFFDj@x.org")});
        row("what is right is not touched", card("FN:👩‍👩‍👧 e\u0301 \U0010FFFF"),
            {person("👩‍👩‍👧 e\u0301 \U0010FFFF", "")});
    }

    void repairsWhatIsNotUtf8() { compareContacts(); }

    void readsWholeFilesOfUtf16_data()
    {
        addCardColumns();
        const QStringEncoder::Flag mark = QStringEncoder::Flag::WriteBom;
        const QString text = QString::fromStdString(card("N:Müller;山\r\n 田 😀\r\nTEL:1"));
        const QByteArray little = QStringEncoder(QStringEncoder::Utf16LE, mark)(text);
        const QByteArray big = QStringEncoder(QStringEncoder::Utf16BE, mark)(text);
        const Contacts expected = {{"山田 😀", "Müller", "", {"1"}, {}}};
        row("little-endian", little.toStdString(), expected);
        row("big-endian", big.toStdString(), expected);
        row("half a character at the end", little.toStdString() + "x", expected);
        row("nothing but the mark", "\xFF\xFE", {});
        row("UTF-8 with a mark", "\xEF\xBB\xBF" + card("TEL:1"), {phone("1")});
        row("marks in the middle, where files were put together",
            "\xEF\xBB\xBF" + card("TEL:1") + "\xEF\xBB\xBF" + card("TEL:2"),
            {phone("1"), phone("2")});
    }

    void readsWholeFilesOfUtf16() { compareContacts(); }

    void undoesEscapes_data()
    {
        addCardColumns();
        row("a semicolon is no separator then", card("N:Doe\\;Roe;Jane"),
            {person("Jane", "Doe;Roe")});
        row("a comma", card("ORG:Acme\\, Inc.;Sales"), {organization("Acme, Inc.")});
        row("a comma that nobody escaped", card("ORG:Acme, Inc."), {organization("Acme, Inc.")});
        row("a backslash before a separator", card("N:Doe\\\\;Jane"), {person("Jane", "Doe\\")});
        row("line breaks", card("FN:Jane\\nMary\\NDoe"), {person("Jane\nMary\nDoe", "")});
        row("a colon", card("FN:a\\:b"), {person("a:b", "")});
        row("a backslash that escapes nothing", card("FN:AC\\DC\\"), {person("AC\\DC\\", "")});
        row("a comma in a number", card("TEL:555\\,\\,12\\;3"), {phone("555,,12;3")});
        row("a semicolon in version 2.1", oldCard("N:Doe\\;Roe;Jane"), {person("Jane", "Doe;Roe")});
        row("a comma in version 2.1", oldCard("ORG:Acme\\, Inc."), {organization("Acme, Inc.")});
        row("no line breaks in version 2.1", oldCard("ORG:c:\\new"), {organization("c:\\new")});
    }

    void undoesEscapes() { compareContacts(); }

    void trimsValues_data()
    {
        addCardColumns();
        row("white space around a value", card("TEL: 555 0100\t\r\nEMAIL:\tj@x.org "),
            {{"", "", "", {"555 0100"}, {"j@x.org"}}});
        row("white space around components", card("N: Doe ; Jane Mary ;"),
            {person("Jane Mary", "Doe")});
        row("white space inside stays", card("FN:Jane  Doe"), {person("Jane  Doe", "")});
        row("white space that is no separator stays", card("FN:\u00A0Jane"),
            {person("\u00A0Jane", "")});
        row("a component of nothing but white space", card("N: ; ;\r\nFN:Jane"),
            {person("Jane", "")});
    }

    void trimsValues() { compareContacts(); }

    void takesNumbersAndAddressesOutOfUris_data()
    {
        addCardColumns();
        row("a number", card("TEL;VALUE=uri:tel:+1-555-0100"), {phone("+1-555-0100")});
        row("a number in capitals, with no parameter", card("TEL:TEL:555"), {phone("555")});
        row("an extension", card("TEL;VALUE=uri:tel:555;ext=102;phone-context=x"), {phone("555")});
        row("an escaped extension", card("TEL;VALUE=uri:tel:555\\;ext=102"), {phone("555")});
        row("a quoted type", card("TEL;VALUE=uri;TYPE=\"voice,home\":tel:555"), {phone("555")});
        row("percent-encoding", card("TEL;VALUE=uri:tel:%2B1%20555%zz%2"), {phone("+1 555%zz%2")});
        row("white space around a number", card("TEL;VALUE=uri:tel: 555%20"), {phone("555")});
        row("a number of nothing", card("TEL;VALUE=uri:tel:;ext=1\r\nTEL:2"), {phone("2")});
        row("no number", card("TEL;VALUE=uri:sip:jane@x.org"), {phone("sip:jane@x.org")});
        row("a semicolon and percents in a number that is typed", card("TEL:555;ext=1%32"),
            {phone("555;ext=1%32")});
        row("an address", card("EMAIL:mailto:j@x.org"), {email("j@x.org")});
        row("an address with a subject", card("EMAIL:MAILTO:j%2Bk@x.org?subject=Hi"),
            {email("j+k@x.org")});
    }

    void takesNumbersAndAddressesOutOfUris() { compareContacts(); }

private:
    static void compareContacts()
    {
        QFETCH(std::string, file);
        QFETCH(Contacts, expected);
        QCOMPARE(contactsIn(file), expected);
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::VCardTextTest)
#include "VCardTextTest.moc"
