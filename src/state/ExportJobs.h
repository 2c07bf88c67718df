#pragma once

#include "contacts/ContactNames.h"
#include "export/Exporter.h"
#include "storage/Paths.h"
#include "storage/SupportLock.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/// Makes AppState's export jobs, and can end the running one early. Main thread only, except for
/// setStopping() and the jobs themselves.
class ExportJobs {
public:
    /// Exports chats. Runs on the worker thread, on its own copies of everything that it needs.
    /// Does not throw: failures are in SyncResult::errors.
    using Job = std::function<SyncResult()>;

    /// `database` is the path of the Messages database.
    ExportJobs(SupportFolder support, std::string database);

    /// A job that exports the chats into `folder`. The first call takes the support lock, which
    /// this object then keeps: otherwise an export by another process could append the same
    /// messages a second time. If another process holds the lock, the job only returns that
    /// failure.
    Job make(std::vector<ChatInfo> chats, ContactNames names, std::filesystem::path folder);

    /// While true, a running job saves its progress and ends after the current chat, and so does
    /// each job that starts. May be called from any thread.
    void setStopping(bool stopping);

    /// Whether setStopping(true) holds. The function may be called from any thread, and may outlive
    /// this object.
    std::function<bool()> isStopping() const;

private:
    const SupportFolder m_support;
    const std::string m_database;
    const std::shared_ptr<std::atomic<bool>> m_stopping; ///< shared with the jobs
    std::optional<SupportLock> m_lock;
};

} // namespace korvane
