#include "export/ExportState.h"
#include "server/Http.h"
#include "server/Routes.h"
#include "server/ServerState.h"
#include "text/Utf8.h"

#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <set>

using namespace korvane;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Two exported chats, "g" on offer and "h" not. For "g" there are a valid ticket "t" and an
/// expired one "x", for "h" the ticket "h". The paired phone's token is "p". The support folder is
/// a temporary one.
struct Offered {
    Offered()
    {
        const std::string home = folder.path().toStdString();
        require(folder.isValid());
        std::ofstream(home + "/a b.txt") << contents;
        std::ofstream(home + "/hidden.txt") << "hidden";
        ExportState exported;
        exported.chats["g"] = {.lastRowID = 1, .fileName = "a b.txt", .epoch = "E"};
        exported.chats["h"] = {.lastRowID = 1, .fileName = "hidden.txt", .epoch = "E"};
        Exporter::saveState(exported, state.support);
        state.pairing.token = "p";
        state.guids = {"g"};
        state.folder = home;
        const auto now = TransferTicket::Clock::time_point();
        const auto key = SymmetricKey::make().value();
        state.transferTickets.insert({"t", TransferTicket{"a b.txt", key, now + lifetime}});
        state.transferTickets.insert({"x", TransferTicket{"a b.txt", key, now}});
        state.transferTickets.insert({"h", TransferTicket{"hidden.txt", key, now + lifetime}});
    }

    static constexpr auto lifetime = TransferTicket::lifetime;

    const QTemporaryDir folder;
    const std::string contents = "0123456789";
    ServerState state{
        .support = SupportFolder(folder.path().toStdString()), .pairing = Pairing::make()};
};

/// Round trip: a parsed request that is written as a head parses to the same request.
void checkRequest(const HttpRequest& request)
{
    require(!request.target.empty() && isValidUtf8(request.target));
    require(request.target.find(' ') == std::string::npos);
    std::string head = "GET " + request.target + " HTTP/1.1";
    for (const auto& [name, value] : request.headers)
        head += "\r\n" + name + ": " + value;
    require(HttpRequest::fromHead(head) == request);
}

/// Path and query are adjacent parts of the target.
void checkTarget(const std::string& text)
{
    const auto target = RequestTarget::fromText(text);
    const std::string both = target.path + (target.query ? '?' + *target.query : "");
    require(text.find(both) != std::string::npos);
    require(!text.starts_with('/') || text.starts_with(both));
    const auto offset = target.parameter("offset");
    require(!offset || (target.query && isValidUtf8(*offset)));
}

/// Percent-decoding yields valid UTF-8, no longer than the text; a parsed number survives a round
/// trip.
void checkText(std::string_view text)
{
    const auto decoded = percentDecoded(text);
    require(!decoded || (isValidUtf8(*decoded) && decoded->size() <= text.size()));
    const auto number = decimal(text);
    require(!number || decimal(std::to_string(*number)) == number);
}

void checkRefusal(const Answer& answer)
{
    static const std::set<std::pair<int, std::string>> refusals{{401, "Unauthorized"},
        {404, "Not Found"}, {410, "Transfer Expired"}, {416, "Range Not Satisfiable"}};
    require(refusals.contains({answer.response.status, answer.response.reason}));
    require(answer.response.headers.empty() && answer.response.body.isEmpty());
    require(answer.kind == Answer::Kind::Refusal);
}

/// A 200 needs a valid ticket or the token, is sealed with the matching key, and has the requested
/// contents.
void checkHandedOut(const Answer& answer, const HttpRequest& request, const Offered& offered)
{
    require(answer.response.reason == "OK");
    const std::string path = RequestTarget::fromText(request.target).path;
    const bool byTicket = answer.kind == Answer::Kind::Transfer;
    require(
        byTicket ? path == "/v1/transfer/t" : request.headers.at("authorization") == "Bearer p");
    const SymmetricKey& key
        = byTicket ? offered.state.transferTickets.at("t").key : offered.state.pairing.key;
    const auto text = key.open(answer.response.body, request.target);
    require(text.has_value());
    if (answer.kind == Answer::Kind::Manifest)
        require(path == "/v1/manifest"
            && text->startsWith("{\"chats\":[{\"epoch\":\"E\",\"file\":\"a b"));
    else if (answer.kind == Answer::Kind::File)
        require(path.starts_with("/v1/files/") && offered.contents.ends_with(text->toStdString()));
    else
        require(byTicket && text->toStdString() == offered.contents);
    require(!text->contains("hidden"));
}

} // namespace

/// Answers any bytes as a request head: with a refusal, or with contents that the request is
/// authorized to get.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Offered offered;
    const std::string_view head(reinterpret_cast<const char*>(data), size);
    checkText(head);
    const Answer answer = korvane::answer(head, offered.state, {});
    const auto request = HttpRequest::fromHead(head);
    if (!request) {
        require(answer == Answer{HttpResponse::methodNotAllowed()});
        return 0;
    }
    checkRequest(*request);
    checkTarget(request->target);
    if (answer.response.status == 200)
        checkHandedOut(answer, *request, offered);
    else
        checkRefusal(answer);
    return 0;
}
