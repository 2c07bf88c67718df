#pragma once

#include "sample/Random.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::sample {

struct RecentMessage {
    std::int64_t row = 0;
    std::string text;
};

/// The last messages of one chat: those that people still answer and react to.
class RecentMessages {
public:
    void remember(std::int64_t row, std::string_view text)
    {
        if (m_kept.size() < capacity)
            m_kept.emplace_back();
        RecentMessage& message = m_kept[m_remembered++ % capacity];
        message.row = row;
        message.text = text;
    }

    bool empty() const { return m_kept.empty(); }

    /// Any one of them; there is at least one.
    const RecentMessage& pick(Random& random) const { return random.pickFrom(m_kept); }

private:
    static constexpr std::size_t capacity = 8;

    std::vector<RecentMessage> m_kept;
    std::size_t m_remembered = 0;
};

} // namespace korvane::sample
