#pragma once

#include "pairing/Pairing.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace korvane {

/// The permission to fetch one file for a while, without being paired. A plain value.
struct TransferTicket {
    using Clock = std::chrono::system_clock;

    std::string fileName; ///< inside the export folder
    SymmetricKey key; ///< seals the answers to this ticket
    Clock::time_point expiresAt; ///< the first moment at which it is not valid any more

    bool operator==(const TransferTicket&) const = default;

    static constexpr std::chrono::seconds lifetime{600};
    static constexpr std::int64_t largestFile = 67'108'864; ///< 64 MiB
};

/// A new ticket, for the link that carries it to the phone.
struct IssuedTransfer {
    std::string ticket; ///< 32 random bytes in base64url: 43 characters
    SymmetricKey key;

    bool operator==(const IssuedTransfer&) const = default;
};

/// All that requests are answered from. A plain value; each request works on a copy of its own.
struct ServerState {
    Pairing pairing;
    std::set<std::string> guids; ///< the chats whose files may be fetched
    std::filesystem::path folder = "/"; ///< the export folder
    std::map<std::string, TransferTicket> transferTickets; ///< by ticket

    bool operator==(const ServerState&) const = default;

    /// A ticket for the export file `fileName`, valid from `now` on; drops those that are not valid
    /// any more. Nothing where not exactly one chat may be fetched, the file is not that chat's or
    /// is too large, or the system has no random bytes.
    std::optional<IssuedTransfer> issueTransfer(
        const std::string& fileName, TransferTicket::Clock::time_point now);
};

} // namespace korvane
