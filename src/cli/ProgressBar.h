#pragma once

#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace korvane {

/// A progress bar on a terminal. It appears after `patience`, is redrawn every 100 ms at most, and
/// is erased by the destructor.
class ProgressBar {
public:
    using Clock = std::chrono::steady_clock;

    /// Draws nothing if `visible` is false. `total` is the amount of work, in any unit.
    ProgressBar(std::ostream& out, bool visible, std::int64_t total,
        Clock::duration patience = std::chrono::seconds(1));
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// `done` is the amount of work done so far, `doing` describes the current step.
    void show(std::int64_t done, std::string_view doing);

private:
    std::ostream& m_out;
    const bool m_visible;
    const std::int64_t m_total;
    Clock::time_point m_nextDraw;
    bool m_drawn = false;
};

} // namespace korvane
