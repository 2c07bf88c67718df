#include "export/ExportState.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Parsing any bytes as "state.json" does not crash, and a parsed state survives a round trip.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using korvane::ExportState;
    const std::string_view json(reinterpret_cast<const char*>(data), size);
    const auto state = ExportState::fromJson(json);
    if (state && ExportState::fromJson(state->toJson()) != state)
        std::abort();
    return 0;
}
