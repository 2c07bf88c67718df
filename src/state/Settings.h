#pragma once

#include <QSettings>

#include <filesystem>
#include <optional>
#include <set>
#include <string>

namespace korvane {

/// What the user has chosen and finds again at the next start, in the platform's own store for
/// such: the user defaults of a Mac, an INI file under $XDG_CONFIG_HOME elsewhere. Lives on the
/// main thread.
///
/// | key        | value                                                            |
/// |------------|------------------------------------------------------------------|
/// | "selected" | array of strings: the guids of the chats to export, in any order |
/// | "autoSync" | boolean                                                          |
/// | "folder"   | string: the path of the export folder                            |
class Settings {
public:
    Settings();

    /// Empty where there are none.
    std::set<std::string> selected() const;
    void setSelected(const std::set<std::string>& guids);

    /// True where nothing, or no boolean, is stored.
    bool autoSync() const;
    void setAutoSync(bool on);

    std::optional<std::filesystem::path> folder() const;
    void setFolder(const std::filesystem::path& folder);

private:
    QSettings m_store;
};

} // namespace korvane
