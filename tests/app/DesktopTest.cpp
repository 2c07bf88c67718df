#include "app/Desktop.h"

#include "pairing/LocalAddress.h"
#include "pairing/TransferLink.h"
#include "sample/SampleDatabase.h"
#include "server/Client.h"
#include "state/HeldExport.h"
#include "storage/Files.h"
#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QtTest/QTest>

#include <csignal>
#include <filesystem>

using namespace korvane;
namespace fs = std::filesystem;

/// The window program as a process on an X server, driven by keys and clicks as by a user.
class DesktopTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (const QString missing = Desktop::missing(); !missing.isEmpty())
            QSKIP(qPrintable(missing));
    }

    void chatIsHandedOverFromTheTrayIconToThePhone()
    {
        if (!QR::localIPv4())
            QSKIP("no network interface of the kind that a phone could reach");
        const Desktop desktop(Desktop::Tray::Present);
        giveMessages(desktop);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        openWindow(desktop);
        desktop.type(QStringLiteral("Sunday Brunch"));
        desktop.press(QStringLiteral("Tab"));
        desktop.press(QStringLiteral("space"));
        desktop.press(QStringLiteral("Return"));
        std::string code;
        QTRY_VERIFY_WITH_TIMEOUT(!(code = desktop.codeOnScreen()).empty(), 15000);

        const auto link = TransferLink::fromString(code);
        QVERIFY(link);
        QCOMPARE(link->host, QR::localIPv4().value());
        const Response response = get(link->port, link->target());
        QCOMPARE(response.status, 200);
        const auto text = SealedByOthers::open(link->key.bytes(), response.body, link->target());
        QVERIFY(text);
        QCOMPARE(text->toStdString(), onlyExportOf(desktop));
    }

    void iconOpensAndClosesTheWindow()
    {
        const Desktop desktop(Desktop::Tray::Present);
        giveMessages(desktop);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        openWindow(desktop);
        desktop.clickTrayIcon();
        QTRY_VERIFY(!desktop.shows(title()));
        QTest::qWait(400); // a click sooner would count as the one that closed it
        desktop.clickTrayIcon();
        QTRY_VERIFY(desktop.shows(title()));
        desktop.press(QStringLiteral("Escape"));
        QTRY_VERIFY(!desktop.shows(title()));
        QCOMPARE(program->state(), QProcess::Running);
    }

    void doubleClickOnTheIconOpensTheWindow()
    {
        const Desktop desktop(Desktop::Tray::Present);
        giveMessages(desktop);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        openWindow(desktop);
        desktop.press(QStringLiteral("Escape"));
        QTRY_VERIFY(!desktop.shows(title()));
        QTest::qWait(400); // a click sooner would count as the one that closed it
        desktop.clickTrayIcon(2);
        QTRY_VERIFY(desktop.shows(title()));
        QTest::qWait(400);
        QVERIFY(desktop.shows(title()));
    }

    void secondStartBringsTheFirstOnesWindowUp()
    {
        const Desktop desktop(Desktop::Tray::Present);
        giveMessages(desktop);
        const auto first = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        openWindow(desktop);
        desktop.press(QStringLiteral("Escape"));
        QTRY_VERIFY(!desktop.shows(title()));
        const auto second = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        QVERIFY(second->waitForFinished(10000));
        QCOMPARE(second->exitCode(), 0);
        QTRY_VERIFY(desktop.shows(title()));
        QCOMPARE(first->state(), QProcess::Running);
    }

    void withoutATrayTheWindowIsAnOrdinaryOneAndClosingItQuits()
    {
        const Desktop desktop(Desktop::Tray::None);
        giveMessages(desktop);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        QTRY_VERIFY_WITH_TIMEOUT(desktop.shows(title()), 15000);
        desktop.press(QStringLiteral("Escape"));
        QVERIFY(!program->waitForFinished(300));
        bool finished = false; // the window manager may be slow to give it the focus
        for (int attempt = 0; attempt < 20 && !finished; ++attempt) {
            desktop.press(QStringLiteral("alt+F4"));
            finished = program->waitForFinished(1000);
        }
        QVERIFY(finished);
        QCOMPARE(program->exitStatus(), QProcess::NormalExit);
        QCOMPARE(program->exitCode(), 0);
    }

    void terminalExportsWhileTheWindowIsOpen()
    {
        const Desktop desktop(Desktop::Tray::Present);
        giveMessages(desktop);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        openWindow(desktop);
        desktop.press(QStringLiteral("Tab"));
        desktop.press(QStringLiteral("space"));
        desktop.press(QStringLiteral("Return"));
        const fs::path state = fs::path(desktop.home()) / "support/state.json";
        QTRY_VERIFY_WITH_TIMEOUT(fs::exists(state), 15000);
        QByteArray said;
        bool exported = false; // the window may be at the end of its run
        for (int attempt = 0; attempt < 5 && !exported; ++attempt) {
            const auto terminal = desktop.start(
                QStringLiteral(PROGRAM), {QStringLiteral("export"), QStringLiteral("--all")});
            QVERIFY(terminal->waitForFinished(10000));
            exported = terminal->exitCode() == 0;
            said += terminal->readAllStandardOutput() + terminal->readAllStandardError();
        }
        QVERIFY2(exported && said.contains("Added "), said.constData());
        QCOMPARE(program->state(), QProcess::Running);
    }

    void exportInATerminalSaysThatTheWindowExports()
    {
        const Desktop desktop(Desktop::Tray::Present);
        giveMessages(desktop);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        openWindow(desktop);
        HeldExport held(fs::path(desktop.home()) / "support/state.json");
        desktop.press(QStringLiteral("Tab"));
        desktop.press(QStringLiteral("space"));
        desktop.press(QStringLiteral("Return"));
        QTRY_VERIFY_WITH_TIMEOUT(held.isReached(), 15000);
        const auto terminal = desktop.start(
            QStringLiteral(PROGRAM), {QStringLiteral("export"), QStringLiteral("--all")});
        QVERIFY(terminal->waitForFinished(10000));
        QCOMPARE(terminal->exitCode(), 1);
        const QByteArray said = terminal->readAllStandardError();
        QVERIFY2(said.contains("Another export is running (korvane-sync-app, process "
                     + QByteArray::number(program->processId())),
            said.constData());
    }

    void withoutADisplayItSaysSo()
    {
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            environment.remove(QLatin1String(variable));
        program.setProcessEnvironment(environment);
        program.start(QStringLiteral(WINDOW_PROGRAM), QStringList());
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 1);
        QVERIFY(program.readAllStandardError().contains("There is no display"));
    }

