#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace korvane {

/// Baseline for sealing: reads a text from a file and encrypts it in place with OpenSSL alone
/// (AES-256-GCM), with the nonce before it and the tag after it. Failures throw std::runtime_error.
class BareSeal {
public:
    static constexpr std::size_t nonceSize = 12;
    static constexpr std::size_t tagSize = 16;

    /// Allocates a buffer for a text of `textSize` bytes and does not initialise it, so that its
    /// pages are not resident yet.
    explicit BareSeal(std::size_t textSize);

    void read(int file, std::int64_t offset);
    void seal();

    /// Nonce, text and tag, in this order.
    std::string_view bytes() const { return {m_bytes.get(), m_textSize + nonceSize + tagSize}; }

private:
    char* text() const { return m_bytes.get() + nonceSize; }

    const std::size_t m_textSize;
    const std::unique_ptr<char[]> m_bytes;
};

} // namespace korvane
