#include "storage/LastRead.h"

namespace korvane {

namespace {

constexpr std::chrono::minutes longestTrust{30};

} // namespace

bool LastRead::isUpToDate(const std::string& database, Clock::time_point now)
{
    m_begun = {DatabaseStamp::of(database, now), now};
    if (m_done && !isConfirmedBy(m_begun))
        m_done.reset();
    return m_done.has_value();
}

/// A clock that was set back would make the read look newer than it is.
bool LastRead::isConfirmedBy(const Read& later) const
{
    return later.stamp && later.stamp == m_done->stamp && later.time >= m_done->time
        && later.time - m_done->time < longestTrust;
}

} // namespace korvane
