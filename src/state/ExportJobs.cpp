#include "state/ExportJobs.h"

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

    SyncResult operator()() const
    {
        try {
            return Exporter::sync(chats, names, folder, support, database,
                [this](const ChatInfo&) { return !*stopping; });
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
{
}

ExportJobs::Job ExportJobs::make(
    std::vector<ChatInfo> chats, ContactNames names, std::filesystem::path folder)
{
    try {
        if (!m_lock)
            m_lock.emplace(m_support);
    } catch (const std::exception& error) {
        return [reason = std::string(error.what())] { return SyncResult{.errors = {reason}}; };
    }
    return ExportJob{
        std::move(chats), std::move(names), std::move(folder), m_support, m_database, m_stopping};
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
