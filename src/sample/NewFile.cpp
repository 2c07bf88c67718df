#include "sample/NewFile.h"

#include "messages/DBError.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace korvane::sample {

NewFile::NewFile(const std::string& path) : m_path(path)
{
    // "x": look and create in one step, so that no file is overwritten that came in between.
    std::FILE* file = std::fopen(path.c_str(), "wbx");
    if (file) {
        std::fclose(file);
        return;
    }
    const int reason = errno;
    if (reason == EEXIST)
        throw DBError(path + " exists already.");
    throw DBError("Can't write " + path + ": " + std::generic_category().message(reason));
}

NewFile::~NewFile()
{
    std::error_code ignored;
    if (!m_kept)
        std::filesystem::remove(m_path, ignored);
}

} // namespace korvane::sample
