#pragma once

#include "export/ExportState.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace korvane {

/// The record of one message as an export file has it, read by a parser other than the program's.
struct ReadRecord {
    std::string line; ///< without its line feed
    std::string guid; ///< of the chat
    std::string id;
    std::int64_t rowID = 0;
    std::string date;
    std::int64_t milliseconds = 0; ///< the date since 1970
    std::string senderID;
    bool isOutgoing = false;
    std::string kind;
    std::string body;
    std::string names; ///< of the sender and the chat
    std::string rest; ///< everything but these names, and but references and counts
    std::map<std::string, std::string> references; ///< and counts

    /// Nothing if it is not a complete record.
    static std::optional<ReadRecord> from(const std::string& line);
};

/// The lines of a file. The last one may have no line feed.
struct ReadLines {
    std::vector<ReadRecord> records{};
    std::int64_t torn = 0; ///< lines that are not a record, or have no line feed
    std::vector<ReadRecord> inTornLines{}; ///< complete records in these, after or before others

    /// Everything that can still be read.
    std::vector<ReadRecord> all() const;

    static ReadLines from(const std::string& bytes);

private:
    void addTorn(const std::string& line);
};

/// What a first export into an empty folder writes for one chat.
struct FreshChat {
    std::string guid;
    std::string title;
    std::string fileName;
    std::vector<ReadRecord> records; ///< in the order of the file

    std::string bytesAfter(std::int64_t rowID) const;
    const ReadRecord* record(const std::string& id) const;
};

/// What the database has now.
struct FreshDatabase {
    std::vector<FreshChat> chats;
    std::map<std::int64_t, ReadRecord> messages; ///< by row id, also those in no chat

    bool hasChat(const std::string& guid) const;
};

/// The files of an export folder, and the state.
struct Archive {
    std::map<std::string, std::string> files; ///< the bytes by name
    std::multiset<std::string> kept; ///< the bytes of each file in Kept/
    std::multiset<std::string> unchecked; ///< those of which the comparison was interrupted
    ExportState state;

    static Archive at(const std::filesystem::path& folder, const std::filesystem::path& support);

    /// The chat's record in the state, if that is of the current version.
    const ChatState* known(const std::string& guid) const;
    std::string fileName(const FreshChat& chat) const;
    std::optional<std::string> bytes(const FreshChat& chat) const;
    std::int64_t lastRowID(const FreshChat& chat) const;

    /// Whether a file is neither in the state nor named as an export would name it now.
    bool hasStrayFiles(const std::vector<FreshChat>& chats) const;
};

/// The counts of a check for one chat, under the keys of its output.
using Counts = std::map<std::string, std::int64_t>;
Counts expectedCounts(const Archive& archive, const FreshChat& chat, const FreshDatabase& database);

bool isIntact(const Counts& counts);

/// The chats that a check looks at: those of the database, and of the state those that it lacks.
std::vector<FreshChat> checkedChats(const Archive& archive, const FreshDatabase& database);

/// Whether the chat's file belongs to a different database, as far as an export can tell without
/// reading all of it.
enum class Origin { SameDatabase, CannotBeTold, DifferentDatabase };
Origin originOf(const Archive& archive, const FreshChat& chat, const FreshDatabase& database);

/// Whether the state does not know a chat whose file is from a different database. Then an export
/// appends to it only if no sampled record shows that.
bool mixesDatabases(const Archive& archive, const FreshDatabase& database);

/// The files and kept files that a run has to lead to. The state is not predicted.
Archive afterExport(
    Archive archive, const std::vector<FreshChat>& chats, const std::set<std::string>& leftAlone);
Archive afterRepair(Archive archive, const FreshDatabase& database);

} // namespace korvane
