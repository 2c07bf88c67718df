#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

class FileReader;

/// Reads the lines of an export file from the last one to the first. A torn end of the file, that
/// is, bytes without a line feed, is left out. Memory is bounded whatever the file holds: the end
/// is also reached at a line of more than 1 MiB. Used by one thread at a time; `file` must outlive
/// this object.
class LinesFromEnd {
public:
    explicit LinesFromEnd(const FileReader& file);

    /// The next line, without its line feed, valid until the next call. Absent at the end.
    std::optional<std::string_view> next();

    /// After the end: whether the lines reach to the beginning of the file. False if a line was too
    /// long or reading failed.
    bool reachedStart() const { return m_offset == 0; }

private:
    std::optional<std::size_t> lastLineFeed(std::size_t tail);
    bool prependBlock();

    const FileReader& m_file;
    std::int64_t m_offset; ///< of m_bytes in the file
    std::string m_bytes; ///< read, and not passed on yet
    std::optional<std::size_t> m_rest; ///< the size of m_bytes without the line passed on last
    std::int64_t m_nextBlock; ///< its size
};

/// Passes lines to `visit`, without their line feeds, until it returns true: the first ones that
/// begin after `offset`, or at it if `offset` is 0. Reads a small block; longer ones only if that
/// ends before the first line does. Lines that do not fit are left out.
void visitLinesAfter(const FileReader& file, std::int64_t offset,
    const std::function<bool(std::string_view line)>& visit);

} // namespace korvane
