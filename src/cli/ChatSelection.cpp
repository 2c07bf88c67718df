#include "cli/ChatSelection.h"

#include "contacts/VCardSource.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace korvane {

std::vector<ChatInfo> readChats(const Sources& sources)
{
    try {
        return MessagesDB(sources.database).chats();
    } catch (const DBError& error) {
        throw DBError(sources.database + ": " + error.message);
    }
}

ContactNames readNames(const Sources& sources)
{
    if (!sources.contacts)
        return ContactNames::load();
    std::error_code failure;
    if (!std::filesystem::exists(*sources.contacts, failure))
        throw std::runtime_error(*sources.contacts + ": There are no contacts here.");
    ContactSources chosen;
    chosen.push_back(std::make_unique<VCardSource>(*sources.contacts));
    return ContactNames::load(chosen);
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
