#pragma once

#include "pairing/QrCode.h"

#include <string>

namespace korvane {

/// The code as lines for a terminal; each line of half blocks shows two rows of modules. Sets black
/// and white explicitly, because with the colours of a dark terminal the code would be inverted,
/// and phones may not read it.
std::string terminalPicture(const QrCode& code);

} // namespace korvane
