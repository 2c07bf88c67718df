#include "history/ArchiveModel.h"

#include "storage/Files.h"
#include "storage/Paths.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdlib>

namespace korvane {

namespace fs = std::filesystem;

namespace {

const QStringList referenceKeys{
    QStringLiteral("photoCount"), QStringLiteral("reactionTargetID"), QStringLiteral("replyToID")};

std::string text(const QJsonObject& json, const char* key)
{
    return json[QLatin1String(key)].toString().toStdString();
}

std::string asText(const QJsonObject& json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact).toStdString();
}

bool isComplete(const QJsonObject& json)
{
    static const QStringList keys{QStringLiteral("attachmentCount"), QStringLiteral("body"),
        QStringLiteral("conversationID"), QStringLiteral("conversationName"),
        QStringLiteral("date"), QStringLiteral("id"), QStringLiteral("isOutgoing"),
        QStringLiteral("sender"), QStringLiteral("textUnavailable")};
    return std::all_of(
        keys.begin(), keys.end(), [&json](const QString& key) { return json.contains(key); });
}

/// Whether the database still has what this record says.
bool isStillThere(const ReadRecord& record, const FreshChat& chat)
{
    const ReadRecord* const now = chat.record(record.id);
    return now && now->date == record.date && now->senderID == record.senderID
        && now->kind == record.kind && (record.body.empty() || now->body == record.body);
}

/// Restarts the chat's file: the old one is kept if the database no longer has all of it.
void restart(Archive& archive, const FreshChat& chat)
{
    const auto old = archive.bytes(chat);
    const auto records = ReadLines::from(old.value_or("")).all();
    const bool still = std::all_of(records.begin(), records.end(),
        [&chat](const ReadRecord& record) { return isStillThere(record, chat); });
    if (old && !still)
        archive.kept.insert(*old);
    archive.files[archive.fileName(chat)] = chat.bytesAfter(0);
}

bool isForeign(const ReadRecord& inFile, const ReadRecord& inDatabase)
{
    return std::abs(inFile.milliseconds - inDatabase.milliseconds) > 1000
        && (inFile.senderID != inDatabase.senderID || inFile.isOutgoing != inDatabase.isOutgoing
            || inFile.body != inDatabase.body);
}

/// A reference or count that only the file has is no difference.
bool isChanged(const ReadRecord& inFile, const ReadRecord& inDatabase)
{
    return inFile.rest != inDatabase.rest
        || std::any_of(inDatabase.references.begin(), inDatabase.references.end(),
            [&inFile](const auto& reference) {
                const auto other = inFile.references.find(reference.first);
                return other == inFile.references.end() || other->second != reference.second;
            });
}

const char* differenceOf(const ReadRecord& inFile, const ReadRecord* inDatabase)
{
    if (!inDatabase)
        return "gone";
    if (inFile.line == inDatabase->line)
        return "same";
    if (isForeign(inFile, *inDatabase))
        return "foreign";
    if (isChanged(inFile, *inDatabase))
        return "changed";
    return inFile.names != inDatabase->names ? "renamed" : "same";
}

bool isRepaired(const Archive& archive, const FreshChat& chat)
{
    return (archive.known(chat.guid) || archive.bytes(chat))
        && !isIntact(expectedCounts(archive, chat));
}

} // namespace

std::optional<ReadRecord> ReadRecord::from(const std::string& line)
{
    QJsonObject json = QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
    if (!isComplete(json))
        return std::nullopt;
    ReadRecord record{.line = line,
        .guid = text(json, "conversationID"),
        .id = text(json, "id"),
        .rowID = json[u"id"].toString().section(QLatin1Char(':'), -1).toLongLong(),
        .date = text(json, "date"),
        .senderID = text(json, "senderID"),
        .isOutgoing = json[u"isOutgoing"].toBool(),
        .kind = text(json, "recordKind"),
        .body = text(json, "body")};
    record.milliseconds
        = QDateTime::fromString(json[u"date"].toString(), Qt::ISODateWithMs).toMSecsSinceEpoch();
    for (const QString& key : referenceKeys) {
        if (json.contains(key))
            record.references[key.toStdString()] = asText({{key, json.take(key)}});
    }
    record.names = asText({{QStringLiteral("chat"), json.take(u"conversationName")},
        {QStringLiteral("sender"), json.take(u"sender")}});
    record.rest = asText(json);
    return record;
}

ReadLines ReadLines::from(const std::string& bytes)
{
    ReadLines lines;
    for (std::size_t begin = 0; begin < bytes.size();) {
        const std::size_t end = bytes.find('\n', begin);
        const std::string line = bytes.substr(begin, end - begin);
        const auto record = end == std::string::npos ? std::nullopt : ReadRecord::from(line);
        if (record)
            lines.records.push_back(*record);
        else
            lines.addTorn(line);
        begin = end == std::string::npos ? bytes.size() : end + 1;
    }
    return lines;
}

void ReadLines::addTorn(const std::string& line)
{
    constexpr const char* start = "{\"attachmentCount\":";
    ++torn;
    for (std::size_t begin = line.find(start); begin != std::string::npos;) {
        const std::size_t next = line.find(start, begin + 1);
        if (const auto record = ReadRecord::from(line.substr(begin, next - begin)))
            inTornLines.push_back(*record);
        begin = next;
    }
}

std::vector<ReadRecord> ReadLines::all() const
{
    std::vector<ReadRecord> all = records;
    all.insert(all.end(), inTornLines.begin(), inTornLines.end());
    return all;
}

std::string FreshChat::bytesAfter(std::int64_t rowID) const
{
    std::string bytes;
    for (const ReadRecord& record : records)
        bytes += record.rowID > rowID ? record.line + '\n' : "";
    return bytes;
}

