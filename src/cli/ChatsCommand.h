#pragma once

#include "cli/Sources.h"

namespace korvane {

struct Console;

struct ChatsOptions {
    Sources sources;
    bool json = false;
};

/// Lists the chats, newest first. Throws DBError or std::runtime_error.
int runChats(const ChatsOptions& options, const Console& console);

} // namespace korvane
