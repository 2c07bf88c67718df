#pragma once

#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QString>
#include <QVariantList>

#include <stdexcept>
#include <string>
#include <utility>

namespace korvane {

/// A failed D-Bus call: no bus, no such service, an error or unexpected reply, or a timeout.
class SessionBusError : public std::runtime_error {
public:
    explicit SessionBusError(const std::string& text, QString name = {})
        : std::runtime_error(text)
        , m_name(std::move(name))
    {
    }

    const QString& name() const { return m_name; } ///< of the error on D-Bus; may be empty

private:
    QString m_name;
};

/// There is no bus or no such service, so no answer can come.
class NoSuchService : public SessionBusError {
public:
    using SessionBusError::SessionBusError;
};

/// The full address of a D-Bus method.
struct SessionBusMethod {
    QString service;
    QString path;
    QString interface;
    QString name;
};

/// A private connection to the user's session bus. RAII: the destructor closes it. All calls on it
/// share one deadline. It needs no event loop and starts no bus, but the bus starts a service that
/// is not running. `call` may be used by several threads at once.
class SessionBus {
public:
    /// Throws NoSuchService if there is no bus. Throws SessionBusError if it does not answer before
    /// the deadline, or if its socket exists and accepts no connection.
    explicit SessionBus(QDeadlineTimer deadline);
    ~SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    /// A method of the bus itself.
    static SessionBusMethod method(const QString& name);

    /// Calls the method, blocks until the reply and returns its arguments. Throws SessionBusError
    /// on an error, when the deadline passes, or if the reply's D-Bus signature does not start with
    /// `signature`.
    QVariantList call(const SessionBusMethod& method, const QString& signature,
        const QVariantList& arguments = {}) const;

private:
    void disconnect() const;

    QDeadlineTimer m_deadline;
    QDBusConnection m_connection;
};

} // namespace korvane
