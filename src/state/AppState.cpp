#include "state/AppState.h"

#include "export/Exporter.h"
#include "messages/MessagesDB.h"
#include "server/Transfer.h"
#include "state/AppEnvironment.h"
#include "state/ExportJobs.h"
#include "state/ExportNotices.h"
#include "state/PhoneTransfer.h"
#include "state/Settings.h"
#include "state/Worker.h"
#include "storage/Paths.h"

#include <QLocale>
#include <QTimer>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

namespace korvane {

struct AppState::Services {
    explicit Services(AppEnvironment given)
        : environment(std::move(given))
        , transfer(environment.support, environment.server, environment.localAddress)
        , exports(environment.support, environment.database)
    {
    }

    const AppEnvironment environment;
    ContactNames names;
    std::optional<std::string> silent = ""; ///< what has not answered; absent after a complete read
    PhoneTransfer transfer;
    Settings settings;
    ExportJobs exports;
    ExportNotices notices;
    QTimer autoSyncTimer;
    Worker worker; ///< declared last, so that no job is running when the others are destroyed
};

namespace {

/// Nothing if the database cannot be read.
std::optional<std::vector<ChatInfo>> readChats(const std::string& database)
{
    try {
        return MessagesDB(database).chats();
    } catch (const std::exception&) { // any failure is shown as missing access
        return std::nullopt;
    }
}

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

/// The status line as long as the contacts have never been read completely.
std::string noNamesText(const std::string& silent)
{
    return "Nothing is exported until your contacts can be read: " + silent + " does not answer";
}

} // namespace

AppState::AppState(AppEnvironment environment)
    : m_services(std::make_unique<Services>(std::move(environment)))
{
    m_selected = m_services->settings.selected();
    m_autoSync = m_services->settings.autoSync();
    m_outputFolder = m_services->settings.folder().value_or(defaultFolder());
    m_services->autoSyncTimer.setSingleShot(true);
    connect(&m_services->autoSyncTimer, &QTimer::timeout, this, &AppState::runAutoSync);
    connect(&m_services->transfer, &PhoneTransfer::ready, this, &AppState::makeTransferQR);
    QMetaObject::invokeMethod(this, &AppState::start, Qt::QueuedConnection);
}

AppState::AppState(Preview preview)
    : m_chats(std::move(preview.chats))
    , m_titles(std::move(preview.titles))
    , m_selected(std::move(preview.selected))
    , m_outputFolder(std::move(preview.outputFolder))
    , m_status(std::move(preview.status))
    , m_hasReadChats(true)
    , m_needsAccess(preview.needsAccess)
    , m_transferQR(std::move(preview.transferQR))
    , m_transferChatTitle(std::move(preview.transferChatTitle))
{
}

AppState::~AppState()
{
    stop();
}

void AppState::interruptExport()
{
    if (isPreview())
        return;
    m_services->exports.setStopping(true);
    m_services->worker.waitForJob();
    m_services->exports.setStopping(false);
}

void AppState::stop()
{
    if (isPreview())
        return;
    m_services->exports.setStopping(true);
    m_services->worker.stop();
}

/// Calls `job` on the worker thread, and later `then` with its result on the main thread, unless
/// this object has been destroyed by then. `job` must own all data that it uses and must not throw.
template <typename Job, typename Then>
void AppState::runInBackground(Job job, Then then)
{
    m_services->worker.run([job = std::move(job), then = std::move(then)]() -> Worker::Delivery {
        return [then, result = job()]() mutable { then(std::move(result)); };
    });
}

/// Assigns `value` and emits `changed`, unless the field has that value already.
template <typename T>
void AppState::update(T& field, T value, void (AppState::*changed)())
{
    if (field == value)
        return;
    field = std::move(value);
    emit(this->*changed)();
}

void AppState::setStatus(std::string status)
{
    update(m_status, std::move(status), &AppState::statusChanged);
}

void AppState::start()
{
    loadNamesAndChats([this] { scheduleAutoSync(); });
}

void AppState::loadNamesAndChats(const Done& done)
{
    loadNames([this, done] { reloadChats(done); });
}

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
    runInBackground([database = m_services->environment.database] { return readChats(database); },
        [this, done](std::optional<std::vector<ChatInfo>> chats) {
            show(std::move(chats));
            done();
        });
}

