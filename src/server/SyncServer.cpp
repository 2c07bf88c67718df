#include "server/SyncServer.h"

#include "crypto/Crypto.h"
#include "server/ConnectionPool.h"
#include "server/Listener.h"

namespace korvane {

SyncServer::SyncServer(const SupportFolder& support, ServerOptions options)
    : m_options(std::move(options))
    , m_state{.support = support, .pairing = Pairing::load(support)}
{
    m_thread.setObjectName(QStringLiteral("KorvaneSync.server"));
    m_tasks.moveToThread(&m_thread);
}

SyncServer::~SyncServer()
{
    m_tasks.post([this] {
        m_listener.reset();
        m_pool.reset();
        endCryptoOnThread();
        m_thread.quit();
    });
    m_thread.wait();
}

void SyncServer::start(std::uint16_t preferredPort)
{
    m_thread.start(); // only here: a window that never transfers anything needs no thread for it
    // Queued even on the server's thread: the caller may be a callback of the listener that
    // launch() destroys.
    m_tasks.post([this, preferredPort] { launch(preferredPort); });
}

void SyncServer::launch(std::uint16_t port)
{
    m_listener.reset();
    if (!m_pool) {
        m_pool = std::make_unique<ConnectionPool>(
            m_options.limits, [this](std::string_view head) { return respond(head); });
        QObject::connect(m_pool.get(), &ConnectionPool::transferStarted,
            [this](const std::string& peer) { report(TransferEvent::Kind::Started, peer); });
        QObject::connect(m_pool.get(), &ConnectionPool::transferEnded,
            [this](const std::string& peer, bool delivered) {
                report(delivered ? TransferEvent::Kind::Delivered : TransferEvent::Kind::BrokenOff,
                    peer);
            });
    }
    const bool isListening = (port != 0 && listen(port)) || listen(0);
    const std::uint16_t bound = isListening ? m_listener->port() : 0;
    if (bound != 0 && onReady)
        onReady(bound);
}

bool SyncServer::listen(std::uint16_t port)
{
    m_listener = Listener::on(
        m_options.address, port,
        [this](int descriptor, const sockaddr_storage& peer) { m_pool->add(descriptor, peer); },
        [this] { return m_pool->freeDescriptors(); });
    return m_listener != nullptr;
}

void SyncServer::offer(std::set<std::string> guids, std::filesystem::path folder)
{
    const std::lock_guard lock(m_lock);
    m_state.guids = std::move(guids);
    m_state.folder = std::move(folder);
}

std::optional<IssuedTransfer> SyncServer::issueTransfer(const std::string& fileName)
{
    const std::lock_guard lock(m_lock);
    return m_state.issueTransfer(fileName, m_options.now());
}

ServerState SyncServer::state() const
{
    const std::lock_guard lock(m_lock);
    return m_state;
}

Answer SyncServer::respond(std::string_view head) const
{
    const auto now = m_options.now();
    Answer answer = korvane::answer(head, state(), now);
    if (answer.kind == Answer::Kind::Manifest && onPhoneSync)
        onPhoneSync(now);
    return answer;
}

void SyncServer::report(TransferEvent::Kind kind, const std::string& peer) const
{
    if (onTransfer)
        onTransfer({kind, peer});
}

} // namespace korvane
