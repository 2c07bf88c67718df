#pragma once

#include <QByteArray>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// An incremental parser for the answer to an HTTP/1.1 request (RFC 9112). Skips interim answers
/// (1xx) except 101, after which the connection no longer speaks HTTP (RFC 9110, section 15.2).
/// Reads the body of a 200 only: with any other status the answer is complete after its head.
class HttpAnswer {
public:
    /// A body of more than `largestBody` bytes ends in State::TooLarge.
    explicit HttpAnswer(std::int64_t largestBody) : m_largestBody(largestBody) { }

    enum class State { Head, Body, Complete, Malformed, TooLarge };

    /// Parses the next bytes and returns the new state. Ignores them once isOver().
    State take(std::string_view bytes);

    /// Call this when the peer has closed its side. It completes a body with neither Content-Length
    /// nor chunked coding, which extends to the end of the connection (RFC 9112, section 6.3).
    State end();

    State state() const { return m_state; }
    bool isOver() const { return m_state != State::Head && m_state != State::Body; }

    int status() const { return m_status; } ///< 0 until it is known
    const std::string& reason() const { return m_reason; } ///< as sent

    /// Size of the whole body in bytes; -1 if it is not known.
    std::int64_t expectedBody() const { return m_expectedBody; }

    QByteArray body; ///< the bytes received so far

private:
    enum class Chunk { None, Size, Data, DataEnd, Trailer };

    std::optional<std::string> nextLine();
    void takeHead();
    void takeHeadLine(const std::string& line);
    bool takeStatusLine(const std::string& line);
    void endHead();
    void beginBody();
    void takeBody();
    bool takeChunkPart();
    void takeChunkLine(const std::string& line);
    std::int64_t moveToBody(std::int64_t most);

    const std::int64_t m_largestBody;
    State m_state = State::Head;
    std::string m_received; ///< of which the first `m_taken` bytes are parsed
    std::size_t m_taken = 0;
    std::size_t m_headBytes = 0; ///< of all heads so far, interim ones included
    int m_status = 0;
    std::string m_reason;
    std::map<std::string, std::string> m_headers; ///< names in lower case
    std::int64_t m_expectedBody = -1;
    Chunk m_chunk = Chunk::None;
    std::int64_t m_chunkLeft = 0;
};

} // namespace korvane
