#include "app/SingleInstance.h"

#include "storage/Paths.h"

#include <QCryptographicHash>
#include <QLocalSocket>

namespace korvane {

namespace {

/// A name of a socket for the support folder; the path itself may be longer than one can be.
QString socketName()
{
    const QByteArray folder = QByteArray::fromStdString(Paths::support().native());
    return QStringLiteral("KorvaneSync-")
        + QString::fromLatin1(
            QCryptographicHash::hash(folder, QCryptographicHash::Sha256).toHex().first(16));
}

bool answers(const QString& name)
{
    constexpr int patience = 1000; // milliseconds
    QLocalSocket socket;
    socket.connectToServer(name);
    return socket.waitForConnected(patience);
}

} // namespace

SingleInstance::SingleInstance()
{
    const QString name = socketName();
    m_askedFirst = answers(name);
    if (m_askedFirst)
        return;
    QLocalServer::removeServer(name); // of a program that ended without clearing up
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* asking = m_server.nextPendingConnection())
            asking->deleteLater();
        emit showRequested();
    });
    m_server.listen(name);
}

} // namespace korvane
