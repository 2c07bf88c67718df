#include "storage/Paths.h"

#include <QDir>
#include <QStandardPaths>

#include <cstdlib>
#include <string>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

// This file ignores errors on purpose: the code that later reads or writes a file in the support
// folder fails as well, and reports it.

namespace {

fs::path nativePath(const QString& path)
{
    return path.toStdString();
}

fs::path absoluteFolder(const std::string& path)
{
    std::error_code failure;
    const fs::path here = fs::current_path(failure);
    return path.empty() ? here : here / path; // operator/ returns an absolute `path` unchanged
}

fs::path applicationSupport()
{
    return nativePath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
}

} // namespace

fs::path Paths::support()
{
    std::error_code failure;
    fs::path folder;
    if (const char* home = std::getenv("KORVANE_SYNC_HOME")) {
        folder = absoluteFolder(home);
    } else {
        const fs::path base = applicationSupport();
        folder = base / "KorvaneSync";
        migrateLegacyFolder(base / "QuorvishSync", folder);
    }
    fs::create_directories(folder, failure);
    return folder;
}

void Paths::migrateLegacyFolder(const fs::path& from, const fs::path& to)
{
    std::error_code failure;
    if (fs::exists(to, failure) || !fs::exists(from, failure))
        return;
    fs::create_directories(to, failure);
    std::error_code listing;
    for (fs::directory_iterator item(from, listing), end; !listing && item != end;
         item.increment(listing)) {
        std::error_code copying; // an item that cannot be copied is skipped
        fs::copy(item->path(), to / item->path().filename(),
            fs::copy_options::recursive | fs::copy_options::copy_symlinks, copying);
    }
}

fs::path Paths::defaultFolder()
{
    const fs::path home = nativePath(QDir::homePath());
    const fs::path cloud = home / "Library/Mobile Documents/com~apple~CloudDocs";
    std::error_code failure;
    return (fs::exists(cloud, failure) ? cloud : home / "Documents") / "Quorvish";
}

} // namespace korvane
