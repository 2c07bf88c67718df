#pragma once

#include <filesystem>

namespace korvane {

/// Where the program keeps its own files and, unless told otherwise, its exports. Stateless; may
/// be called from any thread.
namespace Paths {

/// The program's support folder, made where it does not exist yet; failing to make it is not
/// reported here. It is the folder that the environment variable KORVANE_SYNC_HOME names,
/// whatever its value; without the variable "KorvaneSync" in the user's folder for
/// application data ($XDG_DATA_HOME on Linux, Application Support on a Mac).
std::filesystem::path support();

/// Copies what an earlier version kept in `from` into `to`, once: only while nothing exists
/// at `to`. Never moves, never deletes, reports nothing.
void migrateLegacyFolder(const std::filesystem::path& from, const std::filesystem::path& to);

/// The export folder of a user who has chosen none: "Quorvish" in the cloud documents where
/// the user has them, otherwise in the documents. Not created here.
std::filesystem::path defaultFolder();

} // namespace Paths

} // namespace korvane
