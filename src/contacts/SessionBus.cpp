#include "contacts/SessionBus.h"

#include <QDBusMessage>
#include <QUuid>

namespace korvane {

namespace {

/// Where the bus listens, by the rules of D-Bus; without the one that would start a bus.
QString busAddress()
{
    const QString standard
        = QStringLiteral("unix:path=%1/bus").arg(qEnvironmentVariable("XDG_RUNTIME_DIR"));
    return qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")
        ? standard
        : qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
}

} // namespace

/// As to a bus, Qt would connect with a greeting of its own, for whose answer it waits 25 seconds
/// and then ends the process. So this connects as to a peer, and greets the bus itself.
SessionBus::SessionBus(QDeadlineTimer deadline)
    : m_deadline(deadline)
    , m_connection(QDBusConnection::connectToPeer(busAddress(), QUuid::createUuid().toString()))
{
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
        throw SessionBusError(reply.errorMessage().toStdString());
    return reply.arguments();
}

} // namespace korvane
