#include "cli/SyncWithProgress.h"

#include "cli/ProgressBar.h"

#include <numeric>

namespace korvane {

namespace {

std::int64_t messageCount(const std::vector<ChatInfo>& chats)
{
    return std::accumulate(chats.begin(), chats.end(), std::int64_t{0},
        [](std::int64_t sum, const ChatInfo& chat) { return sum + chat.messageCount; });
}

} // namespace

SyncResult syncWithProgress(const std::vector<ChatInfo>& chats, const ContactNames& names,
    const std::string& folder, const std::string& database, const Interruption& interruption,
    const Console& console)
{
    ProgressBar bar(console.err, console.errIsTerminal, messageCount(chats));
    std::int64_t done = 0;
    return Exporter::sync(chats, names, folder, database, [&](const ChatInfo& chat) {
        bar.show(done, Exporter::title(chat, names));
        done += chat.messageCount;
        return !interruption.requested();
    });
}

} // namespace korvane
