#include "server/Connection.h"

#include <algorithm>
#include <array>

namespace korvane {

namespace {

constexpr std::size_t readSize = 16'384;
constexpr std::string_view blankLine = "\r\n\r\n";

/// The time limit for a whole answer: a fixed part plus a share for the size of the body.
ServerLimits::Duration answerTime(const ServerLimits& limits, qsizetype bodySize)
{
    constexpr qsizetype piece = 65'536;
    return limits.answerTimeout + limits.answerTimePer64KiB * bodySize / piece;
}

} // namespace

Connection::Connection(
    int descriptor, const sockaddr_storage& peer, const ServerLimits& limits, Respond respond)
    : m_peer(numericHost(peer))
    , m_network(networkOf(peer))
    , m_limits(limits)
    , m_respond(std::move(respond))
    , m_socket(descriptor)
    , m_readable(descriptor, QSocketNotifier::Read)
    , m_writable(descriptor, QSocketNotifier::Write)
    , m_deadline(m_lastProgress + limits.headTimeout)
{
    m_writable.setEnabled(false);
    connect(&m_readable, &QSocketNotifier::activated, this, &Connection::onReadable);
    connect(&m_writable, &QSocketNotifier::activated, this, &Connection::sendMore);
}

void Connection::onReadable()
{
    if (m_stage == Stage::Reading)
        readHead();
    else
        drain();
}

void Connection::readHead()
{
    std::array<char, readSize> bytes;
    const auto [status, count] = m_socket.read(bytes);
    if (status == Socket::Status::Done)
        take({bytes.data(), count});
    else if (status != Socket::Status::NotNow)
        close();
}

void Connection::take(std::string_view bytes)
{
    const std::size_t searched = m_received.size();
    m_received += bytes;
    // The blank line may be split over two reads.
    const std::size_t from = searched - std::min(searched, blankLine.size() - 1);
    const std::size_t end = m_received.find(blankLine, from);
    if (end != m_received.npos)
        respondTo(std::string_view(m_received).substr(0, end));
    else if (m_received.size() > m_limits.headBytes)
        close();
}

void Connection::respondTo(std::string_view head)
{
    Answer answer = m_respond(head);
    m_received = {};
    m_readable.setEnabled(false); // stop reading after the head; shutdown() resumes, to drain
    m_head = answer.response.head();
    m_body = std::move(answer.response.body);
    m_answerSize = static_cast<std::int64_t>(m_head.size()) + m_body.size();
    m_kind = answer.kind;
    m_stage = Stage::Sending;
    m_lastProgress = Clock::now();
    m_deadline = m_lastProgress + answerTime(m_limits, m_body.size());
    emit answered();
    sendMore();
}

void Connection::sendMore()
{
    if (m_stage != Stage::Sending)
        return;
    const std::string_view body(m_body.constData(), static_cast<std::size_t>(m_body.size()));
    const auto [status, count]
        = m_socket.send(m_head, body.substr(static_cast<std::size_t>(m_bodySent)));
    if (status == Socket::Status::Failed)
        return close();
    consume(count);
    if (m_head.empty() && m_bodySent == m_body.size())
        shutdown();
    else
        m_writable.setEnabled(true);
}

/// Records that the kernel took `sent` more bytes of the answer, the head first.
void Connection::consume(std::size_t sent)
{
    const std::size_t ofHead = std::min(sent, m_head.size());
    m_head.erase(0, ofHead);
    m_bodySent += static_cast<qsizetype>(sent - ofHead);
}

/// Half-closes the connection and drains its input. Closing a socket with unread input resets the
/// connection (RFC 1122, section 4.2.2.13), and the peer may then lose the end of its answer.
void Connection::shutdown()
{
    m_stage = Stage::Closing;
    m_socket.finishSending();
    m_body = {};
    m_bodySent = 0;
    m_writable.setEnabled(false);
    m_readable.setEnabled(true);
}

void Connection::drain()
{
    std::array<char, readSize> ignored;
    const auto [status, count] = m_socket.read(ignored);
    if (status == Socket::Status::Failed) // reset, perhaps after the peer received everything
        finish(m_socket.hadAllAtReset(m_answerSize));
    else if (status == Socket::Status::Ended && (isOver() || m_kind == Answer::Kind::Refusal))
        close(); // the kernel sends the rest of a refusal; no need to wait for it
    else if (status == Socket::Status::Ended)
        m_readable.setEnabled(false); // half-closed: the peer may still be receiving its answer
}

bool Connection::hasTakenAll() const
{
    constexpr std::int64_t ownEnd = 1; // our FIN takes one sequence number
    return m_stage == Stage::Closing && m_socket.unacknowledged() <= ownEnd;
}

bool Connection::isOver() const
{
    return m_stage == Stage::Closing && (hasTakenAll() || !m_socket.isConnected());
}

void Connection::enforceLimits(Clock::time_point now)
{
    if (m_stage != Stage::Reading)
        watchProgress(now);
    const bool halfClosed = m_stage == Stage::Closing && !m_readable.isEnabled();
    const bool expired = now >= m_deadline || now - m_lastProgress >= timeout();
    const bool owesNothing = m_stage == Stage::Reading || hasTakenAll();
    if ((halfClosed && isOver()) || (expired && owesNothing))
        close();
    else if (expired)
        abort();
}

ServerLimits::Duration Connection::timeout() const
{
    if (m_stage == Stage::Reading)
        return m_limits.headTimeout;
    return hasTakenAll() ? m_limits.lingerTimeout : m_limits.writeTimeout;
}

/// Compares the number of outstanding bytes. Writability is too coarse a measure: the kernel
/// buffers large pieces and reports a writable socket long after a slow peer acknowledged some.
void Connection::watchProgress(Clock::time_point now)
{
    const std::int64_t outstanding = static_cast<std::int64_t>(m_head.size())
        + (m_body.size() - m_bodySent) + m_socket.unacknowledged();
    if (outstanding != m_outstanding)
        m_lastProgress = now;
    m_outstanding = outstanding;
}

void Connection::evict()
{
    const bool mayHaveArrived = m_stage == Stage::Reading;
    if (mayHaveArrived)
        readHead();
    if (!mayHaveArrived || m_stage == Stage::Reading)
        close();
}

/// Resets the connection, so that the kernel does not keep the rest of the answer.
void Connection::abort()
{
    m_socket.discardOnClose();
    finish(false);
}

void Connection::close()
{
    finish(isDelivered());
}

bool Connection::isDelivered() const
{
    return hasTakenAll() || (isOver() && m_socket.hadAllAtReset(m_answerSize));
}

void Connection::finish(bool delivered)
{
    if (m_stage == Stage::Closed)
        return;
    m_stage = Stage::Closed;
    m_readable.setEnabled(false);
    m_writable.setEnabled(false);
    m_body = {};
    m_socket.close();
    emit closed(delivered);
}

} // namespace korvane
