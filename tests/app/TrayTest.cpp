#include "app/Desktop.h"
#include "support/TestDatabase.h"

#include <QColor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QtTest/QTest>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <set>

using namespace korvane;

namespace {

double luminance(QRgb colour)
{
    const auto linear = [](int byte) {
        const double part = byte / 255.0;
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour))
        + 0.0722 * linear(qBlue(colour));
}

/// The contrast ratio of two colours as WCAG defines it, from 1 to 21.
double contrast(QRgb one, QRgb other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

} // namespace

/// The panel's side of the StatusNotifierItem protocol, on a private D-Bus bus.
class Watcher : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)

public:
    explicit Watcher(const Desktop& desktop)
        : m_bus(desktop.start(QStringLiteral("dbus-daemon"),
            {QStringLiteral("--session"), QStringLiteral("--nofork"),
                QStringLiteral("--print-address=1")}))
    {
        m_bus->waitForReadyRead(10000);
        address = QString::fromLatin1(m_bus->readLine()).trimmed();
        m_connection
            = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(address, address));
    }
    ~Watcher() override { QDBusConnection::disconnectFromBus(address); }
    Q_DISABLE_COPY_MOVE(Watcher)

    bool appear()
    {
        return m_connection->registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                   QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties)
            && m_connection->registerObject(QStringLiteral("/org/freedesktop/Notifications"),
                QStringLiteral("org.freedesktop.Notifications"), this,
                QDBusConnection::ExportAllSlots)
            && m_connection->registerService(QStringLiteral("org.freedesktop.Notifications"))
            && m_connection->registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    }

    static bool isHostRegistered() { return true; }

    /// A property of the registered icon.
    QVariant property(const QString& name) const
    {
        const QDBusMessage answer = call(QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("Get"), {QStringLiteral("org.kde.StatusNotifierItem"), name});
        return answer.arguments().value(0).value<QDBusVariant>().variant();
    }

    void activate() const
    {
        call(QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Activate"), {500, 10});
    }

    QString address;
    QString item;
    QStringList notifications; ///< texts of those shown

public slots:
    // NOLINTNEXTLINE(readability-identifier-naming): D-Bus calls it by this name.
    void RegisterStatusNotifierItem(const QString& /*service*/) { item = message().service(); }

    /// The desktop's notifications.
    // NOLINTNEXTLINE(readability-identifier-naming): D-Bus calls it by this name.
    uint Notify(const QString& /*program*/, uint /*replaced*/, const QString& /*icon*/,
        const QString& /*title*/, const QString& text, const QStringList& /*actions*/,
        const QVariantMap& /*hints*/, int /*timeout*/)
    {
        notifications.append(text);
        return 1;
    }

private:
    /// Calls a method of the registered icon. Not with QDBusInterface, which first asks the icon to
    /// describe its interfaces: Qt 6.4 leaks a part of that description.
    QDBusMessage call(
        const QString& interface, const QString& method, const QVariantList& arguments) const
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            item, QStringLiteral("/StatusNotifierItem"), interface, method);
        message.setArguments(arguments);
        return m_connection->call(message);
    }

    Program m_bus;
    std::unique_ptr<QDBusConnection> m_connection;
};

