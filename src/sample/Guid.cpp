#include "sample/Guid.h"

#include "sample/Random.h"

namespace korvane::sample {

namespace {

constexpr std::string_view pattern = "xxxxxxxx-xxxx-4xxx-Axxx-xxxxxxxxxxxx";
constexpr int digitsPerNumber = 16;

/// Sixty-four bits, handed out as hexadecimal digits.
class Digits {
public:
    explicit Digits(std::uint64_t bits) : m_bits(bits) { }

    char next()
    {
        const char digit = "0123456789ABCDEF"[m_bits & 0xF];
        m_bits >>= 4;
        return digit;
    }

private:
    std::uint64_t m_bits;
};

} // namespace

std::string messageGuid(std::uint64_t seed, std::int64_t row)
{
    const std::uint64_t bits = scramble(scramble(~seed) + static_cast<std::uint64_t>(row));
    Digits first(bits);
    Digits second(scramble(bits));
    std::string guid(pattern);
    int placed = 0;
    for (char& character : guid)
        if (character == 'x')
            character = placed++ < digitsPerNumber ? first.next() : second.next();
    return guid;
}

} // namespace korvane::sample
