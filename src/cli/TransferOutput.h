#pragma once

#include "server/SyncServer.h"

#include <chrono>
#include <map>
#include <string>

namespace korvane {

class QrCode;

/// The code as lines for a terminal; each line of half blocks shows two rows of modules. Sets black
/// and white explicitly, because with the colours of a dark terminal the code would be inverted,
/// and phones may not read it.
std::string terminalPicture(const QrCode& code);

/// Turns transfer events into lines for the user, at a limited rate. Anybody who has seen the link
/// can start and abort thousands of fetches, and their lines would scroll the QR code off the
/// terminal. So only some fetches get a line, and the others are counted. Not thread-safe.
class FetchLog {
public:
    using Clock = std::chrono::steady_clock;

    /// Capacity of the two token buckets, which gain one token per `interval`. One bucket limits
    /// the lines about started fetches. The other limits the lines about deliveries whose start got
    /// no line.
    static constexpr int listedAtOnce = 3;
    static constexpr std::chrono::minutes interval{2};

    explicit FetchLog(Clock::time_point now) : m_listings(now), m_deliveries(now) { }

    /// The line about this event; empty if the event is only counted.
    std::string add(const TransferEvent& event, Clock::time_point now);

    /// The line about the fetches that were only counted. Empty until `interval` after the first of
    /// them ended.
    std::string summary(Clock::time_point now);

    /// The same without waiting for the interval.
    std::string lastSummary();

    /// How many fetches are under way.
    int underWay() const { return m_underWay; }

private:
    /// A token bucket: one token is one line.
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
        Clock::time_point since; ///< when the first of them ended
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
