#include "export/Exporter.h"

#include "contacts/ContactNames.h"
#include "export/ExportState.h"
#include "export/ExportStep.h"
#include "export/FileGroup.h"
#include "export/ForeignFiles.h"
#include "export/KeptFiles.h"
#include "export/ReadAhead.h"
#include "export/RecordBlocks.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

/// Saturating addition: a count read from the state file may be any 64-bit value.
std::int64_t sum(std::int64_t recorded, std::int64_t added)
{
    const std::int64_t room = std::numeric_limits<std::int64_t>::max() - added;
    return std::min(recorded, room) + added;
}

/// Ends the whole sync: its progress cannot be saved.
struct Abort {
    std::string message;
};

/// One sync over the chats of one open database.
///
/// Files change in groups of some seconds, see FileGroup and Journal. When a chat has to change its
/// file and is not in the journal yet, a new group begins: the journal then also covers the chats
/// that follow, whether or not they will have news.
class Run {
public:
    Run(const std::string& database, const ContactNames& names, const fs::path& folder,
        const SupportFolder& support, const SyncMode& mode, const std::vector<ChatInfo>& chats)
        : m_db(database)
        , m_names(names)
        , m_folder(folder)
        , m_support(support)
        , m_mode(mode)
        , m_chats(chats)
        , m_group(folder, support)
    {
    }

    void createFolder() const { fs::create_directories(m_folder); }

    SyncResult exportAll(const BeforeChat& beforeChat)
    {
        m_state = ExportState::load(m_support);
        if (m_mode.checkDatabase)
            m_foreign = ForeignFiles::find(m_chats, m_state, m_folder, m_db,
                [this](const ChatInfo& chat) { return nameOfNewFile(chat); });
        try {
            const bool complete = exportEach(beforeChat);
            m_ahead.reset();
            save();
            if (complete)
                m_result.kept = KeptFiles::compare(m_folder, m_state, m_result.errors);
        } catch (const Abort& abort) {
            m_result.added = m_saved.added;
            m_result.chatsTouched = m_saved.chatsTouched;
            m_result.errors.push_back(abort.message);
        } catch (...) {
            saveWhatIsComplete();
            throw;
        }
        return std::move(m_result);
    }

private:
    /// Returns false if `beforeChat` ended the run.
    bool exportEach(const BeforeChat& beforeChat)
    {
        for (std::size_t index = 0; index < m_chats.size(); ++index) {
            if (beforeChat && !beforeChat(m_chats[index]))
                return false;
            exportOrReport(index);
            if (m_group.isOpen() && m_group.age() > longestGroup)
                commit();
        }
        return true;
    }

    void exportOrReport(std::size_t index)
    {
        const ChatInfo& chat = m_chats[index];
        const std::string title = titleOf(chat);
        if (isLeftAlone(chat)) {
            m_result.errors.push_back(title + ": " + ForeignFiles::explanation);
            m_result.foreignChats += 1;
            return;
        }
        try {
            exportChat(index, title);
        } catch (const std::overflow_error&) {
            throw; // fails the whole run: see referenceTime()
        } catch (const std::system_error& error) {
            m_result.errors.push_back(title + ": " + error.code().message());
        } catch (const std::exception& error) {
            m_result.errors.push_back(title + ": " + error.what());
        }
    }

    void exportChat(std::size_t index, const std::string& title)
    {
        const ChatInfo& chat = m_chats[index];
        ExportStep step = stepFor(chat, title);
        FileGroup::Chat done{.guid = chat.guid, .title = title, .change = step.change};
        try {
            if (step.replaces) {
                cover(step.change, index);
                m_group.moveAway(step.change);
            }
            done.added = append(step, index, title);
        } catch (...) {
            undo(step.change);
            throw;
        }
        if (step.replaces || done.added > 0)
            note(std::move(done));
        m_state.chats[chat.guid] = std::move(step.record);
    }

    void note(FileGroup::Chat done)
    {
        if (const auto known = m_state.chats.find(done.guid); known != m_state.chats.end())
            done.before = known->second;
        m_result.added += done.added;
        m_result.chatsTouched += done.added > 0;
        m_group.add(std::move(done));
    }

