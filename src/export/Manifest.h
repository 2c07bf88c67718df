#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// One export file as readers see it. As JSON an object with these fields as its keys.
struct ManifestItem {
    std::string id; ///< the chat's guid
    std::string title; ///< the chat's title, or the file name where it is not known
    std::string file; ///< file name inside the export folder
    std::int64_t size = 0; ///< bytes
    std::int64_t messages = 0; ///< records, as of the last sync that succeeded
    std::string epoch; ///< changes when the file is started from scratch; "0" = not known
    std::optional<std::string> updated; ///< "2024-05-06T07:08:09Z"; not beyond the years 0 to 9999

    bool operator==(const ManifestItem&) const = default;

    /// A compact object, the keys in the order of the fields, "updated" left out when absent.
    std::string toJson() const;

    /// Nothing where `json` is not such an object. Every key but "updated" is required.
    static std::optional<ManifestItem> fromJson(std::string_view json);
};

namespace Exporter {

/// The export files in `folder` that exist for the chats in `guids`, sorted by title as the user's
/// locale sorts (LC_ALL, LC_COLLATE or LANG), without regard to case. Never fails: what
/// is no regular file is left out.
/// May run while a sync runs on another thread.
std::vector<ManifestItem> manifest(
    const std::filesystem::path& folder, const std::set<std::string>& guids);

} // namespace Exporter

} // namespace korvane
