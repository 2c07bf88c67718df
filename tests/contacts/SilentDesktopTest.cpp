#include "contacts/ContactNames.h"
#include "contacts/FilledStore.h"
#include "contacts/PrivateDesktop.h"
#include "storage/Descriptor.h"
#include "support/Printing.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTcpServer>
#include <QTest>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <future>
#include <utility>
#include <vector>

namespace korvane {

namespace {

constexpr qint64 timeout = 3'000; // milliseconds

/// Calls ContactNames::load() and fails the test if that takes too long.
LoadedNames loadInTime()
{
    QElapsedTimer timer;
    timer.start();
    LoadedNames loaded = ContactNames::load();
    const qint64 took = timer.elapsed();
    if (took >= timeout)
        QTest::qFail(qPrintable(QStringLiteral("took %1 ms").arg(took)), __FILE__, __LINE__);
    return loaded;
}

void addProcesses()
{
    QTest::addColumn<QString>("role");
    for (const char* role : {"the bus", "the service of sources", "the service of books"})
        QTest::newRow(role) << QString::fromLatin1(role);
}

/// Moments are in milliseconds after the start of a load. A load of the whole store takes about
/// 30 ms.
void addProcessesAndMoments(std::initializer_list<int> moments)
{
    QTest::addColumn<QString>("role");
    QTest::addColumn<int>("moment");
    for (const char* role : {"the bus", "the service of sources", "the service of books"}) {
        for (const int moment : moments)
            QTest::addRow("%s after %d ms", role, moment) << QString::fromLatin1(role) << moment;
    }
}

/// A socket in place of the session bus, which accepts nothing.
class UnixSocket {
public:
    explicit UnixSocket(int backlog)
        : m_path(m_folder.filePath(QStringLiteral("bus")).toUtf8())
        , m_listener(newSocket())
    {
        const sockaddr_un address = this->address();
        QCOMPARE(
            ::bind(m_listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
            0);
        QCOMPARE(::listen(m_listener.get(), backlog), 0);
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + m_path);
    }

    /// Connects until the kernel accepts no more.
    std::vector<Descriptor> fillBacklog() const
    {
        std::vector<Descriptor> clients;
        const sockaddr_un address = this->address();
        for (bool connected = true; connected;) {
            Descriptor client = newSocket();
            connected = ::connect(client.get(), reinterpret_cast<const sockaddr*>(&address),
                            sizeof address)
                == 0;
            if (connected)
                clients.push_back(std::move(client));
        }
        return clients;
    }

    /// Leaves the socket in the file system, like a bus that has crashed.
    void close() { m_listener = Descriptor(); }

private:
    static Descriptor newSocket()
    {
        return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    }

    sockaddr_un address() const
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::copy(m_path.begin(), m_path.end(), address.sun_path);
        return address;
    }

    QTemporaryDir m_folder;
    QByteArray m_path;
    Descriptor m_listener;
};

} // namespace

