#pragma once

#include "contacts/ContactNames.h"
#include "export/Exporter.h"
#include "state/DatabaseCheck.h"
#include "storage/Paths.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
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

    /// A job that exports the chats into `folder`. Jobs must run one at a time. A job holds the
    /// support lock while it runs, and not longer, so that the terminal program can export
    /// meanwhile. It does not wait for the lock: if another process holds it, the job only returns
    /// that failure.
    Job make(std::vector<ChatInfo> chats, ContactNames names, std::filesystem::path folder) const;

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
    const std::shared_ptr<DatabaseCheck> m_check; ///< used by the jobs alone
};

} // namespace korvane
