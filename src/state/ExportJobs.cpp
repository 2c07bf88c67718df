#include "state/ExportJobs.h"

#include "storage/SupportLock.h"

#include <exception>
#include <utility>

namespace korvane {

namespace {

struct ExportJob {
    std::vector<ChatInfo> chats;
    ContactNames names;
    std::filesystem::path folder;
    SupportFolder support;
    std::string database;
    std::shared_ptr<std::atomic<bool>> stopping;
    std::shared_ptr<DatabaseCheck> check;

    SyncResult operator()() const
    {
        try {
            const SupportLock lock(support);
            const SyncMode mode{.checkDatabase = check->isDue(chats, database)};
            SyncResult result = Exporter::sync(
                chats, names, folder, support, database,
                [this](const ChatInfo&) { return !*stopping; }, mode);
            if (result.errors.empty() && result.foreignChats == 0 && !*stopping)
                check->setDone(chats);
            return result;
        } catch (const std::exception& error) {
            return {.errors = {error.what()}};
        }
    }
};

} // namespace

ExportJobs::ExportJobs(SupportFolder support, std::string database)
    : m_support(std::move(support))
    , m_database(std::move(database))
    , m_stopping(std::make_shared<std::atomic<bool>>(false))
    , m_check(std::make_shared<DatabaseCheck>())
{
}

ExportJobs::Job ExportJobs::make(
    std::vector<ChatInfo> chats, ContactNames names, std::filesystem::path folder) const
{
    return ExportJob{std::move(chats), std::move(names), std::move(folder), m_support, m_database,
        m_stopping, m_check};
}

std::function<bool()> ExportJobs::isStopping() const
{
    return [stopping = m_stopping] { return stopping->load(); };
}

void ExportJobs::setStopping(bool stopping)
{
    *m_stopping = stopping;
}

} // namespace korvane
