#include "backup/TestBackup.h"

#include "storage/Files.h"

#include <QProcess>

#include <sys/stat.h>

#include <filesystem>
#include <stdexcept>

namespace korvane {

namespace fs = std::filesystem;

std::string makeBackup(
    const std::string& folder, const std::string& database, const QStringList& options)
{
    QProcess writer;
    writer.start(QStringLiteral(PYTHON),
        QStringList{QStringLiteral("-B"), QStringLiteral(MAKE_BACKUP),
            QString::fromStdString(folder), QStringLiteral("--database"),
            QString::fromStdString(database)}
            + options);
    if (!writer.waitForFinished() || writer.exitStatus() != QProcess::NormalExit
        || writer.exitCode() != 0)
        throw std::runtime_error("make_backup.py: " + writer.readAllStandardError().toStdString());
    return folder;
}

namespace {

std::string pictureOfFile(const fs::path& file)
{
    struct stat info { };
    ::lstat(file.c_str(), &info);
    return std::to_string(info.st_mode) + ' ' + std::to_string(info.st_size) + ' '
        + std::to_string(info.st_mtime) + ' ' + std::to_string(info.st_ctime) + ' '
        + Files::read(file).value_or("");
}

} // namespace

std::map<std::string, std::string> pictureOf(const std::string& folder)
{
    std::map<std::string, std::string> picture{{"", pictureOfFile(folder)}};
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        picture.emplace(
            entry.path().lexically_relative(folder).string(), pictureOfFile(entry.path()));
    return picture;
}

} // namespace korvane
