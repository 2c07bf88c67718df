#pragma once

#include <chrono>

namespace korvane {

/// While it lives, Ctrl-C (SIGINT), SIGTERM and a closed terminal (SIGHUP) ask the program to end
/// at the next good moment instead of killing it. A second one kills it. At most one object at a
/// time.
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    bool requested() const;

    /// Sleeps for `duration` or until interrupted, whichever comes first.
    void sleep(std::chrono::duration<double> duration) const;
};

} // namespace korvane
