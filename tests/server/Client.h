#pragma once

#include "storage/Descriptor.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// A phone's end of one TCP connection to a server on this machine. Blocks, within a patience, on
/// the thread of the test; the server has a thread of its own.
class Client {
public:
    static constexpr std::chrono::milliseconds patience{10'000};

    /// What the peer's system is like; 0 leaves it to this one.
    struct Settings {
        int receiveBuffer = 0; ///< bytes that it takes before the program reads them, about
        int segment = 0; ///< bytes at once on the wire
        const char* source = nullptr; ///< its own IPv4 address, one of 127.0.0.0/8
    };

    /// Throws std::system_error where there is no connection to be had.
    explicit Client(std::uint16_t port) : Client(port, Settings()) { }
    Client(std::uint16_t port, Settings settings);

    /// Connects a socket that was made earlier.
    Client(std::uint16_t port, Descriptor socket);

    /// A socket to be connected later.
    static Descriptor unconnected(Settings settings);

    /// False where the server has closed the connection.
    bool send(std::string_view bytes) const;

    /// Says that nothing more will be sent.
    void finishSending() const;

    /// Reads at most `most` bytes, waiting for the first; empty at the end of the connection.
    /// Nothing where the connection was reset or the patience ran out.
    std::optional<QByteArray> readSome(std::size_t most) const;

    /// Reads just so many bytes; fewer at the end of the connection. Nothing as above.
    std::optional<QByteArray> readExactly(qsizetype count) const;

    /// Reads to the end of the connection. Nothing as above.
    std::optional<QByteArray> readAll() const;

    /// True where the server closes the connection, one way or the other, within the time, without
    /// having sent a byte more.
    bool isClosedWithin(std::chrono::milliseconds time) const;

    /// From now on its system discards every packet that arrives, so it acknowledges nothing. False
    /// where the system cannot do that.
    bool discardIncoming() const;

    /// Drops the connection with a reset instead of an orderly end.
    void reset();

    int descriptor() const { return m_socket.get(); }

private:
    bool waitReadable(std::chrono::milliseconds time) const;

    Descriptor m_socket;
};

/// An answer taken apart.
struct Response {
    int status = 0;
    QByteArray head; ///< the blank line included
    QByteArray body;

    /// The value of a header, exactly as sent after ": "; empty without.
    QByteArray header(const QByteArray& name) const;
};

/// What a server sent on one connection, taken apart; status 0 where that is no answer.
Response taken(const QByteArray& all);

/// Sends `head` (blank line included) on a connection of its own and reads the answer to its end;
/// status 0 where there was none.
Response ask(std::uint16_t port, std::string_view head);

/// "GET `target` HTTP/1.1" with the given header lines (each with its line end), and a blank line.
std::string headFor(std::string_view target, std::string_view headers = "");

/// ask() for headFor() the same.
Response get(std::uint16_t port, std::string_view target, std::string_view headers = "");

} // namespace korvane