private:
    static QString title() { return QStringLiteral("Korvane Sync"); }

    static void giveMessages(const Desktop& desktop)
    {
        const fs::path home = desktop.home();
        fs::create_directories(home / "Library/Messages");
        fs::create_directories(home / ".contacts");
        const SampleSize size{.messages = 5000};
        writeSampleDatabase(home / "Library/Messages/chat.db", size);
        writeSampleContacts(home / ".contacts/people.vcf", size);
    }

    static void openWindow(const Desktop& desktop)
    {
        // The tray makes room for an icon before the icon takes clicks, so the first may be lost.
        for (int attempt = 0; attempt < 4 && !desktop.shows(title()); ++attempt) {
            desktop.clickTrayIcon();
            (void)QTest::qWaitFor([&] { return desktop.shows(title()); }, 4000);
        }
        QTRY_VERIFY_WITH_TIMEOUT(desktop.isActive(title()), 10000);
        QTest::qWait(500); // for the chats to be read
    }

    static std::string onlyExportOf(const Desktop& desktop)
    {
        std::string contents;
        for (const auto& file : fs::directory_iterator(desktop.home() + "/Documents/Quorvish"))
            contents += Files::read(file).value_or("(unreadable)");
        return contents;
    }
};

QTEST_GUILESS_MAIN(DesktopTest)
#include "DesktopTest.moc"
