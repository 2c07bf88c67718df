#include "state/AppState.h"

#include "state/AppStateTools.h"
#include "storage/Paths.h"

#include <exception>

namespace korvane {

/// The result of reading the list of chats: nothing if the database cannot be read.
struct AppState::ChatList {
    std::optional<std::vector<ChatInfo>> chats;
};

AppState::AppState(AppEnvironment environment)
    : m_environment(std::move(environment))
    , m_server(std::make_unique<SyncServer>(m_environment.server))
    , m_settings(std::in_place)
    , m_selected(m_settings->selected())
    , m_autoSync(m_settings->autoSync())
    , m_outputFolder(m_settings->folder().value_or(defaultFolder()))
{
    m_passTimer.setSingleShot(true);
    connect(&m_passTimer, &QTimer::timeout, this, &AppState::pass);
    connect(
        this, &AppState::serverReady, this,
        [this](quint16 port) {
            m_serverPort = port;
            makeTransferQR();
        },
        Qt::QueuedConnection);
    m_server->onReady = [this](std::uint16_t port) { emit serverReady(port); };
    QMetaObject::invokeMethod(this, &AppState::start, Qt::QueuedConnection);
}

AppState::AppState(Preview preview)
    : m_chats(std::move(preview.chats))
    , m_titles(std::move(preview.titles))
    , m_hasReadChats(true)
    , m_status(std::move(preview.status))
    , m_needsAccess(preview.needsAccess)
    , m_transferQR(std::move(preview.transferQR))
    , m_transferChatTitle(std::move(preview.transferChatTitle))
    , m_selected(std::move(preview.selected))
    , m_outputFolder(std::move(preview.outputFolder))
{
}

AppState::~AppState()
{
    stop();
}

void AppState::interruptExport()
{
    *m_stopping = true;
    m_worker.waitForJob();
    *m_stopping = false;
}

void AppState::stop()
{
    *m_stopping = true;
    m_worker.stop();
}

void AppState::start()
{
    loadNames([this] { reloadChats([this] { schedulePass(); }); });
}

void AppState::schedulePass()
{
    m_passTimer.start(m_environment.autoSyncInterval);
}

void AppState::pass()
{
    if (m_autoSync && !m_selected.empty() && !m_needsAccess)
        syncNow([this] { schedulePass(); });
    else
        schedulePass();
}

void AppState::loadNames(const Done& done)
{
    runInBackground(m_environment.loadNames, [this, done](ContactNames names) {
        m_names = std::move(names);
        done();
    });
}

void AppState::reloadChats()
{
    reloadChats([] {});
}

void AppState::reloadChats(const Done& done)
{
    if (isPreview())
        return;
    const auto read = [database = m_environment.database]() -> ChatList {
        try {
            return {MessagesDB(database).chats()};
        } catch (const std::exception&) { // any failure is shown as missing access
            return {};
        }
    };
    runInBackground(read, [this, done](ChatList list) {
        show(std::move(list));
        done();
    });
}

void AppState::show(ChatList list)
{
    update(m_needsAccess, !list.chats, &AppState::needsAccessChanged);
    if (!list.chats)
        return update(m_status, std::string("Needs Full Disk Access"), &AppState::statusChanged);
    m_chats = std::move(*list.chats);
    m_hasReadChats = true;
    m_titles.clear();
    for (const ChatInfo& chat : m_chats)
        m_titles[chat.id] = Exporter::title(chat, m_names);
    emit chatsChanged();
    update(m_status,
        std::to_string(m_chats.size()) + " chats · " + std::to_string(m_selected.size())
            + " selected",
        &AppState::statusChanged);
}

void AppState::setSelected(std::set<std::string> guids)
{
    update(m_selected, std::move(guids), &AppState::selectedChanged);
    if (m_settings)
        m_settings->setSelected(m_selected);
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
    if (m_settings)
        m_settings->setAutoSync(on);
}

void AppState::setOutputFolder(std::filesystem::path folder)
{
    update(m_outputFolder, std::move(folder), &AppState::outputFolderChanged);
    if (m_settings)
        m_settings->setFolder(m_outputFolder);
}

std::filesystem::path AppState::defaultFolder()
{
    return Paths::defaultFolder();
}

void AppState::chooseFolder()
{
    if (!m_environment.pickFolder)
        return;
    const bool endsInSlash = !m_outputFolder.has_filename();
    const auto folder = endsInSlash ? m_outputFolder.parent_path() : m_outputFolder;
    if (const auto chosen = m_environment.pickFolder(folder.parent_path()))
        setOutputFolder(*chosen);
}

void AppState::openAccessSettings()
{
    const QUrl url(
        QStringLiteral("x-apple.systempreferences:com.apple.preference.security?Privacy_AllFiles"));
    if (m_environment.openUrl && url.isValid() && !m_environment.openUrl(url)) {
        update(m_status,
            std::string("Could not open System Settings. Let this program read chat.db, then try "
                        "again."),
            &AppState::statusChanged);
    }
}

} // namespace korvane
