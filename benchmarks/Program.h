#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace korvane {

/// A child process that runs a program with this process' environment. The destructor kills it with
/// SIGKILL unless wait() was called. Failures throw std::runtime_error.
class Program {
public:
    /// Starts the program whose path is the first word, with the other words as its arguments.
    explicit Program(const std::vector<std::string>& words);
    ~Program();

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t id() const { return m_id; }

    /// Waits until the program exits, and throws if its exit status is not 0.
    void wait();

private:
    pid_t m_id = 0;
};

/// Starts the program and returns the seconds until it has painted `wanted` (see FirstPaint), where
/// it exits. Throws std::runtime_error if the program fails or nothing is painted within 30
/// seconds.
double secondsToPaint(const std::vector<std::string>& words, const char* wanted);

} // namespace korvane
