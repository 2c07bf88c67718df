#include "export/ExportState.h"
#include "server/RequestTarget.h"
#include "server/Routes.h"
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

/// Two exported chats, one of them on offer, with a valid ticket "t" and an expired one "x"; the
/// paired phone's token is "p". In temporary folders: no other support folder is touched.
struct Offered {
    Offered()
    {
        const std::string home = folder.path().toStdString();
        require(folder.isValid() && qputenv("KORVANE_SYNC_HOME", home.c_str()));
        std::ofstream(home + "/a b.txt") << contents;
        std::ofstream(home + "/hidden.txt") << "hidden";
        ExportState exported;
        exported.chats["g"] = {.lastRowID = 1, .fileName = "a b.txt", .epoch = "E"};
        exported.chats["h"] = {.lastRowID = 1, .fileName = "hidden.txt", .epoch = "E"};
        Exporter::saveState(exported);
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
    ServerState state{.pairing = Pairing::make()};
};

/// What was understood of a request, written as a request, is understood the same.
void checkRequest(const HttpRequest& request)
{
    require(!request.target.empty() && isValidUtf8(request.target));
    require(request.target.find(' ') == std::string::npos);
    std::string head = "GET " + request.target + " HTTP/1.1";
    for (const auto& [name, value] : request.headers)
        head += "\r\n" + name + ": " + value;
    require(HttpRequest::fromHead(head) == request);
}

/// Path and query stand in the target, one after the other.
void checkTarget(const std::string& text)
{
    const auto target = RequestTarget::fromText(text);
    const std::string both = target.path + (target.query ? '?' + *target.query : "");
    require(text.find(both) != std::string::npos);
    require(!text.starts_with('/') || text.starts_with(both));
    const auto offset = target.parameter("offset");
    require(!offset || (target.query && isValidUtf8(*offset)));
}

/// Any text: its escapes resolved give UTF-8 no longer than it, a number read comes back.
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

/// What is handed out goes to who may have it alone, sealed for him, and is what he asked for.
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

/// Any bytes as the head of a request: it is refused, or it was for what may be had.
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
