#pragma once

#include <QImage>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// One address of one network interface, as the system lists them.
struct InterfaceAddress {
    std::string name; ///< of the interface, "en0"
    bool isUp = false;
    std::optional<std::string> ipv4; ///< dotted decimal; absent for addresses of other families

    bool operator==(const InterfaceAddress&) const = default;
};

/// What it takes to hand a link to a phone: where this machine is, and the link as a picture.
/// Stateless; may be called from any thread.
namespace QR {

/// The IPv4 address at which a phone on the same Wi-Fi finds this machine, or nothing: that of
/// "en0" where it is up, otherwise of the first interface that is up and whose name begins with
/// "en", where a Mac has its Wi-Fi and Ethernet. Linux calls its wireless interfaces "wl…" and
/// may call a wired one "eth…": there, where the rule finds nothing, it is tried with those.
std::optional<std::string> localIPv4();

/// The same choice from a list of addresses, for one prefix after the other.
std::optional<std::string> preferredIPv4(
    const std::vector<InterfaceAddress>& addresses, std::span<const std::string_view> prefixes);

/// The addresses that the system lists, in its order; none where it does not tell.
std::vector<InterfaceAddress> systemAddresses();

/// The beginnings of interface names that this platform looks for, the best first.
std::span<const std::string_view> interfacePrefixes();

/// `text` as a QR code, dark on white, `size` points wide and high, its quiet zone included. Each
/// module takes the same whole number of pixels; what is left over widens the white border. On a
/// screen with more than one pixel a point, `pixelsPerPoint` makes it as sharp as the screen.
/// Nothing where the text is too long for a code or no image of such a size can be had.
std::optional<QImage> image(const std::string& text, double size, double pixelsPerPoint = 1);

} // namespace QR

} // namespace korvane
