#include "contacts/ContactSource.h"
#include "contacts/ContactsFrameworkSource.h"

namespace korvane {

/// The user's contacts in the system's own store.
ContactSources platformContactSources()
{
    ContactSources sources;
    sources.push_back(std::make_unique<ContactsFrameworkSource>());
    return sources;
}

} // namespace korvane
