#pragma once

#include "cli/Console.h"
#include "export/Exporter.h"
#include "process/Interruption.h"

#include <string>
#include <vector>

namespace korvane {

/// Exporter::sync() with a progress bar if `console.err` is a terminal. An interruption ends it
/// after the current chat.
SyncResult syncWithProgress(const std::vector<ChatInfo>& chats, const ContactNames& names,
    const std::string& folder, const std::string& database, const Interruption& interruption,
    const Console& console);

} // namespace korvane
