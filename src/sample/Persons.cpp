#include "sample/Persons.h"

#include "sample/Names.h"

#include <iterator>
#include <numeric>
#include <optional>
#include <utility>

namespace korvane::sample {

namespace {

constexpr auto givenCount = static_cast<std::int64_t>(std::size(names::given));
constexpr auto fullNameCount = givenCount * static_cast<std::int64_t>(std::size(names::family));
constexpr std::int64_t nameStride = 457;
static_assert(std::gcd(nameStride, fullNameCount) == 1, "the stride has to reach every name");

constexpr int perThousandWithPhone = 720;
constexpr int perThousandWithBoth = 180;
constexpr int perThousandInMixedCase = 300;
constexpr int perThousandEmployed = 150;
constexpr int perThousandBusinesses = 60;
constexpr int perThousandByTextMessage = 200;

struct FullName {
    names::Name given;
    names::Name family;
    std::int64_t namesakes; ///< How many have the same name already.
};

FullName fullName(std::int64_t number)
{
    const std::int64_t pair = number * nameStride % fullNameCount;
    return {
        names::given[pair % givenCount], names::family[pair / givenCount], number / fullNameCount};
}

std::string emailAddress(const FullName& name, Random& random)
{
    std::string address(name.given.latin);
    address.append(".").append(name.family.latin);
    if (name.namesakes > 0)
        address += std::to_string(name.namesakes + 1);
    return address + (random.chance(600) ? "@example.com" : "@example.org");
}

/// Ann.Lee@Example.com
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

void nameCard(Card& card, const FullName& name, Random& random)
{
    const bool isBusiness = random.chance(perThousandBusinesses);
    if (isBusiness || random.chance(perThousandEmployed))
        card.organization = random.pick(names::organizations);
    if (isBusiness)
        return;
    card.givenName = name.given.written;
    card.familyName = name.family.written;
}

} // namespace

PersonMaker::PersonMaker(Random& random)
    : m_random(random)
    , m_firstName(random.below(fullNameCount))
{
}

Person PersonMaker::next()
{
    Person person;
    const FullName name = fullName(m_firstName + m_made++);
    nameCard(person.card, name, m_random);
    std::optional<PhoneNumber> number;
    if (m_random.chance(perThousandWithPhone))
        number = m_phoneNumbers.next(m_random);
    if (number)
        addPhone(person, *number);
    if (!number || m_random.chance(perThousandWithBoth))
        addEmail(person, emailAddress(name, m_random));
    return person;
}

void PersonMaker::addPhone(Person& person, const PhoneNumber& number)
{
    const bool byTextMessage = m_random.chance(perThousandByTextMessage);
    person.handles.push_back({number.handle, byTextMessage ? "SMS" : "iMessage"});
    person.card.phoneNumbers.push_back(number.typed);
}

void PersonMaker::addEmail(Person& person, std::string address)
{
    const bool mixedCase = m_random.chance(perThousandInMixedCase);
    person.handles.push_back({mixedCase ? inMixedCase(address) : address, "iMessage"});
    person.card.emailAddresses.push_back(std::move(address));
}

} // namespace korvane::sample
