#include "export/Exporter.h"
#include "server/Transfer.h"
#include "state/AppStateServices.h"

#include <utility>

// Handing one chat to a phone.

namespace korvane {

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
