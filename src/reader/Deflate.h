#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace korvane {

/// Compresses texts as raw deflate (RFC 1951), without a header and a checksum. The only class that
/// calls zlib. Throws std::bad_alloc if there is not enough memory. Used by one thread at a time.
class Deflate {
public:
    Deflate();
    Deflate(const Deflate&) = delete;
    Deflate& operator=(const Deflate&) = delete;
    ~Deflate();

    /// `bytes`, compressed. Valid until the next call.
    std::string_view compress(std::string_view bytes);

private:
    struct Stream;

    std::unique_ptr<Stream>
        m_stream; ///< kept, because setting one up takes longer than a short text
    std::string m_compressed;
};

} // namespace korvane
