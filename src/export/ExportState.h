#pragma once

#include "storage/Paths.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The version of the record format that this program writes. A chat whose state has another
/// version, or none, is exported from the beginning.
inline constexpr std::int64_t currentFormatVersion = 4;

/// The export state of one chat.
struct ChatState {
    std::int64_t lastRowID = 0; ///< highest row id written to the file; 0 = none yet
    std::string fileName; ///< inside the export folder; does not change once the file exists
    std::optional<std::string> title; ///< the title written into the file's records
    std::optional<std::int64_t> messages; ///< records written in this epoch
    std::optional<std::string> epoch; ///< a UUID, new each time the file is started from scratch
    std::optional<std::int64_t> formatVersion;

    bool operator==(const ChatState&) const = default;

    bool isCurrent() const { return formatVersion == currentFormatVersion; }
};

/// The exporter's state between runs: the file "state.json" in the support folder. Only
/// Exporter::sync() writes the file, and only in a process that holds the SupportLock. Any thread
/// may read it, and so may other processes.
///
/// The file is one compact JSON object in UTF-8, without a line feed at its end:
///
///     {"chats":{"<chat guid>":{"lastRowID":…,"fileName":…,"title":…,"messages":…,"epoch":…,
///      "formatVersion":…},…}}
///
/// The writer omits absent values and writes "/" in strings as "\/". The reader accepts both "/"
/// and "\/", keys in any order, null for an absent value, and integers written as 100, 100.0 or
/// 1e2. It ignores unknown keys and their values. If any record is malformed, the whole file counts
/// as empty: a partial state could not be told from a complete one.
///
/// The file contains titles, phone numbers and addresses, so its mode is 0600.
struct ExportState {
    static constexpr std::string_view fileName = "state.json";

    std::map<std::string, ChatState> chats; ///< by chat guid

    bool operator==(const ExportState&) const = default;

    /// The chat's state in the current format version. Null if there is none: then the chat is
    /// exported from the beginning.
    const ChatState* current(const std::string& guid) const;

    /// Whether the file of another chat than `guid` has this name. Reads all records.
    bool isNameOfAnother(const std::string& guid, const std::string& name) const;

    std::string toJson() const;

    /// Absent if `json` does not have the form above.
    static std::optional<ExportState> fromJson(std::string_view json);

    /// The state on disk. Empty if the file is missing, unreadable or malformed.
    static ExportState load(const SupportFolder& support);
};

namespace Exporter {

/// Atomically replaces the state on disk by a file with mode 0600. Returns false on failure: then
/// the old state stays, and the next run continues from it. The support folder is not flushed, so a
/// power cut can still bring the old state back.
bool saveState(const ExportState& state, const SupportFolder& support);

} // namespace Exporter

} // namespace korvane
