#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The version of the record format that this program writes. A chat recorded with another one,
/// or with none, is exported anew.
inline constexpr std::int64_t currentFormatVersion = 4;

/// What the exporter remembers of one chat.
struct ChatState {
    std::int64_t lastRowID = 0; ///< highest row id written to the file; 0 = nothing yet
    std::string fileName; ///< inside the export folder; fixed once the file exists
    std::optional<std::string> title; ///< under which the file's contents were written
    std::optional<std::int64_t> messages; ///< records written since the epoch began
    std::optional<std::string> epoch; ///< a UUID, new each time the file is started from scratch
    std::optional<std::int64_t> formatVersion;

    bool operator==(const ChatState&) const = default;
};

/// What the exporter remembers between its runs: the file "state.json" in the support folder.
///
/// The file is one compact JSON object in UTF-8, without a line feed at its end:
///
///     {"chats":{"<chat guid>":{"lastRowID":…,"fileName":…,"title":…,"messages":…,"epoch":…,
///      "formatVersion":…},…}}
///
/// A value that is absent is left out, never null. "/" in texts is written as "\/"; reading takes
/// both. Reading takes the keys in any order, ignores those it does not know, whatever their
/// values, and is all or nothing: a file in which any record is malformed counts as empty, for a
/// half-read memory would pass for a whole one. Integers count in any form, as 100, 100.0 or 1e2.
///
/// The file holds titles, numbers and addresses, so only its owner may read or write it (0600).
struct ExportState {
    std::map<std::string, ChatState> chats; ///< by chat guid

    bool operator==(const ExportState&) const = default;

    std::string toJson() const;

    /// Nothing where `json` is not of the form above.
    static std::optional<ExportState> fromJson(std::string_view json);

    /// The state on disk; an empty one where the file is missing or unreadable.
    static ExportState load();
};

namespace Exporter {

/// Replaces the state on disk in one step, by a file for its owner alone. A failure is not
/// reported: the old state stays, and the next run starts from there.
void saveState(const ExportState& state);

} // namespace Exporter

} // namespace korvane
