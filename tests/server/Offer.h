#pragma once

#include "server/Routes.h"
#include "server/RunningServer.h"
#include "support/SealedByOthers.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace korvane {

/// One exported chat on offer, "Team" with row id 1, and the answers to requests for it, without a
/// server or a connection around them.
struct Offer {
    Offer()
    {
        state.guids = {ExportSetup::guid(1)};
        state.folder = chat.setup.folder();
        state.pairing.token = token;
    }

    /// One that has letters of both cases and all that is no letter.
    static constexpr const char* token = "Ab0-_Ab0-_Ab0-_Ab0-_Ab";

    ExportedChat chat;
    ServerState state{.pairing = Pairing::make()};
    TransferTicket::Clock::time_point now = TransferTicket::Clock::now();

    /// Writes an export file, with a record of epoch "E", and puts its chat on offer too.
    void add(std::int64_t id, const std::string& fileName, const std::string& bytes = "0123456789")
    {
        writeFile(state.folder / fileName, bytes);
        chat.setup.setRecord(id, {.lastRowID = 1, .fileName = fileName, .epoch = "E"});
        state.guids.insert(ExportSetup::guid(id));
    }

    /// The answer to a request with these further header lines, each with its line end.
    Answer get(const std::string& target, const std::string& headers = "") const
    {
        return answer("GET " + target + " HTTP/1.1\r\n" + headers, state, now);
    }

    /// The answer to the paired phone.
    Answer getPaired(const std::string& target) const
    {
        return get(target, "Authorization: Bearer " + std::string(token) + "\r\n");
    }

    /// What the paired phone reads in an answer to `target`; nothing where the seal is broken.
    std::optional<std::string> opened(const Answer& answer, const std::string& target) const
    {
        return openedWith(state.pairing.key, answer, target);
    }

    static std::optional<std::string> openedWith(
        const SymmetricKey& key, const Answer& answer, const std::string& target)
    {
        const auto text = SealedByOthers::open(key.bytes(), answer.response.body, target);
        return text ? std::optional(text->toStdString()) : std::nullopt;
    }
};

/// "404 Not Found", and whether it hands out what it should: just a 200 has headers, a body and a
/// kind.
inline std::string summary(const Answer& answer)
{
    const HttpResponse& response = answer.response;
    const bool handsOut = response.status == 200;
    const bool fits = handsOut == !response.headers.empty() && handsOut == !response.body.isEmpty()
        && handsOut == (answer.kind != Answer::Kind::Refusal);
    return std::to_string(response.status) + ' ' + response.reason
        + (fits ? "" : " (with what it should not have)");
}

/// The headers besides those that all answers have.
inline std::map<std::string, std::string> headersOf(const Answer& answer)
{
    const auto& headers = answer.response.headers;
    return {headers.begin(), headers.end()};
}

} // namespace korvane
