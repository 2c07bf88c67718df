#include "backup/OpenedBackup.h"

#include "backup/AddressBook.h"
#include "backup/BackupError.h"
#include "backup/BackupIndex.h"
#include "backup/KeyBag.h"
#include "backup/PrivateFolder.h"
#include "backup/StoredFile.h"
#include "messages/DatabaseFault.h"

#include <numeric>
#include <optional>
#include <vector>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr const char* addressBookPath = "Library/AddressBook/AddressBook.sqlitedb";
constexpr const char* indexCopy = "Manifest.db";
constexpr const char* messagesCopy = "sms.db";
constexpr const char* addressBookCopy = "AddressBook.sqlitedb";

/// A database and its log, if the backup has one.
struct StoredDatabase {
    std::string copy; ///< the name of the copy
    std::vector<StoredFile> files; ///< the database comes first; none if the backup lacks it

    std::int64_t size() const
    {
        return std::accumulate(files.begin(), files.end(), std::int64_t{0},
            [](std::int64_t sum, const StoredFile& file) { return sum + file.size(); });
    }
};

void requireFinished(const Backup& backup)
{
    if (!Backup::isAt(backup.folder))
        throw BackupError("This is not the folder of a phone's backup.");
    for (const char* list : {"Status.plist", "Manifest.plist"})
        readList(backup.folder, list); // says what is wrong with it
    if (!backup.isFinished)
        throw BackupError("The backup is not finished. Complete it, or make it again.");
}

/// The key of the index, by its class. `classAndKey` is "ManifestKey".
Secret indexKey(std::string_view classAndKey, const KeyBag::Keys& keys)
{
    const std::string wrapped = wrappedKeyOf(classAndKey);
    std::uint32_t protectionClass = 0;
    for (const int byte : {3, 2, 1, 0})
        protectionClass
            = protectionClass << 8 | static_cast<std::uint8_t>(classAndKey[std::size_t(byte)]);
    return unwrappedKey(keys, protectionClass, wrapped, indexCopy);
}

KeyBag readKeyBag(const PropertyList& manifest)
{
    const auto bytes = manifest["BackupKeyBag"].data();
    if (!bytes)
        throw BackupError("Manifest.plist of the backup has no key bag. Make the backup again.");
    return KeyBag::parse(*bytes);
}

KeyBag::Keys unlock(const KeyBag& bag, const BackupDialog& dialog)
{
    const Secret password = dialog.password();
    dialog.onDeriving();
    auto keys = bag.unlock(password);
    dialog.onDerived();
    if (!keys)
        throw BackupError("The password of the backup is wrong. Nothing was changed.");
    return *std::move(keys);
}

/// Finds and copies the files of a backup.
class BackupReader {
public:
    BackupReader(const Backup& backup, const BackupDialog& dialog, OpenedBackup::Contacts contacts)
        : m_backup(backup)
        , m_dialog(dialog)
    {
        requireFinished(backup);
        const PropertyList manifest = readList(backup.folder, "Manifest.plist");
        if (backup.isEncrypted.value_or(false))
            m_keys = unlock(readKeyBag(manifest), dialog);
        readIndex(manifest, contacts);
    }

    bool hasAddressBook() const { return !m_addressBook.files.empty(); }

    /// The size of all copies, in bytes.
    std::int64_t size() const { return m_messages.size() + m_addressBook.size(); }

    /// Each copies a database and its log, and returns the path of the copy.
    std::string copyMessages(const PrivateFolder& to) { return copy(m_messages, to); }
    std::string copyAddressBook(const PrivateFolder& to) { return copy(m_addressBook, to); }

private:
    std::string copy(const StoredDatabase& database, const PrivateFolder& folder)
    {
        std::string path = folder.file(database.copy).string();
        const char* suffix = "";
        for (const StoredFile& file : database.files) {
            copy(file, path + suffix);
            suffix = "-wal";
        }
        return path;
    }

    void copy(const StoredFile& file, const fs::path& to)
    {
        file.copyTo(to, [this](std::int64_t done) { m_dialog.onCopying(m_done + done, size()); });
        m_done += file.size();
    }

    /// The copy of the index exists only in this function.
    void readIndex(const PropertyList& manifest, OpenedBackup::Contacts contacts)
    {
        const StoredFile stored = openIndex(manifest);
        const PrivateFolder folder(stored.size(), {indexCopy});
        stored.copyTo(folder.file(indexCopy), [](std::int64_t) {});
        BackupIndex index(folder.file(indexCopy).string());
        m_messages = find(index, messagesPath, messagesCopy);
        if (contacts == OpenedBackup::Contacts::Read)
            m_addressBook = find(index, addressBookPath, addressBookCopy);
        if (m_messages.files.empty())
            throw BackupError("There are no messages in this backup.");
    }

    /// The first systems that encrypted backups with a key bag left the index readable: then there
    /// is no key for it.
    StoredFile openIndex(const PropertyList& manifest) const
    {
        const auto key = manifest["ManifestKey"];
        std::optional<Secret> unwrapped;
        if (m_keys && key)
            unwrapped = indexKey(key.data().value_or(""), *m_keys);
        return StoredFile::openIndex(m_backup.folder, std::move(unwrapped));
    }

    /// An empty log has nothing to read, so the backup need not have a file or a key for it.
    StoredDatabase find(BackupIndex& index, const std::string& path, const char* copy) const
    {
        StoredDatabase database{.copy = copy};
        for (const char* suffix : {"", "-wal"}) {
            const auto entry = index.find(path + suffix);
            const bool isEmptyLog = entry && !database.files.empty() && entry->record.size == 0;
            if (!entry || isEmptyLog)
                break;
            database.files.push_back(
                StoredFile::open(m_backup.folder, *entry, m_keys ? &*m_keys : nullptr));
        }
        return database;
    }

    const Backup& m_backup;
    const BackupDialog& m_dialog;
    std::optional<KeyBag::Keys> m_keys; ///< absent if the backup is not encrypted
    StoredDatabase m_messages;
    StoredDatabase m_addressBook;
    std::int64_t m_done = 0; ///< bytes copied
};

void requireReadable(const std::string& database)
{
    const DatabaseFault fault = findDatabaseFault(database);
    if (fault.cause != DatabaseFault::Cause::Gone)
        throw BackupError("The messages database in the backup cannot be read (" + fault.reason
            + "). The backup is damaged: make it again.");
}

} // namespace

OpenedBackup::OpenedBackup(const Backup& backup, const BackupDialog& dialog, Contacts contacts)
try {
    BackupReader reader(backup, dialog, contacts);
    m_folder = std::make_unique<PrivateFolder>(
        reader.size(), PrivateFolder::Names{messagesCopy, addressBookCopy});
    if (reader.hasAddressBook()) {
        m_contacts.push_back(std::make_unique<AddressBook>(reader.copyAddressBook(*m_folder)));
        m_folder->remove(addressBookCopy);
    }
    m_database = reader.copyMessages(*m_folder);
    requireReadable(m_database);
} catch (const BackupError& error) {
    throw BackupError(backup.folder.string() + ": " + error.what());
}

OpenedBackup::~OpenedBackup() = default;

bool OpenedBackup::isInMemory() const
{
    return m_folder->isInMemory();
}

} // namespace korvane
