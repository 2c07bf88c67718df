#include "export/ExportSetup.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <fstream>
#include <sstream>

namespace korvane {

namespace fs = std::filesystem;

ExportSetup::ExportSetup(TestDatabase::Schema schema) : db(schema)
{
    fs::create_directories(home());
}

void ExportSetup::addChat(std::int64_t id, const std::string& title)
{
    db.addChat(id, guid(id), title);
    chats.push_back({.id = id, .guid = guid(id), .displayName = title});
}

void ExportSetup::addMessages(std::int64_t chat, int count, const std::string& text)
{
    db.sql().execute("BEGIN");
    for (int i = 0; i < count; ++i)
        db.addMessage(chat, text);
    db.sql().execute("COMMIT");
}

SyncResult ExportSetup::sync(const BeforeChat& beforeChat) const
{
    return Exporter::sync(chats, names, folder(), support(), db.path(), beforeChat, mode);
}

ChatState ExportSetup::record(std::int64_t chat) const
{
    return ExportState::load(support()).chats.at(guid(chat));
}

void ExportSetup::setRecord(std::int64_t chat, const ChatState& record) const
{
    ExportState state = ExportState::load(support());
    state.chats[guid(chat)] = record;
    Exporter::saveState(state, support());
}

fs::path ExportSetup::file(std::int64_t chat) const
{
    return folder() / record(chat).fileName;
}

std::vector<std::int64_t> ExportSetup::rowIDs(std::int64_t chat) const
{
    return rowIDsIn(readFile(file(chat)));
}

std::string readFile(const fs::path& file)
{
    if (!fs::is_regular_file(file))
        return "(no file)";
    std::string bytes(fs::file_size(file), '\0');
    std::ifstream(file, std::ios::binary)
        .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

void writeFile(const fs::path& file, std::string_view bytes)
{
    std::ofstream(file, std::ios::binary) << bytes;
}

std::vector<std::int64_t> rowIDsIn(const std::string& lines)
{
    std::vector<std::int64_t> ids;
    std::istringstream in(lines);
    for (std::string line; std::getline(in, line);) {
        const auto record = QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
        const QString id = record[QStringLiteral("id")].toString();
        ids.push_back(id.isEmpty() ? -1 : id.section(QLatin1Char(':'), -1).toLongLong());
    }
    return ids;
}

std::string describe(const SyncResult& result)
{
    std::string text = "added " + std::to_string(result.added) + ", touched "
        + std::to_string(result.chatsTouched);
    for (const std::string& error : result.errors)
        text += "; " + error;
    return text;
}

bool isEpoch(const std::string& text)
{
    static const QRegularExpression uuid(
        QStringLiteral("^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"));
    return text.size() == 36 && uuid.match(QString::fromStdString(text)).hasMatch();
}

} // namespace korvane
