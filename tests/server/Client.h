#pragma once

#include "storage/Descriptor.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// A phone's end of one TCP connection to a server on this machine. The calls block the test's
/// thread, reads for at most `timeout` at a time; the server runs on its own thread.
class Client {
public:
    static constexpr std::chrono::milliseconds timeout{10'000};

    /// Socket options that imitate another system; 0 or null keeps this system's default.
    struct Settings {
        int receiveBuffer = 0; ///< SO_RCVBUF, in bytes
        int segment = 0; ///< TCP_MAXSEG, in bytes
        const char* source = nullptr; ///< IPv4 source address, one of 127.0.0.0/8
    };

    /// Connects. Throws std::system_error if that fails.
    explicit Client(std::uint16_t port) : Client(port, Settings()) { }
    Client(std::uint16_t port, Settings settings);

    /// Connects a socket made by unconnected().
    Client(std::uint16_t port, Descriptor socket);

    /// Makes a socket to be connected later. Throws std::system_error if that fails.
    static Descriptor unconnected(Settings settings);

    /// Sends all bytes. Returns false on any error, such as a connection that the server closed.
    bool send(std::string_view bytes) const;

    /// Half-closes the connection: sends a FIN, and can still read.
    void finishSending() const;

    /// Waits for data and reads at most `most` bytes. Returns no bytes at the end of the
    /// connection, and nullopt after a reset or when nothing arrived within `timeout`.
    std::optional<QByteArray> readSome(std::size_t most) const;

    /// Reads `count` bytes, or fewer if the connection ends before. Returns nullopt as readSome().
    std::optional<QByteArray> readExactly(qsizetype count) const;

    /// Reads to the end of the connection. Returns nullopt as readSome().
    std::optional<QByteArray> readAll() const;

    /// Whether the server closes or resets the connection within `time`, without sending another
    /// byte first.
    bool isClosedWithin(std::chrono::milliseconds time) const;

    /// Attaches a packet filter that drops all incoming packets, so that this end acknowledges
    /// nothing any more. Returns false if the system has no such filters.
    bool discardIncoming() const;

    /// Closes the connection with a reset (RST) instead of a FIN.
    void reset();

    int descriptor() const { return m_socket.get(); }

private:
    bool waitReadable(std::chrono::milliseconds time) const;

    Descriptor m_socket;
};

/// An HTTP response split into its parts.
struct Response {
    int status = 0;
    QByteArray head; ///< including the blank line
    QByteArray body;

    /// The value of a header as sent after ": "; empty if the header is absent.
    QByteArray header(const QByteArray& name) const;
};

/// Parses all that a server sent on one connection; the status is 0 if no complete head is there.
Response taken(const QByteArray& all);

/// Sends `head` (including the blank line) on a new connection and reads the response to its end;
/// the status is 0 if there was none.
Response ask(std::uint16_t port, std::string_view head);

/// The request head "GET `target` HTTP/1.1", the header lines (each with its line end), and the
/// blank line.
std::string headFor(std::string_view target, std::string_view headers = "");

/// ask() with the head made by headFor().
Response get(std::uint16_t port, std::string_view target, std::string_view headers = "");

} // namespace korvane
