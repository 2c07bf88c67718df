#pragma once

#include "server/Routes.h"
#include "server/RunningServer.h"
#include "support/SealedByOthers.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace korvane {

/// One exported chat on offer ("Team", row id 1). Calls answer() directly, without a server or a
/// connection.
struct Offer {
    Offer()
    {
        state.guids = {ExportSetup::guid(1)};
        state.folder = chat.setup.folder();
        state.pairing.token = token;
    }

    /// A token with upper-case and lower-case letters, a digit, '-' and '_'.
    static constexpr const char* token = "Ab0-_Ab0-_Ab0-_Ab0-_Ab";

    ExportedChat chat;
    ServerState state{.support = chat.setup.support(), .pairing = Pairing::make()};
    TransferTicket::Clock::time_point now = TransferTicket::Clock::now();

    /// Writes an export file and a state record with epoch "E", and offers that chat as well.
    void add(std::int64_t id, const std::string& fileName, const std::string& bytes = "0123456789")
    {
        writeFile(state.folder / fileName, bytes);
        chat.setup.setRecord(id, {.lastRowID = 1, .fileName = fileName, .epoch = "E"});
        state.guids.insert(ExportSetup::guid(id));
    }

    /// The answer to a GET request. Each header line includes its line end.
    Answer get(const std::string& target, const std::string& headers = "") const
    {
        return answer("GET " + target + " HTTP/1.1\r\n" + headers, state, now);
    }

    /// The answer to a GET request that carries the pairing's token.
    Answer getPaired(const std::string& target) const
    {
        return get(target, "Authorization: Bearer " + std::string(token) + "\r\n");
    }

    /// Decrypts the body of an answer to `target` with the pairing's key; nullopt if the
    /// authentication tag does not match.
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

/// Status and reason, such as "404 Not Found". Appends a remark if a 200 lacks headers, a body or a
/// kind, or if any other status has one of them.
inline std::string summary(const Answer& answer)
{
    const HttpResponse& response = answer.response;
    const bool handsOut = response.status == 200;
    const bool fits = handsOut == !response.headers.empty() && handsOut == !response.body.isEmpty()
        && handsOut == (answer.kind != Answer::Kind::Refusal);
    return std::to_string(response.status) + ' ' + response.reason
        + (fits ? "" : " (with what it should not have)");
}

/// The answer's headers, without the fixed ones that every answer has.
inline std::map<std::string, std::string> headersOf(const Answer& answer)
{
    const auto& headers = answer.response.headers;
    return {headers.begin(), headers.end()};
}

} // namespace korvane
