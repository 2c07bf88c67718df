#pragma once

#include "contacts/VCard.h"

#include <QtTest/QTest>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane {

using Contacts = std::vector<Contact>;

/// A complete card of version 3.0 with these lines.
inline std::string card(const std::string& lines)
{
    return "BEGIN:VCARD\r\nVERSION:3.0\r\n" + lines + "\r\nEND:VCARD\r\n";
}

/// A complete card of version 2.1 with these lines.
inline std::string oldCard(const std::string& lines)
{
    return "BEGIN:VCARD\r\nVERSION:2.1\r\n" + lines + "\r\nEND:VCARD\r\n";
}

/// A complete card of version 4.0 with these lines.
inline std::string newCard(const std::string& lines)
{
    return "BEGIN:VCARD\r\nVERSION:4.0\r\n" + lines + "\r\nEND:VCARD\r\n";
}

/// A string from a literal that contains NUL bytes.
template <std::size_t size>
std::string withNulls(const char (&literal)[size])
{
    return {literal, size - 1};
}

inline Contacts contactsIn(std::string_view bytes)
{
    Contacts contacts;
    readVCards(std::string(bytes), [&](const Contact& contact) { contacts.push_back(contact); });
    return contacts;
}

inline Contact person(std::string givenName, std::string familyName)
{
    return {.givenName = std::move(givenName), .familyName = std::move(familyName)};
}

inline Contact organization(std::string name)
{
    return {.organizationName = std::move(name)};
}

inline Contact phone(std::string number)
{
    return {.phoneNumbers = {std::move(number)}};
}

inline Contact email(std::string address)
{
    return {.emailAddresses = {std::move(address)}};
}

/// Adds the columns that row() fills.
inline void addCardColumns()
{
    QTest::addColumn<std::string>("file");
    QTest::addColumn<Contacts>("expected");
}

inline void row(const char* name, const std::string& file, const Contacts& expected)
{
    QTest::newRow(name) << file << expected;
}

} // namespace korvane

namespace QTest {

/// With this overload, a failing QCOMPARE prints all five fields of every contact.
template <>
inline char* toString(const korvane::Contacts& contacts)
{
    std::string text;
    for (const korvane::Contact& contact : contacts) {
        text += "{" + contact.givenName + "|" + contact.familyName + "|" + contact.organizationName;
        for (const std::string& number : contact.phoneNumbers)
            text += "|tel " + number;
        for (const std::string& address : contact.emailAddresses)
            text += "|mail " + address;
        text += "}";
    }
    return qstrdup(text.c_str());
}

} // namespace QTest
