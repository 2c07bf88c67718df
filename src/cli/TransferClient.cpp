#include "cli/TransferClient.h"

#include "cli/HttpAnswer.h"
#include "server/ServerState.h"
#include "text/Utf8.h"

#include <QEventLoop>
#include <QNetworkProxy>
#include <QTcpSocket>
#include <QTimer>

#include <stdexcept>
#include <utility>

namespace korvane {

namespace {

constexpr std::int64_t largestAnswer
    = TransferTicket::largestFile + Envelope::nonceSize + Envelope::tagSize;

/// The host without the brackets that an IPv6 address may have.
std::string plainHost(const TransferLink& link)
{
    const std::string& host = link.host;
    return host.starts_with('[') && host.ends_with(']') ? host.substr(1, host.size() - 2) : host;
}

/// The value of the Host header: an IPv6 address in brackets and without its zone id, which has a
/// meaning on this machine only.
std::string hostHeader(const TransferLink& link)
{
    const std::string host = plainHost(link);
    const bool isIPv6 = host.find(':') != host.npos;
    return (isIPv6 ? '[' + host.substr(0, host.find('%')) + ']' : host) + ':'
        + std::to_string(link.port);
}

/// The request, whose headers say nothing about this machine or its user.
QByteArray requestFor(const TransferLink& link)
{
    return QByteArray::fromStdString("GET " + link.target()
        + " HTTP/1.1\r\nHost: " + hostHeader(link)
        + "\r\nUser-Agent: korvane-sync\r\nAccept-Encoding: identity\r\nAccept-Language: *\r\n"
          "Connection: close\r\n\r\n");
}

std::string place(const TransferLink& link)
{
    return link.host + ", port " + std::to_string(link.port);
}

std::string refusal(int status, const std::string& reason)
{
    constexpr int expired = 410;
    constexpr int notFound = 404;
    if (status == expired)
        return "The link has expired, or the program that made it has been restarted. Ask for a "
               "new one.";
    if (status == notFound)
        return "The chat is not offered there any more. Ask for a new link.";
    return "The other side cannot hand the chat over (" + std::to_string(status) + ' '
        + repairedUtf8(reason) + ").";
}

std::string asText(std::chrono::milliseconds time)
{
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(time).count();
    constexpr int minute = 60;
    return seconds > minute && seconds % minute == 0
        ? std::to_string(seconds / minute) + " minutes"
        : std::to_string(seconds) + (seconds == 1 ? " second" : " seconds");
}

/// One request and its answer, over an event loop on the calling thread.
class Fetch {
public:
    Fetch(const TransferLink& link, const TransferClient::Progress& progress,
        const TransferClient::Limits& limits)
        : m_link(link)
        , m_progress(progress)
        , m_limits(limits)
    {
        m_socket.setProxy(QNetworkProxy::NoProxy); // the peer is on the local network
        m_socket.setReadBufferSize(1'048'576); // flow control bounds what is unread
        const auto watch = [this](QTimer& timer, std::chrono::milliseconds time, End end) {
            timer.setSingleShot(true);
            timer.setInterval(time);
            QObject::connect(&timer, &QTimer::timeout, &m_loop, [this, end] { finish(end); });
        };
        watch(m_idle, limits.idle, End::Idle);
        watch(m_total, limits.total, End::OutOfTime);
    }

    QByteArray answer()
    {
        QObject::connect(&m_socket, &QTcpSocket::connected, &m_loop, [this] { ask(); });
        QObject::connect(&m_socket, &QTcpSocket::readyRead, &m_loop, [this] { take(); });
        QObject::connect(&m_socket, &QTcpSocket::errorOccurred, &m_loop, [this] { close(); });
        m_idle.start();
        m_total.start();
        m_socket.connectToHost(QString::fromStdString(plainHost(m_link)), m_link.port);
        if (m_end == End::None)
            m_loop.exec();
        m_socket.close();
        if (m_answer.state() != HttpAnswer::State::Complete || m_answer.status() != ok)
            throw std::runtime_error(failure());
        return std::move(m_answer.body);
    }

private:
    enum class End { None, Answered, Closed, Idle, OutOfTime };
    static constexpr int ok = 200;

