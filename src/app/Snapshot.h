#pragma once

#include <filesystem>
#include <string>

namespace korvane {

class AppState;

/// Pictures of the window, for documentation: no database, network, setting or support folder is
/// touched. For the main thread; wants a QApplication, but no display.
namespace Snapshot {

/// Writes "dropdown-list.png", "dropdown-qr.png" and "dropdown-access.png", 800 pixels wide, into
/// `folder`, which is made where it does not exist. What cannot be written is left out, silently.
void write(const std::filesystem::path& folder);

/// Writes "dropdown-<name>.png": the window over `state`, at two pixels a point.
void write(const std::filesystem::path& folder, const std::string& name, AppState& state);

} // namespace Snapshot

} // namespace korvane
