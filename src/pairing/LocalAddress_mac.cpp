#include "pairing/LocalAddress.h"

#include <array>

namespace korvane {

std::span<const std::string_view> QR::interfacePrefixes()
{
    static constexpr std::array<std::string_view, 1> prefixes{"en"};
    return prefixes;
}

} // namespace korvane
