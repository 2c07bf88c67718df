#pragma once

#include <cstdint>
#include <string>

namespace korvane {

/// A user of the window program: a home folder with a sample of a Messages database in it, where
/// the first chat is selected and exported by itself. A plain value.
struct WindowScene {
    std::string home;

    /// Writes the database and the settings.
    static WindowScene prepared(const std::string& home, std::int64_t messages, std::int64_t chats);

    /// Makes it the home of this process and of the programs that it starts: nothing outside is
    /// read or written by them.
    void enter() const;

    std::string exportFolder() const { return home + "/export"; }
};

} // namespace korvane
