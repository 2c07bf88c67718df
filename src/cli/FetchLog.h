#pragma once

#include "server/SyncServer.h"

#include <chrono>
#include <map>
#include <string>

namespace korvane {

/// Puts into words who fetches the chat. Anybody who has seen the link can begin thousands of
/// fetches and break them off; so that this does not scroll the code off the terminal, only some
/// fetches are listed, and the others are counted. Used by one thread at a time.
class FetchLog {
public:
    using Clock = std::chrono::steady_clock;

    /// So many fetches are listed at once, and one more per interval; the same number of those
    /// that are not listed from their beginning is listed when the chat is delivered.
    static constexpr int listedAtOnce = 3;
    static constexpr std::chrono::minutes interval{2};

    explicit FetchLog(Clock::time_point now) : m_listings(now), m_deliveries(now) { }

    /// What to print of this event; empty where it is only counted.
    std::string add(const TransferEvent& event, Clock::time_point now);

    /// What to print of the fetches that were only counted, once per interval; otherwise empty.
    std::string summary(Clock::time_point now);

    /// The same without waiting for the interval to end.
    std::string lastSummary();

    /// How many fetches are under way.
    int underWay() const { return m_underWay; }

private:
    /// How many lines may still be printed: a token bucket.
    class Allowance {
    public:
        explicit Allowance(Clock::time_point now) : m_refilled(now) { }
        bool take(Clock::time_point now);

    private:
        int m_left = listedAtOnce;
        Clock::time_point m_refilled;
    };

    /// Fetches that ended without being listed.
    struct Unlisted {
        int brokenOff = 0;
        int delivered = 0;
        std::string lastPeer;
        Clock::time_point since; ///< the first of them
    };

    std::string begin(const std::string& peer, Clock::time_point now);
    std::string end(const TransferEvent& event, Clock::time_point now);
    void count(const TransferEvent& event, Clock::time_point now);

    Allowance m_listings;
    Allowance m_deliveries;
    std::map<std::string, int> m_listed; ///< listed fetches under way, by peer
    Unlisted m_unlisted;
    int m_underWay = 0;
};

} // namespace korvane
