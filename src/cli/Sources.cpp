#include "cli/Sources.h"

#include "backup/OpenedBackup.h"
#include "cli/Console.h"
#include "contacts/VCardSource.h"
#include "messages/DatabaseFault.h"

#include <QString>
#include <QSysInfo>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace korvane {

namespace {

DatabaseSituation situationOf(const std::string& path)
{
    return {.path = path,
        .named = path != MessagesDB::path(),
        .onAMac = QSysInfo::kernelType() == QStringLiteral("darwin")};
}

MessagesDB openOrExplain(const Sources& sources)
{
    try {
        return MessagesDB(sources.database);
    } catch (const DBError& error) {
        throw UnreadableDatabase(
            sources.name() + ": " + error.message, databaseHelp(sources.database));
    }
}

/// The cause of a failure to read a database that was opened. The probe may not meet it: a damaged
/// page is found only by the statement that needs it.
DatabaseFault faultBehind(const DBError& error, const std::string& path)
{
    if (error.message == "database disk image is malformed")
        return {DatabaseFault::Cause::Damaged, error.message};
    if (error.message.starts_with("no such "))
        return {DatabaseFault::Cause::NotMessages, error.message};
    DatabaseFault fault = findDatabaseFault(path);
    const bool isKnown = fault.cause != DatabaseFault::Cause::Gone;
    return isKnown ? fault : DatabaseFault{DatabaseFault::Cause::Other, error.message};
}

std::vector<ChatInfo> chatsOf(MessagesDB& database, const Sources& sources)
{
    try {
        return database.chats();
    } catch (const DBError& error) {
        throw UnreadableDatabase(sources.name() + ": " + error.message,
            sources.backup ? "The backup is damaged: make it again."
                           : databaseHelp(faultBehind(error, sources.database),
                               situationOf(sources.database)));
    }
}

} // namespace

std::vector<ChatInfo> readChats(const Sources& sources)
{
    MessagesDB database = openOrExplain(sources);
    return chatsOf(database, sources);
}

std::optional<std::vector<ChatInfo>> readChangedChats(const Sources& sources, LastRead& lastRead)
{
    const bool isUpToDate = lastRead.isUpToDate(sources.database); // before it is opened
    MessagesDB database = openOrExplain(sources);
    if (isUpToDate)
        return std::nullopt;
    std::vector<ChatInfo> chats = chatsOf(database, sources);
    lastRead.setDone();
    return chats;
}

LoadedNames loadNames(const Sources& sources, const AccessPrompt& prompt)
{
    if (!sources.contacts && sources.backupInUse)
        return ContactNames::load(sources.backupInUse->contacts());
    if (!sources.contacts)
        return ContactNames::load(prompt);
    if (*sources.contacts == Sources::noContacts)
        return {};
    ContactSources chosen;
    chosen.push_back(std::make_unique<VCardSource>(*sources.contacts));
    LoadedNames loaded = ContactNames::load(chosen);
    // The path is probably wrong, and an export without names would rename every chat.
    if (loaded.contacts == 0)
        throw std::runtime_error(*sources.contacts + ": There are no contacts here.");
    return loaded;
}

ContactNames readNames(const Sources& sources, const AccessPrompt& prompt)
{
    LoadedNames loaded = loadNames(sources, prompt);
    if (!loaded.isUnanswered())
        return std::move(loaded.names);
    throw std::runtime_error("The contacts cannot be read completely: " + loaded.reading.silent
        + " does not answer. Without their names, files would be begun anew. Try again, name other "
          "contacts with --contacts FILE, or write bare numbers with --contacts none.");
}

AccessPrompt promptOn(const Console& console, std::function<bool()> isCancelled)
{
    return {.onOpen =
                [&console] {
                    console.complain("The system asks whether this program may read your contacts. "
                                     "Waiting for your answer.");
                },
        .isCancelled = std::move(isCancelled)};
}

