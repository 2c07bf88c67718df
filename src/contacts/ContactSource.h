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

/// How reading contacts ended. In ascending order of weight: several places together have the
/// highest of their outcomes, so one that did not answer makes the whole read incomplete.
enum class ContactOutcome {
    Missing, ///< there is no such store
    Denied, ///< the user does not allow access
    Complete, ///< all contacts were visited
    Unanswered, ///< the store did not answer, or failed half-way
};

/// The outcome of reading one place or several.
struct ContactReading {
    ContactOutcome outcome = ContactOutcome::Missing;
    std::string silent{}; ///< the address book that did not answer, for people; if Unanswered

    /// Adds the outcome of another place. Of several silent address books, the first is named.
    void add(const ContactReading& other)
    {
        if (other.outcome > outcome)
            *this = other;
    }

    bool operator==(const ContactReading&) const = default;
};

/// What to do while the system asks the user for access to the contacts. Reading waits for the
/// answer without a time limit. Both functions may be empty. They are called on the thread that
/// reads.
struct AccessPrompt {
    std::function<void()> onOpen{}; ///< the system has begun to ask
    std::function<bool()> isCancelled{}; ///< true ends the wait: the store is then Unanswered
};

/// One place where contacts are kept, such as a folder of card files or the desktop's store. Used
/// by one thread at a time.
class ContactSource {
public:
    using Visitor = std::function<void(const Contact&)>;

    virtual ~ContactSource() = default;

    /// Passes every contact to `visit`, in the store's order. If the outcome is Unanswered, some
    /// contacts may have been visited; those remain valid. Throws only what `visit` throws.
    virtual ContactReading forEachContact(const Visitor& visit) const = 0;
};

using ContactSources = std::vector<std::unique_ptr<ContactSource>>;

/// The places where this system keeps contacts, in reading order: the user's own store, then, on
/// Linux, folders of card files. A store that does not answer times out, see
/// EvolutionSource::timeout (for the whole store) and ContactsFrameworkSource (for each silence).
/// Reading files has no timeout. Only a Mac asks for access, see AccessPrompt.
ContactSources platformContactSources(const AccessPrompt& prompt = {});

} // namespace korvane
