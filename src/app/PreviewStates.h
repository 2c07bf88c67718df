#pragma once

#include "state/AppState.h"

namespace korvane::PreviewStates {

/// Three states of the window, with invented chats, for snapshots: choosing a chat, transferring
/// it, and without access to the database.
AppState::Preview list();
AppState::Preview qr();
AppState::Preview access();

} // namespace korvane::PreviewStates
