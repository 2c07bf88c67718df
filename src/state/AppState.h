#pragma once

#include "export/Exporter.h"
#include "messages/ChatInfo.h"
#include "state/AppEnvironment.h"
#include "state/Settings.h"
#include "state/Worker.h"
#include "storage/SupportLock.h"

#include <QImage>
#include <QObject>
#include <QTimer>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace korvane {

/// All that the window shows and all that it can ask for: the chats, what is selected, the
/// settings, the status line, the export and the hand-over of one chat. Lives on the main thread,
/// and so do all its fields; what takes long runs on a worker thread that gets copies and returns
/// values. It may be destroyed at any moment; that waits for the chat that is being exported.
class AppState : public QObject {
    Q_OBJECT

public:
    using Titles = std::map<std::int64_t, std::string>; ///< by the chat's row id

    /// Reads the settings; names, chats and the export every 30 seconds follow by themselves.
    explicit AppState(AppEnvironment environment);
    ~AppState() override;

    /// A state for pictures of the window: filled in by the caller, it reads and stores nothing,
    /// and does nothing by itself.
    struct Preview {
        std::vector<ChatInfo> chats;
        Titles titles;
        std::set<std::string> selected;
        std::filesystem::path outputFolder;
        std::string status;
        bool needsAccess = false;
        std::optional<QImage> transferQR;
        std::optional<std::string> transferChatTitle;
    };
    explicit AppState(Preview preview);

    const std::vector<ChatInfo>& chats() const { return m_chats; } ///< newest first
    const Titles& titles() const { return m_titles; }
    const std::set<std::string>& selected() const { return m_selected; } ///< guids
    bool hasReadChats() const { return m_hasReadChats; } ///< false while they are first being read
    bool autoSync() const { return m_autoSync; }
    const std::filesystem::path& outputFolder() const { return m_outputFolder; }
    const std::string& status() const { return m_status; }
    bool needsAccess() const { return m_needsAccess; } ///< the database cannot be read
    bool isSyncing() const { return m_isSyncing; }
    const std::optional<QImage>& transferQR() const { return m_transferQR; }
    const std::optional<std::string>& transferChatTitle() const { return m_transferChatTitle; }

    /// The next three are stored at once.
    void setSelected(std::set<std::string> guids);
    void setAutoSync(bool on);
    void setOutputFolder(std::filesystem::path folder);

    /// Selects the chat, or takes it out of the selection.
    void toggle(const std::string& guid);

    /// Ends a running export after the chat at hand, with its progress saved, and waits for that.
    /// The next export continues there.
    void interruptExport();

    /// The same, but nothing follows: after that, this object can only be destroyed. May be called
    /// from any thread, also in the middle of any other operation.
    void stop();

    /// The export folder of a user who has chosen none.
    static std::filesystem::path defaultFolder();

    /// Reads the list of chats anew.
    void reloadChats();

    /// Exports the selected chats, then reads the list of chats anew. Does nothing while an export
    /// is running.
    void syncNow();

    /// Exports the one selected chat and puts a QR code up with which a phone fetches it.
    void prepareTransfer();

    /// Makes the code, once the file and the server's port are known.
    void makeTransferQR();

    /// Takes the code down. Its link stays valid until it expires.
    void endTransfer();

    void chooseFolder();

    /// Shows the user where to grant access to the database.
    void openAccessSettings();

signals:
    void chatsChanged(); ///< titles() are those of the new chats already
    void selectedChanged();
    void autoSyncChanged();
    void outputFolderChanged();
    void statusChanged();
    void needsAccessChanged();
    void isSyncingChanged();
    void transferQRChanged();
    void transferChatTitleChanged();

    /// From the server's thread.
    void serverReady(quint16 port);

private:
    struct ChatList;
    struct TransferFile;
    using Done = std::function<void()>;

    bool isPreview() const { return !m_server; }
    void start();
    void schedulePass();
    void pass();
    void loadNames(const Done& done);
    void reloadChats(const Done& done);
    void show(ChatList list);
    void syncNow(const Done& done);
    std::vector<ChatInfo> selectedChats() const;
    std::string summary(const SyncResult& result) const;
    std::function<SyncResult()> exportOf(std::vector<ChatInfo> chats);
    bool holdsLock(std::string& reason);
    const ChatInfo* soleSelectedChat() const;
    void exportForTransfer(const ChatInfo& chat);
    void offer(const TransferFile& file);
    void drawTransferQR();

    template <typename Job, typename Then>
    void runInBackground(Job job, Then then);

    template <typename T>
    void update(T& field, T value, void (AppState::*changed)());

    const AppEnvironment m_environment;
    std::vector<ChatInfo> m_chats;
    Titles m_titles;
    bool m_hasReadChats = false;
    std::string m_status = "Loading chats…";
    bool m_needsAccess = false;
    bool m_isSyncing = false;
    std::optional<QImage> m_transferQR;
    std::optional<std::string> m_transferChatTitle;
    ContactNames m_names;
    std::unique_ptr<SyncServer> m_server; ///< none in a preview
    std::optional<std::uint16_t> m_serverPort;
    std::optional<std::string> m_transferFileName;

    std::optional<Settings> m_settings; ///< none in a preview
    std::set<std::string> m_selected;
    bool m_autoSync = true;
    std::filesystem::path m_outputFolder;

    std::optional<SupportLock> m_lock; ///< from the first export on: others are to keep off
    QTimer m_passTimer;
    std::shared_ptr<std::atomic<bool>> m_stopping = std::make_shared<std::atomic<bool>>(false);
    Worker m_worker; ///< last, so that it goes first: what it delivers finds everything in place
};

} // namespace korvane
