#include "cli/HttpAnswer.h"

#include "text/Ascii.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

namespace korvane {

namespace {

constexpr int ok = 200;
constexpr std::string_view blanks = " \t";
constexpr std::size_t largestHead = 65'536; ///< bytes, interim heads included

/// `digits` as a non-negative number; nothing if it has any other character or is too large.
std::optional<std::int64_t> number(std::string_view digits, int base)
{
    std::int64_t value = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, base);
    const bool good = error == std::errc() && stop == end && value >= 0 && !digits.starts_with('-');
    return good ? std::optional(value) : std::nullopt;
}

/// True for a status after which another answer follows: 1xx, except 101.
bool isInterim(int status)
{
    constexpr int first = 100;
    constexpr int switchingProtocols = 101;
    return status >= first && status < ok && status != switchingProtocols;
}

} // namespace

HttpAnswer::State HttpAnswer::take(std::string_view bytes)
{
    if (isOver())
        return m_state;
    m_received += bytes;
    takeHead();
    takeBody();
    m_received.erase(0, std::exchange(m_taken, 0));
    return m_state;
}

HttpAnswer::State HttpAnswer::end()
{
    if (m_state == State::Body && m_chunk == Chunk::None && m_expectedBody < 0)
        m_state = State::Complete;
    return m_state;
}

/// The next line without its line end; nothing until the whole line has arrived.
std::optional<std::string> HttpAnswer::nextLine()
{
    const std::size_t end = m_received.find('\n', m_taken);
    if (end == m_received.npos)
        return std::nullopt;
    std::string line = m_received.substr(m_taken, end - m_taken);
    m_taken = end + 1;
    if (line.ends_with('\r'))
        line.pop_back();
    return line;
}

void HttpAnswer::takeHead()
{
    while (m_state == State::Head) {
        const auto line = nextLine();
        m_headBytes += line ? line->size() + 1 : 0;
        if (m_headBytes + (line ? 0 : m_received.size() - m_taken) > largestHead)
            m_state = State::Malformed;
        else if (line)
            takeHeadLine(*line);
        else
            return;
    }
}

void HttpAnswer::takeHeadLine(const std::string& line)
{
    if (m_status == 0) {
        if (!takeStatusLine(line))
            m_state = State::Malformed;
        return;
    }
    if (line.empty())
        return endHead();
    const std::size_t colon = line.find(':');
    if (colon == line.npos)
        return;
    const std::string value(trimmed(std::string_view(line).substr(colon + 1), blanks));
    m_headers.insert_or_assign(lowered(std::string_view(line).substr(0, colon)), value);
}

/// Parses a line like "HTTP/1.1 200 OK", in which the reason is optional. False if it is malformed.
bool HttpAnswer::takeStatusLine(const std::string& line)
{
    constexpr std::string_view version = "HTTP/1.";
    constexpr std::size_t statusAt = 9;
    constexpr std::size_t statusEnd = 12;
    const bool fits = line.starts_with(version) && line.size() >= statusEnd
        && line[statusAt - 1] == ' ' && (line.size() == statusEnd || line[statusEnd] == ' ');
    constexpr int decimal = 10;
    const auto status = fits
        ? number(std::string_view(line).substr(statusAt, statusEnd - statusAt), decimal)
        : std::nullopt;
    constexpr int lowest = 100;
    if (!status || *status < lowest)
        return false;
    m_status = static_cast<int>(*status);
    m_reason = trimmed(std::string_view(line).substr(statusEnd), blanks);
    return true;
}

void HttpAnswer::endHead()
{
    if (isInterim(m_status)) {
        m_status = 0;
        m_headers.clear();
    } else if (m_status != ok) {
        m_state = State::Complete;
    } else {
        beginBody();
    }
}

void HttpAnswer::beginBody()
{
    m_state = State::Body;
    if (lowered(std::string_view(m_headers["transfer-encoding"])) == "chunked") {
        m_chunk = Chunk::Size;
        return;
    }
    const auto length = m_headers.find("content-length");
    if (length == m_headers.end())
        return;
    constexpr int decimal = 10;
    const auto size = number(length->second, decimal);
    m_expectedBody = size.value_or(-1);
    if (!size)
        m_state = State::Malformed;
    else if (*size > m_largestBody)
        m_state = State::TooLarge;
}

void HttpAnswer::takeBody()
{
    while (m_state == State::Body && m_chunk != Chunk::None) {
        if (!takeChunkPart())
            return;
    }
    if (m_state != State::Body)
        return;
    moveToBody(m_expectedBody < 0 ? std::numeric_limits<std::int64_t>::max()
                                  : m_expectedBody - body.size());
    if (body.size() == m_expectedBody)
        m_state = State::Complete;
}

/// Returns false if more bytes are needed.
bool HttpAnswer::takeChunkPart()
{
    if (m_chunk == Chunk::Data) {
        m_chunkLeft -= moveToBody(m_chunkLeft);
        if (m_chunkLeft == 0)
            m_chunk = Chunk::DataEnd;
        return m_chunk == Chunk::DataEnd;
    }
    const auto line = nextLine();
    if (line)
        takeChunkLine(*line);
    else if (m_received.size() - m_taken > largestHead)
        m_state = State::Malformed;
    return line.has_value();
}

/// Parses a line between chunks: a chunk size, the line end after a chunk's data, or a trailer
/// field (RFC 9112, section 7.1).
void HttpAnswer::takeChunkLine(const std::string& line)
{
    if (m_chunk == Chunk::Trailer) {
        if (line.empty())
            m_state = State::Complete;
        return;
    }
    if (m_chunk == Chunk::DataEnd) {
        m_chunk = Chunk::Size;
        if (!line.empty())
            m_state = State::Malformed;
        return;
    }
    constexpr int hexadecimal = 16;
    const auto size
        = number(trimmed(std::string_view(line).substr(0, line.find(';')), blanks), hexadecimal);
    if (!size)
        m_state = State::Malformed;
    m_chunkLeft = size.value_or(0);
    m_chunk = m_chunkLeft > 0 ? Chunk::Data : Chunk::Trailer;
}

/// Moves at most `most` received bytes to the body and returns how many.
std::int64_t HttpAnswer::moveToBody(std::int64_t most)
{
    const auto there = static_cast<std::int64_t>(m_received.size() - m_taken);
    const std::int64_t count = std::min(most, there);
    body.append(m_received.data() + m_taken, static_cast<qsizetype>(count));
    m_taken += static_cast<std::size_t>(count);
    if (body.size() > m_largestBody)
        m_state = State::TooLarge;
    return count;
}

} // namespace korvane
