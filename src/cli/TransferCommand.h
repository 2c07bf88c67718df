#pragma once

#include "cli/Sources.h"
#include "server/ServerState.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace korvane {

struct Console;

struct TransferOptions {
    Sources sources;
    std::string chat; ///< its guid
    std::string folder; ///< where the chat is exported to and served from
    std::optional<std::string> host; ///< this machine's address; absent: detected
    std::uint16_t port = 0; ///< preferred port; 0: any

    /// The clock that decides when the link expires. Tests replace it.
    std::function<TransferTicket::Clock::time_point()> now = TransferTicket::Clock::now;
};

/// Exports the chat, prints a link and its QR code, and serves the chat's file until the link
/// expires or the user interrupts (Ctrl-C); both count as success. An interruption during the
/// export returns ExitCode::interrupted. Throws TransferError, DBError or std::runtime_error if it
/// fails before that.
int runTransfer(
    const TransferOptions& options, const SupportFolder& support, const Console& console);

} // namespace korvane
