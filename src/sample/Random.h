#pragma once

#include <cstddef>
#include <cstdint>

namespace korvane::sample {

/// The mixing function of the SplitMix64 generator. A bijection: different inputs give different
/// results, and inputs that differ in one bit give unrelated results.
constexpr std::uint64_t mixBits(std::uint64_t bits)
{
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9ULL;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBULL;
    return bits ^ (bits >> 31);
}

/// A SplitMix64 generator. Equal seeds and purposes give equal numbers with every compiler and
/// standard library. The distributions of <random> do not guarantee that, so they are not used.
/// All results are integers, because floating-point rounding may differ between machines.
class Random {
public:
    /// One independent stream of numbers for each part of the sample: a change in how one part
    /// draws numbers does not affect the others.
    enum class Purpose : std::uint64_t { People = 1, Chats, Timeline, Messages };

    Random(std::uint64_t seed, Purpose purpose)
        : m_state(mixBits(seed) + mixBits(static_cast<std::uint64_t>(purpose)))
    {
    }

    std::uint64_t next() { return mixBits(m_state += 0x9E3779B97F4A7C15ULL); }

    /// A number in [0, bound). `bound` is at least 1.
    std::int64_t below(std::int64_t bound)
    {
        return static_cast<std::int64_t>(next() % static_cast<std::uint64_t>(bound));
    }

    /// A number in [low, high]; both ends are included.
    std::int64_t between(std::int64_t low, std::int64_t high)
    {
        return low + below(high - low + 1);
    }

    /// True with a probability of `perThousand` / 1000.
    bool chance(int perThousand) { return below(1000) < perThousand; }

    template <typename Item, std::size_t count>
    const Item& pick(const Item (&items)[count])
    {
        return items[next() % count];
    }

    /// `items` must not be empty.
    template <typename Container>
    const auto& pickFrom(const Container& items)
    {
        return items[pickIndex(items)];
    }

    /// The index of a random item. `items` must not be empty.
    template <typename Container>
    std::size_t pickIndex(const Container& items)
    {
        return static_cast<std::size_t>(next() % items.size());
    }

private:
    std::uint64_t m_state;
};

} // namespace korvane::sample
