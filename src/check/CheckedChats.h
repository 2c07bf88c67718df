#pragma once

#include "check/Checker.h"

#include <optional>
#include <string>
#include <vector>

namespace korvane {

struct ExportState;

/// One chat to check, and where its file is.
struct CheckedChat {
    const ChatInfo* chat = nullptr; ///< null if the database does not have it
    std::string guid{};
    std::string title{};
    std::string file{}; ///< inside the export folder; it need not exist
    std::optional<std::int64_t> lastRowID{}; ///< absent if the state does not know the chat
    bool wasExported = false; ///< the state recorded messages
    bool sharesFile = false;
};

struct CheckedChats {
    std::vector<CheckedChat> chats{}; ///< in the order of the database, then those it does not have
    std::vector<std::string> errors{};
};

/// Finds the chats within `scope` and their files. The state names a chat's file. A file that it
/// does not name belongs to the chat for which an export would give it that name, or otherwise to
/// the chat that its first record names. The result refers to `all`, the chats of the database.
CheckedChats checkedChats(const std::vector<ChatInfo>& all, const ContactNames& names,
    const std::filesystem::path& folder, const ExportState& state, const CheckScope& scope);

} // namespace korvane
