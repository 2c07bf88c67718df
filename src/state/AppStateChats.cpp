#include "export/Exporter.h"
#include "messages/MessagesDB.h"
#include "state/AppStateServices.h"

#include <exception>
#include <utility>

// Reading the names and the list of chats.

namespace korvane {

namespace {

/// Reads the list of chats unless it is still as `lastRead` left it. The database is opened in any
/// case, because the user may have withdrawn the access.
ChatReading readChats(
    const std::string& database, LastRead::Clock::time_point now, LastRead& lastRead)
{
    try {
        const bool isUpToDate = lastRead.isUpToDate(database, now); // before it is opened
        MessagesDB db(database);
        if (isUpToDate)
            return {.isReadable = true};
        ChatReading reading{.isReadable = true, .chats = db.chats()};
        lastRead.setDone();
        return reading;
    } catch (const std::exception&) { // any failure is shown as missing access
        return {};
    }
}

/// The status line as long as the contacts have never been read completely.
std::string noNamesText(const std::string& silent)
{
    return "Nothing is exported until your contacts can be read: " + silent + " does not answer";
}

} // namespace

void AppState::loadNamesAndChats(const Done& done)
{
    loadNames([this, done] { reloadChats(done); });
}

void AppState::loadNames(const Done& done)
{
    runInBackground([load = m_services->environment.loadNames,
                        prompt = accessPrompt()] { return load(prompt); },
        [this, done](LoadedNames loaded) {
            keep(std::move(loaded));
            done();
        });
}

/// The destructor of this object ends the wait for the user, and then the job, before the members
/// are destroyed.
AccessPrompt AppState::accessPrompt()
{
    const auto tell
        = [this] { setStatus("Waiting for your answer: may Korvane Sync read your contacts?"); };
    return {.onOpen = [this, tell] { QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection); },
        .isCancelled = m_services->exports.isStopping()};
}

/// Keeps the names, unless they are incomplete and there are complete ones already. Incomplete ones
/// are only for the list of chats.
void AppState::keep(LoadedNames loaded)
{
    if (loaded.isUnanswered() && !m_services->silent)
        return;
    m_services->silent
        = loaded.isUnanswered() ? std::optional(loaded.reading.silent) : std::nullopt;
    m_services->names = std::move(loaded.names);
}

void AppState::reloadChats()
{
    if (isPreview())
        return;
    if (m_services->silent)
        loadNamesAndChats([] {});
    else
        reloadChats([] {});
}

void AppState::reloadChats(const Done& done)
{
    runInBackground(
        [database = m_services->environment.database, now = m_services->environment.now,
            lastRead = m_services->lastRead] { return readChats(database, now(), *lastRead); },
        [this, done](ChatReading reading) {
            show(std::move(reading));
            done();
        });
}

void AppState::show(ChatReading reading)
{
    update(m_needsAccess, !reading.isReadable, &AppState::needsAccessChanged);
    if (!reading.isReadable)
        return setStatus("Needs Full Disk Access");
    if (reading.chats)
        m_chats = std::move(*reading.chats);
    m_hasReadChats = true;
    m_titles.clear();
    for (const ChatInfo& chat : m_chats)
        m_titles[chat.id] = Exporter::title(chat, m_services->names);
    emit chatsChanged();
    if (m_services->silent)
        return setStatus(noNamesText(*m_services->silent));
    setStatus(std::to_string(m_chats.size()) + " chats · " + std::to_string(m_selected.size())
        + " selected");
}

} // namespace korvane
