#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/// One person or organisation from an address book, reduced to what naming a chat needs. All texts
/// are UTF-8. Phone numbers and e-mail addresses are not normalised and keep the book's order.
struct Contact {
    std::string givenName;
    std::string familyName;
    std::string organizationName;
    std::vector<std::string> phoneNumbers;
    std::vector<std::string> emailAddresses;

    bool operator==(const Contact&) const = default;
};

/// One place where contacts are kept, such as a folder of card files or the desktop's store. Used
/// by one thread at a time.
class ContactSource {
public:
    using Visitor = std::function<void(const Contact&)>;

    virtual ~ContactSource() = default;

    /// Passes every contact to `visit`, in the store's order. May throw after some contacts were
    /// visited; those remain valid.
    virtual void forEachContact(const Visitor& visit) const = 0;
};

using ContactSources = std::vector<std::unique_ptr<ContactSource>>;

/// The places where this system keeps contacts, in reading order: the user's own store, then, on
/// Linux, folders of card files. A store that does not answer times out, see
/// EvolutionSource::timeout (for the whole store) and ContactsFrameworkSource (for each silence).
/// Reading files has no timeout.
ContactSources platformContactSources();

} // namespace korvane
