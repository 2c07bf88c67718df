#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace korvane {

/// The cost of one measured piece of work.
struct Cost {
    double seconds = 0; ///< as measured and returned by the work
    std::int64_t peakBytes = 0; ///< peak resident memory of its process
};

/// Runs `work`, which returns the seconds it took, in a forked process, so that neither memory nor
/// process-wide settings of one measurement affect another. Throws std::runtime_error if the work
/// fails.
Cost inChild(const std::function<double()>& work);

/// Runs the works in turns, `rounds` times, and returns the median cost of each. Taking turns
/// spreads disturbances of the machine evenly over the works.
std::vector<Cost> medians(const std::vector<std::function<double()>>& works, int rounds);

/// Wall-clock seconds that `work` takes.
double secondsOf(const std::function<void()>& work);

/// Prints one line with the name of the measurement, the figure and the limit. Returns whether the
/// figure is within the limit.
bool report(const std::string& what, double figure, double limit, const std::string& unit = "×");

} // namespace korvane
