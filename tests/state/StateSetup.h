#pragma once

#include "export/ExportSetup.h"
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

/// A user's machine for the application's state, in a folder of its own: home, settings, support
/// folder, Messages database and contacts. The time of day is 9:41, a phone finds the machine at
/// 127.0.0.1, and nothing is exported by itself unless a test shortens the interval.
class StateSetup {
public:
    StateSetup();
    ~StateSetup();
    Q_DISABLE_COPY_MOVE(StateSetup)

    ExportSetup files;
    AppEnvironment environment; ///< of the states opened from now on
    const std::shared_ptr<Contacts> contacts = std::make_shared<Contacts>();

    /// Adds a chat of so many messages, under the title.
    void addChat(std::int64_t id, const std::string& title, int messages = 1);

    /// Adds a chat with one person, without a title of its own.
    void addChatWith(std::int64_t id, const std::string& handle);

    /// A new state in place of the one before, its start still to come.
    AppState& create();

    /// The same, and waits until it has tried to read the chats.
    AppState& open();

    AppState& state() { return *m_state; }
    void close() { m_state.reset(); }

    static std::string guid(std::int64_t chat) { return ExportSetup::guid(chat); }

    /// Selects just these chats.
    void select(const std::vector<std::int64_t>& chats);

    /// Sets the clock of the server.
    void advance(std::chrono::seconds by) { *m_now = m_now->load() + by; }

    std::filesystem::path home() const { return files.db.folder() + "/home"; }
    std::filesystem::path settingsFile() const;

    /// Where the first export of a chat goes, in the folder that is set.
    std::filesystem::path exportFile(std::int64_t chat, const std::string& title) const;

    /// A time of day as a status says it here: that of the machine, unless told otherwise. The
    /// space in it differs between versions of Qt.
    static std::string timeText(QTime time = {9, 41});

    /// Waits until no export is running.
    bool waitForExport();

    /// Exports the selected chats and waits for the list of chats after it.
    bool sync();

    /// Long enough for whatever must not happen to happen.
    static void settle();

private:
    using Time = TransferTicket::Clock::time_point;

    std::shared_ptr<std::atomic<Time>> m_now
        = std::make_shared<std::atomic<Time>>(TransferTicket::Clock::now());
    std::unique_ptr<AppState> m_state;
};

} // namespace korvane
