#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// One address of one network interface, as in an entry of getifaddrs().
struct InterfaceAddress {
    std::string name; ///< of the interface, such as "en0"
    bool isUp = false;
    std::optional<std::string> ipv4; ///< dotted decimal; absent for addresses of other families

    bool operator==(const InterfaceAddress&) const = default;
};

/// This machine's address for the link in a QR code. Stateless; may be called from any thread.
namespace QR {

/// The IPv4 address at which a phone on the same Wi-Fi reaches this machine, or nothing. Among the
/// interfaces that are up and have an IPv4 address, chooses "en0", otherwise the first whose name
/// begins with "en": a Mac's Wi-Fi and Ethernet. On Linux, tries the same with "wl" (wireless) and
/// then "eth" (wired) if there is none.
std::optional<std::string> localIPv4();

/// The same choice from a list of addresses, with each prefix in turn in place of "en".
std::optional<std::string> preferredIPv4(
    const std::vector<InterfaceAddress>& addresses, std::span<const std::string_view> prefixes);

/// The entries of getifaddrs(), in its order; none if it fails.
std::vector<InterfaceAddress> systemAddresses();

/// The prefixes of interface names to try on this platform, in order of preference.
std::span<const std::string_view> interfacePrefixes();

} // namespace QR

} // namespace korvane
