#pragma once

#include "contacts/ContactSource.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace korvane {

using ContactSources = std::vector<std::unique_ptr<ContactSource>>;

/// The names that the user's contacts give to phone numbers and e-mail addresses. A plain value,
/// built once by load() and not changed afterwards.
struct ContactNames {
    /// From normalised handle to display name; empty where no contacts are to be had.
    std::unordered_map<std::string, std::string> map;

    /// Reads all `sources`, in their order; a later contact takes a key over from an earlier one.
    /// Never throws: a source that fails half-way counts as far as it came. Blocks while it
    /// reads, so it is called off the main thread.
    static ContactNames load(const ContactSources& sources);

    /// The same for the places where this system keeps contacts.
    static ContactNames load();

    /// Reads one source that the user named. Nothing where it has not a single contact: its path is
    /// wrong then, or closed to this user, and no chat must lose its name for that.
    static std::optional<ContactNames> loadChosen(const ContactSource& source);

    /// The name for `handle`, or the handle itself.
    std::string name(std::string_view handle) const;

    /// The name for `handle`, or nothing. The pointer lives as long as the map.
    const std::string* find(std::string_view handle) const;

    /// The key of a handle: an e-mail address (whatever holds an "@") in lower case; otherwise
    /// its last ten numeric characters of any script, so that +1 (555) 123-4567 and 555-123-4567
    /// meet.
    static std::string normalize(std::string_view handle);

    bool operator==(const ContactNames&) const = default;
};

/// Where this system keeps contacts, in the order in which they are read: the user's own store,
/// then folders of card files. The store is given up where it does not answer, in less than three
/// seconds from the beginning of the reading; files are read for as long as that takes.
ContactSources platformContactSources();

} // namespace korvane
