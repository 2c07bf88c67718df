#include "app/Application.h"

#include "app/ContentView.h"
#include "app/Display.h"
#include "app/FolderPicker.h"
#include "app/Look.h"
#include "app/MenuBarExtra.h"
#include "app/SingleInstance.h"
#include "app/Snapshot.h"

#include <QApplication>
#include <QDesktopServices>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace korvane {

namespace {

AppEnvironment realEnvironment()
{
    AppEnvironment environment;
    environment.pickFolder = pickFolder;
    environment.openUrl = [](const QUrl& url) { QDesktopServices::openUrl(url); };
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

/// Without a desktop there is no font of the desktop's; this one is made for screens.
void preferScreenFont()
{
    QFont font = QApplication::font();
    font.setFamilies(QStringList{QStringLiteral("Inter")} + font.families());
    QApplication::setFont(font);
}

int complain(const std::string& text)
{
    std::fprintf(stderr, "korvane-sync-app: %s\n", text.c_str());
    return EXIT_FAILURE;
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

int Application::run(int& argc, char** argv)
{
    if (!hasDisplay())
        return complain("There is no display to open a window on. korvane-sync works without one.");
    const std::future<void> fonts = readFontsAhead();
    const QApplication application(argc, argv);
    nameApplication();
    SingleInstance instance;
    if (instance.askedFirst())
        return EXIT_SUCCESS;
    AppState state(realEnvironment());
    ContentView window(state);
    MenuBarExtra extra(window, QSystemTrayIcon::isSystemTrayAvailable());
    QObject::connect(&instance, &SingleInstance::showRequested, &extra, &MenuBarExtra::open);
    QObject::connect(&window, &ContentView::quitRequested, &QApplication::quit);
    return QApplication::exec();
}

} // namespace korvane
