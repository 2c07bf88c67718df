#include "app/Application.h"

#include "app/ContentView.h"
#include "app/Display.h"
#include "app/Look.h"
#include "app/MenuBarExtra.h"
#include "app/SingleInstance.h"
#include "app/Snapshot.h"
#include "process/ExitHook.h"
#include "process/Interruption.h"
#include "state/AppEnvironment.h"
#include "state/AppState.h"
#include "storage/Paths.h"

#include <QApplication>
#include <QFileDialog>
#include <QSocketNotifier>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace korvane {

namespace {

/// Shows a modal dialog for choosing or creating a folder, starting in `start`. Blocks until it is
/// closed. Returns nothing if the user cancels.
std::optional<std::filesystem::path> pickFolder(const std::filesystem::path& start)
{
    const QString folder = QFileDialog::getExistingDirectory(QApplication::activeWindow(),
        QFileDialog::tr("Choose a folder for the export"), QString::fromStdString(start.native()));
    if (folder.isEmpty())
        return std::nullopt;
    return folder.toStdString();
}

AppEnvironment realEnvironment(const SupportFolder& support)
{
    AppEnvironment environment{.support = support};
    environment.pickFolder = pickFolder;
    environment.openUrl = openUrl;
    return environment;
}

void nameApplication()
{
    QApplication::setApplicationName(QStringLiteral("KorvaneSync"));
    QApplication::setApplicationDisplayName(QStringLiteral("Korvane Sync"));
    QApplication::setApplicationVersion(QStringLiteral(KORVANE_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("app.korvane.KorvaneSync"));
    QApplication::setWindowIcon(Look::image(Look::Drawing::Guide, 64, 1));
}

/// The offscreen platform has no desktop's font setting. Inter is designed for screens.
void preferScreenFont()
{
    QFont font = QApplication::font();
    font.setFamilies(QStringList{QStringLiteral("Inter")} + font.families());
    QApplication::setFont(font);
}

int printError(const std::string& text)
{
    std::fprintf(stderr, "korvane-sync-app: %s\n", text.c_str());
    return EXIT_FAILURE;
}

/// Runs until the user quits, a signal arrives, or the session ends. If the display is lost, Qt
/// ends the process instead; ExitHook stops the state then.
int runUntilQuit(const Interruption& interruption, AppState& state)
{
    const ExitHook hook([&state] { state.stop(); });
    runExitHookOnLostDisplay();
    const QSocketNotifier signal(interruption.descriptor(), QSocketNotifier::Read);
    QObject::connect(&signal, &QSocketNotifier::activated, &QApplication::quit);
    // The session manager waits until this slot returns, but not until the process has ended.
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, &state, &AppState::interruptExport,
        Qt::DirectConnection);
    return QApplication::exec();
}

/// Shows what the user should know even if the window is closed.
void tellByIcon(const AppState& state, MenuBarExtra& extra)
{
    QObject::connect(&state, &AppState::notified, &extra,
        [&extra](const std::string& text) { extra.notify(QString::fromStdString(text)); });
    QObject::connect(&state, &AppState::warningChanged, &extra,
        [&state, &extra] { extra.setWarning(QString::fromStdString(state.warning())); });
}

int runWindow(const SupportFolder& support, int& argc, char** argv)
{
    // Destroyed last: the end of an export and of QApplication takes time. A further SIGTERM or
    // SIGHUP must not kill the process meanwhile.
    std::optional<Interruption> interruption;
    const QApplication application(argc, argv);
    nameApplication();
    using Role = SingleInstance::Role;
    SingleInstance instance(support);
    if (instance.role() == Role::Secondary)
        return EXIT_SUCCESS;
    if (instance.role() == Role::Blocked)
        return printError(
            "Another window uses " + support.path().string() + ", but does not answer.");
    interruption.emplace();
    AppState state(realEnvironment(support));
    ContentView window(state);
    MenuBarExtra extra(window);
    QObject::connect(&instance, &SingleInstance::showRequested, &extra, &MenuBarExtra::open);
    QObject::connect(&window, &ContentView::quitRequested, &QApplication::quit);
    tellByIcon(state, extra);
    const int code = runUntilQuit(*interruption, state);
    instance.retire(); // before ~AppState, which may wait for an export
    return code;
}

} // namespace

std::optional<std::string> Application::snapshotFolder(const std::vector<std::string>& arguments)
{
    const auto option = std::find(arguments.begin(), arguments.end(), "--snapshot");
    if (option == arguments.end() || option + 1 == arguments.end())
        return std::nullopt;
    return option[1];
}

int Application::writeSnapshots(const std::string& folder, int& argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    preferScreenFont();
    Snapshot::write(folder);
    return EXIT_SUCCESS;
}

int Application::run(const SupportFolder& support, int& argc, char** argv)
{
    if (!hasDisplay())
        return printError(
            "There is no display to open a window on. korvane-sync works without one.");
    try {
        return runWindow(support, argc, argv);
    } catch (const std::exception& error) { // at startup; later errors go to the status line
        return printError(error.what());
    }
}

} // namespace korvane