    /// Whether the chat's file is from a different database.
    bool isLeftAlone(const ChatInfo& chat) const
    {
        return m_foreign.contains(chat.guid) && !m_mode.restart.contains(chat.guid);
    }

    std::string titleOf(const ChatInfo& chat) const { return Exporter::title(chat, m_names); }

    ExportStep stepFor(const ChatInfo& chat, const std::string& title) const
    {
        return exportStep(chat, title, m_state, m_folder, m_mode);
    }

    /// Writes the messages that the chat's file does not have yet to its end. Returns their number,
    /// and updates the record. The blocks are the same whether other threads have prepared them or
    /// this one reads them now.
    std::int64_t append(ExportStep& step, std::size_t index, const std::string& title)
    {
        const std::int64_t afterRowID = step.record.lastRowID;
        readAheadIfLarge(step, index);
        if (isReadAhead(step, index)) {
            try {
                return write(step, index,
                    [this](const BlockVisitor& visit) { m_ahead->forEachBlock(visit); });
            } catch (const ReadAhead::Failed&) {
                undo(step.change);
            }
        }
        return write(step, index, [&](const BlockVisitor& visit) {
            forEachRecordBlock(m_db, m_chats[index], title, m_names, afterRowID, visit);
        });
    }

    std::int64_t write(ExportStep& step, std::size_t index,
        const std::function<void(const BlockVisitor&)>& forEachBlock)
    {
        std::optional<OutputFile> file;
        std::int64_t highest = step.record.lastRowID;
        std::int64_t added = 0;
        forEachBlock([&](const RecordBlock& block) {
            if (!file)
                file.emplace(opened(step, index));
            file->append(block.lines);
            highest = std::max(highest, block.highestRowID);
            added += block.records;
        });
        if (!file)
            return 0;
        file->startFlush();
        step.record.lastRowID = highest;
        step.record.messages = sum(step.record.messages.value_or(0), added);
        return added;
    }

    /// Starts reading ahead once it is certain that the run is large.
    void readAheadIfLarge(const ExportStep& step, std::size_t index)
    {
        const bool isNew = step.record.lastRowID == 0;
        const std::int64_t known = m_result.added + (isNew ? m_chats[index].messageCount : 0);
        if (!m_ahead && m_mode.readAhead.threads > 0 && known >= m_mode.readAhead.fromMessages)
            m_ahead.emplace(chatsToReadAhead(index), m_db.file(), m_names, m_mode.readAhead);
    }

    ReadAhead::Chats chatsToReadAhead(std::size_t begin) const
    {
        ReadAhead::Chats chats;
        for (std::size_t index = begin; index < m_chats.size(); ++index) {
            const ChatInfo& chat = m_chats[index];
            const auto step = laterStep(chat);
            if (step && !step->replaces && !isLeftAlone(chat))
                chats[index] = {&chat, titleOf(chat), step->record.lastRowID};
        }
        return chats;
    }

    /// Whether the chat's records are, or will be, prepared as this step requires. A file that is
    /// replaced must have left its name before the messages are read. The row ids of chats are
    /// those of one database file.
    bool isReadAhead(const ExportStep& step, std::size_t index)
    {
        return m_ahead && !step.replaces && m_ahead->begin(index, step.record.lastRowID)
            && !m_db.hasMoved();
    }

    OutputFile opened(ExportStep& step, std::size_t index)
    {
        cover(step.change, index);
        step.record.fileName = step.change.file;
        return m_group.open(step.change);
    }

    /// Makes sure that the journal is on disk and covers this change of the chat at `index`.
    void cover(const FileChange& change, std::size_t index)
    {
        if (m_group.covers(change))
            return;
        commit();
        std::vector<FileChange> changes{change};
        const std::size_t end = std::min(m_chats.size(), index + m_groupSize);
        for (const ChatInfo& chat : std::span(m_chats).subspan(index + 1, end - index - 1)) {
            if (const auto step = laterStep(chat))
                changes.push_back(step->change);
        }
        m_groupSize = std::min(2 * m_groupSize, largestGroup);
        try {
            m_group.begin(changes);
        } catch (const std::system_error& error) {
            throw Abort{"Can't write to the support folder " + m_support.path().string() + ": "
                + error.code().message()};
        }
    }

