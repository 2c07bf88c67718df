#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace korvane {

/// The least that sealing can cost, by OpenSSL alone: a text that is read from a file and encrypted
/// where it stands, a nonce before it and a tag behind it. Failures are std::runtime_error.
class BareSeal {
public:
    static constexpr std::size_t nonceSize = 12;
    static constexpr std::size_t tagSize = 16;

    /// Room for a text of that many bytes; the memory is not touched yet.
    explicit BareSeal(std::size_t textSize);

    void read(int file, std::int64_t offset);
    void seal();

    /// Nonce, text and tag.
    std::string_view bytes() const { return {m_bytes.get(), m_textSize + nonceSize + tagSize}; }

private:
    char* text() const { return m_bytes.get() + nonceSize; }

    const std::size_t m_textSize;
    const std::unique_ptr<char[]> m_bytes;
};

} // namespace korvane
