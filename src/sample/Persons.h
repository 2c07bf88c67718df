#pragma once

#include "sample/PhoneNumbers.h"
#include "sample/Random.h"

#include <cstdint>
#include <string>
#include <vector>

namespace korvane::sample {

/// One address as Messages knows it, and the service it is reached by.
struct Handle {
    std::string id;
    std::string service;
};

/// How someone stands in an address book; a business has no names of a person.
struct Card {
    std::string givenName;
    std::string familyName;
    std::string organization;
    std::vector<std::string> phoneNumbers;
    std::vector<std::string> emailAddresses;
};

/// The handles are the card's numbers and addresses, written as the network has them.
struct Person {
    std::vector<Handle> handles;
    Card card;
};

/// Invents people, none twice and no two with the same number or address.
class PersonMaker {
public:
    /// Draws from `random`, which must outlive the maker.
    explicit PersonMaker(Random& random);

    Person next();

private:
    void addPhone(Person& person, const PhoneNumber& number);
    void addEmail(Person& person, std::string address);

    Random& m_random;
    PhoneNumbers m_phoneNumbers;
    std::int64_t m_firstName;
    std::int64_t m_made = 0;
};

} // namespace korvane::sample
