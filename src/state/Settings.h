#pragma once

#include <QSettings>

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace korvane {

/// Opens the store that this platform keeps for the user and this program.
std::unique_ptr<QSettings> openSettingsStore();

/// The user's settings, kept in the platform's own store: the user defaults on a Mac, an INI file
/// under $XDG_CONFIG_HOME elsewhere. Main thread only.
///
/// | key        | value                                                            |
/// |------------|------------------------------------------------------------------|
/// | "selected" | array of strings: the guids of the chats to export, in any order |
/// | "autoSync" | boolean                                                          |
/// | "folder"   | string: the path of the export folder                            |
class Settings {
public:
    Settings();

    /// Empty if nothing is stored.
    std::set<std::string> selected() const;
    void setSelected(const std::set<std::string>& guids);

    /// True if nothing, or something other than a boolean, is stored.
    bool autoSync() const;
    void setAutoSync(bool on);

    /// Nothing if no folder, or an empty path, is stored.
    std::optional<std::filesystem::path> folder() const;
    void setFolder(const std::filesystem::path& folder);

private:
    const std::unique_ptr<QSettings> m_store;
};

} // namespace korvane
