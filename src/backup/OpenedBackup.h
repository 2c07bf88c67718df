#pragma once

#include "backup/Backup.h"
#include "contacts/ContactSource.h"
#include "crypto/Secret.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace korvane {

class PrivateFolder;

/// What a program does while a backup is opened. The functions are called on the thread that opens
/// it, in this order.
struct BackupDialog {
    std::function<Secret()> password; ///< called once, and only if the backup is encrypted
    std::function<void()> onDeriving; ///< deriving the key begins, which takes seconds
    std::function<void()> onDerived; ///< and ends, whether or not the password was right

    /// Bytes of the databases copied so far, and those of all.
    std::function<void(std::int64_t done, std::int64_t total)> onCopying;
};

/// The messages and, if wanted, the contacts of a backup, ready to be read. Copies the messages
/// database and its log, decrypted if necessary, into a private folder, which exists as long as
/// this object. The folder has the database even if the backup is not encrypted: the log has
/// another name in the backup, and SQLite would write next to it. Nothing is ever written into the
/// backup, and of the phone's files only these three are read. Used by one thread. At most one
/// object at a time.
class OpenedBackup {
public:
    enum class Contacts { Read, Ignore };

    /// Throws BackupError, also for a wrong password.
    OpenedBackup(const Backup& backup, const BackupDialog& dialog, Contacts contacts);
    ~OpenedBackup();

    /// The path of the copy.
    const std::string& database() const { return m_database; }

    /// The phone's contacts; none if the backup has no address book, or if they were not wanted.
    const ContactSources& contacts() const { return m_contacts; }

    /// Whether the copy is held in memory, not on disk.
    bool isInMemory() const;

private:
    std::unique_ptr<PrivateFolder> m_folder;
    std::string m_database;
    ContactSources m_contacts;
};

} // namespace korvane
