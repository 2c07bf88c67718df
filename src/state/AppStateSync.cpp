#include "export/Exporter.h"
#include "state/AppStateServices.h"

#include <QLocale>

#include <algorithm>
#include <iterator>
#include <utility>

// Exporting the selected chats, at once and by the timer.

namespace korvane {

namespace {

/// The status line after an export that ended at `time`.
std::string summary(const SyncResult& result, QTime time)
{
    if (!result.errors.empty())
        return "Error: " + result.errors.front();
    const std::string shown = QLocale().toString(time, QLocale::ShortFormat).toStdString();
    if (result.added == 0)
        return "Up to date · " + shown;
    return "Added " + std::to_string(result.added) + " messages · " + shown;
}

} // namespace

void AppState::scheduleAutoSync()
{
    m_services->autoSyncTimer.start(m_services->environment.autoSyncInterval);
}

void AppState::runAutoSync()
{
    if (m_autoSync && !m_selected.empty() && !m_needsAccess)
        syncNow([this] { scheduleAutoSync(); });
    else if (m_services->silent)
        loadNamesAndChats([this] { scheduleAutoSync(); });
    else
        scheduleAutoSync();
}

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
        setStatus("Select at least one chat");
        return done();
    }
    update(m_isSyncing, true, &AppState::isSyncingChanged);
    loadNames([this, chats = std::move(chats), done] {
        if (m_services->silent)
            giveUpExport(done);
        else
            exportSelected(chats, done);
    });
}

void AppState::exportSelected(const std::vector<ChatInfo>& chats, const Done& done)
{
    const auto sync = m_services->exports.make(chats, m_services->names, m_outputFolder);
    runInBackground(sync, [this, done](const SyncResult& result) {
        update(m_isSyncing, false, &AppState::isSyncingChanged);
        notify(result);
        setStatus(summary(result, m_services->environment.timeOfDay()));
        reloadChats(done);
    });
}

void AppState::notify(const SyncResult& result)
{
    const std::vector<std::string> texts = m_services->notices.add(result);
    update(m_warning, m_services->notices.warning(), &AppState::warningChanged);
    for (const std::string& text : texts)
        emit notified(text);
}

/// Ends an export for which there are no names. Reading the chats sets the status line.
void AppState::giveUpExport(const Done& done)
{
    update(m_isSyncing, false, &AppState::isSyncingChanged);
    reloadChats(done);
}

std::vector<ChatInfo> AppState::selectedChats() const
{
    std::vector<ChatInfo> chats;
    std::copy_if(m_chats.begin(), m_chats.end(), std::back_inserter(chats),
        [this](const ChatInfo& chat) { return m_selected.contains(chat.guid); });
    return chats;
}

} // namespace korvane
