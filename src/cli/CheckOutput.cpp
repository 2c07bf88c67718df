#include "cli/CheckOutput.h"

#include "check/RecordCounts.h"
#include "cli/Console.h"
#include "cli/ExportCommand.h"
#include "export/KeptText.h"
#include "text/Json.h"
#include "text/TerminalText.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace korvane {

namespace {

/// A count of one chat, with the name that it has in the output.
struct NamedCount {
    const char* name;
    std::int64_t RecordCounts::*count;
};

constexpr NamedCount namedCounts[] = {
    {"records", &RecordCounts::records},
    {"new", &RecordCounts::fresh},
    {"missing", &RecordCounts::missing},
    {"doubled", &RecordCounts::doubled},
    {"torn", &RecordCounts::torn},
    {"changed", &RecordCounts::changed},
    {"foreign", &RecordCounts::foreign},
    {"renamed", &RecordCounts::renamed},
    {"gone", &RecordCounts::gone},
};

std::string inCapitals(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
        [](char letter) { return static_cast<char>(letter - 'a' + 'A'); });
    return text;
}

std::string tableOfDamage(const std::vector<ChatCheck>& chats)
{
    std::vector<Table::Column> columns{{.heading = "TITLE", .widest = 40}};
    for (const NamedCount& each : namedCounts)
        columns.push_back({inCapitals(each.name), Table::Align::Right});
    columns.push_back({"KEPT", Table::Align::Right});
    columns.push_back({"GUID"});
    Table table(std::move(columns));
    for (const ChatCheck& chat : chats) {
        if (chat.isIntact())
            continue;
        std::vector<std::string> cells{chat.title};
        for (const NamedCount& each : namedCounts)
            cells.push_back(std::to_string(chat.counts.*each.count));
        cells.push_back(std::to_string(chat.kept));
        cells.push_back(chat.guid);
        table.add(cells);
    }
    return table.text();
}

std::string summary(std::int64_t intact, std::int64_t damaged)
{
    if (intact + damaged == 0)
        return "No chat was checked: none was exported.\n";
    const std::string rest = damaged == 0
        ? ""
        : ", " + std::to_string(damaged) + (damaged == 1 ? " is not" : " are not");
    return countOf(intact, "chat") + (intact == 1 ? " is" : " are") + " intact" + rest + '\n';
}

std::int64_t damagedIn(const CheckResult& result)
{
    return std::count_if(result.chats.begin(), result.chats.end(),
        [](const ChatCheck& chat) { return !chat.isIntact(); });
}

std::string titlesOf(const CheckResult& result, bool (*isMeant)(const ChatCheck&))
{
    std::string titles;
    for (const ChatCheck& chat : result.chats) {
        if (isMeant(chat))
            titles.append(titles.empty() ? "" : ", ").append(chat.title);
    }
    return titles;
}

/// What a repair made of a chat.
std::string outcomeOf(const ChatCheck& chat)
{
    return chat.isIntact()
        ? "Repaired " + chat.title + ": " + countOf(chat.counts.records, "message")
        : "Could not repair " + chat.title;
}

std::string chatJson(const ChatCheck& chat)
{
    Json::Object object;
    object.value("guid", Json::quotedBytes(chat.guid))
        .value("title", Json::quotedBytes(chat.title))
        .value("file", Json::quotedBytes(chat.file));
    for (const NamedCount& each : namedCounts)
        object.number(each.name, chat.counts.*each.count);
    return object.number("kept", chat.kept).finished();
}

} // namespace

std::string checkAsText(const CheckResult& result)
{
    return (damagedIn(result) > 0 ? tableOfDamage(result.chats) : "") + summaryOf(result);
}

std::string summaryOf(const CheckResult& result)
{
    const std::int64_t damaged = damagedIn(result);
    std::string text = summary(static_cast<std::int64_t>(result.chats.size()) - damaged, damaged);
    if (result.unfiled > 0) {
        text += countOf(result.unfiled, "message") + (result.unfiled == 1 ? " belongs" : " belong")
            + " to no chat, so no file has " + (result.unfiled == 1 ? "it" : "them") + '\n';
    }
    return text;
}

std::string checkAsJson(const CheckResult& result, const RepairReport* repair)
{
    Json::Object object;
    object.value("chats", Json::array(result.chats, chatJson))
        .boolean("whole", result.isWhole())
        .number("unfiled", result.unfiled)
        .value("errors", Json::array(result.errors, Json::quotedBytes));
    if (repair)
        object.value("repaired", Json::array(repair->guids, Json::quotedBytes))
            .value("kept", Json::array(repair->kept, keptJson));
    return object.finished() + '\n';
}

std::string announcement(const CheckResult& result)
{
    const auto count = static_cast<std::int64_t>(result.repairable().size());
    if (count > 1) // their titles are in the table
        return "Repairing " + countOf(count, "chat")
            + ": the old files move to Kept/, and the chats are exported again.\n";
    const std::string title
        = titlesOf(result, [](const ChatCheck& chat) { return chat.canBeRepaired(); });
    return printable("Repairing " + title
               + ": the old file moves to Kept/, and the chat is exported again.")
        + '\n';
}

std::string repairAsText(const CheckResult& result, const RepairReport& repair)
{
    std::string text;
    const std::set<std::string_view> tried(repair.guids.begin(), repair.guids.end());
    for (const ChatCheck& chat : result.chats) {
        if (tried.contains(chat.guid))
            text.append(printable(outcomeOf(chat))).append(1, '\n');
    }
    return text + keptLines(repair.kept);
}

std::string questionAbout(const CheckResult& result, const std::string& database)
{
    const std::string titles = titlesOf(
        result, [](const ChatCheck& chat) { return chat.canBeRepaired() && chat.isForeign(); });
    return titles.empty()
        ? ""
        : "These files are from a different database than " + database + ": " + titles
            + ". A repair moves them to Kept/ and exports the chats again from this database. For "
              "a second source, such as a phone's backup, use a separate KORVANE_SYNC_HOME and "
              "--folder instead.";
}

std::vector<std::string> hintsAbout(const CheckResult& result, bool wasKilled)
{
    std::vector<std::string> hints;
    for (const ChatCheck& chat : result.chats) {
        if (!chat.isIntact() && !chat.isInDatabase) {
            hints.push_back(chat.title
                + ": Messages no longer has this chat, so its file can't be repaired. It stays as "
                  "it is.");
        }
    }
    const std::string lost = titlesOf(result, [](const ChatCheck& chat) { return chat.isLost; });
    if (!lost.empty())
        hints.push_back(
            "Neither Messages nor this folder has these chats, which were exported: " + lost + '.');
    if (wasKilled) {
        hints.push_back("The last export was killed. The next one, or check --repair, first undoes "
                        "what it left unfinished"
            + std::string(result.isWhole() ? "." : ", which may be the cause."));
        return hints; // the state may lack only the chats that are about to be undone
    }
    const std::int64_t doubling = std::ranges::count_if(result.chats, [](const ChatCheck& chat) {
        return chat.isIntact() && !chat.isInState && chat.isInDatabase && chat.counts.records > 0;
    });
    if (doubling > 0) {
        hints.push_back("The export state does not have " + std::to_string(doubling)
            + " of these chats, so the next export adds all messages to their files again. Then "
              "run check --repair, which removes the doubled ones.");
    }
    return hints;
}

} // namespace korvane
