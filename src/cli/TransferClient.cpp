#include "cli/TransferClient.h"

#include "messages/Utf8.h"
#include "server/ServerState.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>

#include <chrono>
#include <memory>
#include <stdexcept>

namespace korvane {

namespace {

constexpr std::int64_t largestAnswer
    = TransferTicket::largestFile + Envelope::nonceSize + Envelope::tagSize;
constexpr std::chrono::seconds patience{30}; ///< without a byte

QNetworkRequest requestFor(const TransferLink& link)
{
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(QString::fromStdString(link.host));
    url.setPort(link.port);
    url.setPath(QString::fromStdString(link.target()));
    QNetworkRequest request(url);
    request.setRawHeader("Accept-Encoding", "identity");
    // Two that the library would otherwise fill in from this machine:
    request.setRawHeader("Accept-Language", "*");
    request.setRawHeader("User-Agent", "korvane-sync");
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(
        QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setTransferTimeout(static_cast<int>(std::chrono::milliseconds(patience).count()));
    return request;
}

std::string place(const TransferLink& link)
{
    return link.host + ", port " + std::to_string(link.port);
}

std::string refusal(int status, const QString& reason)
{
    constexpr int expired = 410;
    constexpr int notFound = 404;
    if (status == expired)
        return "The link has expired, or was made by a program that has been started anew since. "
               "Ask for a new one.";
    if (status == notFound)
        return "The chat is not offered there any more. Ask for a new link.";
    return "The other side cannot hand the chat over (" + std::to_string(status) + ' '
        + reason.toStdString() + ").";
}

std::string failure(const QNetworkReply& reply, const TransferLink& link)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    constexpr int good = 200;
    if (status != 0 && status != good)
        return refusal(
            status, reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString());
    if (status == good)
        return "The connection broke off in the middle. Try again while the link is valid.";
    return "Nobody answers at " + place(link)
        + ". Is the chat still on offer there, and is this machine on the same network?";
}

/// One request, from its beginning to its end.
class Fetch {
public:
    Fetch(const TransferLink& link, const TransferClient::Progress& progress)
        : m_link(link)
        , m_progress(progress)
    {
        m_manager.setProxy(QNetworkProxy::NoProxy); // the other machine is a neighbour
        m_reply.reset(m_manager.get(requestFor(link)));
        m_reply->setReadBufferSize(1'048'576); // beyond which the peer has to wait
    }

    QByteArray answer()
    {
        QEventLoop loop;
        QObject::connect(m_reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
        QObject::connect(m_reply.get(), &QNetworkReply::downloadProgress, &loop,
            [this](qint64 received, qint64 total) { watch(received, total); });
        QObject::connect(m_reply.get(), &QNetworkReply::readyRead, &loop, [this] { take(); });
        if (!m_reply->isFinished())
            loop.exec();
        if (!m_tooLarge)
            take();
        const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (m_tooLarge && status == 200)
            throw std::runtime_error("The answer is over 64 MB: this is no chat.");
        if (m_reply->error() != QNetworkReply::NoError || status != 200)
            throw std::runtime_error(failure(*m_reply, m_link));
        return std::move(m_body);
    }

private:
    void watch(std::int64_t received, std::int64_t total)
    {
        if (isFine(std::max(received, total)))
            m_progress(received, total);
    }

    void take()
    {
        m_body += m_reply->readAll();
        isFine(m_body.size());
    }

    bool isFine(std::int64_t size)
    {
        if (m_tooLarge || size <= largestAnswer)
            return !m_tooLarge;
        m_tooLarge = true;
        m_reply->abort();
        return false;
    }

    const TransferLink& m_link;
    const TransferClient::Progress& m_progress;
    QNetworkAccessManager m_manager;
    std::unique_ptr<QNetworkReply> m_reply;
    QByteArray m_body; ///< what has been taken of it
    bool m_tooLarge = false;
};

/// Whether text comes out with this key, be it damaged: of other bytes nearly half would have to
/// be replaced. What is too short to be sealed counts as damaged.
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

QByteArray TransferClient::fetch(const TransferLink& link, const Progress& progress)
{
    return Fetch(link, progress).answer();
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
