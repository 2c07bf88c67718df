#include "contacts/SessionBus.h"

#include "storage/Descriptor.h"

#include <QDBusMessage>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <QUuid>

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>

namespace korvane {

namespace {

/// The address of the session bus: $DBUS_SESSION_BUS_ADDRESS, otherwise $XDG_RUNTIME_DIR/bus. Omits
/// autolaunch, D-Bus's last fallback, because that would start a bus.
QString busAddress()
{
    const QString standard
        = QStringLiteral("unix:path=%1/bus").arg(qEnvironmentVariable("XDG_RUNTIME_DIR"));
    return qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")
        ? standard
        : qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
}

/// The paths of the sockets in an address, which is a list of alternatives such as
/// "unix:path=/run/user/1000/bus,guid=…;tcp:host=localhost,port=7000".
QStringList socketPaths(const QString& address)
{
    const QString prefix = QStringLiteral("unix:path=");
    QStringList paths;
    for (const QString& alternative : address.split(u';')) {
        if (alternative.startsWith(prefix))
            paths.append(QUrl::fromPercentEncoding(
                alternative.mid(prefix.size()).section(u',', 0, 0).toUtf8()));
    }
    return paths;
}

/// Whether there is a socket that accepts no connection: the bus has crashed, or it hangs and its
/// backlog is full. connect() would block then, and QtDBus has no timeout for it.
bool isRefused(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.isEmpty() || static_cast<std::size_t>(name.size()) >= sizeof address.sun_path)
        return false;
    std::copy(name.begin(), name.end(), address.sun_path);
    const Descriptor attempt(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (::connect(attempt.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return false;
    return errno == EAGAIN || (errno == ECONNREFUSED && !QFileInfo(path).isFile());
}

/// Throws SessionBusError if the first socket that exists accepts no connection.
QString checkedAddress()
{
    QString address = busAddress();
    const QStringList paths = socketPaths(address);
    const auto first = std::find_if(
        paths.begin(), paths.end(), [](const QString& path) { return QFile::exists(path); });
    if (first != paths.end() && isRefused(*first))
        throw SessionBusError("the message bus accepts no connection");
    return address;
}

} // namespace

/// Connects as to a peer and calls Hello itself. QDBusConnection::connectToBus() would call Hello
/// with a timeout of 25 seconds and then end the process.
SessionBus::SessionBus(QDeadlineTimer deadline)
    : m_deadline(deadline)
    , m_connection(QDBusConnection::connectToPeer(checkedAddress(), QUuid::createUuid().toString()))
{
    if (!m_connection.isConnected()) {
        disconnect();
        throw NoSuchService("no message bus");
    }
    try {
        call(method(QStringLiteral("Hello")), QStringLiteral("s"));
    } catch (const SessionBusError&) {
        disconnect();
        throw;
    }
}

SessionBus::~SessionBus()
{
    disconnect();
}

void SessionBus::disconnect() const
{
    QDBusConnection::disconnectFromPeer(m_connection.name());
}

SessionBusMethod SessionBus::method(const QString& name)
{
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    return {bus, QStringLiteral("/org/freedesktop/DBus"), bus, name};
}

QVariantList SessionBus::call(
    const SessionBusMethod& method, const QString& signature, const QVariantList& arguments) const
{
    const qint64 remaining = m_deadline.remainingTime();
    if (remaining == 0)
        throw SessionBusError("the time is up");
    QDBusMessage message = QDBusMessage::createMethodCall(
        method.service, method.path, method.interface, method.name);
    message.setArguments(arguments);
    const QDBusMessage reply
        = m_connection.call(message, QDBus::Block, static_cast<int>(remaining));
    if (reply.type() != QDBusMessage::ReplyMessage || !reply.signature().startsWith(signature))
        throw SessionBusError(reply.errorMessage().toStdString(), reply.errorName());
    return reply.arguments();
}

} // namespace korvane
