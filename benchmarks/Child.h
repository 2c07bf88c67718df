#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace korvane {

/// What one measured piece of work took.
struct Cost {
    double seconds = 0; ///< as the work itself measured them
    std::int64_t peakBytes = 0; ///< largest resident memory of its process
};

/// Runs `work`, which returns the seconds it took, in a process of its own, so that neither
/// memory nor process-wide settings of one measurement reach another.
Cost inChild(const std::function<double()>& work);

/// Runs the works in turns, `rounds` times, and returns the median cost of each: what disturbs
/// the machine disturbs them alike.
std::vector<Cost> medians(const std::vector<std::function<double()>>& works, int rounds);

/// Wall-clock seconds that `work` takes.
double secondsOf(const std::function<void()>& work);

/// One line of outcome: what, the figure, and whether it is within the limit.
/// Returns whether it is.
bool report(const std::string& what, double figure, double limit, const std::string& unit = "×");

} // namespace korvane
