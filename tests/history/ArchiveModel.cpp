#include "history/ArchiveModel.h"

#include "storage/Files.h"
#include "storage/Paths.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdlib>
#include <utility>

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

/// Repeats the comparisons that a killed run did not finish.
void settle(Archive& archive, const std::vector<FreshChat>& chats)
{
    for (const std::string& bytes : std::exchange(archive.unchecked, {})) {
        const auto records = ReadLines::from(bytes).all();
        const bool still
            = std::all_of(records.begin(), records.end(), [&](const ReadRecord& record) {
                  const auto chat = std::find_if(chats.begin(), chats.end(),
                      [&record](const FreshChat& each) { return each.guid == record.guid; });
                  return chat != chats.end() && isStillThere(record, *chat);
              });
        if (!still)
            archive.kept.insert(bytes);
    }
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

const char* differenceOf(
    const ReadRecord& inFile, const FreshChat& chat, const FreshDatabase& database)
{
    const ReadRecord* const inChat = chat.record(inFile.id);
    const auto other = database.messages.find(inFile.rowID);
    if (!inChat && !database.hasChat(chat.guid))
        return "gone"; // there is nothing that a repair could export again
    if (!inChat)
        return other != database.messages.end() && isForeign(inFile, other->second) ? "foreign"
                                                                                    : "gone";
    if (isForeign(inFile, *inChat))
        return "foreign";
    if (isChanged(inFile, *inChat))
        return "changed";
    return inFile.names != inChat->names ? "renamed" : "same";
}

bool isRepaired(const Archive& archive, const FreshChat& chat, const FreshDatabase& database)
{
    return (archive.known(chat.guid) || archive.bytes(chat))
        && !isIntact(expectedCounts(archive, chat, database));
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

bool FreshDatabase::hasChat(const std::string& guid) const
{
    return std::any_of(
        chats.begin(), chats.end(), [&guid](const FreshChat& chat) { return chat.guid == guid; });
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
        (entry.path().extension() == ".unchecked" ? archive.unchecked : archive.kept)
            .insert(Files::read(entry.path()).value_or(""));
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
        highest = chat.record(record.id) ? std::max(highest, record.rowID) : highest;
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

Counts expectedCounts(const Archive& archive, const FreshChat& chat, const FreshDatabase& database)
{
    const ReadLines lines = ReadLines::from(archive.bytes(chat).value_or(""));
    Counts counts{{"records", 0}, {"new", 0}, {"missing", 0}, {"doubled", 0}, {"torn", lines.torn},
        {"changed", 0}, {"foreign", 0}, {"renamed", 0}, {"gone", 0}, {"kept", 0}};
    std::set<std::string> seen;
    counts["records"] = static_cast<std::int64_t>(lines.records.size());
    for (const ReadRecord& record : lines.records)
        ++counts[seen.insert(record.id).second ? differenceOf(record, chat, database) : "doubled"];
    counts.erase("same");
    for (const ReadRecord& record : chat.records) {
        if (!seen.contains(record.id))
            ++counts[record.rowID > archive.lastRowID(chat) ? "new" : "missing"];
    }
    for (const auto* files : {&archive.kept, &archive.unchecked}) {
        for (const std::string& bytes : *files) {
            for (const ReadRecord& record : ReadLines::from(bytes).all())
                counts["kept"] += record.guid == chat.guid ? 1 : 0;
        }
    }
    return counts;
}

bool isIntact(const Counts& counts)
{
    return counts.at("missing") + counts.at("doubled") + counts.at("torn") + counts.at("changed")
        + counts.at("foreign")
        == 0;
}

Origin originOf(const Archive& archive, const FreshChat& chat, const FreshDatabase& database)
{
    const ReadLines lines = ReadLines::from(archive.bytes(chat).value_or(""));
    const auto& records = lines.records;
    if (!archive.known(chat.guid) || (records.empty() && lines.torn == 0))
        return Origin::SameDatabase;
    if (records.empty())
        return Origin::CannotBeTold;
    const auto foreign = [&](const ReadRecord& record) {
        return std::string("foreign") == differenceOf(record, chat, database);
    };
    const bool isTorn = lines.torn > 0; // records in torn lines may count as well
    if (!isTorn && (foreign(records.front()) || foreign(records.back())))
        return Origin::DifferentDatabase;
    if (isTorn || std::any_of(records.begin(), records.end(), foreign))
        return Origin::CannotBeTold;

    const ReadRecord& newest = chat.records.back();
    const auto recent = records.end() - std::min<std::ptrdiff_t>(8, std::ssize(records));
    const bool recentIsThere = std::any_of(recent, records.end(),
        [&](const ReadRecord& record) { return database.messages.contains(record.rowID); });
    const bool isOlder = std::any_of(recent, records.end(),
        [&](const ReadRecord& record) { return newest.rowID <= record.rowID; });
    const bool isInFile = std::any_of(records.begin(), records.end(),
        [&](const ReadRecord& record) { return newest.id == record.id; });
    const bool isSkipped = isOlder && newest.rowID <= archive.lastRowID(chat) && !isInFile;
    return isSkipped && !recentIsThere ? Origin::DifferentDatabase : Origin::SameDatabase;
}

std::vector<FreshChat> checkedChats(const Archive& archive, const FreshDatabase& database)
{
    std::vector<FreshChat> chats = database.chats;
    for (const auto& [guid, record] : archive.state.chats) {
        if (!database.hasChat(guid))
            chats.push_back({guid, record.title.value_or(""), record.fileName, {}});
    }
    return chats;
}

bool mixesDatabases(const Archive& archive, const FreshDatabase& database)
{
    return std::any_of(database.chats.begin(), database.chats.end(), [&](const FreshChat& chat) {
        const auto records = ReadLines::from(archive.bytes(chat).value_or("")).all();
        return !archive.known(chat.guid)
            && std::any_of(records.begin(), records.end(), [&](const ReadRecord& record) {
                   return std::string("foreign") == differenceOf(record, chat, database);
               });
    });
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
    settle(archive, chats);
    return archive;
}

Archive afterRepair(Archive archive, const FreshDatabase& database)
{
    for (const FreshChat& chat : database.chats) {
        if (isRepaired(archive, chat, database))
            restart(archive, chat);
    }
    settle(archive, database.chats);
    return archive;
}

} // namespace korvane
