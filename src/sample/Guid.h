#pragma once

#include <cstdint>
#include <string>

namespace korvane::sample {

/// The guid of the message in this row: worked out, not stored, so that any message can be
/// referred to by its row alone.
std::string messageGuid(std::uint64_t seed, std::int64_t row);

} // namespace korvane::sample
