#pragma once

#include <future>

/// What systems do differently about the screen.
namespace korvane {

/// True where windows can be opened; Qt ends the process where they cannot.
bool hasDisplay();

/// From now on ExitHook::run() is also called where Qt ends the process without calling exit(),
/// because the display is lost.
void runExitHookOnLostDisplay();

/// Begins to read the list of the system's fonts, which takes long and which the first text to be
/// laid out waits for, while the caller goes on. Ended by the time the future is gone.
[[nodiscard]] std::future<void> readFontsAhead();

} // namespace korvane
