#pragma once

#include "export/Exporter.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

struct ExportState;

/// The folder "Kept" inside an export folder: the files that restarts replaced or that a killed
/// export left, as long as they have messages that Messages no longer has.
///
/// A file is moved there under the name
///
///     <safe title> (<chat id>) <epoch>.jsonl.txt.unchecked
///
/// with at most 255 bytes. When the chat's new file is on disk, the two are compared. If every
/// record of the old file is in the new one, the old one is deleted; otherwise it loses
/// ".unchecked" and stays. A run repeats a comparison that an earlier run did not finish. Symbolic
/// links in the place of the folder are not followed. Stateless; used under the SupportLock.
namespace KeptFiles {

inline constexpr std::string_view folderName = "Kept";

/// A name for the current file of a chat, which no file in Kept/ has yet.
std::string freeName(const std::filesystem::path& exportFolder, std::string_view title,
    std::int64_t chatID, const std::string& epoch);

/// Whether a file in Kept/ may be such a file, by the end of its name.
bool isName(std::string_view name);

/// Moves a file to Kept/, which is created if needed. Throws std::runtime_error with a text for the
/// user.
void keep(
    const std::filesystem::path& exportFolder, const std::string& file, const std::string& keptAs);

/// Moves a file back to its place, where it replaces a newer one. Does nothing if Kept/ does not
/// have it. Throws std::system_error.
void putBack(
    const std::filesystem::path& exportFolder, const std::string& keptAs, const std::string& file);

/// Moves a file to Kept/ that a killed run may have begun, or that the user may have put back
/// since. It is then compared like any other. Does nothing if there is no such file; deletes it if
/// it is empty. The caller flushes both folders. Throws std::system_error.
void setAside(const std::filesystem::path& exportFolder, const std::string& file);

/// Writes the names in Kept/ to disk. Throws std::system_error.
void flush(const std::filesystem::path& exportFolder);

/// Compares each file that has not been compared yet with the current file of its chat, which
/// `state` names. One whose chat has not been exported since is left for a later run. Returns those
/// that stay. Adds failures to `errors`.
std::vector<KeptFile> compare(const std::filesystem::path& exportFolder, const ExportState& state,
    std::vector<std::string>& errors);

} // namespace KeptFiles

} // namespace korvane
