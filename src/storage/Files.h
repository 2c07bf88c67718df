#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

class Descriptor;

/// Whole-file reads and writes over POSIX calls. Stateless. Writing throws std::system_error with
/// the system's error code. "On disk" means after fsync(); on a file system that does not support
/// fsync(), the bytes are written but may still be in its cache.
namespace Files {

/// The bytes of a regular file. Nothing if it cannot be read or is not a regular file; does not
/// block if it is a pipe. Follows symbolic links.
std::optional<std::string> read(const std::filesystem::path& file);

/// Waits until what was written to `file` is on disk. If `file` is a folder, that is its list of
/// names: files that were created, renamed or removed in it.
void flush(const std::filesystem::path& file);
void flush(const Descriptor& file);

/// The same for everything on the file system that contains `folder`, at once. Returns false if
/// this system cannot do that, or if it failed.
bool flushFileSystem(const std::filesystem::path& folder);

/// Cuts `file` to its first `size` bytes. Returns false, and does nothing, if it is not longer.
bool shorten(const std::filesystem::path& file, std::uintmax_t size);

/// Permissions of a new file: 0666 less the user's umask, or 0600.
enum class Access { AsUsual, OwnerOnly };

/// Replaces the contents of `file` in one step: writes "<file>.new", flushes it to disk and renames
/// it. Readers see the old contents or the new ones, and so does the next start after a crash; the
/// folder is not flushed, so a power cut can undo the rename: see flush(). An OwnerOnly file is
/// never accessible to others, not even while it is being written.
void writeAtomically(
    const std::filesystem::path& file, std::string_view bytes, Access access = Access::AsUsual);

/// What to do with a file that already has the name.
enum class Existing { Replace, Keep };

/// Writes `bytes` to a new file with mode 0600, whole or not at all: the file has a temporary name
/// beside `file` until it is complete. With Existing::Keep, throws std::errc::file_exists if `file`
/// exists.
void writeWhole(const std::filesystem::path& file, std::string_view bytes, Existing existing);

} // namespace Files

} // namespace korvane
