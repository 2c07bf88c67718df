#include "cli/ChosenChats.h"

#include "cli/Console.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

bool isFile(const std::string& word)
{
    std::error_code error;
    const fs::file_status status = fs::status(word, error);
    return fs::exists(status) && !fs::is_directory(status);
}

bool isFolder(const std::string& word)
{
    std::error_code error;
    return fs::is_directory(word, error);
}

/// Looks up one word after the other. Reads the folder when the first word needs it.
class Chooser {
public:
    explicit Chooser(const std::string& folder) : m_folder(folder) { }

    void addAll()
    {
        m_chosen.chats = archive().chats;
        if (m_chosen.chats.empty() && m_chosen.errors.empty())
            m_chosen.errors.push_back("There are no export files in " + m_folder
                + ". Name another folder with --folder.");
    }

    void add(const std::string& word)
    {
        if (isFile(word))
            m_files.emplace_back(word);
        else
            addChat(word);
    }

    ChosenChats chosen()
    {
        Archive files = Archive::ofFiles(m_files);
        m_chosen.errors.insert(m_chosen.errors.end(), files.errors.begin(), files.errors.end());
        for (ArchivedChat& chat : files.chats)
            addOnce(std::move(chat));
        return std::move(m_chosen);
    }

private:
    void addChat(const std::string& word)
    {
        const auto found = findChats(archive(), word);
        if (found.size() == 1)
            addOnce(archive().chats[found.front()]);
        else if (found.empty())
            m_chosen.errors.push_back(reasonForNoChat(word));
        else
            addCandidates(word, found);
    }

    void addOnce(ArchivedChat chat)
    {
        const bool isNew = std::ranges::find(m_chosen.chats, chat) == m_chosen.chats.end();
        if (isNew)
            m_chosen.chats.push_back(std::move(chat));
    }

    std::string reasonForNoChat(const std::string& word) const
    {
        if (isFolder(word))
            return word + " is a folder. To read the chats in it, add --folder " + word + '.';
        if (word.find('/') != word.npos || word.ends_with(".txt"))
            return word + ": There is no such file.";
        return "No chat in " + m_folder + " has the title, guid or number " + word + '.';
    }

    void addCandidates(const std::string& word, const std::vector<std::size_t>& found)
    {
        m_chosen.errors.push_back(word + " can mean " + std::to_string(found.size())
            + " chats. Name one by its guid, or by its number if no other has that:");
        Table table(
            {{"NUMBER", Table::Align::Right}, {.heading = "TITLE", .widest = 40}, {"GUID"}});
        for (const std::size_t index : found) {
            const ArchivedChat& chat = archive().chats[index];
            table.add({chat.number, chat.title, chat.guid});
        }
        m_chosen.ambiguous += table.text();
    }

    const Archive& archive()
    {
        if (!m_archive) {
            m_archive = Archive::inFolder(m_folder);
            m_chosen.errors.insert(
                m_chosen.errors.end(), m_archive->errors.begin(), m_archive->errors.end());
        }
        return *m_archive;
    }

    const std::string& m_folder;
    std::optional<Archive> m_archive;
    std::vector<fs::path> m_files;
    ChosenChats m_chosen;
};

} // namespace

ChosenChats chosenChats(const std::vector<std::string>& words, const std::string& folder)
{
    Chooser chooser(folder);
    if (words.empty())
        chooser.addAll();
    for (const std::string& word : words)
        chooser.add(word);
    return chooser.chosen();
}

} // namespace korvane
