#pragma once

#include "backup/BackupIndex.h"
#include "backup/KeyBag.h"
#include "crypto/Secret.h"
#include "storage/FileReader.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace korvane {

/// A file in the folder of a backup, to be copied out of it. Used by one thread at a time.
class StoredFile {
public:
    /// The number of bytes copied so far.
    using Progress = std::function<void(std::int64_t done)>;

    /// The file of an index entry, in either layout: named by its id in the folder itself, or in a
    /// folder named by the id's first two digits. `keys` are those of an encrypted backup. Throws
    /// BackupError if the file or its key is missing, or if its size is not the one in the index.
    static StoredFile open(
        const std::filesystem::path& backup, const IndexEntry& entry, const KeyBag::Keys* keys);

    /// The index itself, `key` being that of an encrypted one. Throws BackupError.
    static StoredFile openIndex(const std::filesystem::path& backup, std::optional<Secret> key);

    /// The size of the copy, in bytes.
    std::int64_t size() const { return m_size; }

    /// Writes the contents, decrypted if they are encrypted, to the end of the file `to`. Needs
    /// less than 1 MiB of memory. Throws BackupError.
    void copyTo(const std::filesystem::path& to, const Progress& progress) const;

private:
    StoredFile(std::string name, FileReader reader, std::optional<Secret> key);
    std::span<char> read(std::int64_t offset, std::span<char> to) const;

    std::string m_name; ///< for error texts
    FileReader m_reader;
    std::optional<Secret> m_key; ///< absent if the file is not encrypted
    std::int64_t m_size;
};

/// True if the folder of a backup has the home domain's file with this path. Opens nothing.
bool hasFile(const std::filesystem::path& backup, const std::string& path);

/// The key that unlocks a wrapped one. Throws BackupError if the class has none, or a different
/// one. `name` is the file's, for the text.
Secret unwrappedKey(const KeyBag::Keys& keys, std::uint32_t protectionClass,
    const std::string& wrapped, const std::string& name);

} // namespace korvane
