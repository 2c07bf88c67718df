#include "contacts/SessionBus.h"

#include <QDBusMessage>
#include <QUuid>

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

} // namespace

/// Connects as to a peer and calls Hello itself. QDBusConnection::connectToBus() would call Hello
/// with a timeout of 25 seconds and then end the process.
SessionBus::SessionBus(QDeadlineTimer deadline)
    : m_deadline(deadline)
    , m_connection(QDBusConnection::connectToPeer(busAddress(), QUuid::createUuid().toString()))
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
