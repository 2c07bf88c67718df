#pragma once

#include "contacts/ContactSource.h"

#include <chrono>

namespace korvane {

/// The user's contacts on a Mac, read through the Contacts framework. Used by one thread at a time.
/// Queries the framework on a detached thread, so a store that never answers cannot block the
/// caller beyond the timeout.
///
/// Each call requests access once. The first time, the system asks the user. The call then waits
/// for the answer without a time limit; `prompt` is told, and may cancel the wait.
class ContactsFrameworkSource : public ContactSource {
public:
    /// `timeout` limits the time between the call, or the user's answer if the system asks, and the
    /// first contact, and between one contact and the next, but not the total time.
    explicit ContactsFrameworkSource(
        AccessPrompt prompt = {}, std::chrono::milliseconds timeout = std::chrono::seconds(3));

    /// Visits no contact if access is denied or cannot be requested. If the store fails, throws or
    /// times out half-way, visits the contacts received until then. Calls `visit` on the calling
    /// thread.
    ContactReading forEachContact(const Visitor& visit) const override;

private:
    AccessPrompt m_prompt;
    std::chrono::milliseconds m_timeout;
};

} // namespace korvane
