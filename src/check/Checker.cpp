#include "check/Checker.h"

#include "check/CheckedChats.h"
#include "check/Difference.h"
#include "check/FileCheck.h"
#include "check/KeptRecords.h"
#include "contacts/ContactNames.h"
#include "export/DateText.h"
#include "export/ExportState.h"
#include "export/FileName.h"
#include "export/ForeignFiles.h"
#include "export/Record.h"
#include "export/RecordWriter.h"
#include "messages/MessageLookup.h"
#include "messages/MessagesDB.h"
#include "storage/FileReader.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

struct Interrupted { };

/// Also true if the file system rejects the name as too long: the export has then written no file
/// under it.
bool isMissing(const fs::path& path)
{
    std::error_code error;
    return fs::symlink_status(path, error).type() == fs::file_type::not_found
        || error == std::errc::filename_too_long;
}

/// Why FileReader does not open what is there.
std::string reasonNotToOpen(const fs::path& path)
{
    std::error_code error;
    const fs::file_type type = fs::symlink_status(path, error).type();
    if (type == fs::file_type::symlink)
        return "it is a symbolic link, and only files are checked";
    if (!error && type != fs::file_type::regular)
        return "it is not a file";
    return error ? error.message() : "it can't be read";
}

/// Nothing if the file does not exist. Throws std::runtime_error if it cannot be opened.
std::optional<FileReader> openIfPresent(const fs::path& path)
{
    auto file = FileReader::open(path);
    if (!file && !isMissing(path))
        throw std::runtime_error("The file can't be opened, because " + reasonNotToOpen(path) + ": "
            + path.filename().string() + ".");
    return file;
}

std::int64_t messagesIn(const std::vector<CheckedChat>& chats)
{
    return std::accumulate(
        chats.begin(), chats.end(), std::int64_t{0}, [](std::int64_t sum, const CheckedChat& each) {
            return sum + (each.chat ? each.chat->messageCount : 0);
        });
}

std::unique_ptr<MessageLookup> newLookup(MessagesDB& db)
{
    auto* const lookup = new MessageLookup(db.lookup()); // cannot be moved, as make_unique() would
    return std::unique_ptr<MessageLookup>(lookup);
}

/// Whether the row id belongs to another message than the record, in any chat or in none: then the
/// record is from a different database.
bool isAnother(std::int64_t rowID, const Record& record, MessageLookup& messages)
{
    if (!messages.date(rowID))
        return false;
    Record now;
    messages.read(rowID, [&now](const MessageRowView& row) {
        now.body = row.text;
        now.date = DateText().withMilliseconds(row.date);
        now.isOutgoing = row.fromMe;
        if (row.senderID)
            now.senderID = *row.senderID;
    });
    return differenceOf(record, now) == Difference::Foreign;
}

/// One check of the chats of one open database.
class Run {
public:
    Run(const std::string& database, const ContactNames& names, const fs::path& folder,
        const CheckProgress& progress)
        : m_db(database)
        , m_names(names)
        , m_folder(folder)
        , m_progress(progress)
    {
    }

    CheckResult checkAll(CheckedChats found, const ExportState& state)
    {
        m_result.errors = std::move(found.errors);
        m_step.total = messagesIn(found.chats);
        try {
            checkEach(found.chats);
            findRefused(found.chats, state);
        } catch (const Interrupted&) {
            m_result.interrupted = true;
        }
        return std::move(m_result);
    }

private:
    void checkEach(const std::vector<CheckedChat>& chats)
    {
        m_result.unfiled = m_db.unfiledMessages();
        const KeptRecords kept = keptRecords(m_folder, [this] { tick(); });
        m_result.errors.insert(m_result.errors.end(), kept.errors.begin(), kept.errors.end());
        std::int64_t before = 0;
        for (const CheckedChat& each : chats) {
            m_step.done = before;
            m_step.title = each.title;
            report();
            checkOrReport(each, kept);
            before += each.chat ? each.chat->messageCount : 0;
        }
    }

