#include "pairing/LocalAddress.h"

#include "support/Printing.h"

#include <QProcess>

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <set>

using namespace korvane;

namespace {

InterfaceAddress up(const char* name, const char* address)
{
    return {name, true, address};
}

InterfaceAddress down(const char* name, const char* address)
{
    return {name, false, address};
}

/// An interface with an address of another family, such as IPv6.
InterfaceAddress other(const char* name)
{
    return {name, true, std::nullopt};
}

} // namespace

/// Choosing the address of this machine that goes into a link.
class LocalAddressTest : public QObject {
    Q_OBJECT

private slots:
    void addressIsThatOfTheBestInterface_data()
    {
        QTest::addColumn<Addresses>("addresses");
        QTest::addColumn<Text>("expected");
        const Text nothing;
        QTest::newRow("no interface") << Addresses{} << nothing;
        QTest::newRow("en0") << Addresses{up("en0", "10.0.0.1")} << Text("10.0.0.1");
        QTest::newRow("en0 behind others") << Addresses{up("lo0", "127.0.0.1"),
            up("en1", "10.0.0.2"), up("en5", "10.0.0.3"), up("en0", "10.0.0.1"),
            up("en2", "10.0.0.4")} << Text("10.0.0.1");
        QTest::newRow("en0 before others")
            << Addresses{up("en0", "10.0.0.1"), up("en1", "10.0.0.2")} << Text("10.0.0.1");
        QTest::newRow("en3 beside the loopback")
            << Addresses{up("lo0", "127.0.0.1"), up("en3", "10.0.0.3")} << Text("10.0.0.3");
        QTest::newRow("en0 down") << Addresses{down("en0", "10.0.0.1"), up("en1", "10.0.0.2")}
                                  << Text("10.0.0.2");
        QTest::newRow("the first of several")
            << Addresses{up("en7", "10.0.0.7"), up("en1", "10.0.0.1"), up("en4", "10.0.0.4")}
            << Text("10.0.0.7");
        QTest::newRow("the first that is up")
            << Addresses{down("en1", "10.0.0.1"), up("en4", "10.0.0.4"), up("en2", "10.0.0.2")}
            << Text("10.0.0.4");
        QTest::newRow("en0 with IPv6 first") << Addresses{other("en0"), up("en1", "10.0.0.2"),
            up("en0", "10.0.0.1")} << Text("10.0.0.1");
        QTest::newRow("en0 with IPv6 alone")
            << Addresses{other("en0"), up("en1", "10.0.0.2")} << Text("10.0.0.2");
        QTest::newRow("en0 with two addresses")
            << Addresses{up("en0", "10.0.0.1"), up("en0", "192.168.1.1")} << Text("10.0.0.1");
        QTest::newRow("en1 with two addresses")
            << Addresses{up("en1", "10.0.0.1"), up("en1", "192.168.1.1")} << Text("10.0.0.1");
        QTest::newRow("a name that begins like en0")
            << Addresses{up("en1", "10.0.0.2"), up("en00", "10.0.0.1"), up("en0.5", "10.0.0.5")}
            << Text("10.0.0.2");
        QTest::newRow("a wired interface of Linux")
            << Addresses{up("lo", "127.0.0.1"), up("enp3s0", "10.0.0.1")} << Text("10.0.0.1");
        QTest::newRow("en alone") << Addresses{up("en", "10.0.0.1")} << Text("10.0.0.1");
        QTest::newRow("IPv6 alone") << Addresses{other("en0"), other("en1")} << nothing;
        QTest::newRow("all down") << Addresses{down("en0", "10.0.0.1"), down("en1", "10.0.0.2")}
                                  << nothing;
        QTest::newRow("the loopback alone")
            << Addresses{up("lo0", "127.0.0.1"), up("lo", "127.0.0.1")} << nothing;
        QTest::newRow("capital letters") << Addresses{up("EN0", "10.0.0.1")} << nothing;
        QTest::newRow("en within a name")
            << Addresses{up("Xen0", "10.0.0.1"), up("vmen0", "10.0.0.2"), up("e", "10.0.0.3")}
            << nothing;
        QTest::newRow("tunnels, bridges and containers") << tunnels() << nothing;
        QTest::newRow("en1 among tunnels") << tunnels("en1") << Text("10.9.9.9");
        QTest::newRow("no name") << Addresses{up("", "10.0.0.1")} << nothing;
    }

    void addressIsThatOfTheBestInterface()
    {
        QFETCH(Addresses, addresses);
        QFETCH(Text, expected);
        QCOMPARE(QR::preferredIPv4(addresses, macPrefixes), expected);
        QCOMPARE(QR::preferredIPv4(addresses, linuxPrefixes), expected);
    }

