#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace korvane {

/// A program in a process of its own, with this one's environment. It is killed where it still runs
/// when this goes. Failures are std::runtime_error.
class Program {
public:
    /// Starts the program at the path of the first word, with the others as its arguments.
    explicit Program(const std::vector<std::string>& words);
    ~Program();

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t id() const { return m_id; }

    /// Waits until it has ended by itself, and throws where it failed.
    void wait();

private:
    pid_t m_id = 0;
};

/// Seconds until the program, started now, has painted what FirstPaint calls `wanted`; it is ended
/// there. Throws where that takes longer than half a minute.
double secondsToPaint(const std::vector<std::string>& words, const char* wanted);

} // namespace korvane
