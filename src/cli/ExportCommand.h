#pragma once

#include "cli/Sources.h"
#include "export/Exporter.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

class SupportFolder;
struct Console;

struct ExportOptions {
    Sources sources;
    bool all = false;
    std::vector<std::string> chats; ///< guids; unused if `all`
    std::string folder;
    std::optional<double> everySeconds; ///< absent: one run
    bool json = false;
};

/// Exports the chats once, or repeatedly until interrupted. An interruption (Ctrl-C, see
/// Interruption) ends the current run after the current chat and saves its progress. A run that
/// cannot begin is reported like one that fails; if it is the first run, no other follows. A backup
/// is opened once, before the first run. Throws std::overflow_error (see referenceTime()), and
/// InterruptedError (see opened()).
int runExport(const ExportOptions& options, const SupportFolder& support, const Console& console);

/// What is reported about files that stay in Kept/: a JSON object, or a line for each.
std::string keptJson(const KeptFile& file);
std::string keptLines(const std::vector<KeptFile>& files);

/// Exporter::sync() with a progress bar if `console.err` is a terminal. `isInterrupted` is asked
/// before each chat; if it returns true, this chat and the rest are left out.
SyncResult syncWithProgress(const std::vector<ChatInfo>& chats, const ContactNames& names,
    const std::string& folder, const SupportFolder& support, const std::string& database,
    const std::function<bool()>& isInterrupted, const Console& console, const SyncMode& mode = {});

} // namespace korvane
