#pragma once

#include "pairing/QrCode.h"

#include <string>

namespace korvane {

/// The code as lines for a terminal, two rows of modules in each line of half blocks. Black and
/// white are painted as such, whatever colours the terminal uses: a code in light on dark is one
/// that no phone reads.
std::string terminalPicture(const QrCode& code);

} // namespace korvane
