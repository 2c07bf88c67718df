#include "server/Transfer.h"

#include "export/Manifest.h"
#include "server/SyncServer.h"

namespace korvane {

std::string Transfer::exportedFile(
    const std::filesystem::path& folder, const std::string& guid, const SupportFolder& support)
{
    const auto items = Exporter::manifest(folder, {guid}, support);
    if (items.empty())
        throw TransferError(Text::noExport);
    if (items.front().size > TransferTicket::largestFile)
        throw TransferError(Text::tooLarge);
    return items.front().file;
}

TransferLink Transfer::createLink(SyncServer& server, const std::string& fileName,
    std::uint16_t port, const std::optional<std::string>& host)
{
    const auto issued = host ? server.issueTransfer(fileName) : std::nullopt;
    if (!issued)
        throw TransferError(Text::noLink);
    return {*host, port, issued->ticket, issued->key};
}

} // namespace korvane
