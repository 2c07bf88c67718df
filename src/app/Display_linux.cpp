#include "app/Display.h"

#include "app/Look.h"
#include "process/ExitHook.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QProcess>
#include <QString>

#include <xcb/xcb.h>

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

/// Of the protocol that trays over D-Bus speak.
bool hasStatusNotifierTray()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected()
        && bus.interface()->isServiceRegistered(QStringLiteral("org.kde.StatusNotifierWatcher"));
}

/// Of the older protocol for X servers.
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

/// Has the name of the installed symbolic icon, which panels over D-Bus look up and recolour, and
/// the pixels of a picture that is visible on any panel, for all others.
class TrayIconEngine : public QIconEngine {
public:
    QString iconName() override
    {
        const QString name = QStringLiteral("app.korvane.KorvaneSync-symbolic");
        return QIcon::hasThemeIcon(name) ? name : QString();
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

bool hasDisplay()
{
    return isSet("QT_QPA_PLATFORM") || isSet("WAYLAND_DISPLAY") || isSet("DISPLAY");
}

bool hasTray()
{
    return hasStatusNotifierTray() || hasXEmbedTray();
}

/// QDesktopServices::openUrl() starts xdg-open and does not wait for it, so it succeeds even where
/// no program takes the scheme. xdg-mime tells which one does.
bool openUrl(const QUrl& url)
{
    constexpr int patience = 5000; // milliseconds
    QProcess query;
    query.start(QStringLiteral("xdg-mime"),
        {QStringLiteral("query"), QStringLiteral("default"),
            QStringLiteral("x-scheme-handler/") + url.scheme()});
    const bool hasAnswer = query.waitForFinished(patience);
    if (hasAnswer && query.readAllStandardOutput().trimmed().isEmpty())
        return false;
    return QDesktopServices::openUrl(url);
}

QIcon trayIcon()
{
    return QIcon(new TrayIconEngine);
}

/// Qt's Wayland client calls _exit(), which runs no exit handlers. It prints a warning before, and
/// gives no other notice. If it is to reconnect instead, it does not exit.
void runExitHookOnLostDisplay()
{
    if (!isSet("QT_WAYLAND_RECONNECT"))
        defaultHandler = qInstallMessageHandler(handleMessage);
}

} // namespace korvane
