#pragma once

#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace korvane {

/// A bar on a terminal for work that takes long. It shows up after a second, is redrawn a few
/// times a second at most, and is wiped away when the object goes.
class ProgressBar {
public:
    using Clock = std::chrono::steady_clock;

    /// `visible` false draws nothing at all. `total` counts whatever the work is measured in.
    ProgressBar(std::ostream& out, bool visible, std::int64_t total,
        Clock::duration patience = std::chrono::seconds(1));
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// `done` of the total is done, `doing` is what comes now.
    void show(std::int64_t done, std::string_view doing);

private:
    std::ostream& m_out;
    const bool m_visible;
    const std::int64_t m_total;
    Clock::time_point m_nextDraw;
    bool m_drawn = false;
};

} // namespace korvane
