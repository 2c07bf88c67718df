#pragma once

#include <filesystem>
#include <optional>

namespace korvane {

/// Shows a modal dialog for choosing or creating a folder, starting in `start`. Blocks until it is
/// closed. Returns nothing if the user cancels. Main thread only.
std::optional<std::filesystem::path> pickFolder(const std::filesystem::path& start);

} // namespace korvane
