#include "OfferedChat.h"
#include "RunningTransfer.h"

#include "support/Printing.h"

#include <QStandardPaths>
#include <QtTest/QTest>

#include <csignal>
#include <optional>

using namespace korvane;

namespace {

using Words = std::vector<std::string>;

/// Runs a command. Returns its standard error if it failed, else nothing.
std::optional<std::string> failureOf(const Words& words)
{
    QStringList arguments;
    for (const std::string& word : words)
        arguments << QString::fromStdString(word);
    QProcess process;
    const QString program = arguments.takeFirst();
    process.start(program, arguments);
    if (process.waitForFinished() && process.exitCode() == 0)
        return std::nullopt;
    return "failed: " + process.readAllStandardError().toStdString();
}

/// A network namespace, which acts as a host of its own. The destructor deletes it.
class Host {
public:
    explicit Host(const std::string& name)
        : m_name("korvane-" + std::to_string(QCoreApplication::applicationPid()) + '-' + name)
        , m_failure(failureOf({"ip", "netns", "add", m_name}))
    {
        if (!m_failure)
            run({"link", "set", "lo", "up"});
    }

    ~Host() { failureOf({"ip", "netns", "delete", m_name}); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    bool works() const { return !m_failure; }

    /// The first failure so far; "" if everything has worked.
    std::string failure() const { return m_failure.value_or(""); }

    /// Runs `ip` in this namespace.
    void run(const Words& words)
    {
        Words whole{"ip", "-n", m_name};
        whole.insert(whole.end(), words.begin(), words.end());
        const auto failure = failureOf(whole);
        if (!m_failure)
            m_failure = failure;
    }

    /// Creates a veth pair: `interface` here, connected to `itsInterface` of the other host.
    void connect(const std::string& interface, Host& other, const std::string& itsInterface)
    {
        run({"link", "add", interface, "type", "veth", "peer", "name", itsInterface, "netns",
            other.m_name});
    }

    void setAddress(const std::string& interface, const std::string& address)
    {
        run({"address", "add", address + "/24", "dev", interface});
    }

    void setUp(const std::string& interface) { run({"link", "set", interface, "up"}); }

    /// The words to put before a command to run it on this host.
    Words within() const { return {"ip", "netns", "exec", m_name}; }

private:
    const std::string m_name;
    std::optional<std::string> m_failure;
};

/// Adds an interface as described: "en0 up 10.9.0.1", "en1 down 10.9.0.1" or "en0 up".
void addInterface(Host& host, Host& other, const QString& description, int number)
{
    const QStringList words = description.split(u' ');
    const std::string name = words[0].toStdString();
    host.connect(name, other, "far" + std::to_string(number));
    if (words.size() > 2)
        host.setAddress(name, words[2].toStdString());
    if (words[1] == QLatin1String("up"))
        host.setUp(name);
}

} // namespace

/// Runs the program on several hosts: network namespaces of this machine.
class NetworkNamespaceTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const Host host("trial");
        if (!host.works())
            QSKIP("No network namespaces can be made here: that takes root and iproute2.");
    }

    void addressInTheLinkIsThatOfThePreferredInterface_data()
    {
        QTest::addColumn<QString>("interfaces"); // in the order of their creation
        QTest::addColumn<QString>("address"); // empty: none is found
        const auto row = [](const char* name, const char* interfaces, const char* address) {
            QTest::newRow(name) << QString::fromLatin1(interfaces) << QString::fromLatin1(address);
        };
        row("en0", "en0 up 10.9.0.1", "10.9.0.1");
        row("en0 behind en1", "en1 up 10.9.1.1, en0 up 10.9.0.1", "10.9.0.1");
        row("en0 that is down", "en0 down 10.9.0.1, en1 up 10.9.1.1", "10.9.1.1");
        row("en0 without an IPv4 address", "en0 up, en1 up 10.9.1.1", "10.9.1.1");
        row("the first of others", "en4 up 10.9.4.1, en1 up 10.9.1.1", "10.9.4.1");
        row("names as this system gives them", "enp3s0 up 10.9.3.1", "10.9.3.1");
        row("Wi-Fi behind a cable", "wlan0 up 10.9.7.1, en1 up 10.9.1.1", "10.9.1.1");
        row("Wi-Fi where no cable is", "wlp2s0 up 10.9.7.1, en1 down 10.9.1.1", "10.9.7.1");
        row("Wi-Fi before an old name", "eth0 up 10.9.8.1, wlan0 up 10.9.7.1", "10.9.7.1");
        row("an old name", "eth1 up 10.9.8.1, eth0 up 10.9.9.1", "10.9.9.1");
        row("beside a bridge and a tunnel",
            "docker0 up 172.17.0.1, tun0 up 10.8.0.1, eth0 up 10.9.9.1", "10.9.9.1");
        row("a bridge and a tunnel alone", "docker0 up 172.17.0.1, utun0 up 10.8.0.1", "");
        row("all down", "en0 down 10.9.0.1, wlan0 down 10.9.7.1, eth0 down 10.9.9.1", "");
        row("no interface but the loopback one", "", "");
    }

    void addressInTheLinkIsThatOfThePreferredInterface()
    {
        QFETCH(QString, interfaces);
        QFETCH(QString, address);
        Host host("here");
        Host other("there");
        int number = 0;
        for (const QString& each : interfaces.split(QStringLiteral(", "), Qt::SkipEmptyParts))
            addInterface(host, other, each, ++number);
        QCOMPARE(host.failure(), std::string());

        const Owner owner;
        RunningTransfer running(wordsWithoutHost(owner), host.within());
        if (address.isEmpty()) {
            QCOMPARE(running.exitCode(), 1);
            QCOMPARE(running.complained(),
                std::string("korvane-sync: Could not create a transfer link. Check Wi-Fi and "
                            "select one chat.\n"));
            QCOMPARE(running.printed(), std::string());
            return;
        }
        QVERIFY(running.isReady());
        QCOMPARE(running.link().host, address.toStdString());
    }

    void chatGoesFromOneHostToAnother()
    {
        Host here("here");
        Host there("there");
        here.connect("en0", there, "wlan0");
        here.setAddress("en0", "10.9.0.1");
        here.setUp("en0");
        there.setAddress("wlan0", "10.9.0.2");
        there.setUp("wlan0");
        QCOMPARE(here.failure() + there.failure(), std::string());

        const Recipient recipient;
        const Owner owner;
        RunningTransfer running(wordsWithoutHost(owner), here.within());
        QVERIFY(running.isReady());
        QCOMPARE(running.link().host, std::string("10.9.0.1"));
        const Outcome outcome = receiveOn(there, running.link());
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QCOMPARE(contentsOf("Korvane-History.txt"), readFile(owner.file()));
        QVERIFY(running.prints("  10.9.0.2 is fetching it\n"));
        QVERIFY(running.prints("  10.9.0.2 has it\n"));
        QCOMPARE(running.end(SIGINT), 0);
    }

    void hostThatLostItsNetworkIsTold()
    {
        const Host alone("alone");
        const Recipient recipient;
        TransferLink link = linkTo(49152);
        link.host = "10.9.0.1";
        const Outcome outcome = receiveOn(alone, link);
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with("korvane-sync: Nobody answers at 10.9.0.1, port 49152. "),
            outcome.err.c_str());
        QVERIFY(filesIn(".").empty());
    }

private:
    static Words wordsWithoutHost(const Owner& owner)
    {
        Words words = owner.words();
        const auto option = std::find(words.begin(), words.end(), "--host");
        words.erase(option, option + 2);
        return words;
    }

    /// Runs `receive` on the host, in the current folder.
    static Outcome receiveOn(const Host& host, const TransferLink& link)
    {
        QStringList arguments;
        for (const std::string& word : host.within())
            arguments << QString::fromStdString(word);
        arguments << QStringLiteral(PROGRAM) << QStringLiteral("receive");
        QProcess program;
        const QString first = arguments.takeFirst();
        program.start(first, arguments);
        program.write(QByteArray::fromStdString(link.toString()) + '\n');
        program.closeWriteChannel();
        program.waitForFinished();
        return {program.exitCode(), program.readAllStandardOutput().toStdString(),
            program.readAllStandardError().toStdString()};
    }
};

QTEST_GUILESS_MAIN(NetworkNamespaceTest)
#include "NetworkNamespaceTest.moc"
