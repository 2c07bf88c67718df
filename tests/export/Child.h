#pragma once

#include <functional>
#include <string>

namespace korvane {

/// Runs `work` in a forked child process and returns its result, or "(died)" if the child fails.
/// For work that changes the whole process, such as its resource limits.
std::string inChild(const std::function<std::string()>& work);

/// inChild() as an unprivileged user, whom file permissions stop. Returns "(still privileged)" if
/// the child cannot drop its privileges.
std::string inUnprivilegedChild(const std::function<std::string()>& work);

} // namespace korvane