ChatSelection selectChats(std::vector<ChatInfo> all, const std::vector<std::string>& guids)
{
    ChatSelection selection;
    for (const std::string& guid : guids) {
        const bool known = std::any_of(
            all.begin(), all.end(), [&guid](const ChatInfo& chat) { return chat.guid == guid; });
        if (!known)
            selection.unknown.push_back(guid);
    }
    std::copy_if(std::make_move_iterator(all.begin()), std::make_move_iterator(all.end()),
        std::back_inserter(selection.chats), [&guids](const ChatInfo& chat) {
            return std::find(guids.begin(), guids.end(), chat.guid) != guids.end();
        });
    return selection;
}

namespace {

using Cause = DatabaseFault::Cause;

/// For example "chat.db, chat.db-wal and chat.db-shm together".
std::string allFilesOf(const std::string& path)
{
    const std::string name = std::filesystem::path(path).filename().string();
    return name + ", " + name + "-wal and " + name + "-shm together";
}

std::string reasonOf(const DatabaseFault& fault)
{
    switch (fault.cause) {
    case Cause::NotAFile:
        return "This is " + fault.reason + ", not a database file.";
    case Cause::PipeBeside:
        return fault.reason + " is a named pipe, but SQLite needs a file there.";
    case Cause::Empty:
        return "The file is empty (" + fault.reason + ").";
    case Cause::Gone:
        return "It can be read now.";
    default:
        return "SQLite says: " + fault.reason + '.';
    }
}

/// True if the privacy settings of macOS probably hide the database; it then fails with one of
/// several causes.
bool isProbablyHidden(Cause cause, const DatabaseSituation& situation)
{
    return situation.onAMac
        && (cause == Cause::Denied
            || (!situation.named && (cause == Cause::LogUnusable || cause == Cause::Other)));
}

std::string remedyFor(Cause cause, const std::string& path)
{
    switch (cause) {
    case Cause::Missing:
        return " Check the path.";
    case Cause::NotAFile:
    case Cause::Other:
        return "";
    case Cause::PipeBeside:
        return " Remove it, or copy the database into another folder.";
    case Cause::Empty:
        return " Copy " + allFilesOf(path) + " again.";
    case Cause::Denied:
        return " Check who may read the file and the folders above it.";
    case Cause::LogUnusable:
        return " Copy " + allFilesOf(path)
            + " into a folder that you may write to, and name that copy with --database FILE.";
    case Cause::Locked:
        return " Another program holds a lock on it: try again when that has finished.";
    case Cause::NotADatabase:
        return " The file is encrypted, or it is not a database.";
    case Cause::Damaged:
        return " The file is damaged or not complete: copy " + allFilesOf(path)
            + " again while Messages is closed.";
    case Cause::NotMessages:
        return " This is a database, but not one of Messages.";
    case Cause::Gone:
        return " Another program was probably busy with it: try again.";
    }
    return "";
}

std::string remedyFor(Cause cause, const DatabaseSituation& situation)
{
    if (isProbablyHidden(cause, situation))
        return " Allow your terminal program Full Disk Access (System Settings, Privacy & "
               "Security), then start it again.";
    if (!situation.named && cause == Cause::Missing)
        return " This is where a Mac keeps its Messages. Elsewhere, copy "
            + allFilesOf(situation.path) + " from a Mac, and name the copy with --database FILE.";
    const bool saysHowToName = situation.named || cause == Cause::LogUnusable;
    return remedyFor(cause, situation.path)
        + (saysHowToName ? "" : " Name another file with --database FILE.");
}

} // namespace

std::string databaseHelp(const DatabaseFault& fault, const DatabaseSituation& situation)
{
    return reasonOf(fault) + remedyFor(fault.cause, situation);
}

std::string databaseHelp(const std::string& path)
{
    return databaseHelp(findDatabaseFault(path), situationOf(path));
}

} // namespace korvane
