#include "export/Manifest.h"

#include "export/DateText.h"
#include "export/ExportState.h"
#include "storage/FileReader.h"
#include "text/Json.h"
#include "text/JsonReader.h"

#include <unicode/coll.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::optional<ManifestItem> itemFor(
    const fs::path& folder, const std::string& guid, const ChatState& record)
{
    const auto file = RegularFile::at(folder.native() + '/' + record.fileName);
    if (!file)
        return std::nullopt;
    return ManifestItem{
        .id = guid,
        .title = record.title.value_or(record.fileName),
        .file = record.fileName,
        .size = file->size,
        .messages = record.messages.value_or(0),
        .epoch = record.epoch.value_or("0"),
        .updated = DateText::wholeSeconds(file->modified),
    };
}

/// The user's collation locale, without charset and modifier. As in POSIX, the first of these
/// variables that is not empty decides. ICU's default locale would follow LC_MESSAGES instead.
std::string collationLocale()
{
    for (const char* variable : {"LC_ALL", "LC_COLLATE", "LANG"}) {
        const std::string_view name = std::getenv(variable) ? std::getenv(variable) : "";
        if (!name.empty())
            return std::string(name.substr(0, name.find_first_of(".@")));
    }
    return "C";
}

/// A case-insensitive collator for that locale. The "C" and "POSIX" locales sort by character code,
/// capitals first, so ICU's root collation is used for them. Null if ICU cannot create a collator.
std::unique_ptr<icu::Collator> titleCollator()
{
    const std::string name = collationLocale();
    const bool plain = name == "C" || name == "POSIX";
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(
        plain ? icu::Locale::getRoot() : icu::Locale::createCanonical(name.c_str()), status));
    if (U_FAILURE(status))
        return nullptr;
    collator->setStrength(icu::Collator::SECONDARY);
    return collator;
}

std::string sortKey(const icu::Collator& collator, const std::string& title)
{
    const auto text = icu::UnicodeString::fromUTF8(title);
    std::string key(8 * title.size() + 64, '\0'); // long enough for nearly every key
    const auto writeKey = [&] {
        return static_cast<std::size_t>(collator.getSortKey(
            text, reinterpret_cast<uint8_t*>(key.data()), static_cast<int32_t>(key.size())));
    };
    const std::size_t needed = writeKey();
    const bool fitted = needed <= key.size();
    key.resize(needed);
    if (!fitted)
        writeKey();
    return key;
}

void sortByTitle(std::vector<ManifestItem>& items)
{
    const auto collator = titleCollator();
    std::vector<std::pair<std::string, ManifestItem*>> keyed;
    keyed.reserve(items.size());
    for (ManifestItem& item : items)
        keyed.emplace_back(collator ? sortKey(*collator, item.title) : item.title, &item);
    std::stable_sort(keyed.begin(), keyed.end(),
        [](const auto& left, const auto& right) { return left.first < right.first; });
    std::vector<ManifestItem> sorted;
    sorted.reserve(items.size());
    for (const auto& [key, item] : keyed)
        sorted.push_back(std::move(*item));
    items = std::move(sorted);
}

ManifestItem itemFrom(const JsonReader::Value& object)
{
    using namespace JsonReader;
    return {
        .id = text(required(object, "id")),
        .title = text(required(object, "title")),
        .file = text(required(object, "file")),
        .size = integer(required(object, "size")),
        .messages = integer(required(object, "messages")),
        .epoch = text(required(object, "epoch")),
        .updated = optional(object, "updated", text),
    };
}

} // namespace

std::string ManifestItem::toJson(Form form) const
{
    const auto slash = form == Form::Sent ? Json::Slash::Escaped : Json::Slash::Plain;
    const auto quoted = [slash](const std::string& text) { return Json::quoted(text, slash); };
    std::vector<std::pair<std::string_view, std::string>> members{{"id", quoted(id)},
        {"title", quoted(title)}, {"file", quoted(file)}, {"size", std::to_string(size)},
        {"messages", std::to_string(messages)}, {"epoch", quoted(epoch)}};
    if (updated)
        members.emplace_back("updated", quoted(*updated));
    if (form == Form::Sent)
        std::sort(members.begin(), members.end());
    Json::Object object;
    for (const auto& [key, json] : members)
        object.value(key, json);
    return object.finished();
}

std::optional<ManifestItem> ManifestItem::fromJson(std::string_view json)
{
    try {
        const auto document = JsonReader::parsed(json);
        return itemFrom(JsonReader::object(document));
    } catch (const JsonReader::Malformed&) {
        return std::nullopt;
    }
}

std::vector<ManifestItem> Exporter::manifest(
    const fs::path& folder, const std::set<std::string>& guids, const SupportFolder& support)
{
    std::vector<ManifestItem> items;
    for (const auto& [guid, record] : ExportState::load(support).chats) {
        if (!guids.contains(guid))
            continue;
        if (auto item = itemFor(folder, guid, record))
            items.push_back(std::move(*item));
    }
    sortByTitle(items);
    return items;
}

} // namespace korvane
