#include "crash/CrashWorld.h"

#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "storage/Paths.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t epochSize = 36;

bool isEpoch(std::string_view text)
{
    return text.size() == epochSize
        && text.find_first_not_of("0123456789ABCDEF-") == std::string_view::npos
        && std::count(text.begin(), text.end(), '-') == 4;
}

std::set<std::string> epochsIn(const std::string& text)
{
    std::set<std::string> epochs;
    for (std::size_t dash = 8; (dash = text.find('-', dash)) != text.npos; ++dash) {
        const std::string candidate = text.substr(dash - 8, epochSize);
        if (isEpoch(candidate))
            epochs.insert(candidate);
    }
    return epochs;
}

std::set<std::string> epochsIn(const Tree& tree)
{
    std::set<std::string> epochs;
    for (const auto& [path, bytes] : tree)
        epochs.merge(epochsIn(path + '\n' + bytes.value_or("")));
    return epochs;
}

std::string withoutNewEpochs(std::string text, const std::set<std::string>& known)
{
    for (const std::string& name : epochsIn(text)) {
        for (std::size_t at = 0; !known.contains(name) && (at = text.find(name)) != text.npos;)
            text.replace(at, name.size(), "(new epoch)");
    }
    return text;
}

bool isEmptyFolder(const Tree& tree, const std::string& path)
{
    const auto after = tree.upper_bound(path);
    return !tree.at(path) && (after == tree.end() || !after->first.starts_with(path + '/'));
}

} // namespace

CrashWorld::CrashWorld()
{
    fs::create_directories(exports());
    fs::create_directories(support());
    std::ofstream(database.folder() + "/contacts.vcf")
        << "BEGIN:VCARD\nVERSION:3.0\nFN:Ann Lee\nN:Lee;Ann\nTEL:+15550100\nEND:VCARD\n";
}

void CrashWorld::addChat(std::int64_t id, const std::string& title, int messages)
{
    database.addChat(id, "G" + std::to_string(id), title);
    addMessages(id, messages);
}

void CrashWorld::addMessages(std::int64_t chat, int count)
{
    database.sql().execute("BEGIN");
    for (int i = 0; i < count; ++i)
        database.addMessage(chat, "a message, number " + std::to_string(i) + " of its kind");
    database.sql().execute("COMMIT");
}

std::vector<std::string> CrashWorld::withPlaces(std::vector<std::string> command) const
{
    command.insert(command.end(),
        {"--database", database.path(), "--folder", exports(), "--contacts",
            database.folder() + "/contacts.vcf", "--json"});
    return command;
}

std::vector<std::string> CrashWorld::exportCommand() const
{
    return withPlaces({"export", "--all"});
}

std::vector<std::string> CrashWorld::repairCommand() const
{
    return withPlaces({"check", "--all", "--repair", "--yes"});
}

int CrashWorld::run(const std::vector<std::string>& command) const
{
    std::istringstream in;
    std::ostringstream out;
    const int code
        = runCommandLine(command, SupportFolder(support()), {.out = out, .err = out, .in = in});
    m_output = out.str();
    return code;
}

LoggedRun CrashWorld::runLogged(
    const std::vector<std::string>& command, const Trouble& trouble) const
{
    const fs::path log = database.folder() + "/changes.log";
    return korvane::runLogged(command, {exports(), support(), log}, trouble);
}

Tree CrashWorld::comparable(const Tree& tree, const Tree& before) const
{
    const std::set<std::string> known = epochsIn(before);
    Tree result;
    for (const auto& [path, bytes] : tree) {
        if (isEmptyFolder(tree, path))
            continue;
        const bool isNote = path == support() / "export.lock";
        result[withoutNewEpochs(path, known)]
            = isNote || !bytes ? std::nullopt : std::optional(withoutNewEpochs(*bytes, known));
    }
    return result;
}

} // namespace korvane
