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

/// The files of an export folder, and the state.
struct Archive {
    std::map<std::string, std::string> files; ///< the bytes by name
    std::multiset<std::string> kept; ///< the bytes of each file in Kept/
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
std::map<std::string, std::int64_t> expectedCounts(const Archive& archive, const FreshChat& chat);

bool isIntact(const std::map<std::string, std::int64_t>& counts);

/// Whether the chat's file belongs to a different database, as far as an export can tell without
/// reading all of it.
enum class Origin { SameDatabase, CannotBeTold, DifferentDatabase };
Origin originOf(const Archive& archive, const FreshChat& chat);

/// The files and kept files that a run has to lead to. The state is not predicted.
Archive afterExport(
    Archive archive, const std::vector<FreshChat>& chats, const std::set<std::string>& leftAlone);
Archive afterRepair(Archive archive, const std::vector<FreshChat>& chats);

} // namespace korvane
