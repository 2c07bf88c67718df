#pragma once

#include <QImage>
#include <QObject>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace korvane {

class SupportFolder;
class SyncServer;
struct ServerOptions;
struct SyncResult;

/// The exported file to transfer, or the reason why there is none.
struct TransferFile {
    std::string guid;
    std::filesystem::path folder;
    std::string name;
    std::string failure; ///< message for the user; empty on success

    bool operator==(const TransferFile&) const = default;
};

/// The transfer of one chat to a phone: the server, the file on offer, and the QR code of its link.
/// Main thread only, except for exportFile().
class PhoneTransfer : public QObject {
    Q_OBJECT

public:
    using LocalAddress = std::function<std::optional<std::string>()>;

    /// Makes the server, with the pairing in `support`. It does not listen yet. `localAddress` is
    /// called by code(), on the main thread.
    PhoneTransfer(const SupportFolder& support, ServerOptions options, LocalAddress localAddress);

    /// Closes all connections and waits for the server's thread.
    ~PhoneTransfer() override;

    Q_DISABLE_COPY_MOVE(PhoneTransfer)

    /// Calls `exportChat`, which exports the chat into `folder`, and then looks for the chat's
    /// file in the state in `support`. Runs on the worker thread.
    static TransferFile exportFile(const std::function<SyncResult()>& exportChat,
        const std::filesystem::path& folder, const std::string& guid, const SupportFolder& support);

    /// Allows phones to fetch this file, and no others.
    void offer(const TransferFile& file);

    /// Forgets the file, so that code() fails. Its link stays valid until it expires.
    void forgetFile() { m_fileName.reset(); }

    /// Starts the server. Returns at once; ready() follows, unless the server cannot listen.
    void listen();

    bool isListening() const { return m_port.has_value(); }

    /// The QR code of a new link to the file. Throws TransferError if there is no file, port, local
    /// address or ticket, or if the code cannot be drawn.
    QImage code();

    /// `link` as the QR code that the window shows. Nothing if it cannot be drawn.
    static std::optional<QImage> picture(const std::string& link);

signals:
    /// The server listens. Emitted on the main thread.
    void ready();

    /// Emitted on the server's thread; a queued connection takes it to the main thread.
    void listensOn(quint16 port);

private:
    const std::unique_ptr<SyncServer> m_server;
    const LocalAddress m_localAddress;
    std::optional<std::uint16_t> m_port;
    std::optional<std::string> m_fileName;
};

} // namespace korvane
