#pragma once

#include "Program.h"

#include <cstdint>
#include <map>

namespace korvane {

/// How often each thread of a process has gone to sleep so far, by its id. A thread that is woken
/// goes to sleep once more.
using Sleeps = std::map<pid_t, std::int64_t>;

Sleeps sleepsOf(const Program& program);

/// How often threads went to sleep between the two.
std::int64_t wakeUps(const Sleeps& before, const Sleeps& after);

} // namespace korvane