/// The program's icon in real trays.
class TrayTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (const QString missing = Desktop::missing(); !missing.isEmpty())
            QSKIP(qPrintable(missing));
    }

    void iconIsVisibleOnThePanel_data()
    {
        QTest::addColumn<QString>("colour");
        for (const char* colour : {"0x000000", "0x2e3436", "0xe8e8e8", "0xffffff"})
            QTest::newRow(colour) << QString::fromLatin1(colour);
    }

    void iconIsVisibleOnThePanel()
    {
        QFETCH(const QString, colour);
        const Desktop desktop(Desktop::Tray::Present, colour);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        const int wanted = QColor(QLatin1Char('#') + colour.mid(2)).lightness();
        int visible = 0;
        const auto look = [&] {
            const QImage picture = desktop.screen().copy(976, 0, 24, 24);
            const QRgb panel = picture.pixel(1, 1);
            visible = 0;
            for (int y = 0; y < picture.height(); ++y) {
                for (int x = 0; x < picture.width(); ++x)
                    visible += contrast(picture.pixel(x, y), panel) >= 2;
            }
            return std::abs(QColor(panel).lightness() - wanted) < 8 && visible >= 100;
        };
        QVERIFY2(QTest::qWaitFor(look, 10000), qPrintable(QString::number(visible)));
    }

    void installedIconIsNamedForThePanel()
    {
        Desktop desktop(Desktop::Tray::None);
        const QString theme
            = QString::fromStdString(desktop.home()) + QStringLiteral("/share/icons/hicolor");
        QVERIFY(QDir().mkpath(theme + QStringLiteral("/symbolic/apps")));
        const QString name = QStringLiteral("app.korvane.KorvaneSync-symbolic");
        QVERIFY(QFile::copy(
            QStringLiteral(ICON_FOLDER) + QLatin1Char('/') + name + QStringLiteral(".svg"),
            theme + QStringLiteral("/symbolic/apps/") + name + QStringLiteral(".svg")));
        QFile index(theme + QStringLiteral("/index.theme"));
        QVERIFY(index.open(QIODevice::WriteOnly));
        index.write("[Icon Theme]\nName=Hicolor\nDirectories=symbolic/apps\n"
                    "[symbolic/apps]\nSize=16\nMinSize=8\nMaxSize=512\nType=Scalable\n");
        index.close();
        desktop.setVariable(QStringLiteral("XDG_DATA_DIRS"),
            QString::fromStdString(desktop.home()) + QStringLiteral("/share"));
        QCOMPARE(propertyOnDBus(desktop, QStringLiteral("IconName")).toString(), name);
    }

    void iconThatIsNotInstalledHasNoName()
    {
        Desktop desktop(Desktop::Tray::None);
        desktop.setVariable(
            QStringLiteral("XDG_DATA_DIRS"), QString::fromStdString(desktop.home()));
        QCOMPARE(propertyOnDBus(desktop, QStringLiteral("IconName")).toString(), QString());
    }

    void panelThatLooksUpNoNameGetsPicturesFrom16To48()
    {
        Desktop desktop(Desktop::Tray::None);
        const auto pictures
            = propertyOnDBus(desktop, QStringLiteral("IconPixmap")).value<QDBusArgument>();
        std::set<int> sides;
        pictures.beginArray();
        while (!pictures.atEnd()) {
            int width = 0;
            int height = 0;
            QByteArray pixels;
            pictures.beginStructure();
            pictures >> width >> height >> pixels;
            pictures.endStructure();
            QCOMPARE(height, width);
            QCOMPARE(pixels.size(), qsizetype(4) * width * height);
            QVERIFY(pixels.count('\0') < pixels.size() * 9 / 10); // not all transparent
            sides.insert(width);
        }
        pictures.endArray();
        for (const int side : {16, 22, 24, 32, 48})
            QVERIFY2(sides.contains(side), qPrintable(QString::number(side)));
    }

    void trayThatAppearsLaterGetsTheIcon()
    {
        bool hasTray = false;
        for (int attempt = 0; attempt < 3 && !hasTray; ++attempt) {
            Desktop desktop(Desktop::Tray::None);
            const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
            QTRY_VERIFY_WITH_TIMEOUT(desktop.shows(title()), 15000);
            hasTray = desktop.startTray();
            if (!hasTray)
                continue;
            desktop.clickTrayIcon(); // waits for the icon
            becomesAPopup(desktop, *program);
        }
        QVERIFY(hasTray);
    }

    void trayOverDBusThatAppearsLaterGetsTheIcon()
    {
        Desktop desktop(Desktop::Tray::None);
        Watcher watcher(desktop);
        Program program;
        startBeforeThePanel(desktop, watcher, program);
        if (QTest::currentTestFailed())
            return;
        QVERIFY(desktop.shows(title())); // stays open: it may be in use
        watcher.activate();
        becomesAPopup(desktop, *program);
    }

    void ordinaryWindowDoesNotQuitOnceThereIsATray()
    {
        Desktop desktop(Desktop::Tray::None);
        Watcher watcher(desktop);
        Program program;
        startBeforeThePanel(desktop, watcher, program);
        if (QTest::currentTestFailed())
            return;
        for (int attempt = 0; attempt < 20 && desktop.shows(title()); ++attempt) {
            desktop.press(QStringLiteral("alt+F4"));
            QTest::qWait(1000);
        }
        QVERIFY(!desktop.shows(title()));
        QVERIFY(!program->waitForFinished(500));
        watcher.activate();
        QTRY_VERIFY(desktop.shows(title()));
    }

    void fileThatAnExportKeepsIsNotified()
    {
        Desktop desktop(Desktop::Tray::None);
        Watcher watcher(desktop);
        QVERIFY(watcher.appear());
        desktop.setVariable(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), watcher.address);
        giveExportThatMessagesHasLost(desktop);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        QTRY_VERIFY_WITH_TIMEOUT(!watcher.item.isEmpty(), 15000);
        watcher.activate();
        QTRY_VERIFY_WITH_TIMEOUT(desktop.isActive(title()), 10000);
        QTest::qWait(500); // for the chats to be read
        for (const char* key : {"Tab", "space", "Return"})
            desktop.press(QLatin1String(key));
        QTRY_COMPARE_WITH_TIMEOUT(watcher.notifications.size(), 1, 15000);
        QVERIFY2(watcher.notifications[0].startsWith(QStringLiteral(
                     "Kept 1 message of Team that Messages no longer has: Kept/Team")),
            qPrintable(watcher.notifications[0]));
        QCOMPARE(toolTip(watcher), title());
    }

