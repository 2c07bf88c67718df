#include "state/AppStateTools.h"

#include <QLocale>

#include <algorithm>
#include <exception>

namespace korvane {

namespace {

/// An export as a job for the worker thread, with copies of everything that it needs.
struct ExportJob {
    std::vector<ChatInfo> chats;
    ContactNames names;
    std::filesystem::path folder;
    std::string database;
    std::shared_ptr<std::atomic<bool>> stopping;

    SyncResult operator()() const
    {
        try {
            return Exporter::sync(
                chats, names, folder, database, [this](const ChatInfo&) { return !*stopping; });
        } catch (const std::exception& error) {
            return {.errors = {error.what()}};
        }
    }
};

SyncResult failed(std::string reason)
{
    return {.errors = {std::move(reason)}};
}

} // namespace

void AppState::syncNow()
{
    syncNow([] {});
}

void AppState::syncNow(const Done& done)
{
    if (m_isSyncing || isPreview())
        return done();
    std::vector<ChatInfo> chats = selectedChats();
    if (chats.empty()) {
        update(m_status, std::string("Select at least one chat"), &AppState::statusChanged);
        return done();
    }
    update(m_isSyncing, true, &AppState::isSyncingChanged);
    loadNames([this, chats = std::move(chats), done] {
        runInBackground(exportOf(chats), [this, done](const SyncResult& result) {
            update(m_isSyncing, false, &AppState::isSyncingChanged);
            update(m_status, summary(result), &AppState::statusChanged);
            reloadChats(done);
        });
    });
}

std::vector<ChatInfo> AppState::selectedChats() const
{
    std::vector<ChatInfo> chats;
    std::copy_if(m_chats.begin(), m_chats.end(), std::back_inserter(chats),
        [this](const ChatInfo& chat) { return m_selected.contains(chat.guid); });
    return chats;
}

std::string AppState::summary(const SyncResult& result) const
{
    if (!result.errors.empty())
        return "Error: " + result.errors.front();
    const std::string time
        = QLocale().toString(m_environment.timeOfDay(), QLocale::ShortFormat).toStdString();
    if (result.added == 0)
        return "Up to date · " + time;
    return "Added " + std::to_string(result.added) + " messages · " + time;
}

/// A job that exports the chats into the current output folder. If another process holds the
/// support lock, the job only returns that failure.
std::function<SyncResult()> AppState::exportOf(std::vector<ChatInfo> chats)
{
    std::string reason;
    if (!holdsLock(reason))
        return [reason] { return failed(reason); };
    return ExportJob{std::move(chats), m_names, m_outputFolder, m_environment.database, m_stopping};
}

/// Takes the support lock at the first export and keeps it until the program ends. Without it, an
/// export by another process could append the same messages a second time. Returns false, and sets
/// `reason`, if the lock cannot be taken.
bool AppState::holdsLock(std::string& reason)
{
    try {
        if (!m_lock)
            m_lock.emplace();
        return true;
    } catch (const std::exception& error) {
        reason = error.what();
        return false;
    }
}

} // namespace korvane
