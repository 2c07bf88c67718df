#include "state/PhoneTransfer.h"

#include "export/Exporter.h"
#include "pairing/QrImage.h"
#include "server/SyncServer.h"
#include "server/Transfer.h"

#include <exception>
#include <utility>

namespace korvane {

PhoneTransfer::PhoneTransfer(
    const SupportFolder& support, ServerOptions options, LocalAddress localAddress)
    : m_server(std::make_unique<SyncServer>(support, std::move(options)))
    , m_localAddress(std::move(localAddress))
{
    connect(
        this, &PhoneTransfer::listensOn, this,
        [this](quint16 port) {
            m_port = port;
            emit ready();
        },
        Qt::QueuedConnection);
    m_server->onReady = [this](std::uint16_t port) { emit listensOn(port); };
}

PhoneTransfer::~PhoneTransfer() = default;

TransferFile PhoneTransfer::exportFile(const std::function<SyncResult()>& exportChat,
    const std::filesystem::path& folder, const std::string& guid, const SupportFolder& support)
{
    TransferFile file{.guid = guid, .folder = folder};
    try {
        const SyncResult result = exportChat();
        if (!result.errors.empty())
            throw TransferError("Error: " + result.errors.front());
        file.name = Transfer::exportedFile(folder, guid, support);
    } catch (const std::exception& error) {
        file.failure = error.what();
    }
    return file;
}

void PhoneTransfer::offer(const TransferFile& file)
{
    m_fileName = file.name;
    m_server->offer({file.guid}, file.folder);
}

void PhoneTransfer::listen()
{
    m_server->start(0);
}

QImage PhoneTransfer::code()
{
    if (!m_port || !m_fileName)
        throw TransferError(Transfer::Text::noLink);
    const TransferLink link
        = Transfer::createLink(*m_server, *m_fileName, *m_port, m_localAddress());
    auto code = picture(link.toString());
    if (!code)
        throw TransferError(Transfer::Text::noPicture);
    return *code;
}

std::optional<QImage> PhoneTransfer::picture(const std::string& link)
{
    constexpr double side = 320; // points
    constexpr double pixelsPerPoint = 3; // sharp on displays with up to 3 pixels per point
    return QR::image(link, side, pixelsPerPoint);
}

} // namespace korvane
