#pragma once

#include "contacts/ContactSource.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace korvane {

struct LoadedNames;

/// Maps phone numbers and e-mail addresses to the names of the user's contacts. A plain value,
/// built once by load() and not changed afterwards.
struct ContactNames {
    /// From normalised handle to display name. Empty if no contacts are available.
    std::unordered_map<std::string, std::string> map;

    /// Reads all `sources` in order. A later contact replaces an earlier one with the same key. If
    /// a source does not answer, the contacts read until then are kept, and the others are read.
    /// Blocks while it reads, so the window calls it on a worker thread.
    static LoadedNames load(const ContactSources& sources);

    /// The same with platformContactSources().
    static LoadedNames load(const AccessPrompt& prompt = {});

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

/// Names, and whether they are all. An export with the names of an Unanswered reading would rename
/// the chats whose names are not among them.
struct LoadedNames {
    ContactNames names{};
    ContactReading reading{};
    std::size_t contacts = 0; ///< visited, including those without a name

    bool isUnanswered() const { return reading.outcome == ContactOutcome::Unanswered; }

    bool operator==(const LoadedNames&) const = default;
};

} // namespace korvane
