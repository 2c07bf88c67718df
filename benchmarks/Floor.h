#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// The least that an export can do, in bare calls of SQLite as it comes: the program's own
/// queries, every column of every row read, nothing made of it.
namespace Floor {

/// Queries the chat list and all messages of every chat, and writes `bytes` bytes of zeros to
/// `file`. Returns a checksum of what was read, so that nothing is left out.
std::uint64_t exportAll(const std::string& database, std::int64_t bytes, const std::string& file);

/// Opens the database and runs one message query for each (chat, after row id).
std::uint64_t askForNew(
    const std::string& database, const std::vector<std::pair<std::int64_t, std::int64_t>>& chats);

} // namespace Floor

} // namespace korvane
