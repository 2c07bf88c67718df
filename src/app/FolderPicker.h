#pragma once

#include <filesystem>
#include <optional>

namespace korvane {

/// Asks the user for a folder, beginning in `start`; he may make one. Nothing where he cancels.
std::optional<std::filesystem::path> pickFolder(const std::filesystem::path& start);

} // namespace korvane
