#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace korvane {

class ContactSource;

/// Maps phone numbers and e-mail addresses to the names of the user's contacts. A plain value,
/// built once by load() or loadChosen() and not changed afterwards.
struct ContactNames {
    /// From normalised handle to display name. Empty if no contacts are available.
    std::unordered_map<std::string, std::string> map;

    /// Reads all `sources` in order. A later contact replaces an earlier one with the same key.
    /// Does not throw when a source fails: the contacts read until then are kept. Blocks while it
    /// reads, so the window calls it on a worker thread.
    static ContactNames load(const std::vector<std::unique_ptr<ContactSource>>& sources);

    /// The same with platformContactSources().
    static ContactNames load();

    /// Reads one source that the user named. Absent if it yields no contact at all: then its path
    /// is probably wrong or unreadable, and an export without names would rename every chat.
    static std::optional<ContactNames> loadChosen(const ContactSource& source);

    /// The name for `handle`, or the handle itself if there is none.
    std::string name(std::string_view handle) const;

    /// The name for `handle`, or null. The pointer is valid as long as the map is unchanged.
    const std::string* find(std::string_view handle) const;

    /// The key of a handle. Two handles are the same if their keys are equal.
    ///
    /// When are two phone numbers the same? When their last ten numeric characters are, of any
    /// script, as in +1 (555) 123-4567 and 555-123-4567. All other characters are ignored, and so
    /// is the country code. A handle with an "@" is an e-mail address: its key is the address in
    /// lower case.
    static std::string normalize(std::string_view handle);

    bool operator==(const ContactNames&) const = default;
};

} // namespace korvane
