#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace korvane {

/// The records in Kept/, where restarts move old files.
struct KeptRecords {
    std::map<std::string, std::int64_t> byChat{}; ///< how many, by the guid in the records
    std::vector<std::string> errors{}; ///< one line per file that cannot be read
};

/// Counts the complete records in the folder "Kept" of an export folder, also those behind the torn
/// end of another one in the same line. Follows no symbolic links. `onLine` is called for each line
/// and may throw.
KeptRecords keptRecords(
    const std::filesystem::path& exportFolder, const std::function<void()>& onLine);

} // namespace korvane
