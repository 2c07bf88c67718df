#include "history/HistoryWorld.h"

#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "storage/Files.h"
#include "storage/Paths.h"

#include <QJsonDocument>
#include <QTemporaryDir>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t chatCount = 4;
constexpr int handleCount = 3;
constexpr std::int64_t nanoseconds = 1'000'000'000;

HistoryRun runCommand(const std::vector<std::string>& command, const fs::path& support)
{
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    const int code
        = runCommandLine(command, SupportFolder(support), {.out = out, .err = err, .in = in});
    const auto json = QJsonDocument::fromJson(QByteArray::fromStdString(out.str()));
    return {code, json.object(), out.str() + err.str()};
}

std::string inQuotes(const std::string& text)
{
    return '\'' + text + '\'';
}

std::string number(std::int64_t value)
{
    return std::to_string(value);
}

/// What a comparison of a message in no chat with a record can see.
ReadRecord withoutChat(const TestDatabase::Message& message)
{
    constexpr std::int64_t referenceDate = 978'307'200'000; // 2001, in milliseconds since 1970
    return {.rowID = message.rowID,
        .milliseconds = referenceDate + message.date / 1'000'000,
        .senderID
        = message.fromMe ? "messages:self" : "messages:handle:+1555010" + number(message.handle),
        .isOutgoing = message.fromMe,
        .body = message.text.value_or("")};
}

} // namespace

HistoryWorld::HistoryWorld(std::uint32_t seed) : m_random(seed)
{
    fs::create_directories(support());
    writeContacts();
    for (int handle = 1; handle <= handleCount; ++handle)
        m_db.addHandle(handle, "+1555010" + std::to_string(handle));
    m_db.addChat(1, "G1", "Family", "chat1", 43);
    m_db.addChat(2, "G2", "Club", "chat2", 43);
    m_db.addChat(3, "G3", "", "+15550101");
    m_db.addChat(4, "G4", "", "chat4", 43);
    m_db.addMember(3, 1);
    m_db.addMember(4, 2);
    m_db.addMember(4, 3);
    for (int i = 0; i < 5; ++i)
        receiveMessages();
}

std::array<fs::path, 2> HistoryWorld::folders() const
{
    return {m_db.folder() + "/exports", m_db.folder() + "/other-exports"};
}

int HistoryWorld::random(int limit)
{
    return static_cast<int>(m_random() % static_cast<unsigned>(limit));
}

std::string HistoryWorld::changeSomething()
{
    using World = HistoryWorld;
    // A change that occurs twice is twice as probable.
    static const std::vector<Change> changes{&World::receiveMessages, &World::receiveMessages,
        &World::receiveMessages, &World::receiveLateMessage, &World::insertWithoutChat,
        &World::joinLate, &World::edit, &World::unsend, &World::removeMessages,
        &World::removeMessages, &World::renameChat, &World::renameContact, &World::switchFolder,
        &World::truncateFile, &World::zeroEndOfFile, &World::removeFile, &World::loseState,
        &World::restoreDatabase};
    m_destructive = false;
    return (this->*changes.at(m_random() % changes.size()))();
}

TestDatabase::Message HistoryWorld::newMessage(std::int64_t chat)
{
    static const std::vector<std::string> texts{"text", "a \"quoted\" text\nof two lines",
        "\xF0\x9F\x90\x9D b\xC3\xBC", "a/b \\ c", "a longer text that goes on and on and on, and"};
    TestDatabase::Message message;
    m_clock += 2 + random(1000);
    message.date = m_clock * nanoseconds + std::int64_t{random(1000)} * 1'000'000;
    message.handle = 1 + random(handleCount);
    message.fromMe = random(3) == 0;
    message.text = texts.at(m_random() % texts.size()) + ' ' + std::to_string(++m_texts);
    if (random(8) == 0)
        message.text.reset();
    if (random(6) == 0)
        message.text = "ok"; // as other messages
    const auto earlier = std::find_if(m_messages.rbegin(), m_messages.rend(),
        [&](const Stored& other) { return other.chat == chat && random(2) == 0; });
    if (earlier != m_messages.rend() && random(5) == 0)
        message.threadGuid = earlier->message.guid;
    if (earlier != m_messages.rend() && random(6) == 0) {
        message.associatedType = 2000 + random(6);
        message.associatedGuid = "p:0/" + *earlier->message.guid;
    }
    message.guid = "GUID-" + std::to_string(m_texts) + '-' + std::to_string(m_clock);
    return message;
}

void HistoryWorld::store(Stored stored)
{
    m_db.addMessage(stored.chat, stored.message);
    m_messages.push_back(std::move(stored));
}

