#pragma once

#include "export/ExportSetup.h"
#include "server/ServerState.h"
#include "state/AppEnvironment.h"
#include "state/AppState.h"
#include "state/Contacts.h"
#include "state/HeldExport.h"
#include "state/Recorder.h"

#include <QTime>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace korvane {

/// The environment of an AppState, in a temporary folder: home, settings, support folder, Messages
/// database and contacts. The time of day is 9:41 and the local address is 127.0.0.1. The auto-sync
/// interval is an hour, so that no auto-sync happens unless a test shortens it.
class StateSetup {
public:
    StateSetup();
    ~StateSetup();
    Q_DISABLE_COPY_MOVE(StateSetup)

    ExportSetup files;
    AppEnvironment environment{.support = files.support()}; ///< for the states created from now on
    const std::shared_ptr<Contacts> contacts = std::make_shared<Contacts>();

    /// Adds a chat with this title and number of messages.
    void addChat(std::int64_t id, const std::string& title, int messages = 1);

    /// Adds a chat with one person, one message and no title.
    void addChatWith(std::int64_t id, const std::string& handle);

    /// Replaces the state by a new one, whose chats are not read yet.
    AppState& create();

    /// As create(); sets the output folder and waits until the state has tried to read the chats.
    AppState& open();

    AppState& state() { return *m_state; }
    void close() { m_state.reset(); }

    static std::string guid(std::int64_t chat) { return ExportSetup::guid(chat); }

    /// Selects exactly these chats.
    void select(const std::vector<std::int64_t>& chats);

    /// Advances the clock of the server.
    void advance(std::chrono::seconds by) { *m_now = m_now->load() + by; }

    std::filesystem::path home() const { return files.db.folder() + "/home"; }
    std::filesystem::path settingsFile() const;

    /// The file that the first export of the chat goes to, in the current output folder.
    std::filesystem::path exportFile(std::int64_t chat, const std::string& title) const;

    /// A time of day as a status shows it; by default this set-up's 9:41. Which space stands before
    /// "AM" differs between versions of Qt.
    static std::string timeText(QTime time = {9, 41});

    /// Waits until no export is running.
    bool waitForExport();

    /// Exports the selected chats and waits until the chats have been reloaded afterwards.
    bool sync();

    /// Waits 100 ms: time enough for an unwanted event to happen.
    static void settle();

private:
    using Time = TransferTicket::Clock::time_point;

    std::shared_ptr<std::atomic<Time>> m_now
        = std::make_shared<std::atomic<Time>>(TransferTicket::Clock::now());
    std::unique_ptr<AppState> m_state;
};

} // namespace korvane
