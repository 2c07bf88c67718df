#pragma once

#include "export/ExportState.h"
#include "export/Journal.h"

#include <filesystem>
#include <string>

namespace korvane {

struct ChatInfo;
struct SyncMode;

/// What a sync does for one chat.
struct ExportStep {
    ChatState record; ///< the chat's record, if there are no new messages
    FileChange change; ///< to the chat's file, if there are
    bool restarts = false; ///< the file starts from scratch
    bool replaces = false; ///< it restarts, and something has its name already
};

/// Decides between appending to a chat's file and starting it from scratch, from the chat's record
/// in `state` and what is in the export folder now. A file starts from scratch if it is missing, if
/// it was written under another title than `title`, or if `mode` says so. Throws std::system_error.
ExportStep exportStep(const ChatInfo& chat, const std::string& title, const ExportState& state,
    const std::filesystem::path& folder, const SyncMode& mode);

} // namespace korvane
