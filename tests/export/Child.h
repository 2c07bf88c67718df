#pragma once

#include <functional>
#include <string>

namespace korvane {

/// Runs `work` in a forked child, for what would change this whole process, and returns what it
/// returned. A child that dies gives "(died)".
std::string inChild(const std::function<std::string()>& work);

/// The same in a child that may not pass over file permissions.
std::string inUnprivilegedChild(const std::function<std::string()>& work);

} // namespace korvane
