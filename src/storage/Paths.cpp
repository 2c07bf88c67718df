#include "storage/Paths.h"

#include <cstdlib>
#include <string>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

// This file ignores errors on purpose: the code that later reads or writes a file in the support
// folder fails as well, and reports it.

namespace {

fs::path absoluteFolder(const std::string& path)
{
    std::error_code failure;
    const fs::path here = fs::current_path(failure);
    return path.empty() ? here : here / path; // operator/ returns an absolute `path` unchanged
}

} // namespace

SupportFolder::SupportFolder(fs::path path, fs::path legacy)
    : m_path(std::move(path))
    , m_legacy(std::move(legacy))
{
}

const fs::path& SupportFolder::path() const
{
    if (!m_legacy.empty())
        Paths::migrateLegacyFolder(m_legacy, m_path);
    std::error_code failure;
    fs::create_directories(m_path, failure);
    return m_path;
}

bool SupportFolder::exists() const
{
    std::error_code failure;
    return fs::exists(m_path, failure) || (!m_legacy.empty() && fs::exists(m_legacy, failure));
}

SupportFolder Paths::support()
{
    if (const char* folder = std::getenv("KORVANE_SYNC_HOME"))
        return SupportFolder(absoluteFolder(folder));
    const fs::path data = applicationData();
    return SupportFolder(data / "KorvaneSync", data / "QuorvishSync");
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
    const fs::path cloud = home() / "Library/Mobile Documents/com~apple~CloudDocs";
    std::error_code failure;
    return (fs::exists(cloud, failure) ? cloud : home() / "Documents") / "Quorvish";
}

} // namespace korvane
