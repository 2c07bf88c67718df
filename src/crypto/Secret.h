#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace korvane {

/// A password or key in memory of its own. The destructor wipes it. Movable, but never copied, so
/// that no copy is left behind. Used by one thread at a time.
class Secret {
public:
    /// `size` bytes, all zero.
    explicit Secret(std::size_t size = 0);

    /// A copy of `bytes`, which the caller wipes if they are secret.
    explicit Secret(std::string_view bytes);

    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&& other) noexcept;
    ~Secret();

    std::size_t size() const { return m_size; }

    /// Valid as long as this object, and until it is moved from or shortened.
    std::span<char> bytes() { return {m_bytes.get(), m_size}; }
    std::string_view view() const { return {m_bytes.get(), m_size}; }

    /// Keeps the first `size` bytes and wipes the others.
    void shorten(std::size_t size);

private:
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_size = 0;
};

} // namespace korvane
