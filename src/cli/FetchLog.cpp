#include "cli/FetchLog.h"

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

using Kind = TransferEvent::Kind;

std::string fetches(int count)
{
    return std::to_string(count) + (count == 1 ? " more fetch" : " more fetches");
}

} // namespace

std::string FetchLog::add(const TransferEvent& event, Clock::time_point now)
{
    return event.kind == Kind::Started ? begin(event.peer, now) : end(event, now);
}

std::string FetchLog::begin(const std::string& peer, Clock::time_point now)
{
    ++m_underWay;
    if (!m_listings.take(now))
        return "";
    ++m_listed[peer];
    return peer + " is fetching it";
}

/// Events carry no fetch id. If one peer has several fetches under way, the first to end is taken
/// for the listed one.
std::string FetchLog::end(const TransferEvent& event, Clock::time_point now)
{
    --m_underWay;
    const bool delivered = event.kind == Kind::Delivered;
    const auto listed = m_listed.find(event.peer);
    if (listed == m_listed.end() && !(delivered && m_deliveries.take(now))) {
        count(event, now);
        return "";
    }
    if (listed != m_listed.end() && --listed->second == 0)
        m_listed.erase(listed);
    return event.peer + (delivered ? " has it" : " broke off");
}

void FetchLog::count(const TransferEvent& event, Clock::time_point now)
{
    if (m_unlisted.brokenOff + m_unlisted.delivered == 0)
        m_unlisted.since = now;
    ++(event.kind == Kind::Delivered ? m_unlisted.delivered : m_unlisted.brokenOff);
    m_unlisted.lastPeer = event.peer;
}

std::string FetchLog::summary(Clock::time_point now)
{
    return now - m_unlisted.since < interval ? "" : lastSummary();
}

std::string FetchLog::lastSummary()
{
    const Unlisted unlisted = std::exchange(m_unlisted, {});
    std::string text;
    if (unlisted.brokenOff > 0)
        text = fetches(unlisted.brokenOff) + " broke off";
    if (unlisted.delivered > 0)
        text += (text.empty() ? "" : ", ") + fetches(unlisted.delivered) + " ended well";
    return text.empty() ? "" : text + ", the last from " + unlisted.lastPeer;
}

bool FetchLog::Allowance::take(Clock::time_point now)
{
    const auto intervals = (now - m_refilled) / interval;
    m_refilled += intervals * interval;
    m_left = static_cast<int>(std::min<long long>(listedAtOnce, m_left + intervals));
    if (m_left == 0)
        return false;
    --m_left;
    return true;
}

} // namespace korvane
