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

struct ManifestItem;

/// Permission to fetch one file for a limited time without being paired. A plain value.
struct TransferTicket {
    using Clock = std::chrono::system_clock;

    std::string fileName; ///< inside the export folder
    SymmetricKey key; ///< seals the answers to this ticket
    Clock::time_point expiresAt; ///< first moment at which the ticket is no longer valid

    bool operator==(const TransferTicket&) const = default;

    static constexpr std::chrono::seconds lifetime{600};
    static constexpr std::int64_t largestFile = 67'108'864; ///< 64 MiB
};

/// A new ticket and its key, for the link that carries them to the phone.
struct IssuedTransfer {
    std::string ticket; ///< 32 random bytes in base64url: 43 characters
    SymmetricKey key;

    bool operator==(const IssuedTransfer&) const = default;
};

/// Everything that an answer depends on, besides the export folder's contents and the time. A plain
/// value; each request works on its own copy.
struct ServerState {
    SupportFolder support; ///< contains the export state
    Pairing pairing;
    std::set<std::string> guids; ///< chats whose files may be fetched
    std::filesystem::path folder = "/"; ///< export folder
    std::map<std::string, TransferTicket> transferTickets; ///< by ticket

    bool operator==(const ServerState&) const = default;

    /// The export file `fileName`, if its chat is on offer. Reads the export folder.
    std::optional<ManifestItem> fileOnOffer(const std::string& fileName) const;

    /// The same, unless the file is larger than TransferTicket::largestFile.
    std::optional<ManifestItem> fileForTicket(const std::string& fileName) const;

    /// Makes a ticket for the export file `fileName`, valid for TransferTicket::lifetime from `now`
    /// on, and drops expired ones. Nothing unless exactly one chat may be fetched and the file is
    /// that chat's; nothing if the file is too large or the random generator fails.
    std::optional<IssuedTransfer> issueTransfer(
        const std::string& fileName, TransferTicket::Clock::time_point now);
};

} // namespace korvane
