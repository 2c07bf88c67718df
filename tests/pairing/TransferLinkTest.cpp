#include "pairing/TransferLink.h"

#include "support/Printing.h"

using namespace korvane;

/// The link in a QR code: its exact text, and the texts that are parsed as one.
class TransferLinkTest : public QObject {
    Q_OBJECT

private slots:
    void textIsExactlyThis()
    {
        QCOMPARE(someLink().toString(),
            "korvane://mac-import?host=192.168.1.20&port=49152"
            "&ticket=__79----AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBk"
            "&key=----____YWJjZGVmZ2hpamtsbW5vcHFyc3R1dnd4eXo");
    }

    void keyHasNoPadding()
    {
        for (const char byte : {'\0', 'k', '\xFF'}) {
            TransferLink link = someLink();
            link.key = *SymmetricKey::fromBytes(QByteArray(32, byte));
            const std::string text = link.toString();
            const std::string key = text.substr(text.find("&key=") + 5);
            QCOMPARE(key.size(), 43U);
            QCOMPARE(key.find_first_of("=+/%"), std::string::npos);
        }
    }

    void everyPortIsWrittenInDecimal()
    {
        for (const int port : {1, 80, 8080, 65535}) {
            TransferLink link = someLink();
            link.port = static_cast<std::uint16_t>(port);
            const std::string item = "&port=" + std::to_string(port) + "&";
            QVERIFY(link.toString().find(item) != std::string::npos);
            QVERIFY(TransferLink::fromString(link.toString()) == link);
        }
    }

    void linkComesBack()
    {
        QVERIFY(TransferLink::fromString(someLink().toString()) == someLink());
        for (int i = 0; i < 200; ++i) {
            TransferLink link = someLink();
            link.key = *SymmetricKey::make();
            QVERIFY(TransferLink::fromString(link.toString()) == link);
        }
    }

    void otherHostsComeBack_data()
    {
        QTest::addColumn<std::string>("host");
        QTest::newRow("a name") << std::string("mac.local");
        QTest::newRow("a name with an underscore") << std::string("my_mac");
        QTest::newRow("IPv6") << std::string("::1");
        QTest::newRow("IPv6 with a zone") << std::string("fe80::1%en0");
        QTest::newRow("IPv6 in brackets") << std::string("[fe80::1]");
    }

    void otherHostsComeBack()
    {
        QFETCH(std::string, host);
        TransferLink link = someLink();
        link.host = host;
        QVERIFY(TransferLink::fromString(link.toString()) == link);
    }

    void itemsMayStandInAnyOrder()
    {
        QVERIFY(TransferLink::fromString(
                    linkOf(keyItem + '&' + ticketItem + '&' + portItem + '&' + hostItem))
            == someLink());
        QVERIFY(TransferLink::fromString(
                    linkOf(portItem + '&' + keyItem + '&' + hostItem + '&' + ticketItem))
            == someLink());
    }

    void otherItemsAreIgnored()
    {
        QVERIFY(TransferLink::fromString(linkOf("v=2&" + items() + "&title=Team%20%26%20co&x"))
            == someLink());
        QVERIFY(TransferLink::fromString(linkOf("hosts=1&" + items() + "&Key=2")) == someLink());
    }

    void whiteSpaceAroundIsIgnored()
    {
        const std::string text = someLink().toString();
        QVERIFY(TransferLink::fromString(text + "\n") == someLink());
        QVERIFY(TransferLink::fromString(text + "\r\n") == someLink());
        QVERIFY(TransferLink::fromString(" \t\n" + text + " \n ") == someLink());
    }

