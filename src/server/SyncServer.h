#pragma once

#include "process/TaskQueue.h"
#include "server/ServerOptions.h"
#include "server/ServerState.h"

#include <QThread>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace korvane {

class ConnectionPool;
class Listener;
struct Answer;

/// A step in sending one ticket's file to one peer. A plain value.
struct TransferEvent {
    enum class Kind { Started, Delivered, BrokenOff };

    Kind kind = Kind::Started;
    std::string peer; ///< the peer's numeric address

    bool operator==(const TransferEvent&) const = default;
};

/// The local HTTP server from which phones fetch exported chats. Its functions may be called from
/// any thread. Listening, connections and callbacks run on the server's own thread, which the first
/// start() starts; a callback must switch to its receiver's thread itself. The server listens from
/// start() until it is destroyed. It reports failures only to the peer concerned: if it cannot
/// listen at all, onReady is not called.
class SyncServer {
public:
    /// Reads the pairing in `support`, or makes a new one (see Pairing). Does not listen yet.
    explicit SyncServer(const SupportFolder& support, ServerOptions options = {});

    /// Closes all connections and stops the thread. No callback runs after that.
    ~SyncServer();

    SyncServer(const SyncServer&) = delete;
    SyncServer& operator=(const SyncServer&) = delete;

    /// Called on the server's thread, with the port, once for each listener. Set all callbacks
    /// before start().
    std::function<void(std::uint16_t port)> onReady;

    /// Called on the server's thread, with the time, whenever the manifest is sent to the paired
    /// phone.
    std::function<void(TransferTicket::Clock::time_point)> onPhoneSync;

    /// Called on the server's thread when sending a ticket's file starts and when it ends.
    std::function<void(const TransferEvent&)> onTransfer;

    /// Listens on `preferredPort`; if that is 0 or not available, on one that the system chooses.
    /// Returns at once. The listener of an earlier call is closed first; the connections that it
    /// accepted go on.
    void start(std::uint16_t preferredPort);

    /// Allows fetching the files of these chats in this folder from now on, and no others.
    void offer(std::set<std::string> guids, std::filesystem::path folder);

    /// Makes a ticket for one export file, valid for TransferTicket::lifetime. Nothing unless
    /// exactly one chat is on offer and the file is that chat's; nothing if the file is larger than
    /// TransferTicket::largestFile or the random generator fails. Reads the export folder.
    std::optional<IssuedTransfer> issueTransfer(const std::string& fileName);

    /// A copy of the current state.
    ServerState state() const;

private:
    void launch(std::uint16_t port);
    bool listen(std::uint16_t port);
    Answer respond(std::string_view head) const;
    void report(TransferEvent::Kind kind, const std::string& peer) const;

    const ServerOptions m_options;

    mutable std::mutex m_lock;
    ServerState m_state; ///< guarded by `m_lock`

    // Used on the server's thread only, and destroyed before it ends.
    std::unique_ptr<ConnectionPool> m_pool;
    std::unique_ptr<Listener> m_listener;

    QThread m_thread;
    TaskQueue m_tasks; ///< lives on the server's thread
};

} // namespace korvane