std::string HistoryWorld::receiveMessages()
{
    const int count = 1 + random(5);
    for (int i = 0; i < count; ++i) {
        Stored stored{1 + random(chatCount), {}};
        stored.message = newMessage(stored.chat);
        if (random(8) == 0)
            m_skippedRowIDs.push_back(m_nextRowID++);
        stored.message.rowID = m_nextRowID++;
        store(std::move(stored));
    }
    return number(count) + " new messages";
}

std::string HistoryWorld::receiveLateMessage()
{
    if (m_skippedRowIDs.empty())
        return "no late message";
    Stored stored{1 + random(chatCount), {}};
    stored.message = newMessage(stored.chat);
    stored.message.rowID = m_skippedRowIDs.back();
    m_skippedRowIDs.pop_back();
    const std::string text
        = "a late message " + number(stored.message.rowID) + " in chat " + number(stored.chat);
    store(std::move(stored));
    return text;
}

std::string HistoryWorld::insertWithoutChat()
{
    Stored stored{1 + random(chatCount), {}};
    stored.message = newMessage(stored.chat);
    stored.message.rowID = m_nextRowID++;
    m_db.addMessage(0, stored.message);
    m_unjoined.push_back(stored);
    return "message " + number(stored.message.rowID) + " is in no chat yet";
}

std::string HistoryWorld::joinLate()
{
    if (m_unjoined.empty())
        return "nothing to join";
    const Stored stored = m_unjoined.back();
    m_unjoined.pop_back();
    m_db.sql().execute("INSERT INTO chat_message_join VALUES (" + number(stored.chat) + ", "
        + number(stored.message.rowID) + ")");
    m_messages.push_back(stored);
    return "message " + number(stored.message.rowID) + " joins chat " + number(stored.chat);
}

std::string HistoryWorld::edit()
{
    if (m_messages.empty())
        return "nothing to edit";
    TestDatabase::Message& message = m_messages.at(m_random() % m_messages.size()).message;
    message.text = "edited " + std::to_string(++m_texts);
    m_db.sql().execute("UPDATE message SET text = " + inQuotes(*message.text)
        + " WHERE ROWID = " + number(message.rowID));
    return "message " + number(message.rowID) + " is edited";
}

std::string HistoryWorld::unsend()
{
    if (m_messages.empty())
        return "nothing to unsend";
    TestDatabase::Message& message = m_messages.at(m_random() % m_messages.size()).message;
    message.text.reset();
    m_db.sql().execute("UPDATE message SET text = NULL WHERE ROWID = " + number(message.rowID));
    return "message " + number(message.rowID) + " is unsent";
}

std::string HistoryWorld::removeMessages()
{
    const auto count = std::min<std::size_t>(m_messages.size(), 1 + m_random() % 6);
    const bool oldest = random(2) == 0;
    std::string text = "deleted:";
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t index = oldest ? 0 : m_random() % m_messages.size();
        const std::string row = number(m_messages.at(index).message.rowID);
        m_db.sql().execute("DELETE FROM chat_message_join WHERE message_id = " + row);
        m_db.sql().execute("DELETE FROM message WHERE ROWID = " + row);
        m_messages.erase(m_messages.begin() + static_cast<std::ptrdiff_t>(index));
        text += ' ' + row;
    }
    return text;
}

std::string HistoryWorld::renameChat()
{
    const std::string chat = number(1 + random(2));
    const std::string name = "Title " + number(random(3)) + " of " + chat;
    m_db.sql().execute(
        "UPDATE chat SET display_name = " + inQuotes(name) + " WHERE ROWID = " + chat);
    return "chat " + chat + " is named " + name;
}

std::string HistoryWorld::renameContact()
{
    const auto contact = m_random() % m_contactNames.size();
    m_contactNames.at(contact) = random(3);
    writeContacts();
    return "contact " + std::to_string(contact) + " has name " + number(m_contactNames.at(contact));
}

void HistoryWorld::writeContacts() const
{
    std::ofstream cards(m_db.folder() + "/contacts.vcf");
    for (std::size_t i = 0; i < m_contactNames.size(); ++i) {
        const std::string name = "Name" + std::to_string(m_contactNames.at(i));
        cards << "BEGIN:VCARD\nVERSION:3.0\nFN:Contact " << name << "\nN:" << name << i
              << ";Contact\nTEL:+1555010" << i + 1 << "\nEND:VCARD\n";
    }
}

std::string HistoryWorld::switchFolder()
{
    m_folder = 1 - m_folder;
    return "the folder is " + folder().filename().native();
}

