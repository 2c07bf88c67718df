#pragma once

#include "contacts/ContactNames.h"
#include "messages/MessagesDB.h"
#include "storage/LastRead.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane {

class OpenedBackup;
struct Console;
struct DatabaseFault;

/// The database and the contacts that a command works on.
struct Sources {
    std::string database = MessagesDB::path();

    /// A vCard file, pipe or folder, or `noContacts`; absent: the platform's.
    std::optional<std::string> contacts;

    /// Stands for no contacts at all. A file of this name is "./none".
    static constexpr std::string_view noContacts = "none";

    /// The folder of a phone's backup, or of several, to read instead of `database`.
    std::optional<std::string> backup;

    /// Where an encrypted backup's password is: a file, or an open descriptor. With neither, the
    /// user is asked.
    std::optional<std::string> passwordFile;
    std::optional<int> passwordDescriptor;

    /// The backup, once it is opened, see opened(). Its database is then `database`.
    std::shared_ptr<const OpenedBackup> backupInUse;

    /// What the user called the database, for texts.
    const std::string& name() const { return backup ? *backup : database; }

    bool operator==(const Sources&) const = default;
};

/// The chats of the database. Throws UnreadableDatabase with the file's path in front of its text.
std::vector<ChatInfo> readChats(const Sources& sources);

/// The same, or nothing if they are still as when `lastRead` was set. The database is opened in any
/// case.
std::optional<std::vector<ChatInfo>> readChangedChats(const Sources& sources, LastRead& lastRead);

/// The names from the contacts, which may not be all: see LoadedNames. Throws std::runtime_error if
/// `sources` names a path and no contact can be read there.
LoadedNames loadNames(const Sources& sources, const AccessPrompt& prompt = {});

/// The names from the contacts. Throws std::runtime_error, with the ways on in its text, if they do
/// not answer: chats would lose their names, and their files would be started from scratch, now and
/// again when the names are back.
ContactNames readNames(const Sources& sources, const AccessPrompt& prompt = {});

/// Says on `console` that the system asks the user for access.
AccessPrompt promptOn(const Console& console, std::function<bool()> isCancelled = {});

/// The chats with the given guids, in the order of `all`, and the guids that no chat has.
struct ChatSelection {
    std::vector<ChatInfo> chats;
    std::vector<std::string> unknown;

    bool operator==(const ChatSelection&) const = default;
};

ChatSelection selectChats(std::vector<ChatInfo> all, const std::vector<std::string>& guids);

/// Thrown if a database cannot be opened or read at all. `message` is the error text; `help`
/// explains the cause to people and is never part of JSON output.
struct UnreadableDatabase : DBError {
    UnreadableDatabase(std::string text, std::string helpText)
        : DBError(std::move(text))
        , help(std::move(helpText))
    {
    }

    std::string help;
};

/// What the advice depends on besides the cause.
struct DatabaseSituation {
    std::string path;
    bool named = true; ///< the user named the file; otherwise it is MessagesDB::path()
    bool onAMac = false; ///< on macOS, whose privacy settings hide files from programs
};

/// One line: the cause as SQLite or the system reports it, and what to do about it.
std::string databaseHelp(const DatabaseFault& fault, const DatabaseSituation& situation);

/// The same for the database at `path`, which has just failed to open. Looks for the cause now.
std::string databaseHelp(const std::string& path);

} // namespace korvane