    /// What the run will do for a later chat. If that cannot be told, it is an error of that chat
    /// alone, which is reported when its turn comes.
    std::optional<ExportStep> laterStep(const ChatInfo& chat) const
    {
        try {
            return stepFor(chat, titleOf(chat));
        } catch (const std::system_error&) {
            return std::nullopt;
        }
    }

    /// "" if that cannot be told.
    std::string nameOfNewFile(const ChatInfo& chat) const
    {
        const auto step = laterStep(chat);
        return step ? step->change.file : std::string();
    }

    /// Takes back what was begun for a chat.
    void undo(const FileChange& change)
    {
        if (!m_group.covers(change))
            return; // nothing was begun
        try {
            m_group.undo(change);
        } catch (const std::system_error& error) {
            // The journal stays, so the next run tries again.
            throw Abort{"Can't remove the unfinished part of " + change.file + ": "
                + error.code().message()};
        }
    }

    /// Makes the changes of the open group permanent, together with the state.
    void commit()
    {
        if (!m_group.isOpen())
            return;
        try {
            for (const FileGroup::Failure& failure : m_group.flush()) {
                takeBack(failure.chat);
                m_result.errors.push_back(failure.chat.title + ": " + failure.reason);
            }
            if (!Exporter::saveState(m_state, m_support)) {
                m_group.undoAll();
                m_group.end();
                throw Abort{"Can't save the progress of the export in " + m_support.path().string()
                    + ", so the messages of the last chats were not added. Is the disk full?"};
            }
            m_saved = {.added = m_result.added, .chatsTouched = m_result.chatsTouched};
            m_group.end();
        } catch (const std::system_error& error) {
            throw Abort{"Can't write to " + m_folder.string() + ": " + error.code().message()};
        }
    }

    void takeBack(const FileGroup::Chat& chat)
    {
        m_result.added -= chat.added;
        m_result.chatsTouched -= chat.added > 0;
        if (chat.before)
            m_state.chats[chat.guid] = *chat.before;
        else
            m_state.chats.erase(chat.guid);
    }

    /// Saves the state at the end of the run. Without changed files, a failure is not reported: the
    /// next run decides the same again.
    void save()
    {
        if (m_group.isOpen())
            commit();
        else
            Exporter::saveState(m_state, m_support);
    }

    void saveWhatIsComplete()
    {
        try {
            save();
        } catch (const Abort&) {
            return; // the journal stays
        }
    }

    static constexpr std::chrono::seconds longestGroup{2};
    static constexpr std::size_t largestGroup = 16384; // chats in one journal

    MessagesDB m_db;
    const ContactNames& m_names;
    const fs::path m_folder;
    const SupportFolder m_support;
    const SyncMode& m_mode;
    const std::vector<ChatInfo>& m_chats;
    FileGroup m_group;
    std::size_t m_groupSize = 64; ///< chats; doubles, so that few groups write the state
    std::optional<ReadAhead> m_ahead; ///< in a large run
    std::set<std::string> m_foreign; ///< guids of the chats to leave alone
    ExportState m_state;
    SyncResult m_result;
    SyncResult m_saved; ///< the counts of m_result when the state was last saved
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
    const BeforeChat& beforeChat, const SyncMode& mode)
{
    try {
        Run run(database, names, folder, support, mode, chats);
        Journal::recover(support); // first: a folder that is gone must not look as if it were there
        run.createFolder();
        return run.exportAll(beforeChat);
    } catch (const DBError& error) {
        return failed(error.message);
    } catch (const fs::filesystem_error& error) {
        return failed("Can't create output folder: " + error.code().message());
    } catch (const Journal::CannotRecover& error) {
        return failed(error.what());
    }
}

} // namespace korvane
