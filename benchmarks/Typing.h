#pragma once

#include <vector>

namespace korvane {

/// Opens the window on that many invented chats, types into its search field and deletes again, and
/// returns for each keystroke the seconds until the list has been painted anew. Makes the
/// application object, so only once in a process. Throws std::runtime_error where a keystroke
/// changes nothing.
std::vector<double> secondsOfKeystrokes(int chats);

} // namespace korvane
