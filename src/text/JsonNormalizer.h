#pragma once

#include <string>
#include <string_view>

namespace korvane {

/// Rewrites what JSON (RFC 8259) allows and RapidJSON refuses: numbers beyond a double become a
/// fraction, and the escape of half a surrogate pair becomes bytes that are not valid UTF-8. An
/// integer of 64 bits gets its plain form (100 for 100.0 and 1e2), so that RapidJSON takes it for
/// one; any other number may become another fraction. What is not JSON is not JSON afterwards.
std::string normalizedJson(std::string_view json);

} // namespace korvane
