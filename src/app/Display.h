#pragma once

namespace korvane {

/// True where windows can be opened; Qt ends the process where they cannot.
bool hasDisplay();

} // namespace korvane
