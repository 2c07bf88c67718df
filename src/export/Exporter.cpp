#include "export/Exporter.h"

#include "contacts/ContactNames.h"
#include "export/ExportState.h"
#include "export/FileName.h"
#include "export/RecordWriter.h"
#include "storage/Files.h"

#include <QUuid>

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

/// The records of one chat that its file does not contain yet.
struct Batch {
    RecordBuffer records;
    std::int64_t count = 0;
    std::int64_t highestRowID = 0;
};

std::string newEpoch()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString();
}

ChatState newRecord(const ChatInfo& chat, const std::string& title)
{
    return {
        .lastRowID = 0,
        .fileName = Exporter::exportFileName(title, chat.id),
        .title = title,
        .messages = 0,
        .epoch = newEpoch(),
        .formatVersion = currentFormatVersion,
    };
}

/// Saturating addition: a count read from the state file may be any 64-bit value.
std::int64_t sum(std::int64_t recorded, std::int64_t added)
{
    const std::int64_t room = std::numeric_limits<std::int64_t>::max() - added;
    return std::min(recorded, room) + added;
}

void restart(ChatState& record, const fs::path& file)
{
    std::error_code ignored;
    fs::remove(file, ignored);
    record.lastRowID = 0;
    record.messages = 0;
    record.epoch = newEpoch();
}

/// One sync over the chats of one open database.
class Run {
public:
    Run(const std::string& database, const ContactNames& names, const fs::path& folder,
        const SupportFolder& support)
        : m_db(database)
        , m_names(names)
        , m_folder(folder)
        , m_support(support)
    {
    }

    void createFolder() const { fs::create_directories(m_folder); }

    SyncResult exportAll(const std::vector<ChatInfo>& chats, const BeforeChat& beforeChat)
    {
        m_state = ExportState::load(m_support);
        try {
            exportEach(chats, beforeChat);
        } catch (...) {
            Exporter::saveState(
                m_state, m_support); // or the next sync would append these messages again
            throw;
        }
        Exporter::saveState(m_state, m_support);
        return std::move(m_result);
    }

private:
    void exportEach(const std::vector<ChatInfo>& chats, const BeforeChat& beforeChat)
    {
        for (const ChatInfo& chat : chats) {
            if (beforeChat && !beforeChat(chat))
                break;
            exportOrReport(chat);
        }
    }

    void exportOrReport(const ChatInfo& chat)
    {
        const std::string title = Exporter::title(chat, m_names);
        try {
            exportChat(chat, title);
        } catch (const std::overflow_error&) {
            throw; // fails the whole run: see referenceTime()
        } catch (const std::system_error& error) {
            m_result.errors.push_back(title + ": " + error.code().message());
        } catch (const std::exception& error) {
            m_result.errors.push_back(title + ": " + error.what());
        }
    }

    void exportChat(const ChatInfo& chat, const std::string& title)
    {
        ChatState record = recordFor(chat, title);
        const fs::path file = fileOf(record);
        std::error_code ignored;
        if (!fs::exists(file, ignored) || record.title != title)
            restart(record, file);
        record.title = title;

        const Batch batch = readBatch(chat, title, record.lastRowID);
        if (batch.count > 0) {
            append(record, chat, batch);
            record.lastRowID = std::max(record.lastRowID, batch.highestRowID);
            record.messages = sum(record.messages.value_or(0), batch.count);
            m_result.added += batch.count;
            m_result.chatsTouched += 1;
        }
        m_state.chats[chat.guid] = std::move(record);
    }

    fs::path fileOf(const ChatState& record) const
    {
        return m_folder.native() + '/' + record.fileName;
    }

    /// The chat's record from an earlier run. Null if there is none in the current format version.
    const ChatState* knownRecord(const ChatInfo& chat) const
    {
        const auto known = m_state.chats.find(chat.guid);
        const bool current
            = known != m_state.chats.end() && known->second.formatVersion == currentFormatVersion;
        return current ? &known->second : nullptr;
    }

    ChatState recordFor(const ChatInfo& chat, const std::string& title) const
    {
        const ChatState* known = knownRecord(chat);
        return known ? *known : newRecord(chat, title);
    }

    /// Appends to the chat's file. If the file system rejects the name as too long, switches the
    /// record to the shortened name.
    void append(ChatState& record, const ChatInfo& chat, const Batch& batch) const
    {
        try {
            Files::append(fileOf(record), batch.records.pieces());
        } catch (const std::system_error& error) {
            const std::string shorter = Exporter::shortenedFileName(*record.title, chat.id);
            if (error.code() != std::errc::filename_too_long || record.fileName == shorter)
                throw;
            record.fileName = shorter;
            appendUnderShorterName(record, chat, batch);
        }
    }

    /// A known record was restarted, because a file with the long name cannot exist. So delete an
    /// old file with the short name, as restart() does. A new record, such as after the state was
    /// lost, appends to an existing file, as it does under any name.
    void appendUnderShorterName(
        const ChatState& record, const ChatInfo& chat, const Batch& batch) const
    {
        std::error_code ignored;
        if (knownRecord(chat))
            fs::remove(fileOf(record), ignored);
        Files::append(fileOf(record), batch.records.pieces());
    }

    Batch readBatch(const ChatInfo& chat, const std::string& title, std::int64_t afterRowID)
    {
        Batch batch{.highestRowID = afterRowID};
        RecordWriter writer(chat, title, m_names);
        m_db.forEachMessage(chat.id, afterRowID, [&](const MessageRowView& row) {
            writer.append(row, batch.records.block());
            batch.highestRowID = std::max(batch.highestRowID, row.rowID);
            ++batch.count;
        });
        return batch;
    }

    MessagesDB m_db;
    const ContactNames& m_names;
    const fs::path m_folder;
    const SupportFolder m_support;
    ExportState m_state;
    SyncResult m_result;
};

SyncResult failed(std::string error)
{
    return {.errors = {std::move(error)}};
}

} // namespace

std::string Exporter::title(const ChatInfo& chat, const ContactNames& names)
{
    constexpr std::size_t mostNames = 3;
    if (!chat.displayName.empty())
        return chat.displayName;

    const std::vector<std::string> handles
        = chat.members.empty() ? std::vector{chat.identifier} : chat.members;
    std::string title;
    for (std::size_t i = 0; i < std::min(handles.size(), mostNames); ++i)
        title.append(i > 0 ? ", " : "").append(names.name(handles[i]));
    if (handles.size() > mostNames)
        title += " +" + std::to_string(handles.size() - mostNames);
    return title;
}

SyncResult Exporter::sync(const std::vector<ChatInfo>& chats, const ContactNames& names,
    const fs::path& folder, const SupportFolder& support, const std::string& database,
    const BeforeChat& beforeChat, const SyncMode& /*mode*/)
{
    try {
        Run run(database, names, folder, support);
        run.createFolder();
        return run.exportAll(chats, beforeChat);
    } catch (const DBError& error) {
        return failed(error.message);
    } catch (const fs::filesystem_error& error) {
        return failed("Can't create output folder: " + error.code().message());
    }
}

} // namespace korvane
