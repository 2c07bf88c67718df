#pragma once

#include <cstddef>
#include <cstdint>

namespace korvane::sample {

/// Spreads the bits of a number over all 64: neighbours come out unrelated.
constexpr std::uint64_t scramble(std::uint64_t bits)
{
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9ULL;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBULL;
    return bits ^ (bits >> 31);
}

/// Chance that repeats itself: the same seed and purpose give the same numbers with every
/// compiler and library, which the generators and distributions of <random> do not promise.
/// Whole numbers only, as floating point may round differently elsewhere.
class Random {
public:
    enum class Purpose : std::uint64_t { People = 1, ChatTurns, Timeline, Messages };

    Random(std::uint64_t seed, Purpose purpose)
        : m_state(scramble(seed) + scramble(static_cast<std::uint64_t>(purpose)))
    {
    }

    std::uint64_t next() { return scramble(m_state += 0x9E3779B97F4A7C15ULL); }

    /// One of 0 … bound - 1; the bound is at least 1.
    std::int64_t below(std::int64_t bound)
    {
        return static_cast<std::int64_t>(next() % static_cast<std::uint64_t>(bound));
    }

    /// Both ends included.
    std::int64_t between(std::int64_t low, std::int64_t high)
    {
        return low + below(high - low + 1);
    }

    /// True so many times in a thousand.
    bool chance(int perThousand) { return below(1000) < perThousand; }

    template <typename Item, std::size_t count>
    const Item& pick(const Item (&items)[count])
    {
        return items[next() % count];
    }

    /// The container is not empty.
    template <typename Container>
    std::size_t indexOf(const Container& items)
    {
        return static_cast<std::size_t>(next() % items.size());
    }

    template <typename Container>
    const auto& pickFrom(const Container& items)
    {
        return items[indexOf(items)];
    }

private:
    std::uint64_t m_state;
};

} // namespace korvane::sample
