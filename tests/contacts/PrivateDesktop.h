#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <sys/types.h>

namespace korvane {

/// A desktop session of a test's own: a home folder, a message bus, and the services that the bus
/// starts when they are asked for. While it lives, it is the session of this process. Ends what it
/// started, also where that has been stopped.
class PrivateDesktop {
public:
    enum class Services { Installed, None };

    /// Whether this machine has a message bus and Evolution Data Server.
    static bool isInstalled();

    /// Throws std::runtime_error where no bus can be started.
    explicit PrivateDesktop(Services services = Services::Installed);
    ~PrivateDesktop();
    PrivateDesktop(const PrivateDesktop&) = delete;
    PrivateDesktop& operator=(const PrivateDesktop&) = delete;

    QString home() const { return m_home.path(); }
    pid_t bus() const { return static_cast<pid_t>(m_bus.processId()); }

private:
    void enter(const QString& busAddress) const;
    QString startBus(Services services);

    QTemporaryDir m_home;
    QProcess m_bus;
};

/// Stops a process for as long as it lives.
class Stopped {
public:
    explicit Stopped(pid_t process);
    ~Stopped();
    Stopped(const Stopped&) = delete;
    Stopped& operator=(const Stopped&) = delete;

private:
    pid_t m_process;
};

} // namespace korvane
