#include "state/AppStateTools.h"

#include "server/Transfer.h"

#include <algorithm>

namespace korvane {

/// The exported file to transfer, or the reason why there is none.
struct AppState::TransferFile {
    std::string guid;
    std::filesystem::path folder;
    std::string name;
    std::string failure; ///< message for the user; empty on success
};

void AppState::prepareTransfer()
{
    if (isPreview())
        return;
    const ChatInfo* chat = soleSelectedChat();
    if (!chat)
        return update(m_status, std::string("Select exactly one chat to create its QR code"),
            &AppState::statusChanged);
    if (m_needsAccess || m_isSyncing)
        return;
    update(m_isSyncing, true, &AppState::isSyncingChanged);
    update(m_transferQR, {}, &AppState::transferQRChanged);
    loadNames([this, chat = *chat] { exportForTransfer(chat); });
}

const ChatInfo* AppState::soleSelectedChat() const
{
    if (m_selected.size() != 1)
        return nullptr;
    const auto chat = std::find_if(m_chats.begin(), m_chats.end(),
        [this](const ChatInfo& each) { return each.guid == *m_selected.begin(); });
    return chat == m_chats.end() ? nullptr : &*chat;
}

void AppState::exportForTransfer(const ChatInfo& chat)
{
    update(m_transferChatTitle, std::optional(Exporter::title(chat, m_names)),
        &AppState::transferChatTitleChanged);
    update(m_status, std::string("Preparing selected chat…"), &AppState::statusChanged);
    const auto prepare
        = [sync = exportOf({chat}), folder = m_outputFolder, guid = chat.guid]() -> TransferFile {
        TransferFile file{.guid = guid, .folder = folder};
        try {
            const SyncResult result = sync();
            if (!result.errors.empty())
                throw TransferError("Error: " + result.errors.front());
            file.name = Transfer::exportedFile(folder, guid);
        } catch (const std::exception& error) {
            file.failure = error.what();
        }
        return file;
    };
    runInBackground(prepare, [this](const TransferFile& file) {
        update(m_isSyncing, false, &AppState::isSyncingChanged);
        offer(file);
    });
}

void AppState::offer(const TransferFile& file)
{
    if (!file.failure.empty())
        return update(m_status, file.failure, &AppState::statusChanged);
    m_transferFileName = file.name;
    m_server->offer({file.guid}, file.folder);
    if (m_serverPort)
        return makeTransferQR();
    m_server->start(0);
    update(m_status, std::string("Starting secure local transfer…"), &AppState::statusChanged);
}

void AppState::makeTransferQR()
{
    try {
        drawTransferQR();
        update(m_status, std::string("Ready to scan · link expires in 10 minutes"),
            &AppState::statusChanged);
    } catch (const TransferError& error) {
        update(m_status, std::string(error.what()), &AppState::statusChanged);
    }
}

/// Throws TransferError.
void AppState::drawTransferQR()
{
    if (!m_serverPort || !m_transferFileName)
        throw TransferError(Transfer::Text::noLink);
    const auto host = m_environment.localAddress();
    const TransferLink link
        = Transfer::createLink(*m_server, *m_transferFileName, *m_serverPort, host);
    constexpr double side = 320; // points
    constexpr double pixelsPerPoint = 3; // sharp on displays with up to 3 pixels per point
    auto picture = QR::image(link.toString(), side, pixelsPerPoint);
    if (!picture)
        throw TransferError(Transfer::Text::noPicture);
    update(m_transferQR, std::optional(std::move(*picture)), &AppState::transferQRChanged);
}

void AppState::endTransfer()
{
    update(m_transferQR, {}, &AppState::transferQRChanged);
    m_transferFileName.reset();
    update(m_transferChatTitle, {}, &AppState::transferChatTitleChanged);
}

} // namespace korvane
