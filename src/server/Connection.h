#pragma once

#include "server/Routes.h"
#include "server/ServerLimits.h"
#include "server/Socket.h"

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace korvane {

/// One connection: reads one request head, sends one answer, closes. Lives on the server's thread;
/// emits closed() once, and is of no use afterwards.
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

    /// Where it comes from.
    PeerNetwork network() const { return m_network; }

    /// The peer's numeric address.
    const std::string& peer() const { return m_peer; }

    /// True where the peer has acknowledged its whole answer.
    bool hasTakenAll() const;

    /// True once it only has to be closed: the peer has acknowledged its whole answer, or is gone.
    bool isOver() const;

    /// Bytes of its answer that are kept for it here.
    std::int64_t heldBytes() const { return m_body.size(); }

    /// When the peer was last seen to take something, or when it was accepted.
    Clock::time_point lastProgress() const { return m_lastProgress; }

    /// Closes it where one of its timeouts has expired.
    void enforceLimits(Clock::time_point now);

    /// Notes whether the peer has taken something since the last time.
    void watchProgress(Clock::time_point now);

    /// Makes room for another connection: closes it, unless its request has arrived and was not
    /// read yet. That is answered first.
    void evict();

signals:
    /// Its request has been answered; the answer is on its way.
    void answered();

    /// `delivered` where the peer is known to have taken a whole answer.
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
    std::string m_received; ///< while reading
    std::string m_head; ///< of the answer, what is left of it
    QByteArray m_body; ///< whole until all of it is handed over
    qsizetype m_bodySent = 0;
    std::int64_t m_answerSize = 0; ///< of head and body, in bytes

    Clock::time_point m_lastProgress = Clock::now();
    Clock::time_point m_deadline; ///< for the head, then for the whole answer
    std::int64_t m_outstanding = 0; ///< bytes that the peer had not taken when last looked at
};

} // namespace korvane
