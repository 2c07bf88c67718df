#include "check/CheckedChats.h"

#include "export/ExportState.h"
#include "export/Exporter.h"
#include "export/FileName.h"
#include "export/Record.h"
#include "storage/FileReader.h"
#include "text/Utf8.h"

#include <map>
#include <set>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

/// The names of the files in the folder that look like export files, sorted.
std::set<std::string> exportFilesIn(const fs::path& folder)
{
    std::set<std::string> names;
    std::error_code ignored;
    for (fs::directory_iterator entry(folder, ignored), end; entry != end;
         entry.increment(ignored)) {
        std::string name = entry->path().filename().string();
        if (Exporter::isExportFileName(name))
            names.insert(std::move(name));
    }
    return names;
}

/// The first complete record in the first MiB of a file.
std::optional<Record> firstRecordIn(const fs::path& path)
{
    constexpr std::size_t mostBytes = std::size_t{1} << 20U;
    const auto file = FileReader::open(path);
    std::string block(mostBytes, '\0');
    const auto size = file ? file->readAt(0, block) : std::nullopt;
    std::string_view rest = std::string_view(block).substr(0, size.value_or(0));
    for (std::size_t end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
        if (auto record = Record::fromLine(rest.substr(0, end)))
            return record;
        rest.remove_prefix(end + 1);
    }
    return std::nullopt;
}

/// A file that no record of the state names.
struct StrayFile {
    std::string name;
    std::string title; ///< of its chat
};

/// Assigns files to chats.
class Finder {
public:
    Finder(const std::vector<ChatInfo>& all, const ContactNames& names, const fs::path& folder,
        const ExportState& state, const CheckScope& scope)
        : m_all(all)
        , m_names(names)
        , m_folder(folder)
        , m_state(state)
        , m_scope(scope)
        , m_chosen(scope.chats.begin(), scope.chats.end())
        , m_unclaimed(exportFilesIn(folder))
    {
    }

    CheckedChats found()
    {
        claimFilesOfTheState();
        claimFilesByName();
        claimFilesByContent();
        for (const ChatInfo& chat : m_all)
            addFromDatabase(chat);
        for (const auto& [guid, record] : m_state.chats)
            addGone(guid, record.title.value_or(record.fileName), record.fileName,
                record.messages.value_or(0) > 0);
        for (const auto& [guid, stray] : m_strays)
            addGone(guid, stray.title, stray.name, false);
        for (const std::string& guid : m_scope.chats)
            requireChat(guid);
        return std::move(m_found);
    }

private:
    void claimFilesOfTheState()
    {
        for (const auto& [guid, record] : m_state.chats) {
            m_unclaimed.erase(record.fileName);
            m_sharers[record.fileName].push_back(record.title.value_or(guid));
        }
        for (const auto& [file, titles] : m_sharers)
            reportShared(file, titles);
    }

    void reportShared(const std::string& file, const std::vector<std::string>& titles)
    {
        if (titles.size() < 2)
            return;
        std::string text = file + ": This is the file of " + std::to_string(titles.size())
            + " chats in the export state, which a repair leaves alone:";
        for (const std::string& title : titles)
            text.append(&title == &titles.front() ? " " : ", ").append(title);
        m_found.errors.push_back(text + '.');
    }

    /// Files to which an export without a state would append.
    void claimFilesByName()
    {
        for (const ChatInfo& chat : m_all) {
            const std::string title = Exporter::title(chat, m_names);
            for (const std::string& name : {Exporter::exportFileName(title, chat.id),
                     Exporter::shortenedFileName(title, chat.id)})
                claim(name, chat.guid, title);
        }
    }

    void claim(const std::string& name, const std::string& guid, const std::string& title)
    {
        if (!m_state.chats.contains(guid) && m_unclaimed.erase(name) > 0)
            m_strays.emplace(guid, StrayFile{name, title}); // the first wins
    }

    void claimFilesByContent()
    {
        for (const std::string& name : std::set(m_unclaimed)) {
            if (const auto record = firstRecordIn(m_folder / name))
                claim(name, record->conversationID, record->conversationName);
        }
    }

    bool isWanted(const std::string& guid) const
    {
        return m_chosen.empty() || m_chosen.contains(guid);
    }

    void addFromDatabase(const ChatInfo& chat)
    {
        const auto known = m_state.chats.find(chat.guid);
        const auto stray = m_strays.find(chat.guid);
        const bool hasFile = known != m_state.chats.end() || stray != m_strays.end();
        if (!hasFile && !m_scope.all && m_scope.chats.empty())
            return;
        const std::string title = Exporter::title(chat, m_names);
        CheckedChat found{.chat = &chat, .guid = chat.guid, .title = title};
        if (known != m_state.chats.end())
            describe(found, known->second);
        else
            found.file = stray != m_strays.end() ? stray->second.name
                                                 : Exporter::exportFileName(title, chat.id);
        add(std::move(found));
    }

    /// An export does not continue a file of another format version.
    void describe(CheckedChat& found, const ChatState& record) const
    {
        found.file = record.fileName;
        found.sharesFile = m_sharers.at(record.fileName).size() > 1;
        if (record.isCurrent())
            found.lastRowID = record.lastRowID;
    }

    /// Adds a chat that the database does not have.
    void addGone(const std::string& guid, const std::string& title, const std::string& file,
        bool wasExported)
    {
        const auto sharers = m_sharers.find(file);
        add({.guid = guid,
            .title = title,
            .file = file,
            .wasExported = wasExported,
            .sharesFile = sharers != m_sharers.end() && sharers->second.size() > 1});
    }

    void add(CheckedChat chat)
    {
        if (isWanted(chat.guid) && m_seen.insert(chat.guid).second)
            m_found.chats.push_back(std::move(chat));
    }

    void requireChat(const std::string& guid)
    {
        if (!m_seen.contains(guid))
            m_found.errors.push_back("There is no chat with the guid " + repairedUtf8(guid) + ".");
    }

    const std::vector<ChatInfo>& m_all;
    const ContactNames& m_names;
    const fs::path& m_folder;
    const ExportState& m_state;
    const CheckScope& m_scope;
    const std::set<std::string> m_chosen; ///< guids; empty: no restriction
    std::set<std::string> m_unclaimed; ///< names of files
    std::map<std::string, std::vector<std::string>> m_sharers; ///< titles by name of the file
    std::map<std::string, StrayFile> m_strays; ///< by guid
    std::set<std::string> m_seen; ///< guids
    CheckedChats m_found;
};

} // namespace

CheckedChats checkedChats(const std::vector<ChatInfo>& all, const ContactNames& names,
    const fs::path& folder, const ExportState& state, const CheckScope& scope)
{
    return Finder(all, names, folder, state, scope).found();
}

} // namespace korvane
