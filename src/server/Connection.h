#pragma once

#include "server/Routes.h"
#include "server/ServerOptions.h"
#include "server/Socket.h"

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace korvane {

/// One connection: reads one request head, sends one answer, closes. Used on the server's thread
/// only. Emits closed() at most once, when it ends; it does nothing afterwards.
class Connection : public QObject {
    Q_OBJECT

public:
    using Clock = std::chrono::steady_clock;
    using Respond = std::function<Answer(std::string_view head)>;

    Connection(
        int descriptor, const sockaddr_storage& peer, const ServerLimits& limits, Respond respond);

    /// Reading: the request head is incomplete. Sending: part of the answer still has to be written
    /// to the socket. Closing: all of it is written; the peer has to acknowledge it and close.
    enum class Stage { Reading, Sending, Closing, Closed };

    Stage stage() const { return m_stage; }
    Answer::Kind kind() const { return m_kind; }

    /// The network that the peer is in, see networkOf().
    PeerNetwork network() const { return m_network; }

    /// The peer's numeric address.
    const std::string& peer() const { return m_peer; }

    /// True if the peer has acknowledged its whole answer.
    bool hasTakenAll() const;

    /// True if the whole answer was handed to the kernel and nothing is left but to close: the peer
    /// has acknowledged all of it, or is gone.
    bool isOver() const;

    /// Bytes of the answer's body that are in memory here.
    std::int64_t heldBytes() const { return m_body.size(); }

    /// When the connection last made progress: when it was accepted, when its answer was ready, or
    /// when watchProgress() last saw that the peer had acknowledged something.
    Clock::time_point lastProgress() const { return m_lastProgress; }

    /// Ends the connection if one of its timeouts has expired, or if the peer has half-closed it
    /// and isOver(). Resets it if the peer has not acknowledged its whole answer.
    void enforceLimits(Clock::time_point now);

    /// Updates lastProgress() if the peer has acknowledged something since the last call.
    void watchProgress(Clock::time_point now);

    /// Makes room for another connection: closes this one. If a complete request has arrived that
    /// was not read yet, answers it instead and stays open.
    void evict();

signals:
    /// The answer is ready; sending it begins now.
    void answered();

    /// `delivered` is true if the peer is known to have received its whole answer.
    void closed(bool delivered);

private:
    void onReadable();
    void readHead();
    void take(std::string_view bytes);
    void respondTo(std::string_view head);
    void sendMore();
    void consume(std::size_t sent);
    void shutdown();
    void drain();
    ServerLimits::Duration timeout() const;
    bool isDelivered() const;
    void close();
    void abort();
    void finish(bool delivered);

    const std::string m_peer;
    const PeerNetwork m_network;
    const ServerLimits& m_limits;
    const Respond m_respond;
    Socket m_socket;
    QSocketNotifier m_readable;
    QSocketNotifier m_writable;

    Stage m_stage = Stage::Reading;
    Answer::Kind m_kind = Answer::Kind::Refusal;
    std::string m_received; ///< bytes of the request so far, while reading
    std::string m_head; ///< unsent rest of the answer's head
    QByteArray m_body; ///< whole body of the answer, until the kernel has taken all of it
    qsizetype m_bodySent = 0; ///< bytes of `m_body` that the kernel has taken
    std::int64_t m_answerSize = 0; ///< head and body, in bytes

    Clock::time_point m_lastProgress = Clock::now();
    Clock::time_point m_deadline; ///< for the head, then for the whole answer
    std::int64_t m_outstanding = 0; ///< bytes not acknowledged at the last watchProgress()
};

} // namespace korvane
