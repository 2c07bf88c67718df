#pragma once

#include <cstdint>

namespace korvane {

/// How the records in a chat's file compare with those that the database has. Only the counts of
/// the second group are faults. Of several records with one id, the first is compared, and each
/// further one is only counted as doubled.
struct RecordCounts {
    std::int64_t records = 0; ///< complete records in the file
    std::int64_t fresh = 0; ///< in the database, after the last exported row: "new" in the output
    std::int64_t renamed = 0; ///< only the name of the sender or the chat differs
    std::int64_t gone = 0; ///< no longer in the database

    std::int64_t missing = 0; ///< exported or skipped earlier, but not in the file
    std::int64_t doubled = 0; ///< further records with an id that already occurred
    std::int64_t torn = 0; ///< lines that are not complete records
    std::int64_t changed = 0; ///< differ from the database
    std::int64_t foreign = 0; ///< belong to another message in this database

    bool operator==(const RecordCounts&) const = default;

    bool areIntact() const { return missing + doubled + torn + changed + foreign == 0; }
};

} // namespace korvane
