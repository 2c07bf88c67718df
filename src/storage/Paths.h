#pragma once

#include <filesystem>
#include <string_view>

namespace korvane {

/// The folder of the program's own files. A plain value: main() determines it once, see
/// Paths::support(), and passes it on; tests use a folder of their own.
class SupportFolder {
public:
    /// If `legacy` is not empty, it names the folder of an earlier version, whose files path()
    /// copies.
    explicit SupportFolder(std::filesystem::path path, std::filesystem::path legacy = {});

    /// The folder. Each call creates it, with its parents, if it does not exist, after
    /// Paths::migrateLegacyFolder(). Reports no errors: whoever then uses a file in it gets one.
    const std::filesystem::path& path() const;

    /// The path of a file in the folder. Creates the folder like path().
    std::filesystem::path file(std::string_view name) const { return path() / name; }

    /// True if the folder exists, or the one of an earlier version from which path() fills it.
    /// Creates nothing.
    bool exists() const;

    bool operator==(const SupportFolder&) const = default;

private:
    std::filesystem::path m_path;
    std::filesystem::path m_legacy;
};

/// The folders of the program's own files and, by default, of its exports. Their names keep the
/// bytes of the environment, which need not be valid UTF-8. Stateless; may be called from any
/// thread as long as none changes the environment.
namespace Paths {

/// The user's support folder. If the environment variable KORVANE_SYNC_HOME is set, it names the
/// folder; a relative path starts at the current folder, and an empty value is the current folder.
/// Otherwise it is "KorvaneSync" in the user's folder for application data ($XDG_DATA_HOME on
/// Linux, Application Support on a Mac), with "QuorvishSync" beside it as the legacy folder.
/// Creates nothing.
SupportFolder support();

/// Copies the files of an earlier version from `from` to `to`, if `to` does not exist yet. Never
/// moves or deletes anything, and reports no errors.
void migrateLegacyFolder(const std::filesystem::path& from, const std::filesystem::path& to);

/// The default export folder: "Quorvish" in the user's cloud documents if that folder exists,
/// otherwise in "Documents". Not created here.
std::filesystem::path defaultFolder();

/// The user's home folder.
std::filesystem::path home();

/// The user's folder for application data.
std::filesystem::path applicationData();

} // namespace Paths

} // namespace korvane
