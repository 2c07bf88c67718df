#pragma once

#include "contacts/ContactSource.h"

#include <string>
#include <vector>

namespace korvane {

/// The contacts of a phone, from a copy of its "AddressBook.sqlitedb". Table "ABPerson" has a
/// person or organisation for each row, and "ABMultiValue" their phone numbers (property 3) and
/// e-mail addresses (property 4).
class AddressBook : public ContactSource {
public:
    /// Reads all contacts; the copy is not needed afterwards. SQLite may create files next to it.
    /// Throws BackupError if it is damaged.
    explicit AddressBook(const std::string& database);

    ContactReading forEachContact(const Visitor& visit) const override;

private:
    std::vector<Contact> m_contacts;
};

} // namespace korvane
