#pragma once

#include "backup/IndexRecord.h"
#include "messages/Sqlite.h"

#include <optional>
#include <string>

namespace korvane {

/// A file of the phone, as the backup has it.
struct IndexEntry {
    std::string path; ///< on the phone, without the domain
    std::string id; ///< the file's name in the backup, see fileID()
    IndexRecord record;
};

/// The domain of the files that belong to the phone's user.
inline constexpr const char* homeDomain = "HomeDomain";

/// The name that a file of the home domain has in every backup: SHA-1 of the domain, "-" and the
/// path, in 40 lower-case hexadecimal digits.
std::string fileID(const std::string& path);

/// The backup's list of files, from a copy of "Manifest.db" that is not encrypted. Used by one
/// thread at a time.
class BackupIndex {
public:
    /// Opens the copy. SQLite may create files next to it. Throws BackupError.
    explicit BackupIndex(const std::string& database);

    /// The file with this path in the home domain; nothing if the backup does not have it. Throws
    /// BackupError if the index is damaged.
    std::optional<IndexEntry> find(const std::string& path);

private:
    Sqlite m_db;
};

} // namespace korvane
