#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace korvane {

/// One export file.
struct ArchiveFile {
    std::filesystem::path path;
    std::int64_t size = 0; ///< bytes, when it was found
    bool isKept
        = false; ///< fills gaps of a current file: it is in Kept/, or a second file argument

    bool operator==(const ArchiveFile&) const = default;
};

/// A chat of an archive, as its files describe it.
struct ArchivedChat {
    std::string guid; ///< "" if no file has a complete record
    std::string title; ///< in the last record of the first file; a file name if there is none
    std::string number; ///< the chat id in the name of the first file, in decimal; "" if none
    /// The current one first, then those in Kept/, the newest first: an earlier one of these may
    /// have an older text of the same message. If several are not in Kept/, the current one is the
    /// one that was changed last.
    std::vector<ArchiveFile> files{};

    bool operator==(const ArchivedChat&) const = default;

    /// Bytes of all files.
    std::int64_t size() const;
};

/// The chats of an export folder, or of files from anywhere. It is read from the files alone: there
/// need be no state and no database. Finding them takes the first and the last record of each file;
/// their other records are read by Conversation. A plain value.
struct Archive {
    std::vector<ArchivedChat> chats{}; ///< sorted by title
    std::vector<std::string> errors{}; ///< one line for each thing that could not be read

    bool operator==(const Archive&) const = default;

    /// The export files in `folder` and in its folder Kept. Other files are ignored; export files
    /// that cannot be read add an error.
    static Archive inFolder(const std::filesystem::path& folder);

    /// These files, whatever their names. Several of one chat become one chat, whose current file
    /// is one that has the name of such a file, if there is one, and otherwise the first. One
    /// without a record adds an error, unless it is empty, as that of a chat without messages can
    /// be.
    static Archive ofFiles(const std::vector<std::filesystem::path>& files);
};

/// Indexes in Archive::chats of the chats that a user's word can mean: those whose guid or number
/// is `word`. If there are none: those of which another file has this number; then those
/// whose title is `word`, and otherwise those whose title has it as a part, without regard to case,
/// accents and the shape of quotation marks.
std::vector<std::size_t> findChats(const Archive& archive, const std::string& word);

} // namespace korvane
