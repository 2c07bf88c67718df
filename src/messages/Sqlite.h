#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace korvane {

/// One connection to an SQLite file; the only class that calls SQLite. Every failure is thrown as
/// a DBError with SQLite's own message. Used by one thread at a time.
class Sqlite {
public:
    class Statement;

    /// Opens an existing file and never writes to it: no pragma, no busy timeout, no creation.
    static Sqlite openReadOnly(const std::string& path);

    /// What keeps SQLite from reading a file.
    struct Failure {
        enum class Kind {
            Missing, ///< there is no such file
            Denied, ///< the system refuses to let this process read it
            LogUnusable, ///< a log beside it cannot be read, or not be set up where it has to be
            Locked,
            NotADatabase,
            Damaged,
            NoSuchTable,
            Other,
        };

        Kind kind = Kind::Other;
        std::string message; ///< SQLite's, with the system's in brackets where it has one
    };

    /// Opens the file as openReadOnly() does, runs `sql`, and says how that fails; absent where it
    /// succeeds.
    static std::optional<Failure> failureToRead(const std::string& path, const std::string& sql);

    /// Opens a file for writing, made anew where there is none.
    static Sqlite openForWriting(const std::string& path);

    /// Prepares the whole process for reading large databases; call it in main(), before the
    /// first connection. Drops SQLite's mutexes and memory accounting, which one connection per
    /// thread does not need, and lets a sort of up to 256 MiB stay in memory instead of spilling
    /// messages into temporary files on disk. Throws std::logic_error after a connection.
    static void configureProcess();

    /// Runs `sql` (one or more statements), ignoring any rows.
    void execute(const std::string& sql);

private:
    struct Closer {
        void operator()(sqlite3* db) const;
    };

    Sqlite(const std::string& path, int flags);
    [[noreturn]] void fail() const;

    std::unique_ptr<sqlite3, Closer> m_db;
};

/// One prepared statement, finalised on destruction; must not outlive its connection.
class Sqlite::Statement {
public:
    Statement(Sqlite& connection, const std::string& sql);

    /// Parameters count from 1. Texts and blobs must stay alive until the statement is stepped.
    void bind(int parameter, std::int64_t value);
    void bindText(int parameter, std::string_view text);
    void bindBlob(int parameter, std::string_view bytes);
    void bindNull(int parameter);

    /// Goes to the next row; false at the end.
    bool step();

    /// Makes the statement ready to run again; parameters keep their values.
    void reset();

    /// Columns count from 0. Views live until the next step; absent means NULL.
    std::int64_t integer(int column) const;
    int integer32(int column) const;
    bool isNull(int column) const;
    std::optional<std::string_view> text(int column) const;
    std::optional<std::string_view> blob(int column) const;

private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const;
    };

    void check(int code);

    Sqlite* m_connection;
    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
};

} // namespace korvane
