#include "support/StatementWatch.h"

#include <sqlite3.h>

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace korvane {

namespace {

struct Watched {
    std::mutex lock;
    std::vector<std::string> begun; ///< guarded by `lock`, like the others
    std::string awaited;
    std::function<void()> action; ///< empty after its call
};

Watched& watched()
{
    static Watched all;
    return all;
}

std::function<void()> actionAt(const std::string& sql)
{
    const std::lock_guard guard(watched().lock);
    const bool isAwaited = watched().action && sql.starts_with(watched().awaited);
    return isAwaited ? std::exchange(watched().action, {}) : std::function<void()>();
}

int trace(unsigned event, void*, void* statement, void*)
{
    const char* const text = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
    const std::string sql = text ? text : "";
    if (event == SQLITE_TRACE_ROW) {
        if (const auto action = actionAt(sql))
            action();
    } else {
        const std::lock_guard guard(watched().lock);
        watched().begun.push_back(sql);
    }
    return 0;
}

int attach(sqlite3* db, char**, const sqlite3_api_routines*)
{
    return sqlite3_trace_v2(db, SQLITE_TRACE_STMT | SQLITE_TRACE_ROW, trace, nullptr);
}

void (*const extension)() = reinterpret_cast<void (*)()>(attach);

} // namespace

StatementWatch::StatementWatch()
{
    sqlite3_auto_extension(extension);
}

StatementWatch::~StatementWatch()
{
    sqlite3_cancel_auto_extension(extension);
    const std::lock_guard guard(watched().lock);
    watched().begun.clear();
    watched().action = {};
}

int StatementWatch::runs(std::string_view beginning)
{
    const std::lock_guard guard(watched().lock);
    return static_cast<int>(std::count_if(watched().begun.begin(), watched().begun.end(),
        [beginning](const std::string& sql) { return sql.starts_with(beginning); }));
}

void StatementWatch::onFirstRow(std::string beginning, std::function<void()> action)
{
    const std::lock_guard guard(watched().lock);
    watched().awaited = std::move(beginning);
    watched().action = std::move(action);
}

} // namespace korvane