fs::path HistoryWorld::someFile()
{
    std::vector<fs::path> files;
    for (const auto& [name, bytes] : archive().files)
        files.push_back(folder() / name);
    return files.empty() ? fs::path() : files.at(m_random() % files.size());
}

std::string HistoryWorld::truncateFile()
{
    const fs::path file = someFile();
    if (file.empty())
        return "no file to truncate";
    m_destructive = true;
    const auto old = fs::file_size(file);
    const auto size = random(3) == 0 && old > 0 ? old - 1 : m_random() % (old + 1);
    fs::resize_file(file, size);
    return file.filename().native() + " has " + std::to_string(size) + " bytes";
}

std::string HistoryWorld::zeroEndOfFile()
{
    const fs::path file = someFile();
    if (file.empty())
        return "no file to damage";
    m_destructive = true;
    std::string bytes = Files::read(file).value_or("");
    const std::size_t begin = m_random() % (bytes.size() + 1);
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.end(), '\0');
    std::ofstream(file, std::ios::binary) << bytes;
    return file.filename().native() + " has zeros from byte " + std::to_string(begin);
}

std::string HistoryWorld::removeFile()
{
    const fs::path file = someFile();
    m_destructive = true;
    return file.empty() || !fs::remove(file) ? "no file to remove"
                                             : file.filename().native() + " is removed";
}

std::string HistoryWorld::loseState()
{
    return fs::remove(support() / "state.json") ? "the state is lost" : "there is no state to lose";
}

std::string HistoryWorld::restoreDatabase()
{
    m_db.sql().execute("DELETE FROM chat_message_join");
    m_db.sql().execute("DELETE FROM message");
    m_unjoined.clear();
    m_skippedRowIDs.clear();
    const int lost = random(4);
    m_messages.erase(m_messages.begin(),
        m_messages.begin() + std::min<std::ptrdiff_t>(lost, std::ssize(m_messages)));
    m_nextRowID = random(2) == 0 ? 1 : 1 + random(40);
    const std::int64_t first = m_nextRowID;
    for (Stored& stored : m_messages) {
        stored.message.rowID = m_nextRowID++;
        m_db.addMessage(stored.chat, stored.message);
    }
    return "restored database: " + number(lost) + " fewer, row ids from " + number(first);
}

FreshDatabase HistoryWorld::freshDatabase() const
{
    const QTemporaryDir elsewhere;
    const fs::path place = elsewhere.path().toStdString();
    runCommand({"export", "--all", "--json", "--database", m_db.path(), "--contacts",
                   m_db.folder() + "/contacts.vcf", "--folder", place / "exports"},
        place / "support");
    const Archive archive = Archive::at(place / "exports", place / "support");
    FreshDatabase database;
    for (const auto& [guid, record] : archive.state.chats) {
        const auto lines = ReadLines::from(archive.files.at(record.fileName));
        database.chats.push_back({guid, record.title.value_or(""), record.fileName, lines.records});
        for (const ReadRecord& message : lines.records)
            database.messages[message.rowID] = message;
    }
    for (const Stored& stored : m_unjoined)
        database.messages[stored.message.rowID] = withoutChat(stored.message);
    return database;
}

std::vector<std::string> HistoryWorld::withPlaces(std::vector<std::string> command) const
{
    command.insert(command.end(),
        {"--json", "--database", m_db.path(), "--contacts", m_db.folder() + "/contacts.vcf",
            "--folder", folder()});
    return command;
}

HistoryRun HistoryWorld::run(const std::vector<std::string>& command) const
{
    return runCommand(command, support());
}

HistoryRun HistoryWorld::exportWithoutContacts() const
{
    return runCommand({"export", "--all", "--json", "--database", m_db.path(), "--contacts",
                          m_db.folder() + "/no-contacts.vcf", "--folder", folder()},
        support());
}

std::string HistoryWorld::runAndKill(const std::vector<std::string>& command)
{
    fs::create_directories(folder());
    using Kind = Trouble::Kind;
    const Kind kind = std::array{Kind::KilledBefore, Kind::KilledInTheMiddle}.at(m_random() % 2);
    const Trouble trouble{kind, 1 + random(40)};
    Disk disk({folder(), support()});
    const LoggedRun run
        = runLogged(command, {folder(), support(), m_db.folder() + "/changes.log"}, trouble);
    const std::string what = command.front() + (run.wasKilled ? " killed at" : " not killed at")
        + " change " + number(trouble.change);
    if (!run.wasKilled || random(2) == 0)
        return what;
    disk.apply(run.changes);
    const auto seed = static_cast<std::uint32_t>(m_random());
    writeTree(disk.afterPowerCut({Survivors::Choice::Random, seed}), {folder(), support()});
    return what + ", and the power is cut";
}

} // namespace korvane
