#include "reader/Deflate.h"

#define ZLIB_CONST // the input is const
#include <zlib.h>

#include <algorithm>
#include <limits>
#include <new>

namespace korvane {

struct Deflate::Stream : z_stream { };

namespace {

constexpr int rawDeflate = -15; // negative: no header; 2^15 bytes of history
constexpr int usualMemory = 8;

/// zlib counts in 32 bits, so long texts are passed in parts.
uInt part(std::size_t size)
{
    return static_cast<uInt>(std::min<std::size_t>(size, std::numeric_limits<uInt>::max()));
}

} // namespace

Deflate::Deflate() : m_stream(std::make_unique<Stream>())
{
    const int outcome = ::deflateInit2(m_stream.get(), Z_DEFAULT_COMPRESSION, Z_DEFLATED,
        rawDeflate, usualMemory, Z_DEFAULT_STRATEGY);
    if (outcome != Z_OK)
        throw std::bad_alloc();
}

Deflate::~Deflate()
{
    ::deflateEnd(m_stream.get());
}

std::string_view Deflate::compress(std::string_view bytes)
{
    ::deflateReset(m_stream.get());
    m_compressed.resize(std::max<std::size_t>(m_compressed.size(), 4096));
    std::size_t written = 0;
    int outcome = Z_OK;
    while (outcome != Z_STREAM_END) {
        if (written == m_compressed.size())
            m_compressed.resize(2 * written);
        const uInt input = part(bytes.size());
        const uInt room = part(m_compressed.size() - written);
        m_stream->next_in = reinterpret_cast<const Bytef*>(bytes.data());
        m_stream->avail_in = input;
        m_stream->next_out = reinterpret_cast<Bytef*>(m_compressed.data() + written);
        m_stream->avail_out = room;
        outcome = ::deflate(m_stream.get(), input == bytes.size() ? Z_FINISH : Z_NO_FLUSH);
        bytes.remove_prefix(input - m_stream->avail_in);
        written += room - m_stream->avail_out;
    }
    return std::string_view(m_compressed).substr(0, written);
}

} // namespace korvane
