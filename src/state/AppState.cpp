#include "state/AppStateServices.h"
#include "storage/Paths.h"

#include <utility>

namespace korvane {

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

void AppState::setStatus(std::string status)
{
    update(m_status, std::move(status), &AppState::statusChanged);
}

void AppState::start()
{
    loadNamesAndChats([this] { scheduleAutoSync(); });
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

} // namespace korvane
