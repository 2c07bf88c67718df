#pragma once

#include "cli/ChatSelection.h"
#include "cli/Console.h"
#include "server/ServerState.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace korvane {

struct TransferOptions {
    Sources sources;
    std::string chat; ///< its guid
    std::string folder; ///< where it is exported to, and served from
    std::optional<std::string> host; ///< this machine's address; absent: found out
    std::uint16_t port = 0; ///< 0: any

    /// The time that the ticket goes by.
    std::function<TransferTicket::Clock::time_point()> now = TransferTicket::Clock::now;
};

/// Exports the chat, prints a link and its QR code, and serves the chat's file to whoever fetches
/// it, until the link expires or the user interrupts, which are both good ends. Throws what keeps
/// it from getting there (TransferError, DBError, std::runtime_error).
int runTransfer(const TransferOptions& options, const Console& console);

} // namespace korvane
