#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace korvane {

/// A home folder for the window program, with a sample of a Messages database, and settings that
/// select the first chats and export them automatically. A plain value.
struct WindowScene {
    std::string home;

    /// Writes the database, the contacts and the settings, which select this number of chats.
    static WindowScene prepared(
        const std::string& home, std::int64_t messages, std::int64_t chats, std::size_t selected);

    /// Makes it the home folder of this process and of the programs that it starts, through the
    /// environment, so that they keep to it.
    void enter() const;

    std::string exportFolder() const { return home + "/export"; }
};

} // namespace korvane
