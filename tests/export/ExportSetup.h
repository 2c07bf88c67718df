#pragma once

#include "contacts/ContactNames.h"
#include "export/ExportState.h"
#include "export/Exporter.h"
#include "support/TestDatabase.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// Everything that an export needs, in a temporary folder: a Messages database, a support folder,
/// and an export folder, which sync() creates.
class ExportSetup {
public:
    explicit ExportSetup(TestDatabase::Schema schema = TestDatabase::Schema::Current);
    Q_DISABLE_COPY_MOVE(ExportSetup)

    TestDatabase db;
    ContactNames names;
    std::vector<ChatInfo> chats; ///< the chats that sync() exports, in this order
    SyncMode mode; ///< of sync()

    /// Adds a chat to the database and to `chats`.
    void addChat(std::int64_t id, const std::string& title);

    /// Adds `count` messages in one transaction.
    void addMessages(std::int64_t chat, int count, const std::string& text = "hello");

    SyncResult sync(const BeforeChat& beforeChat = {}) const;

    static std::string guid(std::int64_t chat) { return "iMessage;-;" + std::to_string(chat); }

    std::filesystem::path home() const { return db.folder() + "/support"; }
    SupportFolder support() const { return SupportFolder(home()); }
    std::filesystem::path folder() const { return db.folder() + "/export"; }
    std::filesystem::path stateFile() const { return home() / "state.json"; }

    /// Reads or replaces a chat's record in the state on disk. record() requires that it exists.
    ChatState record(std::int64_t chat) const;
    void setRecord(std::int64_t chat, const ChatState& record) const;

    /// The path of a chat's export file, from its record.
    std::filesystem::path file(std::int64_t chat) const;

    /// The row ids of the records in a chat's export file.
    std::vector<std::int64_t> rowIDs(std::int64_t chat) const;
};

/// The bytes of a file, or "(no file)".
std::string readFile(const std::filesystem::path& file);
void writeFile(const std::filesystem::path& file, std::string_view bytes);

/// The row ids in lines of records; -1 for a line that is not a complete record.
std::vector<std::int64_t> rowIDsIn(const std::string& lines);

/// A result in one line: "added 3, touched 1; Team: No space left on device".
std::string describe(const SyncResult& result);

bool isEpoch(const std::string& text);

} // namespace korvane
