#include "export/Manifest.h"

#include "export/DateText.h"
#include "export/ExportState.h"
#include "export/Json.h"
#include "export/JsonReader.h"

#include <unicode/coll.h>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <memory>

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::optional<ManifestItem> itemFor(
    const fs::path& folder, const std::string& guid, const ChatState& record)
{
    struct stat file { };
    if (::stat((folder.native() + '/' + record.fileName).c_str(), &file) != 0)
        return std::nullopt;
    const std::chrono::sys_seconds modified{std::chrono::seconds(file.st_mtime)};
    return ManifestItem{
        .id = guid,
        .title = record.title.value_or(record.fileName),
        .file = record.fileName,
        .size = file.st_size,
        .messages = record.messages.value_or(0),
        .epoch = record.epoch.value_or("0"),
        .updated = DateText::wholeSeconds(modified),
    };
}

/// Compares as the user's locale does, without regard to case. The "C" locale sorts by
/// character code, capitals first, so there the order common to all languages stands in.
std::unique_ptr<icu::Collator> titleCollator()
{
    const icu::Locale& user = icu::Locale::getDefault();
    const bool plain = std::string_view(user.getVariant()) == "POSIX";
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(
        icu::Collator::createInstance(plain ? icu::Locale::getRoot() : user, status));
    if (U_FAILURE(status))
        return nullptr;
    collator->setStrength(icu::Collator::SECONDARY);
    return collator;
}

std::string sortKey(const icu::Collator& collator, const std::string& title)
{
    const auto text = icu::UnicodeString::fromUTF8(title);
    std::string key(8 * title.size() + 64, '\0'); // enough for nearly every title
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

std::string ManifestItem::toJson() const
{
    Json::Object object;
    object.text("id", id).text("title", title).text("file", file).number("size", size);
    object.number("messages", messages).text("epoch", epoch);
    if (updated)
        object.text("updated", *updated);
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
    const fs::path& folder, const std::set<std::string>& guids)
{
    std::vector<ManifestItem> items;
    for (const auto& [guid, record] : ExportState::load().chats) {
        if (!guids.contains(guid))
            continue;
        if (auto item = itemFor(folder, guid, record))
            items.push_back(std::move(*item));
    }
    sortByTitle(items);
    return items;
}

} // namespace korvane
