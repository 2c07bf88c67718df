#pragma once

#include "export/Manifest.h"
#include "server/HttpRequest.h"
#include "server/HttpResponse.h"
#include "server/ServerState.h"

#include <cstdint>
#include <optional>
#include <string>

namespace korvane {

/// The largest piece of a file in one answer to the paired phone, in bytes.
inline constexpr std::int64_t maxChunk = 4'194'304;

/// An answer, and what it hands out.
struct Answer {
    enum class Kind { Refusal, Manifest, File, Transfer };

    HttpResponse response;
    Kind kind = Kind::Refusal;

    bool operator==(const Answer&) const = default;
};

/// The answer to a request with this head. Reads the export folder; everything else it needs comes
/// with `state`. Every body of a 200 is sealed, bound to the request's target:
///
///     /v1/transfer/<ticket>          the ticket's file, with the ticket's key
///     /v1/manifest                   {"chats":[…]}, with the pairing's key
///     /v1/files/<name>?offset=<n>    at most maxChunk bytes of a file, with the pairing's key
///
/// All but the first want the pairing's token, before anything else is looked at.
Answer answer(
    std::string_view head, const ServerState& state, TransferTicket::Clock::time_point now);

/// The export file `fileName` where the state offers it and a ticket may be had for it.
std::optional<ManifestItem> transferItem(const ServerState& state, const std::string& fileName);

} // namespace korvane
