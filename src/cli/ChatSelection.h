#pragma once

#include "contacts/ContactNames.h"
#include "messages/MessageTypes.h"
#include "messages/MessagesDB.h"

#include <optional>
#include <string>
#include <vector>

namespace korvane {

/// The database and the contacts that a command works on.
struct Sources {
    std::string database = MessagesDB::path();
    std::optional<std::string> contacts; ///< a vCard file, pipe or folder; absent: the platform's

    bool operator==(const Sources&) const = default;
};

/// The chats of the database. Throws DBError with the file's path in front of its text. If the
/// database cannot be opened, the exception is an UnreadableDatabase.
std::vector<ChatInfo> readChats(const Sources& sources);

/// The names from the contacts. Throws std::runtime_error if `sources` names a path and no contact
/// can be read there.
ContactNames readNames(const Sources& sources);

/// The chats with the given guids, in the order of `all`, and the guids that no chat has.
struct ChatSelection {
    std::vector<ChatInfo> chats;
    std::vector<std::string> unknown;

    bool operator==(const ChatSelection&) const = default;
};

ChatSelection selectChats(std::vector<ChatInfo> all, const std::vector<std::string>& guids);

} // namespace korvane
