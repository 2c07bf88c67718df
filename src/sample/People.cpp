#include "sample/People.h"

#include "sample/PhoneNumbers.h"
#include "sample/Random.h"
#include "sample/Words.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <optional>
#include <utility>

namespace korvane::sample {

namespace {

constexpr auto givenCount = static_cast<std::int64_t>(std::size(names::given));
constexpr auto fullNameCount = givenCount * static_cast<std::int64_t>(std::size(names::family));
constexpr std::int64_t nameStride = 457;
static_assert(std::gcd(nameStride, fullNameCount) == 1, "the stride must reach every name");

constexpr int perThousandWithPhone = 720;
constexpr int perThousandWithPhoneAndEmail = 180;
constexpr int perThousandInMixedCase = 300;
constexpr int perThousandEmployed = 150;
constexpr int perThousandBusinesses = 60;
constexpr int perThousandPhonesBySms = 200;

struct FullName {
    names::Name given;
    names::Name family;
    std::int64_t earlierNamesakes; ///< How many persons before this one have the same name.
};

/// The first `fullNameCount` numbers give different names.
FullName fullName(std::int64_t number)
{
    const std::int64_t pair = number * nameStride % fullNameCount;
    return {
        names::given[pair % givenCount], names::family[pair / givenCount], number / fullNameCount};
}

std::string emailAddress(const FullName& name, Random& random)
{
    std::string address(name.given.ascii);
    address.append(".").append(name.family.ascii);
    if (name.earlierNamesakes > 0)
        address += std::to_string(name.earlierNamesakes + 1);
    return address + (random.chance(600) ? "@example.com" : "@example.org");
}

/// "ann.lee@example.com" becomes "Ann.Lee@Example.com".
std::string inMixedCase(std::string address)
{
    bool startsWord = true;
    for (char& letter : address) {
        if (startsWord && letter >= 'a' && letter <= 'z')
            letter = static_cast<char>(letter - 'a' + 'A');
        startsWord = letter == '.' || letter == '@';
    }
    const std::size_t domainEnd = address.rfind('.') + 1;
    address[domainEnd] = static_cast<char>(address[domainEnd] - 'A' + 'a');
    return address;
}

void setNames(Card& card, const FullName& name, Random& random)
{
    const bool isBusiness = random.chance(perThousandBusinesses);
    if (isBusiness || random.chance(perThousandEmployed))
        card.organization = random.pick(names::organizations);
    if (isBusiness)
        return;
    card.givenName = name.given.written;
    card.familyName = name.family.written;
}

/// The handles are the numbers and addresses of the card, as the network reports them.
struct Person {
    std::vector<Handle> handles;
    Card card;
};

/// Invents persons. No two of them share a phone number or e-mail address.
class PersonMaker {
public:
    /// `random` must outlive this object.
    explicit PersonMaker(Random& random);

    Person next();

private:
    void addPhone(Person& person, const PhoneNumber& number);
    void addEmail(Person& person, std::string address);

