#pragma once

#include "cli/ChatSelection.h"
#include "cli/Console.h"

namespace korvane {

struct ChatsOptions {
    Sources sources;
    bool json = false;
};

/// Lists the chats, newest first. Throws DBError or std::runtime_error.
int runChats(const ChatsOptions& options, const Console& console);

} // namespace korvane
