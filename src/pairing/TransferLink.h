#pragma once

#include "pairing/Crypto.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The link that a QR code carries: all that a phone needs to fetch one chat. A plain value.
///
///     korvane://mac-import?host=192.168.1.20&port=49152&ticket=<43 characters>&key=<43 characters>
///
/// The query has just these four items, in this order; ticket and key are 32 bytes each in
/// base64url without padding.
struct TransferLink {
    std::string host; ///< an address, as a phone can reach it
    std::uint16_t port = 0;
    std::string ticket;
    SymmetricKey key;

    bool operator==(const TransferLink&) const = default;

    /// Contains the key.
    std::string toString() const;

    /// What to ask the server for; the answer's seal is bound to it.
    std::string target() const { return std::string(path) + ticket; }

    /// True for a name or an address; nothing that would make another request of it.
    static bool isHost(std::string_view text);

    /// What the targets of all tickets begin with.
    static constexpr std::string_view path = "/v1/transfer/";

    /// Nothing where `text`, but for white space around it, is no such link. Takes the items in
    /// any order and ignores others.
    static std::optional<TransferLink> fromString(std::string_view text);
};

} // namespace korvane
