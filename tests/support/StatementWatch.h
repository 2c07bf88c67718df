#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace korvane {

/// Watches the SQL statements of the connections that this process opens while the object lives.
/// Close these connections before it is destroyed. One object at a time; connections may be used on
/// any thread.
class StatementWatch {
public:
    StatementWatch();
    ~StatementWatch();
    StatementWatch(const StatementWatch&) = delete;
    StatementWatch& operator=(const StatementWatch&) = delete;

    /// How many statements have begun to run whose text begins like this.
    static int runs(std::string_view beginning);

    /// Calls `action` once, on the thread that runs the statement, when the next statement that
    /// begins like this has found its first row: what is written then, it does not see.
    static void onFirstRow(std::string beginning, std::function<void()> action);
};

} // namespace korvane
