#include "app/Display.h"

#include "app/Look.h"
#include "process/ExitHook.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDesktopServices>
#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QProcess>
#include <QString>

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace korvane {

namespace {

bool isSet(const char* variable)
{
    const char* value = std::getenv(variable);
    return value && *value != '\0';
}

template <typename T>
using Allocated = std::unique_ptr<T, decltype(&std::free)>;

/// Looks for a tray that uses StatusNotifierItem, the protocol over D-Bus.
bool hasStatusNotifierTray()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected()
        && bus.interface()->isServiceRegistered(QStringLiteral("org.kde.StatusNotifierWatcher"));
}

/// Looks for a tray that uses XEmbed, the older protocol for X servers, on screen 0.
bool hasXEmbedTray()
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11)
        return false;
    xcb_connection_t* server = x11->connection();
    constexpr std::string_view selection = "_NET_SYSTEM_TRAY_S0";
    const Allocated<xcb_intern_atom_reply_t> atom(
        xcb_intern_atom_reply(server,
            xcb_intern_atom(server, 1, static_cast<uint16_t>(selection.size()), selection.data()),
            nullptr),
        std::free);
    if (!atom || atom->atom == XCB_ATOM_NONE)
        return false;
    const Allocated<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(server, xcb_get_selection_owner(server, atom->atom), nullptr),
        std::free);
    return reply && reply->owner != XCB_WINDOW_NONE;
}

/// An icon with a theme name and pixels. Panels that use D-Bus look up the installed symbolic icon
/// by its name and recolour it. All others get pixels, which are visible on light and dark panels.
class TrayIconEngine : public QIconEngine {
public:
    /// Looks for the file itself. QIcon::hasThemeIcon() finds SVG files only where Qt's plugin for
    /// them is installed, and it is the panel that loads this one.
    QString iconName() override
    {
        const QString name = QStringLiteral("app.korvane.KorvaneSync-symbolic");
        const QString file
            = QStringLiteral("/hicolor/symbolic/apps/") + name + QStringLiteral(".svg");
        const QStringList themes = QIcon::themeSearchPaths();
        const bool isInstalled = std::any_of(themes.begin(), themes.end(),
            [&file](const QString& folder) { return QFile::exists(folder + file); });
        return isInstalled ? name : QString();
    }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        QList<QSize> sizes;
        for (const int side : {16, 18, 22, 24, 32, 36, 44, 48})
            sizes.emplaceBack(side, side);
        return sizes;
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override
    {
        return Look::trayPicture(size.height());
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override
    {
        const double pixelsPerPoint = painter->deviceTransform().m11();
        const QPixmap picture = Look::trayPicture(rect.height() * pixelsPerPoint);
        painter->drawPixmap(rect, picture);
    }

    QIconEngine* clone() const override { return new TrayIconEngine(*this); }
};

QtMessageHandler defaultHandler = nullptr;

void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (text.startsWith(QLatin1String("The Wayland connection")))
        ExitHook::run();
    defaultHandler(type, context, text);
}

} // namespace

/// Looks at the environment only; does not try to connect.
bool hasDisplay()
{
    return isSet("QT_QPA_PLATFORM") || isSet("WAYLAND_DISPLAY") || isSet("DISPLAY");
}

bool hasTray()
{
    return hasStatusNotifierTray() || hasXEmbedTray();
}

/// QDesktopServices::openUrl() starts xdg-open and does not wait for it, so it succeeds even if no
/// program handles the scheme. So ask xdg-mime first, which prints the handler's name.
bool openUrl(const QUrl& url)
{
    constexpr int timeout = 5000; // milliseconds
    QProcess query;
    query.start(QStringLiteral("xdg-mime"),
        {QStringLiteral("query"), QStringLiteral("default"),
            QStringLiteral("x-scheme-handler/") + url.scheme()});
    const bool hasAnswer = query.waitForFinished(timeout);
    if (hasAnswer && query.readAllStandardOutput().trimmed().isEmpty())
        return false;
    return QDesktopServices::openUrl(url);
}

QIcon trayIcon()
{
    return QIcon(new TrayIconEngine);
}

/// When the Wayland compositor goes away, Qt calls _exit(), which runs no exit handlers. The only
/// notice is a warning that Qt prints first, so run the hook from a message handler. With
/// QT_WAYLAND_RECONNECT set, Qt reconnects instead of exiting.
void runExitHookOnLostDisplay()
{
    if (!isSet("QT_WAYLAND_RECONNECT"))
        defaultHandler = qInstallMessageHandler(handleMessage);
}

} // namespace korvane
