#include "contacts/PrivateDesktop.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <csignal>
#include <stdexcept>
#include <unistd.h>

namespace korvane {

namespace {

const QString serviceFolder = QStringLiteral("/usr/share/dbus-1/services");

QByteArray busConfiguration(PrivateDesktop::Services services)
{
    const bool installed = services == PrivateDesktop::Services::Installed;
    return "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
           "<auth>EXTERNAL</auth>"
        + (installed ? "<servicedir>" + serviceFolder.toUtf8() + "</servicedir>" : QByteArray())
        + "<policy context='default'><allow own='*'/><allow send_destination='*'/>"
          "<allow eavesdrop='true'/></policy>"
          "</busconfig>";
}

} // namespace

bool PrivateDesktop::isInstalled()
{
    const QStringList books{QStringLiteral("org.gnome.evolution.dataserver.AddressBook*.service")};
    return !QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty()
        && !QDir(serviceFolder).entryList(books).isEmpty();
}

PrivateDesktop::PrivateDesktop(Services services)
{
    enter({});
    enter(startBus(services));
}

/// Kills the bus's process group, which includes the services.
PrivateDesktop::~PrivateDesktop()
{
    ::kill(-bus(), SIGKILL);
    m_bus.waitForFinished();
}

void PrivateDesktop::enter(const QString& busAddress) const
{
    qputenv("HOME", home().toUtf8());
    for (const char* variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "DISPLAY"})
        qunsetenv(variable);
    qputenv("XDG_RUNTIME_DIR", home().toUtf8());
    qputenv("DBUS_SESSION_BUS_ADDRESS", busAddress.toUtf8());
}

QString PrivateDesktop::startBus(Services services)
{
    QFile configuration(home() + QStringLiteral("/bus.conf"));
    if (!configuration.open(QIODevice::WriteOnly))
        throw std::runtime_error("no place for a message bus");
    configuration.write(busConfiguration(services));
    configuration.close();
    m_bus.setChildProcessModifier([] { ::setpgid(0, 0); });
    m_bus.setStandardErrorFile(home() + QStringLiteral("/bus.log"));
    m_bus.start(QStringLiteral("dbus-daemon"),
        {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
            QStringLiteral("--config-file=") + configuration.fileName()});
    if (!m_bus.waitForReadyRead(10'000))
        throw std::runtime_error("the message bus did not start");
    return QString::fromUtf8(m_bus.readLine()).trimmed();
}

Stopped::Stopped(pid_t process) : m_process(process)
{
    ::kill(m_process, SIGSTOP);
}

Stopped::~Stopped()
{
    ::kill(m_process, SIGCONT);
}

} // namespace korvane
