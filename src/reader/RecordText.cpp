#include "reader/RecordText.h"

#include "text/TerminalText.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

constexpr std::pair<std::string_view, std::string_view> symbols[] = {
    {"love", "♥"},
    {"like", "👍"},
    {"dislike", "👎"},
    {"laugh", "😂"},
    {"emphasize", "‼"},
    {"question", "❓"},
};

/// The symbol of a reaction; a star for a kind that the format does not name.
std::string symbolOf(const Record& record)
{
    const auto* const found = std::ranges::find(symbols,
        std::string_view(record.reactionKind ? *record.reactionKind : ""),
        &std::pair<std::string_view, std::string_view>::first);
    return std::string(found == std::end(symbols) ? "★" : found->second);
}

std::string trimmedBody(const Record& record)
{
    constexpr const char* white = " \n";
    const std::string text = printableLines(record.body);
    const std::size_t first = text.find_first_not_of(white);
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(white) + 1 - first);
}

} // namespace

std::string RecordText::body(const Record& record)
{
    std::string text = trimmedBody(record);
    return text.empty() && attachments(record).empty() ? "[no text]" : std::move(text);
}

std::string RecordText::attachments(const Record& record)
{
    const std::int64_t photos = record.photoCount.value_or(0);
    if (photos > 0)
        return photos == 1 ? "[photo]" : "[" + std::to_string(photos) + " photos]";
    return record.attachmentCount > 0 ? "[attachment]" : "";
}

std::string RecordText::firstWords(const Record& record)
{
    constexpr std::size_t longest = 400; // bytes; more than any line shows
    Record beginning = record;
    beginning.body.resize(std::min(beginning.body.size(), longest));
    std::string text = trimmedBody(beginning);
    std::ranges::replace(text, '\n', ' ');
    return text.empty() ? body(record) + attachments(record) : text;
}

std::string RecordText::ofSystemLine(const Record& record)
{
    const std::string text = trimmedBody(record);
    return text.empty() ? "[changed something in the chat]" : text;
}

std::string RecordText::ofReactions(const std::vector<Record>& reactions)
{
    std::vector<std::pair<std::string, std::string>> groups; // symbol and names, in order
    for (const Record& reaction : reactions) {
        const std::string symbol = symbolOf(reaction);
        const auto group
            = std::ranges::find(groups, symbol, &std::pair<std::string, std::string>::first);
        if (group == groups.end())
            groups.emplace_back(symbol, printable(reaction.sender));
        else
            group->second += ", " + printable(reaction.sender);
    }
    std::string text;
    for (const auto& [symbol, names] : groups)
        text.append(text.empty() ? "" : "  ").append(symbol).append(1, ' ').append(names);
    return text;
}

std::string RecordText::ofReaction(const Record& record, const std::string& quote)
{
    const bool isRemoval = record.recordKind == "reaction-removal";
    std::string text = trimmedBody(record);
    if (quote.empty() && !text.empty())
        return text;
    return symbolOf(record) + (isRemoval ? " removed from " : " to ")
        + (quote.empty() ? "a message that is not here" : quote);
}

} // namespace korvane
