#include "cli/ChatSelection.h"

#include "cli/DatabaseHelp.h"
#include "contacts/VCardSource.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace korvane {

namespace {

MessagesDB openOrExplain(const std::string& path)
{
    try {
        return MessagesDB(path);
    } catch (const DBError& error) {
        throw UnreadableDatabase(path + ": " + error.message, databaseHelp(path));
    }
}

} // namespace

std::vector<ChatInfo> readChats(const Sources& sources)
{
    MessagesDB database = openOrExplain(sources.database);
    try {
        return database.chats();
    } catch (const DBError& error) {
        throw DBError(sources.database + ": " + error.message);
    }
}

ContactNames readNames(const Sources& sources)
{
    if (!sources.contacts)
        return ContactNames::load();
    auto names = ContactNames::loadChosen(VCardSource(*sources.contacts));
    if (!names)
        throw std::runtime_error(*sources.contacts + ": There are no contacts here.");
    return std::move(*names);
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

} // namespace korvane
