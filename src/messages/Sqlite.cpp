#include "messages/Sqlite.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace korvane {

void Sqlite::Closer::operator()(sqlite3* db) const
{
    sqlite3_close(db);
}

namespace {

/// Keeps SQLite from reading a path that starts with "file:" as a URI, as a library built with
/// SQLITE_USE_URI does.
std::string plainPath(const std::string& path)
{
    return path.starts_with("file:") ? "./" + path : path;
}

} // namespace

Sqlite::Sqlite(const std::string& path, int flags)
{
    sqlite3* db = nullptr;
    const int code = sqlite3_open_v2(plainPath(path).c_str(), &db, flags, nullptr);
    m_db.reset(db);
    if (code != SQLITE_OK)
        throw DBError(db ? sqlite3_errmsg(db) : sqlite3_errstr(code));
}

Sqlite Sqlite::openReadOnly(const std::string& path)
{
    return {path, SQLITE_OPEN_READONLY};
}

namespace {

using Kind = Sqlite::Failure::Kind;

Kind kindOfOpening(int systemError)
{
    if (systemError == EPERM || systemError == EACCES)
        return Kind::Denied;
    return systemError == ENOENT || systemError == ENOTDIR ? Kind::Missing : Kind::Other;
}

/// The system may let SQLite open the database and refuse the first read. If SQLite then cannot
/// open a file, EPERM concerns the database itself, and EACCES a file beside it.
Kind kindOfReading(int code, int systemError)
{
    switch (code & 0xff) { // the primary result code
    case SQLITE_AUTH:
    case SQLITE_PERM:
        return Kind::Denied;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return Kind::Locked;
    case SQLITE_NOTADB:
        return Kind::NotADatabase;
    case SQLITE_CORRUPT:
        return Kind::Damaged;
    case SQLITE_CANTOPEN:
        return systemError == EPERM ? Kind::Denied : Kind::LogUnusable;
    case SQLITE_READONLY: // a read-only connection cannot roll back a hot journal in any folder
        return code == SQLITE_READONLY_ROLLBACK ? Kind::Other : Kind::LogUnusable;
    case SQLITE_IOERR:
        return systemError == EPERM || systemError == EACCES ? Kind::Denied : Kind::Other;
    default:
        return Kind::Other;
    }
}

Sqlite::Failure failureOf(sqlite3* db, bool opened)
{
    const int systemError = sqlite3_system_errno(db);
    std::string message = sqlite3_errmsg(db);
    Kind kind = opened ? kindOfReading(sqlite3_extended_errcode(db), systemError)
                       : kindOfOpening(systemError);
    if (message.starts_with("no such table: "))
        kind = Kind::NoSuchTable;
    if (systemError != 0)
        message += " (" + std::generic_category().message(systemError) + ')';
    return {kind, std::move(message)};
}

} // namespace

std::optional<Sqlite::Failure> Sqlite::failureToRead(
    const std::string& path, const std::string& sql)
{
    sqlite3* db = nullptr;
    const bool opened
        = sqlite3_open_v2(plainPath(path).c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK;
    const std::unique_ptr<sqlite3, Closer> closer(db);
    if (opened && sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK)
        return std::nullopt;
    return db ? failureOf(db, opened) : Failure{Kind::Other, sqlite3_errstr(SQLITE_NOMEM)};
}

Sqlite Sqlite::openForWriting(const std::string& path)
{
    return {path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE};
}

namespace {

/// Does nothing if the file has the right owner: fchown() sets the file's ctime even then.
int giveToOwner(int file, uid_t user, gid_t group)
{
    struct stat info { };
    const bool hasOwner = ::fstat(file, &info) == 0 && info.st_uid == user && info.st_gid == group;
    return hasOwner ? 0 : ::fchown(file, user, group);
}

/// If root reads a database, SQLite gives the log to the owner of the database each time that it
/// opens it. Reading would then look like writing.
void keepLogsUntouched()
{
    sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
    if (system && system->iVersion >= 3 && system->xSetSystemCall)
        system->xSetSystemCall(
            system, "fchown", reinterpret_cast<sqlite3_syscall_ptr>(giveToOwner));
}

} // namespace

void Sqlite::configureProcess()
{
    constexpr int pagesSortedInMemory = 6144; // 24 MiB with pages of 4 KiB
    const int failures = sqlite3_config(SQLITE_CONFIG_MULTITHREAD)
        | sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0)
        | sqlite3_config(SQLITE_CONFIG_PMASZ, pagesSortedInMemory);
    if (failures != SQLITE_OK)
        throw std::logic_error("sqlite3_config() failed: a connection was opened before");
    keepLogsUntouched();
}

