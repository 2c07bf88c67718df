#include "storage/Paths.h"

#include <cstdlib>
#include <string>

namespace korvane {

namespace fs = std::filesystem;

// QStandardPaths and QDir would decode the names: a byte that is not UTF-8 is lost, and another
// folder is used.

namespace {

std::string variable(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

} // namespace

fs::path Paths::home()
{
    const std::string folder = variable("HOME");
    return folder.empty() ? fs::path("/") : fs::path(folder).lexically_normal();
}

/// The XDG base directory rules (0.8) say to ignore a relative path in XDG_DATA_HOME.
fs::path Paths::applicationData()
{
    const fs::path folder = variable("XDG_DATA_HOME");
    return folder.is_absolute() ? folder : home() / ".local/share";
}

} // namespace korvane