    void otherNamesCountOnlyWhereTheRuleFoundNothing_data()
    {
        QTest::addColumn<Addresses>("addresses");
        QTest::addColumn<Text>("onLinux");
        QTest::newRow("wireless") << Addresses{up("lo", "127.0.0.1"), up("wlp2s0", "10.0.0.1")}
                                  << Text("10.0.0.1");
        QTest::newRow("wired under its old name")
            << Addresses{up("lo", "127.0.0.1"), up("eth0", "10.0.0.1")} << Text("10.0.0.1");
        QTest::newRow("wireless before wired")
            << Addresses{up("eth0", "10.0.0.1"), up("wlan0", "10.0.0.2")} << Text("10.0.0.2");
        QTest::newRow("the first wireless one")
            << Addresses{up("wlan1", "10.0.0.2"), up("wlan0", "10.0.0.1")} << Text("10.0.0.2");
        QTest::newRow("wl0 behind another wireless one")
            << Addresses{up("wlan1", "10.0.0.2"), up("wl0", "10.0.0.1")} << Text("10.0.0.1");
        QTest::newRow("eth0 behind eth1")
            << Addresses{up("eth1", "10.0.0.2"), up("eth0", "10.0.0.1")} << Text("10.0.0.1");
        QTest::newRow("eth1 alone") << Addresses{up("eth1", "10.0.0.2")} << Text("10.0.0.2");
        QTest::newRow("wireless down")
            << Addresses{down("wlan0", "10.0.0.1"), up("eth0", "10.0.0.2")} << Text("10.0.0.2");
        QTest::newRow("wireless with IPv6 alone")
            << Addresses{other("wlan0"), up("eth0", "10.0.0.2")} << Text("10.0.0.2");
        QTest::newRow("en0 down") << Addresses{down("en0", "10.0.0.1"), up("wlan0", "10.0.0.2")}
                                  << Text("10.0.0.2");
        QTest::newRow("en0 with IPv6 alone")
            << Addresses{other("en0"), up("wlan0", "10.0.0.2")} << Text("10.0.0.2");
        QTest::newRow("wireless among tunnels") << tunnels("wlan0") << Text("10.9.9.9");
        QTest::newRow("all down") << Addresses{down("wlan0", "10.0.0.1"), down("eth0", "10.0.0.2")}
                                  << Text();
    }

    void otherNamesCountOnlyWhereTheRuleFoundNothing()
    {
        QFETCH(Addresses, addresses);
        QFETCH(Text, onLinux);
        QCOMPARE(QR::preferredIPv4(addresses, linuxPrefixes), onLinux);
        QCOMPARE(QR::preferredIPv4(addresses, macPrefixes), Text());
        addresses.push_back(up("en8", "10.8.8.8"));
        QCOMPARE(QR::preferredIPv4(addresses, linuxPrefixes), Text("10.8.8.8"));
        QCOMPARE(QR::preferredIPv4(addresses, macPrefixes), Text("10.8.8.8"));
    }

    void noPrefixFindsNothing()
    {
        QCOMPARE(QR::preferredIPv4({up("en0", "10.0.0.1")}, {}), Text());
    }

    void platformLooksForItsOwnNames()
    {
        const auto prefixes = QR::interfacePrefixes();
#ifdef Q_OS_MACOS
        QVERIFY(
            std::equal(prefixes.begin(), prefixes.end(), macPrefixes.begin(), macPrefixes.end()));
#else
        QVERIFY(std::equal(
            prefixes.begin(), prefixes.end(), linuxPrefixes.begin(), linuxPrefixes.end()));
#endif
    }

    void systemHasALoopback()
    {
        const Addresses addresses = QR::systemAddresses();
        const auto isLoopback = [](const InterfaceAddress& address) {
            return address.name.starts_with("lo") && address.isUp && address.ipv4 == "127.0.0.1";
        };
        QVERIFY(std::any_of(addresses.begin(), addresses.end(), isLoopback));
    }

    void everySystemAddressIsWrittenInDots()
    {
        for (const InterfaceAddress& address : QR::systemAddresses()) {
            in_addr number{};
            QVERIFY(!address.name.empty());
            if (address.ipv4)
                QCOMPARE(::inet_pton(AF_INET, address.ipv4->c_str(), &number), 1);
        }
    }

    void addressesAreThoseThatTheSystemsToolLists()
    {
        QProcess tool;
        tool.start(QStringLiteral("ip"),
            {QStringLiteral("-o"), QStringLiteral("-4"), QStringLiteral("addr"),
                QStringLiteral("show"), QStringLiteral("up")});
        if (!tool.waitForFinished() || tool.exitCode() != 0)
            QSKIP("needs the program ip");
        std::set<std::string> listed;
        for (const QByteArray& line : tool.readAllStandardOutput().trimmed().split('\n')) {
            const QByteArray address = line.simplified().split(' ').value(3);
            listed.insert(
                address.first(std::max(address.indexOf('/'), qsizetype{0})).toStdString());
        }
        std::set<std::string> found;
        for (const InterfaceAddress& address : QR::systemAddresses()) {
            if (address.isUp && address.ipv4)
                found.insert(*address.ipv4);
        }
        QCOMPARE(found, listed);
    }

    void localAddressIsTheChoiceFromTheSystemsList()
    {
        const Text address = QR::localIPv4();
        QCOMPARE(address, QR::preferredIPv4(QR::systemAddresses(), QR::interfacePrefixes()));
        QVERIFY(address != "127.0.0.1");
    }

private:
    using Addresses = std::vector<InterfaceAddress>;
    using Text = std::optional<std::string>;

    static constexpr std::array<std::string_view, 1> macPrefixes{"en"};
    static constexpr std::array<std::string_view, 3> linuxPrefixes{"en", "wl", "eth"};

    /// Interfaces that virtual machines, containers and VPNs add; and the interface `good`, if any.
    static Addresses tunnels(const char* good = nullptr)
    {
        Addresses addresses;
        for (const char* name : {"docker0", "br-3f2a", "veth12ab", "virbr0", "vmnet8", "tun0",
                 "tap0", "wg0", "utun3", "ppp0", "tailscale0", "bridge100", "awdl0", "llw0", "lo"})
            addresses.push_back(up(name, "172.17.0.1"));
        if (good)
            addresses.insert(addresses.begin() + 5, up(good, "10.9.9.9"));
        return addresses;
    }
};

QTEST_GUILESS_MAIN(LocalAddressTest)
#include "LocalAddressTest.moc"
