#include "server/ServerState.h"

#include "export/Manifest.h"
#include "text/Base64Url.h"

#include <algorithm>

namespace korvane {

std::optional<ManifestItem> ServerState::fileOnOffer(const std::string& fileName) const
{
    const auto items = Exporter::manifest(folder, guids, support);
    const auto item = std::find_if(items.begin(), items.end(),
        [&](const ManifestItem& each) { return each.file == fileName; });
    return item == items.end() ? std::nullopt : std::optional(*item);
}

std::optional<ManifestItem> ServerState::fileForTicket(const std::string& fileName) const
{
    auto item = fileOnOffer(fileName);
    return item && item->size <= TransferTicket::largestFile ? std::move(item) : std::nullopt;
}

std::optional<IssuedTransfer> ServerState::issueTransfer(
    const std::string& fileName, TransferTicket::Clock::time_point now)
{
    if (guids.size() != 1 || !fileForTicket(fileName))
        return std::nullopt;
    std::erase_if(
        transferTickets, [now](const auto& entry) { return entry.second.expiresAt <= now; });
    constexpr qsizetype ticketBytes = 32;
    const auto random = randomBytes(ticketBytes);
    const auto key = SymmetricKey::make();
    if (!random || !key)
        return std::nullopt;
    const std::string ticket = toBase64Url(*random);
    transferTickets.insert_or_assign(
        ticket, TransferTicket{fileName, *key, now + TransferTicket::lifetime});
    return IssuedTransfer{ticket, *key};
}

} // namespace korvane