std::string Sqlite::file() const
{
    return sqlite3_db_filename(m_db.get(), "main");
}

bool Sqlite::hasMoved() const
{
    int moved = 0;
    return sqlite3_file_control(m_db.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved) != SQLITE_OK
        || moved != 0;
}

void Sqlite::interruptWhen(const std::atomic<bool>& flag)
{
    constexpr int instructions = 10'000; // about a millisecond
    const auto isSet = [](void* atomic) {
        return static_cast<const std::atomic<bool>*>(atomic)->load() ? 1 : 0;
    };
    sqlite3_progress_handler(
        m_db.get(), instructions, isSet, const_cast<std::atomic<bool>*>(&flag));
}

Sqlite::TemporaryFolder::TemporaryFolder(const std::string& path)
{
    sqlite3_temp_directory = sqlite3_mprintf("%s", path.c_str());
}

Sqlite::TemporaryFolder::~TemporaryFolder()
{
    sqlite3_free(std::exchange(sqlite3_temp_directory, nullptr));
}

void Sqlite::execute(const std::string& sql)
{
    if (sqlite3_exec(m_db.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        fail();
}

void Sqlite::fail() const
{
    throw DBError(sqlite3_errmsg(m_db.get()));
}

void Sqlite::Statement::Finalizer::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

Sqlite::Statement::Statement(Sqlite& connection, const std::string& sql) : m_connection(&connection)
{
    sqlite3_stmt* statement = nullptr;
    const int code
        = sqlite3_prepare_v2(connection.m_db.get(), sql.c_str(), -1, &statement, nullptr);
    m_statement.reset(statement);
    if (code != SQLITE_OK || !statement)
        connection.fail();
}

void Sqlite::Statement::check(int code)
{
    if (code != SQLITE_OK)
        m_connection->fail();
}

void Sqlite::Statement::bind(int parameter, std::int64_t value)
{
    check(sqlite3_bind_int64(m_statement.get(), parameter, value));
}

void Sqlite::Statement::bindText(int parameter, std::string_view text)
{
    check(sqlite3_bind_text(
        m_statement.get(), parameter, text.data(), static_cast<int>(text.size()), SQLITE_STATIC));
}

void Sqlite::Statement::bindBlob(int parameter, std::string_view bytes)
{
    check(sqlite3_bind_blob(
        m_statement.get(), parameter, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC));
}

void Sqlite::Statement::bindNull(int parameter)
{
    check(sqlite3_bind_null(m_statement.get(), parameter));
}

bool Sqlite::Statement::step()
{
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW)
        return true;
    if (code != SQLITE_DONE)
        m_connection->fail();
    return false;
}

void Sqlite::Statement::reset()
{
    sqlite3_reset(m_statement.get());
}

std::int64_t Sqlite::Statement::integer(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

int Sqlite::Statement::integer32(int column) const
{
    return sqlite3_column_int(m_statement.get(), column);
}

bool Sqlite::Statement::isNull(int column) const
{
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

std::optional<std::string_view> Sqlite::Statement::text(int column) const
{
    const unsigned char* bytes = sqlite3_column_text(m_statement.get(), column);
    if (!bytes)
        return std::nullopt;
    const int size = sqlite3_column_bytes(m_statement.get(), column);
    return std::string_view(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

std::optional<std::string_view> Sqlite::Statement::blob(int column) const
{
    if (isNull(column))
        return std::nullopt;
    const void* bytes = sqlite3_column_blob(m_statement.get(), column);
    const int size = sqlite3_column_bytes(m_statement.get(), column);
    return std::string_view(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

} // namespace korvane
