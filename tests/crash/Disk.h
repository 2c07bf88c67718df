#pragma once

#include "crash/Tree.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace korvane {

/// One line of the log that the preloaded library writes.
struct DiskChange {
    std::int64_t number = 0;
    std::string kind;
    std::vector<std::string> arguments;

    /// Whether the process can be killed in the middle of it.
    bool canBeTorn() const { return kind == "write"; }

    /// Whether it fails if the disk is full.
    bool needsSpace() const { return kind == "write" || kind == "create" || kind == "mkdir"; }

    /// The path or inode that it changes, for messages.
    std::string subject() const;
};

/// Reads a log. Incomplete last lines are left out.
std::vector<DiskChange> changesIn(const std::filesystem::path& log);

/// What a power cut leaves of the changes that were not synced.
struct Survivors {
    enum class Choice { Nothing, Everything, Random };

    Choice choice = Choice::Nothing;
    std::uint32_t seed = 0; ///< for Random
};

/// A model of a few folders on a disk: what they contain, and what of that a power cut can undo.
/// It assumes this:
///
/// - Before the first change, everything is on the disk.
/// - fsync() or fdatasync() of a file makes all its bytes durable, and nothing else: not its name.
///   syncfs() makes everything durable. sync_file_range() makes nothing durable.
/// - A new, changed or removed name becomes durable when its folder is synced; a rename between two
///   folders, when both have been. Until then, a rename happened completely or not at all.
/// - Of the changes of names in one folder that are not durable, the first ones survive: as ext4,
///   XFS, Btrfs and APFS do, it keeps their order. Different folders may be on different file
///   systems, and have no order.
/// - Of the bytes that are not durable, each block of 512 bytes has its old or its new contents.
/// The
///   size is the old one or that after any of the changes. A block that did not exist before is
///   then full of zeros or has its new contents.
class Disk {
public:
    /// The present contents of `folders`.
    explicit Disk(const std::vector<std::filesystem::path>& folders);

    void apply(const std::vector<DiskChange>& changes);

    /// Everything, as a running system sees it.
    Tree contents() const;

    /// What is there after a power cut.
    Tree afterPowerCut(const Survivors& survivors) const;

private:
    using ObjectIndex = std::size_t;

    struct Object {
        bool isFolder = false;
        std::string bytes; ///< as a running system sees them
        std::string durable; ///< as of the last sync
        std::vector<std::size_t> sizes; ///< after each change since
    };

    /// A change of names: `object` leaves `from` and gets the name `to`. Either may be empty.
    struct NameChange {
        std::string from;
        std::string to;
        ObjectIndex object = 0;
        bool fromIsDurable = false;
        bool toIsDurable = false;
    };

    using Names = std::map<std::string, ObjectIndex>;

    void apply(const DiskChange& change);
    void create(const DiskChange& change, bool isFolder);
    void write(const DiskChange& change);
    void sync(Object& object);
    void syncNamesIn(ObjectIndex folder);
    void syncEverything();
    void rename(const std::string& from, const std::string& to);
    void changeName(NameChange change);
    std::string pathOf(ObjectIndex folder) const;
    Names survivingNames(const Survivors& survivors, std::mt19937& random) const;

    std::map<std::string, ObjectIndex> m_inodes;
    std::vector<Object> m_objects;
    Names m_names; ///< as a running system sees them
    Names m_namesBefore; ///< before the first of m_nameChanges
    std::vector<NameChange> m_nameChanges;
};

} // namespace korvane
