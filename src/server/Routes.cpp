#include "server/Routes.h"

#include "export/Manifest.h"
#include "pairing/TransferLink.h"
#include "server/ServerState.h"
#include "storage/FileReader.h"
#include "text/Json.h"

#include <algorithm>

namespace korvane {

namespace {

using Form = ManifestItem::Form;
using Kind = Answer::Kind;

constexpr std::string_view manifestPath = "/v1/manifest";
constexpr std::string_view filesPath = "/v1/files/";

const std::pair<std::string, std::string> anyBytes{"Content-Type", "application/octet-stream"};

bool isAuthorized(const HttpRequest& request, const Pairing& pairing)
{
    const auto header = request.headers.find("authorization");
    return header != request.headers.end()
        && isSameSecret(header->second, "Bearer " + pairing.token);
}

Answer manifest(const HttpRequest& request, const ServerState& state)
{
    const auto items = Exporter::manifest(state.folder, state.guids, state.support);
    const auto toJson = [](const ManifestItem& item) { return item.toJson(Form::Sent); };
    const std::string json = Json::Object().value("chats", Json::array(items, toJson)).finished();
    const auto body = state.pairing.key.seal(Envelope(json), request.target);
    if (!body)
        return {HttpResponse::serverError()};
    return {HttpResponse::ok({anyBytes}, *body), Kind::Manifest};
}

/// Up to maxChunk bytes from `offset` on; none if reading fails.
Envelope chunkOf(const FileReader& file, std::int64_t offset)
{
    Envelope chunk(std::clamp<std::int64_t>(file.size() - offset, 0, maxChunk));
    const auto read = file.readAt(offset, chunk.text());
    chunk.shorten(static_cast<qsizetype>(read.value_or(0)));
    return chunk;
}

std::filesystem::path pathOf(const ManifestItem& item, const ServerState& state)
{
    return state.folder.native() + '/' + item.file;
}

Answer fileFrom(const HttpRequest& request, const ServerState& state, const ManifestItem& item,
    std::int64_t offset)
{
    const auto file = FileReader::open(pathOf(item, state));
    if (!file)
        return {HttpResponse::notFound()};
    const auto body = state.pairing.key.seal(chunkOf(*file, offset), request.target);
    if (!body)
        return {HttpResponse::serverError()};
    return {HttpResponse::ok({anyBytes, {"X-File-Size", std::to_string(item.size)},
                                 {"X-Offset", std::to_string(offset)}, {"X-Epoch", item.epoch}},
                *body),
        Kind::File};
}

Answer file(const HttpRequest& request, const RequestTarget& target, const ServerState& state)
{
    const auto name = percentDecoded(std::string_view(target.path).substr(filesPath.size()));
    const auto item = state.fileOnOffer(name.value_or(""));
    if (!item)
        return {HttpResponse::notFound()};
    const std::int64_t offset = decimal(target.parameter("offset").value_or("0")).value_or(0);
    if (offset < 0 || offset > item->size)
        return {HttpResponse::rangeNotSatisfiable()};
    return fileFrom(request, state, *item, offset);
}

/// The whole file. Nothing if it cannot be read or is too large.
std::optional<Envelope> contentsOf(const std::filesystem::path& path)
{
    const auto file = FileReader::open(path);
    if (!file || file->size() > TransferTicket::largestFile)
        return std::nullopt;
    Envelope contents(file->size());
    const auto read = file->readAt(0, contents.text());
    if (!read)
        return std::nullopt;
    contents.shorten(static_cast<qsizetype>(*read));
    return contents;
}

Answer transferOf(
    const HttpRequest& request, const ServerState& state, const TransferTicket& ticket)
{
    const auto item = state.fileForTicket(ticket.fileName);
    if (!item)
        return {HttpResponse::notFound()};
    auto contents = contentsOf(pathOf(*item, state));
    const auto body
        = contents ? ticket.key.seal(std::move(*contents), request.target) : std::nullopt;
    if (!body)
        return {HttpResponse::transferFailed()};
    return {HttpResponse::ok(
                {anyBytes, {"Content-Disposition", "attachment; filename=\"Korvane-History.txt\""}},
                *body),
        Kind::Transfer};
}

Answer transfer(const HttpRequest& request, const std::string& ticket, const ServerState& state,
    TransferTicket::Clock::time_point now)
{
    if (ticket.empty() || ticket.find('/') != ticket.npos)
        return {HttpResponse::notFound()};
    const auto known = state.transferTickets.find(ticket);
    if (known == state.transferTickets.end() || known->second.expiresAt <= now)
        return {HttpResponse::transferExpired()};
    return transferOf(request, state, known->second);
}

} // namespace

Answer answer(
    std::string_view head, const ServerState& state, TransferTicket::Clock::time_point now)
{
    const auto request = HttpRequest::fromHead(head);
    if (!request)
        return {HttpResponse::methodNotAllowed()};
    const auto target = RequestTarget::fromText(request->target);
    if (target.path.starts_with(TransferLink::path))
        return transfer(*request, target.path.substr(TransferLink::path.size()), state, now);
    if (!isAuthorized(*request, state.pairing))
        return {HttpResponse::unauthorized()};
    if (target.path == manifestPath)
        return manifest(*request, state);
    if (target.path.starts_with(filesPath))
        return file(*request, target, state);
    return {HttpResponse::notFound()};
}

} // namespace korvane