void AppState::show(std::optional<std::vector<ChatInfo>> chats)
{
    update(m_needsAccess, !chats, &AppState::needsAccessChanged);
    if (!chats)
        return setStatus("Needs Full Disk Access");
    m_chats = std::move(*chats);
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

void AppState::setSelected(std::set<std::string> guids)
{
    update(m_selected, std::move(guids), &AppState::selectedChanged);
    if (!isPreview())
        m_services->settings.setSelected(m_selected);
}

void AppState::toggle(const std::string& guid)
{
    std::set<std::string> guids = m_selected;
    if (guids.erase(guid) == 0)
        guids.insert(guid);
    setSelected(std::move(guids));
}

void AppState::setAutoSync(bool on)
{
    update(m_autoSync, on, &AppState::autoSyncChanged);
    if (!isPreview())
        m_services->settings.setAutoSync(on);
}

void AppState::setOutputFolder(std::filesystem::path folder)
{
    update(m_outputFolder, std::move(folder), &AppState::outputFolderChanged);
    if (!isPreview())
        m_services->settings.setFolder(m_outputFolder);
}

std::filesystem::path AppState::defaultFolder()
{
    return Paths::defaultFolder();
}

void AppState::chooseFolder()
{
    if (isPreview() || !m_services->environment.pickFolder)
        return;
    const bool endsInSlash = !m_outputFolder.has_filename();
    const auto folder = endsInSlash ? m_outputFolder.parent_path() : m_outputFolder;
    if (const auto chosen = m_services->environment.pickFolder(folder.parent_path()))
        setOutputFolder(*chosen);
}

void AppState::openAccessSettings()
{
    if (isPreview() || !m_services->environment.openUrl)
        return;
    const QUrl url(
        QStringLiteral("x-apple.systempreferences:com.apple.preference.security?Privacy_AllFiles"));
    if (url.isValid() && !m_services->environment.openUrl(url))
        setStatus("Could not open System Settings. Let this program read chat.db, then try again.");
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

void AppState::prepareTransfer()
{
    if (isPreview())
        return;
    const std::vector<ChatInfo> chats = selectedChats();
    if (m_selected.size() != 1 || chats.empty())
        return setStatus("Select exactly one chat to create its QR code");
    if (m_needsAccess || m_isSyncing)
        return;
    update(m_isSyncing, true, &AppState::isSyncingChanged);
    update(m_transferQR, {}, &AppState::transferQRChanged);
    loadNames([this, chat = chats.front()] {
        if (m_services->silent)
            giveUpExport([] {});
        else
            exportForTransfer(chat);
    });
}

void AppState::exportForTransfer(const ChatInfo& chat)
{
    update(m_transferChatTitle, std::optional(Exporter::title(chat, m_services->names)),
        &AppState::transferChatTitleChanged);
    setStatus("Preparing selected chat…");
    const auto sync = m_services->exports.make({chat}, m_services->names, m_outputFolder);
    runInBackground(
        [sync, folder = m_outputFolder, guid = chat.guid,
            support = m_services->environment.support] {
            SyncResult result;
            const auto run = [&] { return result = sync(); };
            TransferFile file = PhoneTransfer::exportFile(run, folder, guid, support);
            return std::pair(std::move(result), std::move(file));
        },
        [this](const std::pair<SyncResult, TransferFile>& exported) {
            update(m_isSyncing, false, &AppState::isSyncingChanged);
            notify(exported.first);
            offer(exported.second);
        });
}

void AppState::offer(const TransferFile& file)
{
    if (!file.failure.empty())
        return setStatus(file.failure);
    m_services->transfer.offer(file);
    if (m_services->transfer.isListening())
        return makeTransferQR();
    m_services->transfer.listen();
    setStatus("Starting secure local transfer…");
}

void AppState::makeTransferQR()
{
    try {
        if (isPreview())
            throw TransferError(Transfer::Text::noLink);
        update(
            m_transferQR, std::optional(m_services->transfer.code()), &AppState::transferQRChanged);
        setStatus("Ready to scan · link expires in 10 minutes");
    } catch (const TransferError& error) {
        setStatus(error.what());
    }
}

void AppState::endTransfer()
{
    update(m_transferQR, {}, &AppState::transferQRChanged);
    if (!isPreview())
        m_services->transfer.forgetFile();
    update(m_transferChatTitle, {}, &AppState::transferChatTitleChanged);
}

} // namespace korvane
