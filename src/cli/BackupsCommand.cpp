#include "cli/BackupsCommand.h"

#include "backup/BackupList.h"
#include "cli/Console.h"
#include "text/Json.h"

#include <QDateTime>

#include <filesystem>
#include <system_error>

namespace korvane {

namespace {

namespace fs = std::filesystem;

QDateTime dateTime(std::chrono::sys_seconds date)
{
    return QDateTime::fromSecsSinceEpoch(date.time_since_epoch().count()).toUTC();
}

std::string localDate(const Backup& backup)
{
    return backup.date ? dateTime(*backup.date)
                             .toLocalTime()
                             .toString(QStringLiteral("yyyy-MM-dd HH:mm"))
                             .toStdString()
                       : "";
}

std::string yesOrNo(bool answer)
{
    return answer ? "yes" : "no";
}

std::string encryptionOf(const Backup& backup)
{
    return backup.isEncrypted ? yesOrNo(*backup.isEncrypted) : "unknown";
}

std::string table(const std::vector<Backup>& backups)
{
    Table table({{.heading = "DEVICE", .widest = 40}, {"DATE"}, {"ENCRYPTED"}, {"FINISHED"},
        {"MESSAGES"}, {"FOLDER"}});
    for (const Backup& backup : backups) {
        table.add({backup.device, localDate(backup), encryptionOf(backup),
            yesOrNo(backup.isFinished), yesOrNo(backup.hasMessages), backup.folder.string()});
    }
    return table.text();
}

std::string asJson(const Backup& backup)
{
    const std::string date = backup.date
        ? Json::quoted(dateTime(*backup.date).toString(Qt::ISODate).toStdString())
        : "null";
    const char* const encrypted
        = !backup.isEncrypted ? "null" : (*backup.isEncrypted ? "true" : "false");
    return Json::Object()
        .value("device", Json::quotedBytes(backup.device))
        .value("date", date)
        .value("isEncrypted", encrypted)
        .boolean("isFinished", backup.isFinished)
        .boolean("hasMessages", backup.hasMessages)
        .value("folder", Json::quotedBytes(backup.folder.string()))
        .finished();
}

std::vector<Backup> backupsInUsualFolders()
{
    std::vector<Backup> all;
    for (const fs::path& folder : usualBackupFolders()) {
        std::error_code failure;
        if (!fs::exists(folder, failure) && !failure)
            continue;
        const std::vector<Backup> backups = backupsIn(folder);
        all.insert(all.end(), backups.begin(), backups.end());
    }
    return all;
}

std::string usualFolders()
{
    std::string names;
    for (const fs::path& folder : usualBackupFolders())
        names.append(names.empty() ? "" : " or ").append(folder.string());
    return names;
}

void complainOfNone(const BackupsOptions& options, const Console& console)
{
    if (options.folder)
        console.complain("There is no backup of a phone in " + *options.folder + '.');
    else
        console.complain("There is no backup of a phone in " + usualFolders()
            + ". Name another folder: korvane-sync backups DIR.");
}

} // namespace

int runBackups(const BackupsOptions& options, const Console& console)
{
    const std::vector<Backup> backups
        = options.folder ? backupsIn(*options.folder) : backupsInUsualFolders();
    if (options.json)
        console.out << Json::array(backups, asJson) << '\n';
    else if (!backups.empty())
        console.out << table(backups);
    if (backups.empty())
        complainOfNone(options, console);
    return ExitCode::success;
}

} // namespace korvane
