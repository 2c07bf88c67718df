#include "backup/Backup.h"

#include "backup/BackupError.h"
#include "backup/StoredFile.h"
#include "storage/Files.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr std::array ownFiles = {"Status.plist", "Manifest.plist", "Manifest.db"};

std::optional<PropertyList> listIfReadable(const fs::path& folder, const char* name)
{
    const auto bytes = Files::read(folder / name);
    return bytes ? PropertyList::parse(*bytes) : std::nullopt;
}

/// Also of a path that ends with a slash or a dot.
std::string lastNameOf(const fs::path& folder)
{
    std::error_code failure;
    const fs::path path = fs::absolute(folder, failure).lexically_normal();
    return (path.has_filename() ? path : path.parent_path()).filename().string();
}

std::string nameIn(const PropertyList::Value& info)
{
    for (const char* key : {"Device Name", "Display Name"}) {
        if (const auto name = info[key].text(); name && !name->empty())
            return std::string(*name);
    }
    return "";
}

void readInfo(const PropertyList& info, Backup& backup)
{
    if (const std::string name = nameIn(info.root()); !name.empty())
        backup.device = name;
    backup.date = info["Last Backup Date"].date();
}

void readManifest(const PropertyList& manifest, Backup& backup)
{
    if (manifest.root().isDictionary())
        backup.isEncrypted = manifest["IsEncrypted"].boolean().value_or(false);
}

void readStatus(const PropertyList& status, Backup& backup)
{
    backup.isFinished = status["SnapshotState"].text() == "finished";
    if (const auto date = status["Date"].date())
        backup.date = date;
}

} // namespace

bool Backup::isAt(const fs::path& folder)
{
    for (const char* name : ownFiles) {
        std::error_code ignored;
        if (fs::exists(folder / name, ignored))
            return true;
    }
    return false;
}

Backup Backup::read(const fs::path& folder)
{
    Backup backup{.folder = folder, .device = lastNameOf(folder)};
    if (const auto info = listIfReadable(folder, "Info.plist"))
        readInfo(*info, backup);
    if (const auto manifest = listIfReadable(folder, "Manifest.plist"))
        readManifest(*manifest, backup);
    if (const auto status = listIfReadable(folder, "Status.plist"))
        readStatus(*status, backup);
    backup.isFinished = backup.isFinished && backup.isEncrypted.has_value();
    backup.hasMessages = hasFile(folder, messagesPath);
    return backup;
}

PropertyList readList(const fs::path& folder, const std::string& name)
{
    const fs::path file = folder / name;
    const auto bytes = Files::read(file);
    if (!bytes) {
        std::error_code failure;
        const bool exists = fs::exists(file, failure);
        throw BackupError(name
            + (exists || failure
                    ? " in the backup cannot be read. Check who may read " + file.string() + '.'
                    : " is missing, so the backup is not complete. Make it again."));
    }
    auto list = PropertyList::parse(*bytes);
    if (!list || !list->root().isDictionary())
        throw BackupError(name + " in the backup is damaged. Make the backup again.");
    return *std::move(list);
}

} // namespace korvane
