#pragma once

#include <QByteArray>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// Takes the answer to an HTTP/1.1 request apart while it arrives (RFC 9112). Interim answers (1xx)
/// are skipped, except 101, after which something other than HTTP would follow (RFC 9110, section
/// 15.2). Only a 200 has a body here: with any other status the answer is complete with its head.
class HttpAnswer {
public:
    /// A body of more than `largestBody` bytes is not taken.
    explicit HttpAnswer(std::int64_t largestBody) : m_largestBody(largestBody) { }

    enum class State { Head, Body, Complete, Malformed, TooLarge };

    /// Looks at the next bytes. Once the state is Complete or a failure, they are ignored.
    State take(std::string_view bytes);

    /// To be called when the peer sends no more: complete now is a body without a stated size.
    State end();

    State state() const { return m_state; }
    bool isOver() const { return m_state != State::Head && m_state != State::Body; }

    int status() const { return m_status; } ///< 0 where it is not known
    const std::string& reason() const { return m_reason; } ///< as sent

    /// Bytes of body that there will be; -1 where that is not known.
    std::int64_t expectedBody() const { return m_expectedBody; }

    QByteArray body; ///< what has come of it

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
    std::string m_received; ///< of which the first `m_taken` bytes were looked at
    std::size_t m_taken = 0;
    std::size_t m_headBytes = 0; ///< of all heads so far
    int m_status = 0;
    std::string m_reason;
    std::map<std::string, std::string> m_headers; ///< names in lower case
    std::int64_t m_expectedBody = -1;
    Chunk m_chunk = Chunk::None;
    std::int64_t m_chunkLeft = 0;
};

} // namespace korvane