    void checkOrReport(const CheckedChat& each, const KeptRecords& kept)
    {
        try {
            const auto records = kept.byChat.find(each.guid);
            m_result.chats.push_back({.guid = each.guid,
                .title = each.title,
                .file = each.file,
                .counts = countsOf(each),
                .kept = records == kept.byChat.end() ? 0 : records->second,
                .isInDatabase = each.chat != nullptr,
                .isLost = each.wasExported && isMissing(pathOf(each)),
                .sharesFile = each.sharesFile,
                .isInState = each.lastRowID.has_value()});
        } catch (const std::overflow_error&) {
            throw; // fails the whole run: see referenceTime()
        } catch (const DBError& error) {
            m_result.errors.push_back(each.title + ": " + error.message);
        } catch (const std::runtime_error& error) {
            m_result.errors.push_back(each.title + ": " + error.what());
        }
    }

    /// The row ids of two databases need not overlap. Then all records of the file are only gone.
    void findRefused(const std::vector<CheckedChat>& chats, const ExportState& state)
    {
        const std::set<std::string> repairable = m_result.repairable();
        std::vector<ChatInfo> continued;
        for (const CheckedChat& each : chats) {
            if (each.lastRowID && repairable.contains(each.guid))
                continued.push_back(*each.chat);
        }
        const auto noNewName = [](const ChatInfo&) { return std::string(); }; // all have a state
        const std::set<std::string> refused
            = ForeignFiles::find(continued, state, m_folder, m_db, noNewName);
        for (ChatCheck& chat : m_result.chats)
            chat.isRefused = refused.contains(chat.guid);
    }

    fs::path pathOf(const CheckedChat& each) const
    {
        return Exporter::inFolder(m_folder, each.file);
    }

    RecordCounts countsOf(const CheckedChat& each)
    {
        const auto file = openIfPresent(pathOf(each));
        bool first = true;
        std::unique_ptr<MessageLookup> messages; // rarely needed
        return countRecords({.guid = each.guid,
            .file = file ? &*file : nullptr,
            .expected =
                [&](const ExpectedLineVisitor& visit) {
                    readDatabase(each, visit, first);
                    first = false;
                },
            .expectedCount
            = each.chat ? static_cast<std::size_t>(each.chat->messageCount) : std::size_t{0},
            .lastRowID = each.lastRowID,
            .isAnother =
                [&](std::int64_t rowID, const Record& record) {
                    if (!each.chat)
                        return false; // nothing could be exported again
                    if (!messages)
                        messages = newLookup(m_db);
                    return isAnother(rowID, record, *messages);
                },
            .onLine = [this] { tick(); }});
    }

    /// Passes what an export from the beginning would write. A second reading is no progress.
    void readDatabase(const CheckedChat& each, const ExpectedLineVisitor& visit, bool counts)
    {
        if (!each.chat)
            return;
        RecordWriter writer(*each.chat, each.title, m_names);
        std::string line;
        m_db.forEachMessage(each.chat->id, 0, [&](const MessageRowView& row) {
            line.clear();
            writer.append(row, line);
            line.pop_back(); // the line feed
            visit(row.rowID, line);
            m_step.done += counts ? 1 : 0;
            tick();
        });
    }

    /// Reports once in a while: asking for the time for each line would take longer than the line.
    void tick()
    {
        constexpr unsigned linesBetweenReports = 4096;
        if (++m_ticks % linesBetweenReports == 0)
            report();
    }

    void report() const
    {
        if (m_progress && !m_progress(m_step))
            throw Interrupted();
    }

    MessagesDB m_db;
    const ContactNames& m_names;
    const fs::path m_folder;
    const CheckProgress& m_progress;
    CheckStep m_step;
    unsigned m_ticks = 0;
    CheckResult m_result;
};

} // namespace

bool CheckResult::isWhole() const
{
    return !interrupted && errors.empty()
        && std::all_of(
            chats.begin(), chats.end(), [](const ChatCheck& chat) { return chat.isIntact(); });
}

std::set<std::string> CheckResult::repairable() const
{
    std::set<std::string> guids;
    for (const ChatCheck& chat : chats) {
        if (chat.canBeRepaired())
            guids.insert(chat.guid);
    }
    return guids;
}

CheckResult Checker::check(const std::vector<ChatInfo>& chats, const ContactNames& names,
    const fs::path& folder, const SupportFolder& support, const std::string& database,
    const CheckScope& scope, const CheckProgress& progress)
{
    const ExportState state = support.exists() ? ExportState::load(support) : ExportState();
    Run run(database, names, folder, progress);
    return run.checkAll(checkedChats(chats, names, folder, state, scope), state);
}

} // namespace korvane
