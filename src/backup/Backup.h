#pragma once

#include "backup/PropertyList.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace korvane {

/// What a backup says about itself, readable without a password. A backup is a folder with
/// "Info.plist" (the phone), "Manifest.plist" (whether and how it is encrypted), "Status.plist"
/// (whether it is complete), "Manifest.db" (the list of files) and the files. A plain value.
struct Backup {
    std::filesystem::path folder;
    std::string device; ///< the phone's name; that of the folder if it is not known
    std::optional<std::chrono::sys_seconds> date; ///< when it was made, if it is known
    std::optional<bool> isEncrypted; ///< if it is known
    bool isFinished = false; ///< complete, and it is known whether it is encrypted
    bool hasMessages = false;

    bool operator==(const Backup&) const = default;

    /// True if the folder looks like that of a backup, which need not be complete.
    static bool isAt(const std::filesystem::path& folder);

    /// Reads the three property lists. What cannot be read counts as missing.
    static Backup read(const std::filesystem::path& folder);
};

/// The path of the messages database in the phone's home domain.
inline constexpr const char* messagesPath = "Library/SMS/sms.db";

/// One of the property lists of a backup. Throws BackupError if it is missing or damaged.
PropertyList readList(const std::filesystem::path& folder, const std::string& name);

} // namespace korvane
