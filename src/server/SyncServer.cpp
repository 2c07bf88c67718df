#include "server/SyncServer.h"

#include "pairing/Crypto.h"
#include "server/Listener.h"

namespace korvane {

SyncServer::SyncServer(ServerOptions options)
    : m_options(std::move(options))
    , m_state{.pairing = Pairing::load()}
{
    m_queue.setObjectName(QStringLiteral("KorvaneSync.server"));
    m_wakeUp.moveToThread(&m_queue);
    QObject::connect(
        &m_wakeUp, &WakeUp::posted, &m_wakeUp, [this] { runTasks(); }, Qt::QueuedConnection);
}

SyncServer::~SyncServer()
{
    post([this] {
        m_listener.reset();
        m_pool.reset();
        endCryptoOnThread();
        m_queue.quit();
    });
    m_queue.wait();
    const std::lock_guard lock(m_lock);
    m_tasks.clear();
}

void SyncServer::start(std::uint16_t preferredPort)
{
    m_queue.start(); // only here: a window that never transfers anything needs no thread for it
    post([this, preferredPort] { launch(preferredPort); });
}

/// Queues the task even if called on the server's thread: the caller may be a callback of the
/// listener that the task destroys.
void SyncServer::post(Task task)
{
    {
        const std::lock_guard lock(m_lock);
        m_tasks.push_back(std::move(task));
    }
    emit m_wakeUp.posted();
}

void SyncServer::runTasks()
{
    while (const Task task = nextTask())
        task();
}

SyncServer::Task SyncServer::nextTask()
{
    const std::lock_guard lock(m_lock);
    if (m_tasks.empty())
        return {};
    Task task = std::move(m_tasks.front());
    m_tasks.pop_front();
    return task;
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
