#pragma once

#include "Program.h"

#include <cstdint>
#include <map>

namespace korvane {

/// Voluntary context switches of each thread of a process so far, by thread id. A thread makes one
/// each time it blocks, so the count grows by one per wake-up.
using Sleeps = std::map<pid_t, std::int64_t>;

Sleeps sleepsOf(const Program& program);

/// Number of wake-ups between the two. New threads count in full; threads that ended do not count.
std::int64_t wakeUps(const Sleeps& before, const Sleeps& after);

} // namespace korvane
