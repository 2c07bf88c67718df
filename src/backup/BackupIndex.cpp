#include "backup/BackupIndex.h"

#include "backup/BackupError.h"

#include <QByteArray>
#include <QCryptographicHash>

namespace korvane {

namespace {

[[noreturn]] void throwDamaged(const DBError& error)
{
    throw BackupError("The index of the backup, Manifest.db, is damaged (" + error.message
        + "). Make the backup again.");
}

Sqlite opened(const std::string& database)
try {
    return Sqlite::openReadOnly(database);
} catch (const DBError& error) {
    throwDamaged(error);
}

} // namespace

std::string fileID(const std::string& path)
{
    const QByteArray name = QByteArray::fromStdString(homeDomain + ('-' + path));
    return QCryptographicHash::hash(name, QCryptographicHash::Sha1).toHex().toStdString();
}

BackupIndex::BackupIndex(const std::string& database) : m_db(opened(database)) { }

std::optional<IndexEntry> BackupIndex::find(const std::string& path)
try {
    const std::string id = fileID(path);
    Sqlite::Statement rows(m_db, "SELECT file FROM Files WHERE fileID = ?1");
    rows.bindText(1, id);
    if (!rows.step())
        return std::nullopt;
    return IndexEntry{path, id, IndexRecord::parse(rows.blob(0).value_or(""))};
} catch (const DBError& error) {
    throwDamaged(error);
}

} // namespace korvane
