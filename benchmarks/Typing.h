#pragma once

#include <vector>

namespace korvane {

/// Opens the window with that many invented chats, types words into its search field and deletes
/// them again. Returns for each keystroke the seconds until the list is repainted. Creates the
/// application object, so call this once per process. Throws std::runtime_error if a keystroke does
/// not repaint the list within five seconds.
std::vector<double> secondsOfKeystrokes(int chats);

} // namespace korvane
