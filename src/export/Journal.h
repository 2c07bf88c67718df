#pragma once

#include "storage/Paths.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// What a sync may do to the file of one chat: enough to undo it.
struct FileChange {
    std::string file; ///< its name in the export folder
    std::optional<std::uintmax_t> size; ///< bytes before; absent: there is no such file
    std::string keptAs; ///< its new name in Kept/, if it is moved there; otherwise ""

    bool operator==(const FileChange&) const = default;
};

/// A rollback journal: the file "export.journal" in the support folder. Before a group of chats'
/// files changes, it records how to undo that. When the files and then the state are on disk, it
/// is removed. So a run that finds one knows that the last run was killed: if the state file is
/// still the old one, the files are restored to what that state describes; otherwise the group was
/// complete.
///
/// The file has mode 0600 and is UTF-8 text of lines, each a JSON object or string:
///
///     {"state":"<SHA-256 of state.json in hexadecimal; of nothing if it is missing>",
///      "folder":"<absolute path of the export folder, its bytes in base64url>"}    (one line)
///     {"file":"Ann (7) ….jsonl.txt","size":8120}          appended to
///     {"file":"Bo (8) ….jsonl.txt"}                       new
///     {"file":"Cy (9) ….jsonl.txt","size":99,"keptAs":"Cy (9) ….unchecked"}  moved and begun anew
///     "<SHA-256 of the lines above>"
///
/// recover() does not delete a new file: the user may have put it back since the run was killed. It
/// moves the file to Kept/, and the run that follows compares it with the one that it writes.
///
/// No file of the group changes before the whole journal is on disk. So a journal without the right
/// last line, which a power cut leaves, has nothing to undo.
///
/// This relies on a file system that keeps the order of renames and creations in a folder. Used
/// under the SupportLock, by one thread at a time. Throws std::system_error.
class Journal {
public:
    /// `folder` is the export folder.
    Journal(std::filesystem::path folder, const SupportFolder& support);

    /// Starts a group: writes the journal to disk. `changes` may name files that then stay as they
    /// are.
    void write(const std::vector<FileChange>& changes) const;

    /// Ends the group. The files must be on disk and the state saved, or the files undone.
    void remove() const;

    /// Undoes one change that this process made, whether completely, partly or not. The old file is
    /// on disk when it returns. A new file is deleted.
    void undo(const FileChange& change) const;

    /// Whether there is a journal: the last run was killed, and the next one undoes what it left.
    static bool isPending(const SupportFolder& support);

    /// Thrown by recover(). The text says what the user can do.
    struct CannotRecover : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    /// Undoes what a killed run left, if there is a journal. Throws CannotRecover if that fails.
    static void recover(const SupportFolder& support);

private:
    void undoAll(const std::vector<FileChange>& changes) const;
    void restore(const FileChange& change) const;

    /// Undoes a change of a killed run.
    void undoLater(const FileChange& change) const;

    /// Whether the file was last written long before the journal, so not by the killed run: perhaps
    /// the user has put back a copy. The export folder may be on a machine with another clock.
    bool isOlder(const FileChange& change) const;

    std::filesystem::path m_folder;
    std::filesystem::path m_file;
    std::filesystem::path m_state;
};

} // namespace korvane
