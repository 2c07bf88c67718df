#pragma once

#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QString>
#include <QVariantList>

#include <stdexcept>

namespace korvane {

/// No bus, no such service, or no answer in time.
class SessionBusError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A method of an object that a program offers on the bus.
struct SessionBusMethod {
    QString service;
    QString path;
    QString interface;
    QString name;
};

/// A connection of its own to the message bus of the user's session, closed with this object, on
/// which everything must be over by a deadline. It needs no event loop and starts no bus; services
/// are started by the bus where they are not running. `call` may be used by several threads.
class SessionBus {
public:
    /// Throws SessionBusError where there is no bus, or one that does not answer.
    explicit SessionBus(QDeadlineTimer deadline);
    ~SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    /// A method of the bus itself.
    static SessionBusMethod method(const QString& name);

    /// What the method answers. Throws SessionBusError for an error, an answer that does not begin
    /// with the D-Bus types `signature`, and when the deadline has passed.
    QVariantList call(const SessionBusMethod& method, const QString& signature,
        const QVariantList& arguments = {}) const;

private:
    void disconnect() const;

    QDeadlineTimer m_deadline;
    QDBusConnection m_connection;
};

} // namespace korvane
