#pragma once

#include "export/Exporter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace korvane {

/// "Kept 1,124 messages of Ann Lee that Messages no longer has: Kept/…". The title and the file
/// name are as they are, so they may contain control characters.
std::string textOf(const KeptFile& file);

/// The same in one line for all files of one run, which must not be none.
std::string textOf(const std::vector<KeptFile>& files);

/// "1 message", "1,124 messages": the number, with commas between thousands, and `thing` in the
/// singular or plural.
std::string countOf(std::int64_t count, const std::string& thing);

} // namespace korvane
