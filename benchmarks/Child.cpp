#include "Child.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

namespace korvane {

namespace {

template <typename Value>
Value median(std::vector<Value> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

/// Runs `work` in the child, writes the seconds to `pipe` and exits. Catches exceptions, so that
/// the destructors run and end what `work` has started, such as other processes.
[[noreturn]] void runAndTell(const std::function<double()>& work, int pipe)
{
    bool told = false;
    try {
        const double seconds = work();
        told = ::write(pipe, &seconds, sizeof seconds) == sizeof seconds;
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << std::endl;
    }
    ::_exit(told ? EXIT_SUCCESS : EXIT_FAILURE);
}

} // namespace

Cost inChild(const std::function<double()>& work)
{
    int ends[2];
    if (::pipe(ends) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = ::fork();
    if (child == 0)
        runAndTell(work, ends[1]);
    ::close(ends[1]);
    Cost cost;
    const bool told = ::read(ends[0], &cost.seconds, sizeof cost.seconds) == sizeof cost.seconds;
    ::close(ends[0]);
    rusage usage{};
    int status = 0;
    ::wait4(child, &status, 0, &usage);
    if (!told || status != 0)
        throw std::runtime_error("a measured process failed");
    cost.peakBytes = usage.ru_maxrss * 1024; // Linux reports KiB
    return cost;
}

std::vector<Cost> medians(const std::vector<std::function<double()>>& works, int rounds)
{
    std::vector<std::vector<double>> seconds(works.size());
    std::vector<std::vector<std::int64_t>> peaks(works.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < works.size(); ++i) {
            const Cost cost = inChild(works[i]);
            seconds[i].push_back(cost.seconds);
            peaks[i].push_back(cost.peakBytes);
        }
    }
    std::vector<Cost> costs;
    for (std::size_t i = 0; i < works.size(); ++i)
        costs.push_back({median(seconds[i]), median(peaks[i])});
    return costs;
}

double secondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool report(const std::string& what, double figure, double limit, const std::string& unit)
{
    char line[200];
    std::snprintf(line, sizeof line, "%-58s %8.2f %-4s (at most %g)%s\n", what.c_str(), figure,
        unit.c_str(), limit, figure <= limit ? "" : "  TOO MUCH");
    std::cout << line << std::flush;
    return figure <= limit;
}

} // namespace korvane
