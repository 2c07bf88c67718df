#include "backup/StoredFile.h"

#include "backup/BackupError.h"
#include "crypto/Decryption.h"
#include "storage/OutputFile.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <vector>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t cipherBlock = CbcDecryption::blockSize;

std::array<fs::path, 2> placesOf(const fs::path& backup, const std::string& id)
{
    return {backup / id.substr(0, 2) / id, backup / id};
}

[[noreturn]] void throwIncomplete(const std::string& name, const std::string& what)
{
    throw BackupError(name + " in the backup " + what + ". The backup is damaged: make it again.");
}

/// Says why FileReader does not open the file, by opening it in the same way.
[[noreturn]] void throwUnreadable(const fs::path& file, const std::string& name)
{
    const Descriptor descriptor(
        ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    const int error = errno;
    if (descriptor || error == ELOOP)
        throwIncomplete(name, "is not a file");
    if (error == ENOENT)
        throwIncomplete(name, "is missing");
    throw BackupError(name + " in the backup cannot be read ("
        + std::generic_category().message(error) + "). Check who may read " + file.string() + '.');
}

FileReader openedReader(const fs::path& file, const std::string& name)
{
    auto reader = FileReader::open(file);
    if (!reader)
        throwUnreadable(file, name);
    return *std::move(reader);
}

/// Also true if its folder may not be searched, so that reading the file says why not.
bool isThere(const fs::path& file)
{
    std::error_code ignored;
    return fs::symlink_status(file, ignored).type() != fs::file_type::not_found;
}

FileReader openedReader(const fs::path& backup, const IndexEntry& entry)
{
    for (const fs::path& place : placesOf(backup, entry.id)) {
        if (isThere(place))
            return openedReader(place, entry.path);
    }
    throwIncomplete(entry.path, "is missing, although its index has it");
}

/// A file that is not encrypted has the size in the index; an encrypted one is that size rounded up
/// to whole blocks, or has a block of padding more.
bool isSizeOf(std::int64_t stored, std::int64_t size, bool isEncrypted)
{
    if (!isEncrypted)
        return stored == size;
    return stored % cipherBlock == 0 && stored >= size && stored - size <= cipherBlock;
}

std::string bytes(std::int64_t count)
{
    return std::to_string(count) + " bytes";
}

} // namespace

StoredFile::StoredFile(std::string name, FileReader reader, std::optional<Secret> key)
    : m_name(std::move(name))
    , m_reader(std::move(reader))
    , m_key(std::move(key))
    , m_size(m_reader.size())
{
}

StoredFile StoredFile::open(
    const fs::path& backup, const IndexEntry& entry, const KeyBag::Keys* keys)
{
    const IndexRecord& record = entry.record;
    if (keys && record.wrappedKey.empty())
        throwIncomplete(entry.path, "has no key in its index");
    std::optional<Secret> key;
    if (keys)
        key = unwrappedKey(*keys, record.protectionClass, record.wrappedKey, entry.path);
    StoredFile file(entry.path, openedReader(backup, entry), std::move(key));
    if (!isSizeOf(file.m_size, record.size, keys != nullptr)) {
        throwIncomplete(entry.path,
            "is truncated or does not belong to its index: it has " + bytes(file.m_size)
                + " for contents of " + bytes(record.size));
    }
    file.m_size = record.size;
    return file;
}

StoredFile StoredFile::openIndex(const fs::path& backup, std::optional<Secret> key)
{
    const std::string name = "Manifest.db";
    StoredFile file(name, openedReader(backup / name, name), std::move(key));
    if (file.m_key && file.m_size % cipherBlock != 0)
        throwIncomplete(name, "is truncated");
    // Without a size in an index: a database is a multiple of 512 bytes, and the rest is padding.
    constexpr std::int64_t smallestPage = 512;
    if (file.m_key)
        file.m_size -= file.m_size % smallestPage;
    return file;
}

std::span<char> StoredFile::read(std::int64_t offset, std::span<char> to) const
{
    const auto count = m_reader.readAt(offset, to);
    if (count.value_or(0) == 0)
        throwIncomplete(m_name, "cannot be read to its end");
    return to.first(*count);
}

void StoredFile::copyTo(const fs::path& to, const Progress& progress) const
try {
    constexpr std::size_t pieceSize = std::size_t(256) << 10; // stays in the processor's cache
    std::vector<char> room(pieceSize);
    std::optional<CbcDecryption> cipher;
    if (m_key)
        cipher.emplace(*m_key);
    OutputFile file(to);
    for (std::int64_t done = 0; done < m_size; progress(done)) {
        const std::span<char> piece = read(done, room);
        if (cipher && !cipher->decryptInPlace(piece))
            throwIncomplete(m_name, "cannot be decrypted");
        const auto wanted = std::min(static_cast<std::int64_t>(piece.size()), m_size - done);
        file.append({piece.data(), static_cast<std::size_t>(wanted)});
        done += wanted;
    }
} catch (const std::system_error& error) {
    throw BackupError("The copy of " + m_name + " cannot be written to " + to.parent_path().string()
        + " (" + error.code().message() + ").");
}

bool hasFile(const fs::path& backup, const std::string& path)
{
    const auto places = placesOf(backup, fileID(path));
    return std::any_of(places.begin(), places.end(), isThere);
}

Secret unwrappedKey(const KeyBag::Keys& keys, std::uint32_t protectionClass,
    const std::string& wrapped, const std::string& name)
{
    const auto classKey = keys.find(protectionClass);
    if (classKey == keys.end()) {
        throwIncomplete(name,
            "is encrypted with the key of class " + std::to_string(protectionClass)
                + ", which its key bag does not give to the password");
    }
    auto key = unwrapKey(classKey->second, wrapped);
    if (!key)
        throwIncomplete(name, "is encrypted with a key that does not belong to the backup");
    return *std::move(key);
}

} // namespace korvane
