#include "cli/BackupSource.h"

#include "backup/BackupError.h"
#include "backup/BackupList.h"
#include "backup/OpenedBackup.h"
#include "cli/Console.h"
#include "cli/PasswordInput.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>

namespace korvane {

namespace {

/// The newest that is finished, or the newest if none is.
const Backup& newestOf(const std::vector<Backup>& backups)
{
    const auto finished = std::find_if(
        backups.begin(), backups.end(), [](const Backup& backup) { return backup.isFinished; });
    return finished == backups.end() ? backups.front() : *finished;
}

Backup chosenBackup(const std::string& folder, const Console& console)
{
    const std::vector<Backup> backups = backupsIn(folder);
    if (backups.empty()) {
        throw BackupError(folder
            + ": There is no backup of a phone in this folder. \"korvane-sync backups DIR\" lists "
              "those in a folder.");
    }
    const Backup& newest = newestOf(backups);
    if (backups.size() > 1) {
        console.complain("Of " + std::to_string(backups.size()) + " backups, this is the newest"
            + (newest.isFinished ? " that is finished: " : ": ") + newest.folder.string() + " ("
            + newest.device + ')');
    }
    return newest;
}

Secret passwordOf(const Backup& backup, const Sources& sources, const Console& console)
{
    if (sources.passwordFile)
        return passwordFromFile(*sources.passwordFile);
    if (sources.passwordDescriptor)
        return passwordFromDescriptor(*sources.passwordDescriptor);
    if (!console.inIsTerminal)
        throw BackupError("The backup is encrypted. Name a file with its password with "
                          "--password-file FILE, or start the program in a terminal.");
    return askForPassword("Password of the backup of \"" + backup.device + "\":", console);
}

/// Shows what happens while a backup is opened. Draws on terminals only.
class OpeningDisplay {
public:
    explicit OpeningDisplay(const Console& console)
        : m_console(console)
        , m_bar(console.err, console.errIsTerminal, parts)
    {
    }

    void showDeriving() const { draw("Deriving the key from the password …"); }
    void hideDeriving() const { draw(""); }

    void showCopying(std::int64_t done, std::int64_t total)
    {
        m_bar.show(parts * done / std::max<std::int64_t>(total, 1), "Reading the backup");
    }

private:
    static constexpr std::int64_t parts = 1000;

    void draw(std::string_view text) const
    {
        if (m_console.errIsTerminal)
            m_console.err << startOfLineAndWipe << text << std::flush;
    }

    const Console& m_console;
    ProgressBar m_bar;
};

} // namespace

Sources opened(Sources sources, const Console& console)
{
    if (!sources.backup)
        return sources;
    const Backup backup = chosenBackup(*sources.backup, console);
    OpeningDisplay display(console);
    const BackupDialog dialog{.password = [&] { return passwordOf(backup, sources, console); },
        .onDeriving = [&] { display.showDeriving(); },
        .onDerived = [&] { display.hideDeriving(); },
        .onCopying
        = [&](std::int64_t done, std::int64_t total) { display.showCopying(done, total); }};
    sources.backupInUse = std::make_shared<const OpenedBackup>(backup, dialog,
        sources.contacts ? OpenedBackup::Contacts::Ignore : OpenedBackup::Contacts::Read);
    sources.database = sources.backupInUse->database();
    if (!sources.backupInUse->isInMemory()) {
        console.complain(
            "The messages of the backup could not be put into memory. Until the command "
            "ends, a copy is on disk, readable by you alone: "
            + sources.database);
    }
    return sources;
}

} // namespace korvane
