#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <sys/types.h>

namespace korvane {

/// A private desktop session for one test: a home folder, a message bus, and the services that the
/// bus starts on demand. This process uses it as long as the object exists. The destructor kills
/// the bus and the services, even if they are stopped (SIGSTOP).
class PrivateDesktop {
public:
    enum class Services { Installed, None };

    /// Whether dbus-daemon and Evolution Data Server are installed.
    static bool isInstalled();

    /// Throws std::runtime_error if no bus can be started.
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

/// RAII: stops a process (SIGSTOP) and continues it (SIGCONT) at the end.
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
