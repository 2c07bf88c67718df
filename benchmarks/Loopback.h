#pragma once

#include "storage/Descriptor.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace korvane {

/// Blocking TCP over the loopback interface. Calls time out after 30 seconds. Every failure throws
/// std::runtime_error.
namespace Loopback {

/// A socket that listens on a port that the system chooses.
Descriptor listening();
std::uint16_t portOf(const Descriptor& listening);

Descriptor accepted(const Descriptor& listening);
Descriptor connected(std::uint16_t port);

void sendAll(const Descriptor& socket, std::string_view bytes);

/// Reads once and returns the number of bytes; 0 at the end of the connection.
std::size_t readSome(const Descriptor& socket, std::span<char> to);

} // namespace Loopback

} // namespace korvane
