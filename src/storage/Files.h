#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace korvane {

/// Whole-file reads and writes over POSIX calls. Stateless. Failures are thrown as
/// std::system_error whose code carries the system's own text. "On disk" means after fsync(); on a
/// file system that does not support fsync(), the bytes are written but may still be in its cache.
namespace Files {

/// The bytes of a regular file; nothing where it cannot be read. Follows links, and does not wait
/// for a pipe that stands in the file's place.
std::optional<std::string> read(const std::filesystem::path& file);

/// Writes `pieces` one after the other behind the end of `file`, which is created where it
/// does not exist. They are on disk before it returns, so that what is written afterwards may
/// take them for granted. On failure some of the bytes may have been written.
void append(const std::filesystem::path& file, std::span<const std::string_view> pieces);

/// Who may read and write a new file: what the user's umask leaves, or the owner alone.
enum class Access { AsUsual, OwnerOnly };

/// Makes `bytes` the contents of `file` in one step, on disk before it returns: readers and a
/// machine that stops see the old contents or the new ones. At no time does a file that is for
/// its owner alone stand open to others.
void writeAtomically(
    const std::filesystem::path& file, std::string_view bytes, Access access = Access::AsUsual);

/// What becomes of a file that has the name already.
enum class Existing { Replace, Keep };

/// Makes a new file of `bytes` for the user, readable by him alone, whole or not at all; until then
/// it has a name of its own beside `file`. Where `file` exists and is to be kept, the failure is
/// std::errc::file_exists.
void writeWhole(const std::filesystem::path& file, std::string_view bytes, Existing existing);

} // namespace Files

} // namespace korvane
