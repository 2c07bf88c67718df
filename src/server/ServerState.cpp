#include "server/ServerState.h"

#include "server/Routes.h"
#include "text/Base64Url.h"

namespace korvane {

std::optional<IssuedTransfer> ServerState::issueTransfer(
    const std::string& fileName, TransferTicket::Clock::time_point now)
{
    if (guids.size() != 1 || !transferItem(*this, fileName))
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
