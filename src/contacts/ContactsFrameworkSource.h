#pragma once

#include "contacts/ContactSource.h"

#include <chrono>

namespace korvane {

/// The contacts of a Mac's user, as the Contacts framework hands them out. Used by one thread at a
/// time. The framework is asked on another thread, so that a store which does not answer holds up
/// nobody.
///
/// Each call asks once for access. The first time on a Mac the system then asks the user, who may
/// take longer to answer than the chats should wait for their names: that call gives nothing, the
/// late answer is passed over, and the next call finds access given.
class ContactsFrameworkSource : public ContactSource {
public:
    /// A store that has been silent for `patience` is given up: from the call to the first contact,
    /// and from one contact to the next.
    explicit ContactsFrameworkSource(std::chrono::milliseconds patience = std::chrono::seconds(3));

    /// Visits nothing where access is denied or cannot be asked for. Where the store fails, throws
    /// or falls silent half-way, what came until then is visited. Visits on the calling thread.
    void forEachContact(const Visitor& visit) const override;

private:
    std::chrono::milliseconds m_patience;
};

} // namespace korvane
