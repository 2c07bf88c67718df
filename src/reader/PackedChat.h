#pragma once

#include "reader/Filter.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace korvane {

class Conversation;
struct Record;

/// The people of a page, each with a number. A person is who has a sender id; without one, a name.
class PagePeople {
public:
    struct Person {
        std::string name; ///< in the last record that was seen
        bool isMe = false;

        bool operator==(const Person&) const = default;
    };

    std::uint32_t numberOf(const Record& record);

    const std::vector<Person>& all() const { return m_people; }

private:
    std::vector<Person> m_people;
    std::unordered_map<std::string, std::uint32_t> m_numbers;
};

/// The chosen records of one chat in the columns of a page, see PageWriter. An entry is what has a
/// place in the conversation: a message, a system line, or a reaction or removal whose message is
/// not chosen. The other reactions belong to their message; those that a removal cancelled are left
/// out.
struct PackedChat {
    /// Texts of consecutive entries.
    struct Block {
        std::size_t entries = 0;
        std::string bytes;
    };

    std::size_t entries = 0;
    std::size_t messages = 0;
    std::int64_t first = 0; ///< milliseconds since 1970 UTC, of the first and the last dated entry
    std::int64_t last = 0;
    std::string facts;
    std::vector<Block> blocks;

    static PackedChat of(
        const Conversation& conversation, const Selection& chosen, PagePeople& people);
};

} // namespace korvane
