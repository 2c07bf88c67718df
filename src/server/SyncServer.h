#pragma once

#include "server/ConnectionPool.h"
#include "server/ServerLimits.h"
#include "server/ServerState.h"

#include <QThread>

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace korvane {

class Listener;

/// Wakes the server's thread: what is connected to it there runs there.
class WakeUp : public QObject {
    Q_OBJECT

signals:
    void posted();
};

/// What becomes of one ticket's file on its way to one peer. A plain value.
struct TransferEvent {
    enum class Kind { Started, Delivered, BrokenOff };

    Kind kind = Kind::Started;
    std::string peer; ///< numeric address

    bool operator==(const TransferEvent&) const = default;
};

/// What tests may want otherwise.
struct ServerOptions {
    std::function<TransferTicket::Clock::time_point()> now = TransferTicket::Clock::now;
    ServerLimits limits;
    std::string address; ///< numeric, where it listens; on all where empty
};

/// The local HTTP server from which phones fetch exported chats. Its operations may be called from
/// any thread; listening, connections and callbacks run on a thread of its own, which the first
/// start() begins, so a callback must move to its receiver's thread itself. It listens from start()
/// until it is destroyed, and reports no failure to anyone but the peer concerned.
class SyncServer {
public:
    /// Reads the pairing, or makes a new one (see Pairing). Does not listen yet.
    explicit SyncServer(ServerOptions options = {});

    /// Ends the thread and everything on it. No callback runs after that.
    ~SyncServer();

    SyncServer(const SyncServer&) = delete;
    SyncServer& operator=(const SyncServer&) = delete;

    /// Told the port, once for each listener. This and the others: to be set before start().
    std::function<void(std::uint16_t port)> onReady;

    /// Told the time whenever the paired phone was given the manifest.
    std::function<void(TransferTicket::Clock::time_point)> onPhoneSync;

    std::function<void(const TransferEvent&)> onTransfer;

    /// Listens on the port, or, where that cannot be had, on one that the system chooses; 0 leaves
    /// it to the system at once. Returns at once. A listener of an earlier call is closed first;
    /// connections that it accepted go on.
    void start(std::uint16_t preferredPort);

    /// From now on these chats' files in this folder may be fetched, and no others.
    void offer(std::set<std::string> guids, std::filesystem::path folder);

    /// A ticket for one export file, valid for TransferTicket::lifetime. Nothing where not exactly
    /// one chat is on offer, the file is not that chat's, or is over TransferTicket::largestFile,
    /// or there are no random bytes. Reads the export folder.
    std::optional<IssuedTransfer> issueTransfer(const std::string& fileName);

    /// What is on offer at this moment.
    ServerState state() const;

private:
    using Task = std::function<void()>;

    void post(Task task);
    void runTasks();
    Task nextTask();
    void launch(std::uint16_t port);
    bool listen(std::uint16_t port);
    Answer respond(std::string_view head) const;
    void report(TransferEvent::Kind kind, const std::string& peer) const;

    const ServerOptions m_options;

    mutable std::mutex m_lock;
    ServerState m_state; ///< guarded by `m_lock`
    std::deque<Task> m_tasks; ///< for the thread, in order; guarded by `m_lock`

    // Used on the thread alone, and gone before it ends.
    std::unique_ptr<ConnectionPool> m_pool;
    std::unique_ptr<Listener> m_listener;

    QThread m_queue;
    WakeUp m_wakeUp; ///< lives on the thread
};

} // namespace korvane
