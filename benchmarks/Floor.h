#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// Baseline for an export: runs the program's own queries through the bare SQLite API with default
/// settings, reads every column of every row, and uses none of it.
namespace Floor {

/// Queries the chat list and all messages of every chat, and writes `bytes` bytes of zeros
/// to `file`. Returns a checksum of the values, so that the compiler cannot drop the reads.
std::uint64_t exportAll(const std::string& database, std::int64_t bytes, const std::string& file);

/// Opens the database and runs one message query for each pair (chat id, last exported row id).
/// Returns a checksum as above.
std::uint64_t askForNew(
    const std::string& database, const std::vector<std::pair<std::int64_t, std::int64_t>>& chats);

} // namespace Floor

} // namespace korvane
