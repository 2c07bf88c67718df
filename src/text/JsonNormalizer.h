#pragma once

#include <string>
#include <string_view>

namespace korvane {

/// Rewrites what JSON (RFC 8259) allows but RapidJSON rejects: numbers beyond the range of a double
/// become a fraction, and escapes of lone surrogates become bytes that are not valid UTF-8. 64-bit
/// integers get their plain form (100 for 100.0 and 1e2), so that RapidJSON reads them as integers.
/// Any other number may become another fraction. Invalid JSON stays invalid.
std::string normalizedJson(std::string_view json);

} // namespace korvane