    void ask()
    {
        m_idle.start();
        m_socket.write(requestFor(m_link));
    }

    void take()
    {
        m_idle.start();
        const QByteArray bytes = m_socket.readAll();
        m_hasBytes |= !bytes.isEmpty();
        m_answer.take({bytes.data(), static_cast<std::size_t>(bytes.size())});
        if (m_answer.isOver())
            return finish(End::Answered);
        if (m_answer.state() == HttpAnswer::State::Body)
            m_progress(m_answer.body.size(), m_answer.expectedBody());
    }

    /// Qt reports as an error, too, that the peer has closed the connection, which may be the
    /// regular end of the answer.
    void close()
    {
        if (m_socket.bytesAvailable() > 0)
            take();
        m_answer.end();
        finish(End::Closed);
    }

    void finish(End end)
    {
        if (m_end == End::None)
            m_end = end;
        m_loop.quit();
    }

    std::string failure() const
    {
        using State = HttpAnswer::State;
        if (m_answer.state() == State::Complete)
            return refusal(m_answer.status(), m_answer.reason());
        if (m_answer.state() == State::TooLarge)
            return "The answer is over 64 MB, so it is not a chat.";
        if (m_end == End::OutOfTime)
            return "The chat did not arrive within " + asText(m_limits.total)
                + ". Ask for a new link, and try where the network is better.";
        if (m_end == End::Idle && m_hasBytes)
            return "Nothing more arrived for " + asText(m_limits.idle)
                + ". Try again while the link is valid.";
        if (m_answer.status() == ok)
            return "The connection broke off in the middle. Try again while the link is valid.";
        if (m_hasBytes)
            return "The server at " + place(m_link) + " is not KorvaneSync. Ask for a new link.";
        return "Nobody answers at " + place(m_link)
            + ". Is the chat still on offer there, and is this machine on the same network?";
    }

    const TransferLink& m_link;
    const TransferClient::Progress& m_progress;
    const TransferClient::Limits m_limits;
    HttpAnswer m_answer{largestAnswer};
    bool m_hasBytes = false; ///< the peer has sent at least one byte
    End m_end = End::None;
    QEventLoop m_loop;
    QTimer m_idle;
    QTimer m_total;
    QTcpSocket m_socket;
};

/// Tells why authentication has failed: true if the answer is damaged, false if the key is wrong.
/// With the right key the start decrypts to text, which has few invalid UTF-8 sequences. A wrong
/// key gives random bytes, of which nearly half are invalid. An answer too short to be sealed
/// counts as damaged.
bool opensToText(const TransferLink& link, const QByteArray& sealed)
{
    if (sealed.size() < Envelope::nonceSize + Envelope::tagSize)
        return true;
    constexpr qsizetype enough = 256;
    const QByteArray start = link.key.decryptUnverified(sealed, enough);
    const QByteArray repaired = QByteArray::fromStdString(
        repairedUtf8({start.data(), static_cast<std::size_t>(start.size())}));
    constexpr qsizetype few = 8;
    return repaired.count("\uFFFD") * few <= start.size();
}

} // namespace

QByteArray TransferClient::fetch(
    const TransferLink& link, const Progress& progress, const Limits& limits)
{
    return Fetch(link, progress, limits).answer();
}

QByteArray TransferClient::open(const TransferLink& link, const QByteArray& sealed)
{
    if (auto text = link.key.open(sealed, link.target()))
        return std::move(*text);
    if (opensToText(link, sealed))
        throw std::runtime_error(
            "The answer was altered or damaged on its way. Nothing was written.");
    throw std::runtime_error(
        "The key in the link does not open the answer. Was the whole link copied?");
}

} // namespace korvane
