#include "state/DatabaseCheck.h"

#include <sys/stat.h>

#include <algorithm>

namespace korvane {

bool DatabaseCheck::isDue(const std::vector<ChatInfo>& chats, const std::string& database)
{
    struct stat status { };
    std::optional<FileIdentity> file;
    if (::stat(database.c_str(), &status) == 0)
        file.emplace(status.st_dev, status.st_ino);
    if (!file || file != m_file)
        m_done.clear();
    m_file = file;
    return !std::all_of(chats.begin(), chats.end(),
        [this](const ChatInfo& chat) { return m_done.contains(chat.guid); });
}

void DatabaseCheck::setDone(const std::vector<ChatInfo>& chats)
{
    for (const ChatInfo& chat : chats)
        m_done.insert(chat.guid);
}

} // namespace korvane
