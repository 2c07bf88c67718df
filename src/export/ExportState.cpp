#include "export/ExportState.h"

#include "storage/Files.h"
#include "text/Json.h"
#include "text/JsonReader.h"

#include <algorithm>
#include <system_error>

namespace korvane {

namespace {

std::string chatJson(const ChatState& chat)
{
    Json::Object object(Json::Slash::Escaped);
    object.number("lastRowID", chat.lastRowID).text("fileName", chat.fileName);
    if (chat.title)
        object.text("title", *chat.title);
    if (chat.messages)
        object.number("messages", *chat.messages);
    if (chat.epoch)
        object.text("epoch", *chat.epoch);
    if (chat.formatVersion)
        object.number("formatVersion", *chat.formatVersion);
    return object.finished();
}

ChatState chatFrom(const JsonReader::Value& record)
{
    using namespace JsonReader;
    return {
        .lastRowID = integer(required(record, "lastRowID")),
        .fileName = text(required(record, "fileName")),
        .title = optional(record, "title", text),
        .messages = optional(record, "messages", integer),
        .epoch = optional(record, "epoch", text),
        .formatVersion = optional(record, "formatVersion", integer),
    };
}

ExportState stateFrom(const JsonReader::Value& root)
{
    using namespace JsonReader;
    ExportState state;
    for (const auto& chat : object(required(object(root), "chats")).GetObject())
        state.chats.emplace(text(chat.name), chatFrom(object(chat.value))); // the first wins
    return state;
}

} // namespace

const ChatState* ExportState::current(const std::string& guid) const
{
    const auto known = chats.find(guid);
    return known != chats.end() && known->second.isCurrent() ? &known->second : nullptr;
}

bool ExportState::isNameOfAnother(const std::string& guid, const std::string& name) const
{
    return std::ranges::any_of(chats,
        [&](const auto& entry) { return entry.first != guid && entry.second.fileName == name; });
}

std::string ExportState::toJson() const
{
    std::string chatsJson;
    for (const auto& [guid, chat] : chats) {
        chatsJson += chatsJson.empty() ? '{' : ',';
        chatsJson.append(Json::quoted(guid, Json::Slash::Escaped)).append(1, ':');
        chatsJson += chatJson(chat);
    }
    return R"({"chats":)" + (chatsJson.empty() ? "{" : chatsJson) + "}}";
}

std::optional<ExportState> ExportState::fromJson(std::string_view json)
{
    try {
        return stateFrom(JsonReader::parsed(json));
    } catch (const JsonReader::Malformed&) {
        return std::nullopt;
    }
}

ExportState ExportState::load(const SupportFolder& support)
{
    const auto json = Files::read(support.file(ExportState::fileName));
    return json ? fromJson(*json).value_or(ExportState()) : ExportState();
}

bool Exporter::saveState(const ExportState& state, const SupportFolder& support)
{
    try {
        Files::writeAtomically(
            support.file(ExportState::fileName), state.toJson(), Files::Access::OwnerOnly);
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

} // namespace korvane
