#include "pairing/LocalAddress.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <memory>

namespace korvane {

namespace {

struct ListFreer {
    void operator()(ifaddrs* list) const { ::freeifaddrs(list); }
};
using List = std::unique_ptr<ifaddrs, ListFreer>;

List systemList()
{
    ifaddrs* list = nullptr;
    return List(::getifaddrs(&list) == 0 ? list : nullptr);
}

std::optional<std::string> dottedDecimal(const sockaddr* address)
{
    if (!address || address->sa_family != AF_INET)
        return std::nullopt;
    std::array<char, NI_MAXHOST> text{};
    if (::getnameinfo(
            address, sizeof(sockaddr_in), text.data(), text.size(), nullptr, 0, NI_NUMERICHOST)
        != 0)
        return std::nullopt;
    return text.data();
}

std::optional<std::string> preferredIPv4(
    const std::vector<InterfaceAddress>& addresses, std::string_view prefix)
{
    const std::string first = std::string(prefix) + '0';
    std::optional<std::string> candidate;
    for (const InterfaceAddress& address : addresses) {
        if (!address.isUp || !address.ipv4 || !address.name.starts_with(prefix))
            continue;
        if (address.name == first)
            return address.ipv4;
        if (!candidate)
            candidate = address.ipv4;
    }
    return candidate;
}

} // namespace

std::vector<InterfaceAddress> QR::systemAddresses()
{
    std::vector<InterfaceAddress> addresses;
    const List list = systemList();
    for (const ifaddrs* entry = list.get(); entry; entry = entry->ifa_next) {
        const bool isUp = (entry->ifa_flags & IFF_UP) != 0;
        addresses.push_back({entry->ifa_name, isUp, dottedDecimal(entry->ifa_addr)});
    }
    return addresses;
}

std::optional<std::string> QR::preferredIPv4(
    const std::vector<InterfaceAddress>& addresses, std::span<const std::string_view> prefixes)
{
    for (const std::string_view prefix : prefixes) {
        if (auto address = korvane::preferredIPv4(addresses, prefix))
            return address;
    }
    return std::nullopt;
}

std::optional<std::string> QR::localIPv4()
{
    return preferredIPv4(systemAddresses(), interfacePrefixes());
}

} // namespace korvane
