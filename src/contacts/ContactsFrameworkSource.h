#pragma once

#include "contacts/ContactSource.h"

#include <chrono>

namespace korvane {

/// The user's contacts on a Mac, read through the Contacts framework. Used by one thread at a time.
/// Queries the framework on a detached thread, so a store that never answers cannot block the
/// caller beyond the timeout.
///
/// Each call requests access once. On the first request the system asks the user, who may take
/// longer to answer than the timeout. Then that call visits no contact and ignores the late answer;
/// the next call finds the access granted.
class ContactsFrameworkSource : public ContactSource {
public:
    /// `timeout` limits the time between the call and the first contact, and between one contact
    /// and the next, but not the total time.
    explicit ContactsFrameworkSource(std::chrono::milliseconds timeout = std::chrono::seconds(3));

    /// Visits no contact if access is denied or cannot be requested. If the store fails, throws or
    /// times out half-way, visits the contacts received until then. Calls `visit` on the calling
    /// thread.
    void forEachContact(const Visitor& visit) const override;

private:
    std::chrono::milliseconds m_timeout;
};

} // namespace korvane
