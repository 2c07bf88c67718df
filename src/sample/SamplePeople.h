#pragma once

#include "sample/Persons.h"
#include "sample/SampleDatabase.h"

#include <cstddef>
#include <string>
#include <vector>

namespace korvane::sample {

struct Chat {
    std::string guid;
    std::string identifier;
    std::string displayName;
    std::string service;
    bool isGroup = false;
    std::vector<std::size_t> members; ///< Indexes of handles.
};

/// Everyone and every chat of a sample; depends on the number of chats and the seed alone.
struct SamplePeople {
    std::vector<Handle> handles;
    std::vector<Card> cards; ///< Of two people in three.
    std::vector<Chat> chats; ///< Every fourth is a group.
    Chat deletedChat; ///< Where the messages come from that belong to no chat any more.
};

/// Throws DBError if no sample can have that size.
SamplePeople makeSamplePeople(const SampleSize& size);

} // namespace korvane::sample