/// Desktops without a contact store, or with one that does not answer: loading returns the names
/// that are available within three seconds.
class SilentDesktopTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!PrivateDesktop::isInstalled())
            QSKIP("needs the packages evolution-data-server and dbus");
    }

    void cleanup()
    {
        m_store.reset();
        m_desktop.reset();
    }

    void withoutBusThereAreNoNames_data()
    {
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<QByteArray>("runtimeFolder");
        const auto row = [](const char* name, const char* address, const char* runtimeFolder) {
            QTest::newRow(name) << QByteArray(address) << QByteArray(runtimeFolder);
        };
        row("nothing is said", "", "");
        row("a runtime folder without a bus", "", "/tmp");
        row("no socket at the address", "unix:path=/nowhere/bus", "");
        row("no bus at any of the addresses", "unix:path=/nowhere/a;unix:abstract=korvane-none",
            "");
        row("no socket but a file", "unix:path=/etc/hostname", "");
        row("a port where nothing listens", "tcp:host=127.0.0.1,port=1", "");
        row("no address", "here", "");
        row("an unknown kind of address", "pigeon:loft=1", "");
        row("a broken escape", "unix:path=%zz", "");
    }

    void withoutBusThereAreNoNames()
    {
        QFETCH(QByteArray, address);
        QFETCH(QByteArray, runtimeFolder);
        const QTemporaryDir home;
        qputenv("HOME", home.path().toUtf8());
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        qputenv("XDG_RUNTIME_DIR", runtimeFolder);
        QVERIFY(loadInTime() == LoadedNames());
    }

    /// As after a crash of the bus, whose socket stays.
    void busThatRefusesConnectionsDoesNotAnswer()
    {
        UnixSocket socket(0);
        socket.close();
        const LoadedNames loaded = loadInTime();
        QVERIFY(loaded.isUnanswered());
        QCOMPARE(loaded.reading.silent, "Evolution Data Server");
    }

    void busWithAFullBacklogDoesNotAnswer()
    {
        const UnixSocket socket(0);
        const std::vector<Descriptor> clients = socket.fillBacklog();
        QVERIFY(!clients.empty());
        QVERIFY(loadInTime().isUnanswered());
    }

    void busAtTheSecondAddressIsFound()
    {
        fillStore(3);
        qputenv("DBUS_SESSION_BUS_ADDRESS",
            "unix:path=/nowhere/bus;" + qgetenv("DBUS_SESSION_BUS_ADDRESS"));
        QCOMPARE(loadInTime().names.map.size(), std::size_t(6));
    }

    void withoutServiceThereAreNoNames()
    {
        m_desktop = std::make_unique<PrivateDesktop>(PrivateDesktop::Services::None);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(ContactNames::load() == LoadedNames());
        QVERIFY(timer.elapsed() < 1'000); // there is nothing to wait for: no timeout
    }

    void stoppedProcessCostsNoMoreThanThreeSeconds_data() { addProcesses(); }

    void stoppedProcessCostsNoMoreThanThreeSeconds()
    {
        QFETCH(QString, role);
        fillStore(3);
        const Stopped stopped(processOf(role));
        const LoadedNames loaded = loadInTime();
        QVERIFY(loaded.names.map.empty());
        QVERIFY(loaded.isUnanswered());
    }

    void processStoppedInTheMiddleCostsNoMoreThanThreeSeconds_data()
    {
        addProcessesAndMoments({1, 5, 10, 20});
    }

    void processStoppedInTheMiddleCostsNoMoreThanThreeSeconds()
    {
        disturbInTheMiddle([](pid_t process) { return Stopped(process); });
    }

    void processThatEndsInTheMiddleCostsNothing_data() { addProcessesAndMoments({1, 10}); }

    void processThatEndsInTheMiddleCostsNothing()
    {
        disturbInTheMiddle([](pid_t process) { return ::kill(process, SIGKILL); });
    }

    void storeIsReadAgainWhenItGoesOn()
    {
        fillStore(3);
        {
            const Stopped stopped(m_store->booksProcess());
            const LoadedNames loaded = loadInTime();
            QVERIFY(loaded.names.map.empty());
            QCOMPARE(loaded.reading.silent, "the address book \"Personal\"");
        }
        const LoadedNames loaded = loadInTime();
        QCOMPARE(loaded.names.map.size(), std::size_t(6));
        QCOMPARE(loaded.reading.outcome, ContactOutcome::Complete);
    }

    /// The directory server of this book accepts connections and never answers.
    void bookThatHangsKeepsNoOtherBack()
    {
        fillStore(3);
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        m_store->addBook(QStringLiteral("a-directory"),
            QStringLiteral(
                "[Data Source]\nDisplayName=Directory\nParent=ldap-stub\nEnabled=true\n\n"
                "[Address Book]\nBackendName=ldap\n\n"
                "[Authentication]\nHost=127.0.0.1\nPort=%1\nMethod=none\n\n"
                "[LDAP Backend]\nRootDn=dc=example\nScope=subtree\nLimit=100\n\n"
                "[Security]\nMethod=none\n")
                .arg(silent.serverPort()));
        const LoadedNames loaded = loadInTime();
        QCOMPARE(loaded.names.map.size(), std::size_t(6));
        QCOMPARE(loaded.reading.silent, "the address book \"Directory\"");
        QVERIFY(silent.hasPendingConnections() || silent.waitForNewConnection(0));
    }

    void bookThatFailsKeepsNoOtherBack()
    {
        fillStore(3);
        QString keyFile = FilledStore::localBook({});
        keyFile.replace(
            QStringLiteral("BackendName=local"), QStringLiteral("BackendName=unheard-of"));
        m_store->addSource(QStringLiteral("a-book"), keyFile);
        const LoadedNames loaded = loadInTime();
        QCOMPARE(loaded.names.map.size(), std::size_t(6));
        QCOMPARE(loaded.reading.outcome, ContactOutcome::Complete);
    }

private:
    /// Starts a desktop with a store in which each contact has two keys. All services are running
    /// then.
    void fillStore(int contacts)
    {
        m_desktop = std::make_unique<PrivateDesktop>();
        m_store = std::make_unique<FilledStore>();
        m_store->addNumberedCards(contacts);
        QCOMPARE(ContactNames::load().names.map.size(), std::size_t(2) * contacts);
    }

    pid_t processOf(const QString& role) const
    {
        if (role == QStringLiteral("the bus"))
            return m_desktop->bus();
        return role == QStringLiteral("the service of books") ? m_store->booksProcess()
                                                              : m_store->sourcesProcess();
    }

    /// Calls disturb() during a load and keeps the returned object until the load has ended.
    template <typename Disturb>
    void disturbInTheMiddle(const Disturb& disturb)
    {
        QFETCH(QString, role);
        QFETCH(int, moment);
        constexpr int contacts = 1'000;
        fillStore(contacts);
        const pid_t process = processOf(role);
        auto load = std::async(std::launch::async, loadInTime);
        QTest::qSleep(moment);
        [[maybe_unused]] const auto disturbance = disturb(process);
        const LoadedNames loaded = load.get();
        QCOMPARE(loaded.names.map.size(),
            loaded.isUnanswered() ? std::size_t(0) : std::size_t(2) * contacts);
    }

    std::unique_ptr<PrivateDesktop> m_desktop;
    std::unique_ptr<FilledStore> m_store;
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::SilentDesktopTest)
#include "SilentDesktopTest.moc"
