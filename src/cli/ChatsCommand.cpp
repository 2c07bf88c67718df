#include "cli/ChatsCommand.h"

#include "cli/BackupSource.h"
#include "cli/Console.h"
#include "contacts/ContactNames.h"
#include "export/DateText.h"
#include "export/Exporter.h"
#include "text/Json.h"

#include <QDateTime>

#include <cmath>

namespace korvane {

namespace {

std::string localDate(const ChatInfo& chat)
{
    if (!chat.lastDate)
        return "";
    const auto seconds = static_cast<qint64>(std::floor(chat.lastDate->count()));
    return QDateTime::fromSecsSinceEpoch(seconds + referenceDateUnixSeconds)
        .toString(QStringLiteral("yyyy-MM-dd HH:mm"))
        .toStdString();
}

std::string table(const std::vector<ChatInfo>& chats, const ContactNames& names)
{
    Table table({{.heading = "TITLE", .widest = 40}, {"MESSAGES", Table::Align::Right},
        {"LAST DATE"}, {"KIND"}, {"GUID"}});
    for (const ChatInfo& chat : chats) {
        table.add({Exporter::title(chat, names), std::to_string(chat.messageCount), localDate(chat),
            chat.isGroup ? "group" : "person", chat.guid});
    }
    return table.text();
}

std::string chatJson(const ChatInfo& chat, const ContactNames& names)
{
    const auto quoted = [](const std::string& text) { return Json::quoted(text); };
    const std::string date
        = chat.lastDate ? quoted(std::string(DateText().withMilliseconds(*chat.lastDate))) : "null";
    return Json::Object()
        .number("id", chat.id)
        .text("guid", chat.guid)
        .text("title", Exporter::title(chat, names))
        .text("displayName", chat.displayName)
        .text("identifier", chat.identifier)
        .boolean("isGroup", chat.isGroup)
        .value("lastDate", date)
        .number("messageCount", chat.messageCount)
        .value("members", Json::array(chat.members, quoted))
        .finished();
}

} // namespace

int runChats(const ChatsOptions& options, const Console& console)
{
    const Sources sources = opened(options.sources, console);
    const std::vector<ChatInfo> chats = readChats(sources);
    const LoadedNames loaded = loadNames(sources, promptOn(console));
    if (loaded.isUnanswered())
        console.complain(
            "Some names may be missing: " + loaded.reading.silent + " does not answer.");
    const ContactNames& names = loaded.names;
    const auto toJson = [&names](const ChatInfo& chat) { return chatJson(chat, names); };
    console.out << (options.json ? Json::array(chats, toJson) + '\n' : table(chats, names));
    return ExitCode::success;
}

} // namespace korvane
