#pragma once

#include "storage/Paths.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// One export file as readers see it. In JSON, a compact object whose keys are these fields;
/// "updated" is omitted if absent.
struct ManifestItem {
    std::string id; ///< the chat's guid
    std::string title; ///< the chat's title; the file name if the title is unknown
    std::string file; ///< file name inside the export folder
    std::int64_t size = 0; ///< bytes
    std::int64_t messages = 0; ///< records, as of the last saved state
    std::string epoch; ///< changes when the file is started from scratch; "0" = unknown
    std::optional<std::string> updated; ///< "2024-05-06T07:08:09Z"; absent outside years 0 to 9999

    bool operator==(const ManifestItem&) const = default;

    /// Fields: the keys in the order of the fields, "/" as it is; only tests use it. Sent: the keys
    /// in alphabetical order, "/" escaped, as the server sends it to the phone.
    enum class Form { Fields, Sent };

    std::string toJson(Form form = Form::Fields) const;

    /// Absent if `json` is not such an object, in any order of keys. Every key except "updated" is
    /// required. Required by the interface; only tests call it.
    static std::optional<ManifestItem> fromJson(std::string_view json);
};

namespace Exporter {

/// The export files in `folder` of the chats in `guids`, sorted by title, case-insensitively, in
/// the user's locale (LC_ALL, LC_COLLATE or LANG). Leaves out whatever is missing or is not a
/// regular file; reports no errors. Safe to call while a sync runs on another thread.
std::vector<ManifestItem> manifest(const std::filesystem::path& folder,
    const std::set<std::string>& guids, const SupportFolder& support);

} // namespace Exporter

} // namespace korvane
