#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

struct sqlite3;
struct sqlite3_stmt;

namespace korvane {

/// A failure of the database reader. `message` is shown to the user unchanged.
struct DBError : std::exception {
    explicit DBError(std::string text) : message(std::move(text)) { }

    /// Required by the interface; only tests call it.
    const std::string& errorDescription() const { return message; }
    const char* what() const noexcept override { return message.c_str(); }

    std::string message;
};

/// One connection to an SQLite file; the only class that calls SQLite. Unless stated otherwise,
/// failures throw DBError with SQLite's own message. Used by one thread at a time.
class Sqlite {
public:
    class Statement;

    /// Opens an existing file read-only. Sets no pragma and no busy timeout.
    static Sqlite openReadOnly(const std::string& path);

    /// The reason why SQLite cannot read a file.
    struct Failure {
        enum class Kind {
            Missing, ///< the file does not exist
            Denied, ///< the system denies this process read access
            LogUnusable, ///< the log beside it cannot be read, or not be created when needed
            Locked,
            NotADatabase,
            Damaged,
            NoSuchTable,
            Other,
        };

        Kind kind = Kind::Other;
        std::string message; ///< SQLite's message, followed by the system's in parentheses if any
    };

    /// Opens the file as openReadOnly() does and runs `sql`. Returns the failure instead of
    /// throwing it; absent on success.
    static std::optional<Failure> failureToRead(const std::string& path, const std::string& sql);

    /// Opens a file for reading and writing; creates it if it does not exist.
    static Sqlite openForWriting(const std::string& path);

    /// Configures SQLite for the whole process. Call it in main(), before the first connection;
    /// afterwards it throws std::logic_error. Turns off the mutexes of connections, which are not
    /// needed because no two threads share one, and memory accounting. Lets a sort of up to 24 MiB
    /// stay in memory; a larger one spills into a temporary file without a name, which SQLite
    /// makes. Keeps reading as root from changing the times of a log.
    static void configureProcess();

    /// While it lives, SQLite puts its temporary files, such as those of a large sort, into a
    /// folder that the caller names. They have no name there. Make and destroy it while no other
    /// thread uses SQLite. At most one object at a time.
    class TemporaryFolder {
    public:
        explicit TemporaryFolder(const std::string& path);
        ~TemporaryFolder();
        TemporaryFolder(const TemporaryFolder&) = delete;
        TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    };

    /// The absolute path of the file, without symbolic links.
    std::string file() const;

    /// Whether another file than the open one has this path now, or none.
    bool hasMoved() const;

    /// Lets statements fail soon after `flag` is set, which any thread may do: those that run, and
    /// those that begin later. Replaces the flag of an earlier call. `flag` must outlive the
    /// statements.
    void interruptWhen(const std::atomic<bool>& flag);

    /// Runs one or more statements and ignores any result rows.
    void execute(const std::string& sql);

private:
    struct Closer {
        void operator()(sqlite3* db) const;
    };

    Sqlite(const std::string& path, int flags);
    [[noreturn]] void fail() const;

    std::unique_ptr<sqlite3, Closer> m_db;
};

/// One prepared statement. RAII: the destructor finalises it. Must not outlive its connection.
class Sqlite::Statement {
public:
    Statement(Sqlite& connection, const std::string& sql);

    /// Parameters are numbered from 1. Texts and blobs are not copied: they must outlive every
    /// step() that uses them.
    void bind(int parameter, std::int64_t value);
    void bindText(int parameter, std::string_view text);
    void bindBlob(int parameter, std::string_view bytes);
    void bindNull(int parameter);

    /// Moves to the next row; false at the end.
    bool step();

    /// Makes the statement ready to run again. Parameters keep their values.
    void reset();

    /// Columns are numbered from 0. Views are valid until the next step() or reset(). Absent means
    /// NULL.
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
