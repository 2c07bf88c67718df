#pragma once

#include "pairing/TransferLink.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace korvane {

class SupportFolder;
class SyncServer;

/// A chat cannot be transferred; the text tells the user why.
class TransferError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The steps of a transfer from an exported chat to its link. Each throws TransferError if it
/// fails, and reads the export folder on the caller's thread.
namespace Transfer {

/// The texts of TransferError.
namespace Text {
inline constexpr auto noExport = "The Korvane text export could not be found";
inline constexpr auto tooLarge
    = "This export is over 64 MB. Choose a smaller date range before transferring.";
inline constexpr auto noLink = "Could not create a transfer link. Check Wi-Fi and select one chat.";
inline constexpr auto noPicture = "Could not draw the transfer QR code";
} // namespace Text

/// The name of the chat's export file in `folder`, by the state in `support`. Throws if there is
/// none, or if it is larger than TransferTicket::largestFile.
std::string exportedFile(
    const std::filesystem::path& folder, const std::string& guid, const SupportFolder& support);

/// A link to `fileName` with a new ticket. The server must have the file on offer at `port`. `host`
/// is the address at which a phone reaches this machine. Throws if there is none, or no ticket.
TransferLink createLink(SyncServer& server, const std::string& fileName, std::uint16_t port,
    const std::optional<std::string>& host);

} // namespace Transfer

} // namespace korvane
