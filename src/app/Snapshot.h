#pragma once

#include "state/AppState.h"

#include <filesystem>
#include <string>

namespace korvane {

/// Pictures of the window for documentation, made without touching any database, network, setting
/// or support folder. Main thread only. Needs a QApplication, but no display.
namespace Snapshot {

/// Writes "dropdown-list.png", "dropdown-qr.png" and "dropdown-access.png", 800 pixels wide, into
/// `folder`, which is created if it does not exist. Failures to write are ignored.
void write(const std::filesystem::path& folder);

/// Writes "dropdown-<name>.png": the window with `state`, at two pixels per point.
void write(const std::filesystem::path& folder, const std::string& name, AppState& state);

} // namespace Snapshot

/// Three states of the window, with invented chats: choosing a chat, transferring it, and without
/// access to the database.
namespace PreviewStates {

AppState::Preview list();
AppState::Preview qr();
AppState::Preview access();

} // namespace PreviewStates

} // namespace korvane
