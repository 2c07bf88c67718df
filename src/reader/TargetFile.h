#pragma once

#include "storage/Files.h"

#include <filesystem>
#include <string>

namespace korvane {

/// The file that a writer is to make.
namespace TargetFile {

/// Throws std::runtime_error with the file's name if something is there that may not be replaced: a
/// folder, a device, a link, or a file for which `isOwn` is false, and with Files::Existing::Keep
/// any file. `own` says what the writer writes: "a page that \"read --html\" wrote".
void check(const std::filesystem::path& file, Files::Existing existing,
    bool (*isOwn)(const std::filesystem::path& regularFile), const std::string& own);

} // namespace TargetFile

} // namespace korvane
