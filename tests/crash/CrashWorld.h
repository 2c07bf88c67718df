#pragma once

#include "crash/LoggedRun.h"
#include "crash/Tree.h"
#include "support/TestDatabase.h"

#include <QTemporaryDir>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace korvane {

/// A Messages database, an export folder and a support folder, and the terminal program that works
/// on them. Both folders exist from the beginning.
class CrashWorld {
public:
    CrashWorld();

    TestDatabase database;

    void addChat(std::int64_t id, const std::string& title, int messages);
    void addMessages(std::int64_t chat, int count);

    std::filesystem::path exports() const { return database.folder() + "/exports"; }
    std::filesystem::path support() const { return database.folder() + "/support"; }
    std::vector<std::filesystem::path> folders() const { return {exports(), support()}; }

    /// The command line of an export of all chats, or of a check of all of them with repair.
    std::vector<std::string> exportCommand() const;
    std::vector<std::string> repairCommand() const;

    /// Runs the program in this process. Returns its exit code and, if it failed, its output.
    int run(const std::vector<std::string>& command) const;
    const std::string& output() const { return m_output; }

    /// Runs it as a process of its own, see runLogged().
    LoggedRun runLogged(const std::vector<std::string>& command, const Trouble& trouble = {}) const;

    Tree contents() const { return readTree(folders()); }

    /// `tree` without what differs between two runs that do the same: epochs that are not in
    /// `before`, the note in the lock's file, and empty folders.
    Tree comparable(const Tree& tree, const Tree& before) const;

private:
    std::vector<std::string> withPlaces(std::vector<std::string> command) const;

    mutable std::string m_output;
};

} // namespace korvane
