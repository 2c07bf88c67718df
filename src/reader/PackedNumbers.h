#pragma once

#include <cstdint>
#include <string>

namespace korvane {

/// Integers of variable length, as bytes: LEB128, that is, seven bits in each byte, the lowest
/// first; the highest bit of a byte is set if another one follows.
namespace PackedNumbers {

inline void append(std::string& to, std::uint64_t value)
{
    for (; value >= 0x80; value >>= 7)
        to += static_cast<char>((value & 0x7F) | 0x80);
    to += static_cast<char>(value);
}

/// 0, -1, 1, -2, … as 0, 1, 2, 3, …, so that small differences take few bytes.
constexpr std::uint64_t zigzag(std::int64_t value)
{
    return (static_cast<std::uint64_t>(value) << 1) ^ static_cast<std::uint64_t>(value >> 63);
}

/// A column of which each integer is stored as its difference from the one before.
class Differences {
public:
    void append(std::string& to, std::int64_t value)
    {
        const auto number = static_cast<std::uint64_t>(value); // which may wrap around
        PackedNumbers::append(to, zigzag(static_cast<std::int64_t>(number - m_previous)));
        m_previous = number;
    }

private:
    std::uint64_t m_previous = 0;
};

} // namespace PackedNumbers

} // namespace korvane
