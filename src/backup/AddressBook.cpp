#include "backup/AddressBook.h"

#include "backup/BackupError.h"
#include "messages/Sqlite.h"

#include <map>
#include <string_view>

namespace korvane {

namespace {

std::string textIn(const Sqlite::Statement& row, int column)
{
    return std::string(row.text(column).value_or(std::string_view()));
}

/// The contacts by row id, without numbers and addresses.
std::map<std::int64_t, Contact> readPeople(Sqlite& database)
{
    std::map<std::int64_t, Contact> people;
    Sqlite::Statement rows(database, "SELECT ROWID, First, Last, Organization FROM ABPerson");
    while (rows.step()) {
        people.emplace(rows.integer(0),
            Contact{.givenName = textIn(rows, 1),
                .familyName = textIn(rows, 2),
                .organizationName = textIn(rows, 3)});
    }
    return people;
}

void addHandles(Sqlite& database, std::map<std::int64_t, Contact>& people)
{
    constexpr std::int64_t phoneNumber = 3;
    Sqlite::Statement rows(database,
        "SELECT record_id, property, value FROM ABMultiValue "
        "WHERE property IN (3, 4) AND value IS NOT NULL ORDER BY ROWID");
    while (rows.step()) {
        const auto person = people.find(rows.integer(0));
        if (person == people.end())
            continue;
        Contact& contact = person->second;
        (rows.integer(1) == phoneNumber ? contact.phoneNumbers : contact.emailAddresses)
            .push_back(textIn(rows, 2));
    }
}

} // namespace

AddressBook::AddressBook(const std::string& database)
try {
    Sqlite opened = Sqlite::openReadOnly(database);
    std::map<std::int64_t, Contact> people = readPeople(opened);
    addHandles(opened, people);
    for (auto& [id, contact] : people)
        m_contacts.push_back(std::move(contact));
} catch (const DBError& error) {
    throw BackupError("The address book in the backup is damaged (" + error.message
        + "). Make the backup again, name other contacts with --contacts FILE, or write bare "
          "numbers with --contacts none.");
}

ContactReading AddressBook::forEachContact(const Visitor& visit) const
{
    for (const Contact& contact : m_contacts)
        visit(contact);
    return {.outcome = ContactOutcome::Complete};
}

} // namespace korvane
