#include "sample/SamplePeople.h"

#include "messages/DBError.h"
#include "sample/Names.h"

#include <algorithm>
#include <iterator>

namespace korvane::sample {

namespace {

constexpr std::size_t chatsPerGroup = 4;
constexpr std::size_t smallestGroup = 3;
constexpr std::size_t largestGroup = 12;
constexpr int perThousandGroupsNamed = 700;

constexpr std::int64_t mostChats = 1'000'000;

void checkSize(const SampleSize& size)
{
    if (size.messages < 0 || size.chats < 0 || size.chats > mostChats)
        throw DBError(
            "A sample has 0 or more messages in at most " + std::to_string(mostChats) + " chats.");
}

/// The handles of each person, as indexes.
using Acquaintances = std::vector<std::vector<std::size_t>>;

Acquaintances addPersons(SamplePeople& people, std::size_t count, Random& random)
{
    Acquaintances acquaintances(count);
    PersonMaker maker(random);
    for (std::size_t index = 0; index < count; ++index) {
        Person person = maker.next();
        for (Handle& handle : person.handles) {
            acquaintances[index].push_back(people.handles.size());
            people.handles.push_back(std::move(handle));
        }
        if (index % 3 != 2)
            people.cards.push_back(std::move(person.card));
    }
    return acquaintances;
}

Chat directChat(std::size_t member, const Handle& handle)
{
    return {.guid = handle.service + ";-;" + handle.id,
        .identifier = handle.id,
        .service = handle.service,
        .members = {member}};
}

/// Small groups more often than large ones; nobody is in a group twice.
std::vector<std::size_t> groupMembers(const Acquaintances& acquaintances, Random& random)
{
    constexpr std::int64_t sizes = largestGroup - smallestGroup + 1;
    const std::int64_t draw = std::min(random.below(sizes), random.below(sizes));
    std::vector<std::size_t> chosen;
    std::vector<std::size_t> members;
    while (members.size() < smallestGroup + static_cast<std::size_t>(draw)) {
        const std::size_t person = random.indexOf(acquaintances);
        if (std::find(chosen.begin(), chosen.end(), person) != chosen.end())
            continue;
        chosen.push_back(person);
        members.push_back(random.pickFrom(acquaintances[person]));
    }
    return members;
}

/// The names one after the other, and from the second round on with a number.
std::string groupName(std::size_t group)
{
    const std::size_t count = std::size(names::groups);
    std::string name(names::groups[group % count]);
    if (group >= count)
        name.append(" ").append(std::to_string(group / count + 1));
    return name;
}

Chat groupChat(std::size_t group, const Acquaintances& acquaintances, Random& random)
{
    constexpr std::int64_t lowest = 100'000'000'000'000'000;
    const std::string number = std::to_string(random.between(lowest, lowest * 10 - 1));
    const bool isNamed = group == 0 || random.chance(perThousandGroupsNamed);
    return {.guid = "iMessage;+;chat" + number,
        .identifier = "chat" + number,
        .displayName = isNamed ? groupName(group) : std::string(),
        .service = "iMessage",
        .isGroup = true,
        .members = groupMembers(acquaintances, random)};
}

} // namespace

SamplePeople makeSamplePeople(const SampleSize& size)
{
    checkSize(size);
    SamplePeople people;
    Random random(size.seed, Random::Purpose::People);
    const auto chats = static_cast<std::size_t>(size.chats);
    const Acquaintances acquaintances = addPersons(people, chats + largestGroup, random);
    for (std::size_t index = 0; index < chats; ++index) {
        const std::size_t groups = index / chatsPerGroup;
        const std::size_t handle = acquaintances[index - groups].front();
        if (index % chatsPerGroup == chatsPerGroup - 1)
            people.chats.push_back(groupChat(groups, acquaintances, random));
        else
            people.chats.push_back(directChat(handle, people.handles[handle]));
    }
    const std::size_t lost = acquaintances.back().front();
    people.deletedChat = directChat(lost, people.handles[lost]);
    return people;
}

} // namespace korvane::sample