    Random& m_random;
    PhoneNumbers m_phoneNumbers;
    std::int64_t m_firstName;
    std::int64_t m_count = 0;
};

PersonMaker::PersonMaker(Random& random)
    : m_random(random)
    , m_firstName(random.below(fullNameCount))
{
}

Person PersonMaker::next()
{
    Person person;
    const FullName name = fullName(m_firstName + m_count++);
    setNames(person.card, name, m_random);
    std::optional<PhoneNumber> number;
    if (m_random.chance(perThousandWithPhone))
        number = m_phoneNumbers.next(m_random);
    if (number)
        addPhone(person, *number);
    if (!number || m_random.chance(perThousandWithPhoneAndEmail))
        addEmail(person, emailAddress(name, m_random));
    return person;
}

void PersonMaker::addPhone(Person& person, const PhoneNumber& number)
{
    const bool isSms = m_random.chance(perThousandPhonesBySms);
    person.handles.push_back({number.handle, isSms ? "SMS" : "iMessage"});
    person.card.phoneNumbers.push_back(number.typed);
}

void PersonMaker::addEmail(Person& person, std::string address)
{
    const bool isMixedCase = m_random.chance(perThousandInMixedCase);
    person.handles.push_back({isMixedCase ? inMixedCase(address) : address, "iMessage"});
    person.card.emailAddresses.push_back(std::move(address));
}

constexpr std::size_t chatsPerGroup = 4;
constexpr std::size_t minGroupSize = 3;
constexpr std::size_t maxGroupSize = 12;
constexpr int perThousandNamedGroups = 700;

/// For each person, the indexes of their handles in People::handles.
using HandlesByPerson = std::vector<std::vector<std::size_t>>;

HandlesByPerson addPersons(People& people, std::size_t count, Random& random)
{
    HandlesByPerson handlesByPerson(count);
    PersonMaker maker(random);
    for (std::size_t index = 0; index < count; ++index) {
        Person person = maker.next();
        for (Handle& handle : person.handles) {
            handlesByPerson[index].push_back(people.handles.size());
            people.handles.push_back(std::move(handle));
        }
        if (index % 3 != 2)
            people.cards.push_back(std::move(person.card));
    }
    return handlesByPerson;
}

Chat directChat(std::size_t member, const Handle& handle)
{
    return {.guid = handle.service + ";-;" + handle.id,
        .identifier = handle.id,
        .service = handle.service,
        .members = {member}};
}

/// Small groups are more frequent than large ones. Nobody is in a group twice.
std::vector<std::size_t> groupMembers(const HandlesByPerson& handlesByPerson, Random& random)
{
    constexpr std::int64_t sizes = maxGroupSize - minGroupSize + 1;
    const std::int64_t extra = std::min(random.below(sizes), random.below(sizes));
    std::vector<std::size_t> chosen;
    std::vector<std::size_t> members;
    while (members.size() < minGroupSize + static_cast<std::size_t>(extra)) {
        const std::size_t person = random.pickIndex(handlesByPerson);
        if (std::find(chosen.begin(), chosen.end(), person) != chosen.end())
            continue;
        chosen.push_back(person);
        members.push_back(random.pickFrom(handlesByPerson[person]));
    }
    return members;
}

/// Each name once, then each with " 2" appended, and so on.
std::string groupName(std::size_t group)
{
    const std::size_t count = std::size(names::groups);
    std::string name(names::groups[group % count]);
    if (group >= count)
        name.append(" ").append(std::to_string(group / count + 1));
    return name;
}

Chat groupChat(std::size_t group, const HandlesByPerson& handlesByPerson, Random& random)
{
    constexpr std::int64_t lowest = 100'000'000'000'000'000;
    const std::string number = std::to_string(random.between(lowest, lowest * 10 - 1));
    const bool isNamed = group == 0 || random.chance(perThousandNamedGroups);
    return {.guid = "iMessage;+;chat" + number,
        .identifier = "chat" + number,
        .displayName = isNamed ? groupName(group) : std::string(),
        .service = "iMessage",
        .isGroup = true,
        .members = groupMembers(handlesByPerson, random)};
}

} // namespace

People makePeople(std::int64_t chats, std::uint64_t seed)
{
    People people;
    Random random(seed, Random::Purpose::People);
    const auto chatCount = static_cast<std::size_t>(chats);
    const HandlesByPerson handlesByPerson = addPersons(people, chatCount + maxGroupSize, random);
    for (std::size_t index = 0; index < chatCount; ++index) {
        const std::size_t groups = index / chatsPerGroup;
        const std::size_t handle = handlesByPerson[index - groups].front();
        if (index % chatsPerGroup == chatsPerGroup - 1)
            people.chats.push_back(groupChat(groups, handlesByPerson, random));
        else
            people.chats.push_back(directChat(handle, people.handles[handle]));
    }
    const std::size_t deleted = handlesByPerson.back().front();
    people.deletedChat = directChat(deleted, people.handles[deleted]);
    return people;
}

} // namespace korvane::sample
