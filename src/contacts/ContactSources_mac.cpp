#include "contacts/ContactNames.h"
#include "contacts/ContactsFrameworkSource.h"

namespace korvane {

/// The user's own contacts, in the store of the system.
ContactSources platformContactSources()
{
    ContactSources sources;
    sources.push_back(std::make_unique<ContactsFrameworkSource>());
    return sources;
}

} // namespace korvane
