#pragma once

#include <filesystem>

namespace korvane {

/// The folders of the program's own files and, by default, of its exports. Stateless; may be called
/// from any thread.
namespace Paths {

/// The program's support folder. Creates it if it does not exist, but does not report a failure to
/// do so. If the environment variable KORVANE_SYNC_HOME is set, it names the folder; an empty value
/// is the current folder. Otherwise it is "KorvaneSync" in the user's folder for application data
/// ($XDG_DATA_HOME on Linux, Application Support on a Mac), after migrateLegacyFolder().
std::filesystem::path support();

/// Copies the files of an earlier version from `from` to `to`, if `to` does not exist yet. Never
/// moves or deletes anything, and reports no errors.
void migrateLegacyFolder(const std::filesystem::path& from, const std::filesystem::path& to);

/// The default export folder: "Quorvish" in the user's cloud documents if that folder exists,
/// otherwise in "Documents". Not created here.
std::filesystem::path defaultFolder();

} // namespace Paths

} // namespace korvane
