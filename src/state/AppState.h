#pragma once

#include "messages/MessageTypes.h"

#include <QImage>
#include <QObject>

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

struct AccessPrompt;
struct AppEnvironment;
struct ChatReading;
struct LoadedNames;
struct SyncResult;
struct TransferFile;

/// The model behind the window: the chats, the selection, the settings, the status line, the export
/// and the transfer of one chat. Lives on the main thread; except for stop(), only that thread may
/// use it, and all signals are emitted there. Slow work runs on a worker thread, on copies, and
/// returns its result by value. The object may be destroyed at any time; the destructor waits until
/// the chat being exported is complete and the progress is saved.
class AppState : public QObject {
    Q_OBJECT

public:
    using Titles = std::map<std::int64_t, std::string>; ///< keyed by the chat's row id

    /// Reads the settings. Once the event loop runs, it loads names and chats, and then exports the
    /// selected chats again and again while auto-sync is on, with a pause of
    /// AppEnvironment::autoSyncInterval before each export.
    explicit AppState(AppEnvironment environment);
    ~AppState() override;

    /// A fixed state for snapshots of the window, filled in by the caller. An AppState made from it
    /// reads and stores nothing, and starts nothing on its own.
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

    const std::vector<ChatInfo>& chats() const { return m_chats; } ///< newest message first
    const Titles& titles() const { return m_titles; }
    const std::set<std::string>& selected() const { return m_selected; } ///< guids
    bool hasReadChats() const { return m_hasReadChats; } ///< false until a first read succeeds
    bool autoSync() const { return m_autoSync; }
    const std::filesystem::path& outputFolder() const { return m_outputFolder; }
    const std::string& status() const { return m_status; }
    bool needsAccess() const { return m_needsAccess; } ///< the last read of the database failed

    /// True during an export, including one for a transfer. Required by the interface; only tests
    /// call it.
    bool isSyncing() const { return m_isSyncing; }

    /// What is wrong with the exports until the user does something about it; empty if nothing is.
    const std::string& warning() const { return m_warning; }

    const std::optional<QImage>& transferQR() const { return m_transferQR; }
    const std::optional<std::string>& transferChatTitle() const { return m_transferChatTitle; }

    /// This setter and the next two store the new value in the settings immediately.
    void setSelected(std::set<std::string> guids);
    void setAutoSync(bool on);
    void setOutputFolder(std::filesystem::path folder);

    /// Adds the chat to the selection, or removes it from there.
    void toggle(const std::string& guid);

    /// Ends a running export after the current chat, saves its progress, and blocks until that is
    /// done. The next export continues where this one ended.
    void interruptExport();

    /// Like interruptExport(), but for good: no job starts afterwards, and this object can only be
    /// destroyed. May be called from any thread except the worker's, also from within another
    /// operation: exit handlers call it.
    void stop();

    /// The export folder until the user chooses one.
    static std::filesystem::path defaultFolder();

    /// Starts to read the list of chats again, and before that the names, as long as these have
    /// never been read completely.
    void reloadChats();

    /// Starts to read the names, to export the selected chats, and then to read the list of chats
    /// again. Does nothing while an export is running. If the contacts do not answer, continues
    /// with the names of the last complete read; without one exports nothing, and the status line
    /// says so.
    void syncNow();

    /// Starts to export the one selected chat, and then shows a QR code with which a phone fetches
    /// it. The status line reports failures. Does nothing while an export is running. Needs names
    /// as syncNow() does.
    void prepareTransfer();

    /// Makes the QR code. Needs the exported file's name and the server's port; without them, or
    /// if the code cannot be made, the status line says why.
    void makeTransferQR();

    /// Hides the QR code. This does not revoke its link, which expires after
    /// TransferTicket::lifetime.
    void endTransfer();

    void chooseFolder();

    /// Opens the page of System Settings on which the user grants access to the database. If the
    /// page cannot be opened, the status line says so.
    void openAccessSettings();

signals:
    void chatsChanged(); ///< emitted when titles() is updated, too
    void selectedChanged();
    void autoSyncChanged();
    void outputFolderChanged();
    void statusChanged();
    void needsAccessChanged();
    void isSyncingChanged(); ///< required by the interface; only tests connect to it
    void transferQRChanged();
    void transferChatTitleChanged();
    void warningChanged();

    /// Something happened that the user should know even if the window is closed. Told once.
    void notified(const std::string& text);

private:
    struct Services;
    using Done = std::function<void()>;

    bool isPreview() const { return !m_services; }
    void start();
    void scheduleAutoSync();
    void runAutoSync();
    void loadNames(const Done& done);
    void loadNamesAndChats(const Done& done);
    AccessPrompt accessPrompt();
    void keep(LoadedNames loaded);
    void exportSelected(const std::vector<ChatInfo>& chats, const Done& done);
    void giveUpExport(const Done& done);
    void notify(const SyncResult& result);
    void reloadChats(const Done& done);
    void show(ChatReading reading);
    void syncNow(const Done& done);
    std::vector<ChatInfo> selectedChats() const;
    void exportForTransfer(const ChatInfo& chat);
    void offer(const TransferFile& file);

    template <typename Job, typename Then>
    void runInBackground(Job job, Then then);

    template <typename T>
    void update(T& field, T value, void (AppState::*changed)());

    void setStatus(std::string status);

    std::vector<ChatInfo> m_chats;
    Titles m_titles;
    std::set<std::string> m_selected;
    bool m_autoSync = true;
    std::filesystem::path m_outputFolder;
    std::string m_status = "Loading chats…";
    std::string m_warning;
    bool m_hasReadChats = false;
    bool m_needsAccess = false;
    bool m_isSyncing = false;
    std::optional<QImage> m_transferQR;
    std::optional<std::string> m_transferChatTitle;

    /// All that reads, stores and starts something; null in a preview. Declared last, so that it is
    /// destroyed first: no result of a job can arrive at destroyed members.
    std::unique_ptr<Services> m_services;
};

} // namespace korvane