const ReadRecord* FreshChat::record(const std::string& id) const
{
    const auto found = std::find_if(records.begin(), records.end(),
        [&id](const ReadRecord& record) { return record.id == id; });
    return found != records.end() ? &*found : nullptr;
}

Archive Archive::at(const fs::path& folder, const fs::path& support)
{
    Archive archive{.state = ExportState::load(SupportFolder(support))};
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        if (entry.is_regular_file())
            archive.files[entry.path().filename()] = Files::read(entry.path()).value_or("");
    }
    for (const auto& entry : fs::directory_iterator(folder / "Kept", ignored))
        archive.kept.insert(Files::read(entry.path()).value_or(""));
    return archive;
}

const ChatState* Archive::known(const std::string& guid) const
{
    const auto found = state.chats.find(guid);
    const bool current
        = found != state.chats.end() && found->second.formatVersion == currentFormatVersion;
    return current ? &found->second : nullptr;
}

std::string Archive::fileName(const FreshChat& chat) const
{
    const ChatState* const record = known(chat.guid);
    return record ? record->fileName : chat.fileName;
}

std::optional<std::string> Archive::bytes(const FreshChat& chat) const
{
    const auto found = files.find(fileName(chat));
    return found != files.end() ? std::optional(found->second) : std::nullopt;
}

std::int64_t Archive::lastRowID(const FreshChat& chat) const
{
    if (const ChatState* const record = known(chat.guid))
        return record->lastRowID;
    std::int64_t highest = 0;
    for (const ReadRecord& record : ReadLines::from(bytes(chat).value_or("")).records)
        highest = std::max(highest, record.rowID);
    return highest;
}

bool Archive::hasStrayFiles(const std::vector<FreshChat>& chats) const
{
    return std::any_of(files.begin(), files.end(), [&](const auto& file) {
        const bool inState = std::any_of(state.chats.begin(), state.chats.end(),
            [&file](const auto& chat) { return chat.second.fileName == file.first; });
        const bool expected = std::any_of(chats.begin(), chats.end(),
            [&](const FreshChat& chat) { return fileName(chat) == file.first; });
        return !inState && !expected;
    });
}

std::map<std::string, std::int64_t> expectedCounts(const Archive& archive, const FreshChat& chat)
{
    const ReadLines lines = ReadLines::from(archive.bytes(chat).value_or(""));
    std::map<std::string, std::int64_t> counts{{"records", 0}, {"new", 0}, {"missing", 0},
        {"doubled", 0}, {"torn", lines.torn}, {"changed", 0}, {"foreign", 0}, {"renamed", 0},
        {"gone", 0}, {"kept", 0}};
    std::set<std::string> seen;
    counts["records"] = static_cast<std::int64_t>(lines.records.size());
    for (const ReadRecord& record : lines.records)
        ++counts[seen.insert(record.id).second ? differenceOf(record, chat.record(record.id))
                                               : "doubled"];
    counts.erase("same");
    for (const ReadRecord& record : chat.records) {
        if (!seen.contains(record.id))
            ++counts[record.rowID > archive.lastRowID(chat) ? "new" : "missing"];
    }
    for (const std::string& bytes : archive.kept) {
        for (const ReadRecord& record : ReadLines::from(bytes).records)
            counts["kept"] += record.guid == chat.guid ? 1 : 0;
    }
    return counts;
}

bool isIntact(const std::map<std::string, std::int64_t>& counts)
{
    return counts.at("missing") + counts.at("doubled") + counts.at("torn") + counts.at("changed")
        + counts.at("foreign")
        == 0;
}

Origin originOf(const Archive& archive, const FreshChat& chat)
{
    const auto records = ReadLines::from(archive.bytes(chat).value_or("")).records;
    if (records.empty() || chat.records.empty())
        return Origin::SameDatabase;
    const auto foreign = [&chat](const ReadRecord& record) {
        return std::string("foreign") == differenceOf(record, chat.record(record.id));
    };
    if (foreign(records.front()) || foreign(records.back()))
        return Origin::DifferentDatabase;
    if (std::any_of(records.begin(), records.end(), foreign))
        return Origin::CannotBeTold;

    const ReadRecord& newest = chat.records.back();
    const bool isInFile = std::any_of(records.begin(), records.end(),
        [&newest](const ReadRecord& record) { return record.id == newest.id; });
    const auto eight = std::min<std::ptrdiff_t>(8, static_cast<std::ptrdiff_t>(records.size()));
    const bool anyIsThere = std::any_of(records.end() - eight, records.end(),
        [&chat](const ReadRecord& record) { return chat.record(record.id) != nullptr; });
    const bool sign = archive.known(chat.guid) && !isInFile
        && newest.rowID <= archive.lastRowID(chat) && !anyIsThere;
    return sign ? Origin::DifferentDatabase : Origin::SameDatabase;
}

Archive afterExport(
    Archive archive, const std::vector<FreshChat>& chats, const std::set<std::string>& leftAlone)
{
    for (const FreshChat& chat : chats) {
        const ChatState* const known = archive.known(chat.guid);
        const auto bytes = archive.bytes(chat);
        if (leftAlone.contains(chat.guid))
            continue;
        if (known && (!bytes || known->title != chat.title)) {
            restart(archive, chat);
            continue;
        }
        const std::string added = chat.bytesAfter(known ? known->lastRowID : 0);
        if (bytes || !added.empty())
            archive.files[archive.fileName(chat)] = bytes.value_or("") + added;
    }
    return archive;
}

Archive afterRepair(Archive archive, const std::vector<FreshChat>& chats)
{
    for (const FreshChat& chat : chats) {
        if (isRepaired(archive, chat))
            restart(archive, chat);
    }
    return archive;
}

} // namespace korvane
