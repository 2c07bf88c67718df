#pragma once

#include "crash/LoggedRun.h"
#include "history/ArchiveModel.h"
#include "support/TestDatabase.h"

#include <QJsonObject>

#include <array>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace korvane {

/// The outcome of one command.
struct HistoryRun {
    int code = -1;
    QJsonObject json;
    std::string output;
};

/// A Messages database that changes as those of people do, contacts, two export folders of which
/// one is in use, and what may happen to the files. All choices come from the seed.
class HistoryWorld {
public:
    explicit HistoryWorld(std::uint32_t seed);

    /// Changes the database, the contacts or the files. Returns what it did.
    std::string changeSomething();

    /// Whether the last change was one that removes records from the archive.
    bool lastChangeWasDestructive() const { return m_destructive; }

    std::filesystem::path folder() const { return folders().at(m_folder); }
    std::array<std::filesystem::path, 2> folders() const;
    std::filesystem::path support() const { return m_db.folder() + "/support"; }
    Archive archive() const { return Archive::at(folder(), support()); }

    /// What a first export would write now.
    FreshDatabase freshDatabase() const;

    std::vector<std::string> exportCommand() const { return withPlaces({"export", "--all"}); }
    std::vector<std::string> checkCommand() const { return withPlaces({"check"}); }
    std::vector<std::string> repairCommand() const
    {
        return withPlaces({"check", "--repair", "--yes"});
    }

    HistoryRun run(const std::vector<std::string>& command) const;

    /// An export while the contacts cannot be read.
    HistoryRun exportWithoutContacts() const;

    /// Runs the command until it is killed at a random moment, and then possibly cuts the power.
    /// Returns what happened.
    std::string runAndKill(const std::vector<std::string>& command);

    /// A random number below `limit`.
    int random(int limit);

private:
    struct Stored {
        std::int64_t chat = 0;
        TestDatabase::Message message;
    };
    using Change = std::string (HistoryWorld::*)();

    std::string receiveMessages();
    std::string receiveLateMessage();
    std::string insertWithoutChat();
    std::string joinLate();
    std::string edit();
    std::string unsend();
    std::string removeMessages();
    std::string renameChat();
    std::string renameContact();
    std::string switchFolder();
    std::string truncateFile();
    std::string zeroEndOfFile();
    std::string removeFile();
    std::string loseState();
    std::string restoreDatabase();

    void store(Stored stored);
    TestDatabase::Message newMessage(std::int64_t chat);
    void writeContacts() const;
    std::filesystem::path someFile();
    std::vector<std::string> withPlaces(std::vector<std::string> command) const;

    mutable TestDatabase m_db;
    std::mt19937 m_random;
    std::vector<Stored> m_messages; ///< those in a chat
    std::vector<Stored> m_unjoined;
    std::vector<std::int64_t> m_skippedRowIDs;
    std::array<int, 3> m_contactNames{};
    std::int64_t m_nextRowID = 1;
    std::int64_t m_clock = 700'000'000;
    int m_texts = 0;
    std::size_t m_folder = 0;
    bool m_destructive = false;
};

} // namespace korvane
