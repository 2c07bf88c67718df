#pragma once

#include <functional>
#include <string>
#include <vector>

namespace korvane {

/// What an address book knows of one person or organisation, as far as naming a chat needs it.
/// All texts are UTF-8, numbers and addresses as the user typed them, in the book's own order.
struct Contact {
    std::string givenName;
    std::string familyName;
    std::string organizationName;
    std::vector<std::string> phoneNumbers;
    std::vector<std::string> emailAddresses;

    bool operator==(const Contact&) const = default;
};

/// One place where contacts are kept: a folder of card files, a desktop's store.
/// Used by one thread at a time.
class ContactSource {
public:
    using Visitor = std::function<void(const Contact&)>;

    virtual ~ContactSource() = default;

    /// Hands every contact to `visit`, in the store's order. May throw half-way: what was
    /// visited until then counts, the rest is lost.
    virtual void forEachContact(const Visitor& visit) const = 0;
};

} // namespace korvane
