#pragma once

#include "pairing/TransferLink.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace korvane {

class SyncServer;

/// What keeps a chat from being handed over, as the user is told it.
class TransferError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The steps that hand one exported chat over, up to the link. Each throws TransferError where it
/// can go no further. They read the export folder; the thread is the caller's.
namespace Transfer {

/// The texts of those failures.
namespace Text {
inline constexpr auto noExport = "The Korvane text export could not be found";
inline constexpr auto tooLarge
    = "This export is over 64 MB. Choose a smaller date range before transferring.";
inline constexpr auto noLink = "Could not create a transfer link. Check Wi-Fi and select one chat.";
inline constexpr auto noPicture = "Could not draw the transfer QR code";
} // namespace Text

/// The name of the chat's export file in `folder`, which is small enough to be handed over.
std::string exportedFile(const std::filesystem::path& folder, const std::string& guid);

/// A link to `fileName`, which the server has on offer at `port`, with a ticket made for it. `host`
/// is this machine's address as a phone sees it, where there is one.
TransferLink createLink(SyncServer& server, const std::string& fileName, std::uint16_t port,
    const std::optional<std::string>& host);

} // namespace Transfer

} // namespace korvane