private:
    static QString title() { return QStringLiteral("Korvane Sync"); }

    /// Escape closes a popup; it does not close an ordinary window.
    static void becomesAPopup(const Desktop& desktop, const QProcess& program)
    {
        bool isClosed = false; // the window manager may be slow to give it the focus
        for (int attempt = 0; attempt < 20 && !isClosed; ++attempt) {
            QTest::qWait(300);
            desktop.press(QStringLiteral("Escape"));
            isClosed = !desktop.shows(title());
        }
        QVERIFY(isClosed);
        QCOMPARE(program.state(), QProcess::Running);
    }

    /// Starts the program, lets the panel appear once the window is open, and waits until the panel
    /// has the icon.
    static void startBeforeThePanel(Desktop& desktop, Watcher& watcher, Program& program)
    {
        desktop.setVariable(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), watcher.address);
        program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        QTRY_VERIFY_WITH_TIMEOUT(desktop.shows(title()), 15000);
        QVERIFY(watcher.appear());
        QTRY_VERIFY_WITH_TIMEOUT(!watcher.item.isEmpty(), 15000);
    }

    /// The title of the icon's tooltip.
    static QString toolTip(const Watcher& watcher)
    {
        const auto toolTip = watcher.property(QStringLiteral("ToolTip")).value<QDBusArgument>();
        QString icon;
        QString text;
        toolTip.beginStructure();
        toolTip >> icon;
        toolTip.beginArray();
        toolTip.endArray();
        toolTip >> text;
        toolTip.endStructure();
        return text;
    }

    /// Exports a chat. Then Messages deletes one of its messages, and the chat gets another title.
    static void giveExportThatMessagesHasLost(const Desktop& desktop)
    {
        TestDatabase database;
        database.addChat(1, "G1", "Team", "chat1", 43);
        database.addMessage(1, "first");
        database.addMessage(1, "second");
        desktop.output(QStringLiteral(PROGRAM),
            {QStringLiteral("export"), QStringLiteral("--all"), QStringLiteral("--database"),
                QString::fromStdString(database.path())});
        database.sql().execute("DELETE FROM chat_message_join WHERE message_id = 1;"
                               "UPDATE chat SET display_name = 'Crew'");
        const std::filesystem::path messages = desktop.home() + "/Library/Messages";
        std::filesystem::create_directories(messages);
        std::filesystem::copy_file(database.path(), messages / "chat.db");
    }

    /// Starts the program with a panel on D-Bus and returns a property of its icon.
    static QVariant propertyOnDBus(Desktop& desktop, const QString& name)
    {
        Watcher watcher(desktop);
        if (!watcher.appear())
            return {};
        desktop.setVariable(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), watcher.address);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        if (!QTest::qWaitFor([&] { return !watcher.item.isEmpty(); }, 15000))
            return {};
        return watcher.property(name);
    }
};

QTEST_GUILESS_MAIN(TrayTest)
#include "TrayTest.moc"
