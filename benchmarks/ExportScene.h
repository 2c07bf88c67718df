#pragma once

#include "contacts/ContactNames.h"
#include "export/Exporter.h"
#include "sample/SampleDatabase.h"
#include "storage/Paths.h"

#include <filesystem>
#include <string>

namespace korvane {

/// A sample database with contacts, and the folders into which a benchmark exports it.
struct ExportScene {
    std::string name;
    std::string database;
    std::string contacts;
    std::string folder; ///< for everything that the measurements write

    /// Writes the sample into `folder`, in a child process, unless it is there from an earlier run.
    static ExportScene prepared(
        const std::string& folder, const std::string& name, const SampleSize& size);

    std::string exports() const { return folder + "/export"; }
    SupportFolder support() const { return SupportFolder(folder + "/support"); }
    ContactNames names() const;

    /// Exports all chats from the beginning and returns the seconds that it took. Call it in a
    /// child process. Throws std::runtime_error if a chat fails.
    double fullExport(const SyncMode& mode = {}) const;
};

} // namespace korvane
