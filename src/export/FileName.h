#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace korvane {

/// The names of export files.
namespace Exporter {

/// `title` as part of a file name. Characters that some file system forbids, and all control and
/// format characters, become "_". Then leading and trailing blanks are removed, and the text is
/// cut to 100 grapheme clusters.
std::string safeFileName(std::string_view title);

/// The name of a new export file: "<safe title> (<chat id>) Korvane Wrapped.jsonl.txt".
std::string exportFileName(std::string_view title, std::int64_t chatID);

/// The name if others have that one already: "<safe title> (<chat id>) <copy> Korvane …".
std::string exportFileName(std::string_view title, std::int64_t chatID, int copy);

/// The same name, shortened to at most 255 bytes, the limit of most file systems. Cuts the title
/// between two grapheme clusters. The id is kept, so no two chats share a name. Exporter::sync()
/// uses this name if the file system rejects the other one as too long.
std::string shortenedFileName(std::string_view title, std::int64_t chatID);

/// Whether a file may be an export file, by the end of its name.
bool isExportFileName(std::string_view name);

/// The path of an export file. Stays inside `folder` even if the name, which comes from the state
/// file, begins with a slash.
std::filesystem::path inFolder(const std::filesystem::path& folder, const std::string& name);

/// The name of an old export file in Kept/: "<safe title> (<chat id>) <epoch>.jsonl.txt", shortened
/// like shortenedFileName() so that ten more bytes fit.
std::string keptFileName(std::string_view title, std::int64_t chatID, std::string_view epoch);

} // namespace Exporter

} // namespace korvane
