#pragma once

#include "crypto/Crypto.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The link that a QR code carries: all that a phone needs to fetch one chat. A plain value.
///
///     korvane://mac-import?host=192.168.1.20&port=49152&ticket=<43 characters>&key=<43 characters>
///
/// The query has exactly these four items, in this order. Ticket and key are 32 bytes each, in
/// base64url without padding.
struct TransferLink {
    std::string host; ///< address at which a phone reaches the server
    std::uint16_t port = 0;
    std::string ticket;
    SymmetricKey key;

    bool operator==(const TransferLink&) const = default;

    /// The link as text. It contains the key, so treat it as a secret.
    std::string toString() const;

    /// The request target of the transfer; the answer is sealed with it as authenticated data.
    std::string target() const { return std::string(path) + ticket; }

    /// True if `text` is not empty and has only characters of host names and addresses, so that it
    /// cannot change the rest of a request.
    static bool isHost(std::string_view text);

    /// The prefix of every ticket's request target.
    static constexpr std::string_view path = "/v1/transfer/";

    /// Parses a link, ignoring white space around it. Accepts the items in any order and ignores
    /// others. Nothing if `text` is not a valid link.
    static std::optional<TransferLink> fromString(std::string_view text);
};

} // namespace korvane
