#include "cli/ChosenChats.h"

#include "cli/Console.h"
#include "text/TerminalText.h"

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
        else if (!found.empty())
            addCandidates(word, found);
        else if (!isUnreadable())
            m_chosen.errors.push_back(reasonForNoChat(word));
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
        AmbiguousWord& ambiguous = m_chosen.ambiguous.emplace_back(AmbiguousWord{word});
        for (const std::size_t index : found)
            ambiguous.candidates.push_back(archive().chats[index]);
    }

    /// Whether an error says already why there are no chats in the folder.
    bool isUnreadable() { return archive().chats.empty() && !archive().errors.empty(); }

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

std::string AmbiguousWord::table(int columns) const
{
    constexpr int gaps = 4; // two blanks between two columns
    constexpr int narrowestTitle = 10;
    constexpr int widestTitle = 40;
    const std::string number = "NUMBER";
    int numberWidth = displayWidth(number);
    int guidWidth = 0;
    for (const ArchivedChat& chat : candidates) {
        numberWidth = std::max(numberWidth, displayWidth(chat.number));
        guidWidth = std::max(guidWidth, displayWidth(printable(chat.guid)));
    }
    const int title
        = std::clamp(columns - numberWidth - guidWidth - gaps, narrowestTitle, widestTitle);
    Table table({{number, Table::Align::Right}, {.heading = "TITLE", .widest = title}, {"GUID"}});
    for (const ArchivedChat& chat : candidates)
        table.add({chat.number, chat.title, chat.guid});
    return table.text();
}

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
