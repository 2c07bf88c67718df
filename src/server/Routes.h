#pragma once

#include "server/Http.h"

#include <chrono>
#include <cstdint>
#include <string_view>

namespace korvane {

struct ServerState;

/// The largest piece of a file in one answer to the paired phone, in bytes.
inline constexpr std::int64_t maxChunk = 4'194'304;

/// A response, and the kind of data that it carries.
struct Answer {
    enum class Kind { Refusal, Manifest, File, Transfer };

    HttpResponse response;
    Kind kind = Kind::Refusal;

    bool operator==(const Answer&) const = default;
};

/// The answer to a request with this head. Reads the export folder; all other input is in the
/// arguments. The body of every 200 is sealed, with the request's target as authenticated data:
///
///     /v1/transfer/<ticket>          the ticket's file, with the ticket's key
///     /v1/manifest                   {"chats":[…]}, with the pairing's key
///     /v1/files/<name>?offset=<n>    at most maxChunk bytes of a file, with the pairing's key
///
/// All but the first require the pairing's token. Without it, every other path gets a 401, whether
/// it exists or not.
Answer answer(
    std::string_view head, const ServerState& state, std::chrono::system_clock::time_point now);

} // namespace korvane
