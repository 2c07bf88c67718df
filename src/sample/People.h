#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace korvane::sample {

/// A row of the handle table: a phone number or an e-mail address, and its service.
struct Handle {
    std::string id;
    std::string service;
};

/// An entry of the address book. A business has an organization but no given or family name.
struct Card {
    std::string givenName;
    std::string familyName;
    std::string organization;
    std::vector<std::string> phoneNumbers;
    std::vector<std::string> emailAddresses;
};

struct Chat {
    std::string guid;
    std::string identifier;
    std::string displayName;
    std::string service;
    bool isGroup = false;
    std::vector<std::size_t> members; ///< Indexes into People::handles.
};

/// The people of a sample and the chats that they are in.
struct People {
    std::vector<Handle> handles;
    std::vector<Card> cards; ///< Of two thirds of the people.
    std::vector<Chat> chats; ///< Every fourth is a group.
    Chat deletedChat; ///< Has no row; messages without a chat come from here.
};

/// Equal arguments give equal people. No two people share a phone number or e-mail address.
People makePeople(std::int64_t chats, std::uint64_t seed);

} // namespace korvane::sample
