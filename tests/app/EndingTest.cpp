#include "app/Desktop.h"

#include "export/ExportSetup.h"
#include "messages/MessagesDB.h"
#include "sample/SampleDatabase.h"

#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QtTest/QTest>

#include <csignal>
#include <filesystem>
#include <functional>
#include <set>
#include <thread>

using namespace korvane;
namespace fs = std::filesystem;

/// Ends the window program in the middle of an export.
using Ending = std::function<void(Desktop&, QProcess&)>;
Q_DECLARE_METATYPE(Ending)

/// Ends the window program during the first export of many chats, and checks that the terminal
/// program exports exactly the rest.
class EndingTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (const QString missing = Desktop::missing(); !missing.isEmpty())
            QSKIP(qPrintable(missing));
    }

    void exportIsContinuedWithoutRepetition_data()
    {
        QTest::addColumn<Ending>("end");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("Quit") << Ending(pressQuit) << 0;
        QTest::newRow("SIGTERM") << Ending(send<SIGTERM>) << 0;
        QTest::newRow("SIGINT") << Ending(send<SIGINT>) << 0;
        QTest::newRow("SIGHUP") << Ending(send<SIGHUP>) << 0;
        QTest::newRow("SIGTERM, then SIGHUP and SIGTERM again") << Ending(
            [](Desktop& desktop, QProcess& program) {
                send<SIGTERM>(desktop, program);
                std::this_thread::sleep_for(std::chrono::milliseconds(1)); // it has not ended yet
                send<SIGHUP>(desktop, program);
                send<SIGTERM>(desktop, program);
            }) << 0;
        QTest::newRow("lost display")
            << Ending([](Desktop& desktop, QProcess&) { desktop.loseDisplay(); }) << 1;
    }

    void exportIsContinuedWithoutRepetition()
    {
        QFETCH(const Ending, end);
        QFETCH(const int, exitCode);
        Desktop desktop(Desktop::Tray::None);
        const std::size_t chats = giveManyChats(desktop);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        QTRY_VERIFY_WITH_TIMEOUT(desktop.shows(QStringLiteral("Korvane Sync")), 15000);
        QTest::qWait(1000); // until the window has the focus
        startExport(desktop);
        QTRY_VERIFY_WITH_TIMEOUT(exportedFiles(desktop).size() >= 50, 60000);
        end(desktop, *program);
        QVERIFY(program->waitForFinished(30000));
        QCOMPARE(program->exitStatus(), QProcess::NormalExit);
        QCOMPARE(program->exitCode(), exitCode);
        verifyRestIsExportedOnce(desktop, chats);
    }

    void lostWaylandDisplayEndsTheExportToo()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("weston")).isEmpty())
            QSKIP("weston is not installed");
        Desktop desktop(Desktop::Tray::None);
        const QString socket = QStringLiteral("korvane-test");
        const auto compositor = desktop.start(QStringLiteral("weston"),
            {QStringLiteral("--backend=headless-backend.so"),
                QStringLiteral("--socket=") + socket});
        const QString socketPath
            = QString::fromStdString(desktop.home()) + QLatin1Char('/') + socket;
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(socketPath), 15000);
        desktop.setVariable(QStringLiteral("WAYLAND_DISPLAY"), socket);
        desktop.setVariable(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
        const std::size_t chats = giveManyChats(desktop);
        const auto program = desktop.start(QStringLiteral(WINDOW_PROGRAM));
        // No key can be sent here: wait for the first auto-sync, 30 seconds after the start.
        while (program->state() == QProcess::Running && exportedFiles(desktop).size() < 50)
            program->waitForFinished(20);
        if (program->readAllStandardError().contains("Could not find the Qt platform plugin"))
            QSKIP("Qt's plugin for Wayland is not installed");
        compositor->kill();
        QVERIFY(program->waitForFinished(30000));
        QCOMPARE(program->exitStatus(), QProcess::NormalExit);
        verifyRestIsExportedOnce(desktop, chats);
    }

private:
    /// Exports the rest, which must add just the records and files that are not there yet.
    static void verifyRestIsExportedOnce(const Desktop& desktop, std::size_t chats)
    {
        const std::set<fs::path> before = exportedFiles(desktop);
        QVERIFY2(before.size() < chats, "the export was over before the program ended");
        const std::int64_t exported = countRecords(before);
        QVERIFY(exported > 0);
        const auto rest = desktop.start(QStringLiteral(PROGRAM),
            {QStringLiteral("export"), QStringLiteral("--all"), QStringLiteral("--json")});
        QVERIFY(rest->waitForFinished(300'000));
        const std::set<fs::path> after = exportedFiles(desktop);
        QCOMPARE(after.size(), chats);
        QCOMPARE(QString::fromUtf8(rest->readAllStandardOutput()),
            QStringLiteral("{\"added\":%1,\"chatsTouched\":%2,\"errors\":[]}\n")
                .arg(countRecords(after) - exported)
                .arg(after.size() - before.size()));
    }

    static constexpr std::int64_t messages = 6'000;

    /// Writes a database of many chats and selects them all. Returns how many there are.
    static std::size_t giveManyChats(const Desktop& desktop)
    {
        const fs::path home = desktop.home();
        fs::create_directories(home / "Library/Messages");
        const std::string database = home / "Library/Messages/chat.db";
        writeSampleDatabase(database, {.messages = messages, .chats = 1500});
        QStringList guids;
        for (const ChatInfo& chat : MessagesDB(database).chats())
            guids << QString::fromStdString(chat.guid);
        QSettings settings(QString::fromStdString(home / ".config/KorvaneSync/KorvaneSync.ini"),
            QSettings::IniFormat);
        settings.setValue(QStringLiteral("selected"), guids);
        return static_cast<std::size_t>(guids.size());
    }

    static void startExport(const Desktop& desktop)
    {
        desktop.press(QStringLiteral("shift+Tab"));
        desktop.press(QStringLiteral("shift+Tab"));
        desktop.press(QStringLiteral("space")); // "Sync now"
    }

    static void pressQuit(Desktop& desktop, QProcess& /*program*/)
    {
        desktop.press(QStringLiteral("Tab"));
        desktop.press(QStringLiteral("space"));
    }

    template <int signal>
    static void send(Desktop& /*desktop*/, QProcess& program)
    {
        ::kill(static_cast<pid_t>(program.processId()), signal);
    }

    static std::set<fs::path> exportedFiles(const Desktop& desktop)
    {
        std::set<fs::path> files;
        std::error_code missing;
        for (const auto& file :
            fs::directory_iterator(desktop.home() + "/Documents/Quorvish", missing))
            files.insert(file);
        return files;
    }

    /// The number of records in the files; -1 if a file has one of them twice.
    static std::int64_t countRecords(const std::set<fs::path>& files)
    {
        std::int64_t count = 0;
        for (const fs::path& file : files) {
            const auto ids = rowIDsIn(readFile(file));
            if (std::set(ids.begin(), ids.end()).size() != ids.size())
                return -1;
            count += static_cast<std::int64_t>(ids.size());
        }
        return count;
    }
};

QTEST_GUILESS_MAIN(EndingTest)
#include "EndingTest.moc"
