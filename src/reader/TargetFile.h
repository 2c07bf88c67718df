#pragma once

#include "storage/Files.h"

#include <filesystem>
#include <string>
#include <system_error>

namespace korvane {

/// The file that a writer is to make.
namespace TargetFile {

/// Throws std::runtime_error with the file's name if something is there that may not be replaced: a
/// folder, a device, a link, or a file for which `isOwn` is false, and with Files::Existing::Keep
/// any file. `own` says what the writer writes: "a page that \"read --html\" wrote".
void check(const std::filesystem::path& file, Files::Existing existing,
    bool (*isOwn)(const std::filesystem::path& regularFile), const std::string& own);

/// Throws std::runtime_error with the file's name and the reason.
[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& reason);

/// Runs `action` and returns its result. Throws its std::system_error as refuse() does.
template <typename Action>
decltype(auto) concerning(const std::filesystem::path& file, Action action)
try {
    return action();
} catch (const std::system_error& error) {
    refuse(file, error.code().message());
}

} // namespace TargetFile

} // namespace korvane
