#include "pairing/LocalAddress.h"

#include <array>

namespace korvane {

std::span<const std::string_view> QR::interfacePrefixes()
{
    static constexpr std::array<std::string_view, 3> prefixes{"en", "wl", "eth"};
    return prefixes;
}

} // namespace korvane