    void damagedLinkIsNothing_data()
    {
        QTest::addColumn<std::string>("text");
        const std::string text = someLink().toString();
        QTest::newRow("nothing") << std::string();
        QTest::newRow("white space") << std::string(" \n");
        QTest::newRow("no link") << std::string("hello");
        QTest::newRow("no items") << std::string("korvane://mac-import");
        QTest::newRow("items alone") << items();
        QTest::newRow("another scheme") << "https://mac-import?" + items();
        QTest::newRow("a longer scheme") << "korvanes://mac-import?" + items();
        QTest::newRow("no scheme") << "//mac-import?" + items();
        QTest::newRow("another host") << "korvane://export?" + items();
        QTest::newRow("a longer host") << "korvane://mac-import.example?" + items();
        QTest::newRow("a host in the path") << "korvane:///mac-import?" + items();
        QTest::newRow("no slashes") << "korvane:mac-import?" + items();
        QTest::newRow("a fragment for the query") << "korvane://mac-import#" + items();
        QTest::newRow("words in front") << "scan " + text;
        QTest::newRow("words behind") << text + " please";
        QTest::newRow("two links") << text + '\n' + text;
        QTest::newRow("cut off") << text.substr(0, text.size() - 1);
        QTest::newRow("one character more") << text + 'A';
        addWith("no host", hostItem, "");
        addWith("an empty host", hostItem, "host=");
        addWith("a host without value", hostItem, "host");
        addWith("a host in capitals", hostItem, "HOST=192.168.1.20");
        addWith("no port", portItem, "");
        addWith("an empty port", portItem, "port=");
        addWith("port 0", portItem, "port=0");
        addWith("port 65536", portItem, "port=65536");
        addWith("a huge port", portItem, "port=4294967376");
        addWith("a negative port", portItem, "port=-1");
        addWith("a port in words", portItem, "port=http");
        addWith("a port with more behind", portItem, "port=80x");
        addWith("a port in hexadecimal", portItem, "port=0x50");
        addWith("a port with a fraction", portItem, "port=80.0");
        addWith("a host with a line's end", hostItem, "host=192.0.2.1%0D%0AX:y");
        addWith("a host with a path", hostItem, "host=192.0.2.1/a");
        addWith("a port with a sign", portItem, "port=+80");
        addWith("a port with a blank", portItem, "port=%2080");
        addWith("a ticket of one byte", ticketItem, "ticket=AA");
        addWith("no ticket", ticketItem, "");
        addWith("an empty ticket", ticketItem, "ticket=");
        addWith("a ticket with a slash", ticketItem, "ticket=AAAA/AAA");
        addWith("a ticket with an escaped slash", ticketItem, "ticket=AAAA%2FAAA");
        addWith("a ticket with a line's end", ticketItem, "ticket=AAAA%0D%0A");
        addWith("a ticket with a line's end within", ticketItem, "ticket=AA%0D%0AAA");
        addWith("a ticket with a blank", ticketItem, "ticket=AAAA%20AAAA");
        addWith("a ticket with a query", ticketItem, "ticket=AAAA%3Fa");
        addWith("a ticket that goes up", ticketItem, "ticket=..");
        addWith("a padded ticket", ticketItem, "ticket=AA==");
        addWith("no key", keyItem, "");
        addWith("an empty key", keyItem, "key=");
        addWith("a key of 31 bytes", keyItem, "key=" + std::string(42, 'A'));
        addWith("a key of 33 bytes", keyItem, "key=" + std::string(44, 'A'));
        addWith("a key of 16 bytes", keyItem, "key=" + std::string(22, 'A'));
        addWith("a padded key", keyItem, keyItem + "=");
        addWith("a key with an escaped padding", keyItem, keyItem + "%3D");
        addWith("a key with a blank", keyItem, keyItem + "%20");
        addWith("a key in the other alphabet", keyItem,
            "key=++++////YWJjZGVmZ2hpamtsbW5vcHFyc3R1dnd4eXo");
    }

    void damagedLinkIsNothing()
    {
        QFETCH(std::string, text);
        QVERIFY(!TransferLink::fromString(text));
        QVERIFY(TransferLink::fromString(linkOf(items())));
    }

    void bytesThatAreNoTextAreNothing()
    {
        QVERIFY(!TransferLink::fromString("\xFF\xFE"));
        QVERIFY(!TransferLink::fromString(std::string(100, '\0')));
        QVERIFY(!TransferLink::fromString(std::string(1'000'000, '%')));
    }

    void targetIsWhatTheServerIsAskedFor()
    {
        QCOMPARE(someLink().target(), "/v1/transfer/__79----AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBk");
    }

private:
    using Link = std::optional<TransferLink>;

    inline static const std::string hostItem = "host=192.168.1.20";
    inline static const std::string portItem = "port=49152";
    inline static const std::string ticketItem
        = "ticket=__79----AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBk";
    inline static const std::string keyItem = "key=----____YWJjZGVmZ2hpamtsbW5vcHFyc3R1dnd4eXo";

    static TransferLink someLink()
    {
        const QByteArray bytes = "\xFB\xEF\xBE\xFF\xFF\xFF"
                                 "abcdefghijklmnopqrstuvwxyz";
        return {"192.168.1.20", 49152, "__79----AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBk",
            *SymmetricKey::fromBytes(bytes)};
    }

    static std::string items()
    {
        return hostItem + '&' + portItem + '&' + ticketItem + '&' + keyItem;
    }

    static std::string linkOf(const std::string& query) { return "korvane://mac-import?" + query; }

    /// Adds a row with the valid link in which `instead` replaces one item.
    static void addWith(const char* name, const std::string& item, const std::string& instead)
    {
        std::string text = linkOf(items());
        QTest::newRow(name) << text.replace(text.find(item), item.size(), instead);
    }
};

QTEST_GUILESS_MAIN(TransferLinkTest)
#include "TransferLinkTest.moc"
