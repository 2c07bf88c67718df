#pragma once

#include <span>

namespace korvane::sample {

/// The statements that make the tables, with those unique constraints that cost nothing while
/// rows come in.
const char* tablesSql();

/// The statements that make the indexes, one each. They are far quicker made over complete
/// tables, so the unique guid of a message is one of them.
std::span<const char* const> indexesSql();

} // namespace korvane::sample
