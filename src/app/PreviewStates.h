#pragma once

#include "state/AppState.h"

namespace korvane::PreviewStates {

/// The window's three states with invented chats, for pictures of it: choosing, handing over, and
/// without access to the database.
AppState::Preview list();
AppState::Preview qr();
AppState::Preview access();

} // namespace korvane::PreviewStates
