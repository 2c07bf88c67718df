#include "contacts/ContactSource.h"
#include "contacts/ContactsFrameworkSource.h"

namespace korvane {

/// The user's contacts in the system's own store.
ContactSources platformContactSources(const AccessPrompt& prompt)
{
    ContactSources sources;
    sources.push_back(std::make_unique<ContactsFrameworkSource>(prompt));
    return sources;
}

} // namespace korvane
